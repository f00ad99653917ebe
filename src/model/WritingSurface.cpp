#include "WritingSurface.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString title(WritingSurface surface) {
    switch (surface) {
    case WritingSurface::email:
        return u"Email"_s;
    case WritingSurface::messaging:
        return u"Messaging"_s;
    case WritingSurface::slack:
        return u"Slack"_s;
    case WritingSurface::ai:
        return u"AI assistants"_s;
    }
    return {};
}

QString title(AppSection section) {
    switch (section) {
    case AppSection::home:
        return u"Home"_s;
    case AppSection::notes:
        return u"Notes"_s;
    case AppSection::words:
        return u"Words"_s;
    case AppSection::history:
        return u"History"_s;
    case AppSection::settings:
        return u"Settings"_s;
    }
    return {};
}

} // namespace quendra

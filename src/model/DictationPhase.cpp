#include "DictationPhase.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString DictationPhase::description() const {
    switch (kind) {
    case Case::ready:
        return u"ready"_s;
    case Case::recording:
        return u"recording"_s;
    case Case::transcribing:
        return u"transcribing"_s;
    case Case::awaitingPlacement:
        return u"awaiting-placement"_s;
    case Case::copied:
        return u"copied"_s;
    case Case::failed:
        return u"failed: "_s + message;
    }
    return {};
}

} // namespace quendra

#include "DictationLanguage.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString title(DictationLanguage language) {
    using L = DictationLanguage;
    switch (language) {
    case L::automatic:
        return u"Automatic"_s;
    case L::english:
        return u"English"_s;
    case L::spanish:
        return u"Spanish"_s;
    case L::french:
        return u"French"_s;
    case L::german:
        return u"German"_s;
    case L::italian:
        return u"Italian"_s;
    case L::portuguese:
        return u"Portuguese"_s;
    case L::dutch:
        return u"Dutch"_s;
    case L::polish:
        return u"Polish"_s;
    case L::ukrainian:
        return u"Ukrainian"_s;
    case L::russian:
        return u"Russian"_s;
    case L::turkish:
        return u"Turkish"_s;
    case L::arabic:
        return u"Arabic"_s;
    case L::hindi:
        return u"Hindi"_s;
    case L::indonesian:
        return u"Indonesian"_s;
    case L::japanese:
        return u"Japanese"_s;
    case L::korean:
        return u"Korean"_s;
    case L::chinese:
        return u"Chinese"_s;
    case L::vietnamese:
        return u"Vietnamese"_s;
    case L::thai:
        return u"Thai"_s;
    }
    return {};
}

} // namespace quendra

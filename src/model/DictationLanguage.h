#pragma once

#include "RawValueEnum.h"

namespace quendra {

// The raw value is the language code sent to the service.
enum class DictationLanguage {
    automatic,
    english,
    spanish,
    french,
    german,
    italian,
    portuguese,
    dutch,
    polish,
    ukrainian,
    russian,
    turkish,
    arabic,
    hindi,
    indonesian,
    japanese,
    korean,
    chinese,
    vietnamese,
    thai
};

template <>
struct RawValueTable<DictationLanguage> {
    using L = DictationLanguage;
    static constexpr std::array<std::pair<L, QStringView>, 20> entries{{
        {L::automatic, u"auto"}, {L::english, u"en"}, {L::spanish, u"es"},
        {L::french, u"fr"},      {L::german, u"de"},  {L::italian, u"it"},
        {L::portuguese, u"pt"},  {L::dutch, u"nl"},   {L::polish, u"pl"},
        {L::ukrainian, u"uk"},   {L::russian, u"ru"}, {L::turkish, u"tr"},
        {L::arabic, u"ar"},      {L::hindi, u"hi"},   {L::indonesian, u"id"},
        {L::japanese, u"ja"},    {L::korean, u"ko"},  {L::chinese, u"zh"},
        {L::vietnamese, u"vi"},  {L::thai, u"th"},
    }};
};

QString title(DictationLanguage language);

} // namespace quendra

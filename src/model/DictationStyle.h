#pragma once

#include "RawValueEnum.h"

namespace quendra {

enum class DictationStyle { exact, clean, polished, excited, casual, prompt };

template <>
struct RawValueTable<DictationStyle> {
    static constexpr std::array<std::pair<DictationStyle, QStringView>, 6> entries{{
        {DictationStyle::exact, u"exact"},
        {DictationStyle::clean, u"clean"},
        {DictationStyle::polished, u"polished"},
        {DictationStyle::excited, u"excited"},
        {DictationStyle::casual, u"casual"},
        {DictationStyle::prompt, u"prompt"},
    }};
};

// What the service is sent; differs from the stored raw value for `clean` only.
QString apiValue(DictationStyle style);
QString title(DictationStyle style);
QString example(DictationStyle style);
// The styles that keep a spoken command literal.
bool keepsCommandsLiteral(DictationStyle style);

} // namespace quendra

#include "DictationStyle.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString apiValue(DictationStyle style) {
    if (style == DictationStyle::clean)
        return u"light"_s;
    return rawValue(style).toString();
}

QString title(DictationStyle style) {
    switch (style) {
    case DictationStyle::exact:
        return u"Exact"_s;
    case DictationStyle::clean:
        return u"Clean"_s;
    case DictationStyle::polished:
        return u"Polished"_s;
    case DictationStyle::excited:
        return u"Excited"_s;
    case DictationStyle::casual:
        return u"Casual"_s;
    case DictationStyle::prompt:
        return u"AI Prompt"_s;
    }
    return {};
}

QString example(DictationStyle style) {
    switch (style) {
    case DictationStyle::exact:
        return u"Literal speech + your saved Words. “Um, hello” → “Um, hello”"_s;
    case DictationStyle::clean:
        return u"Removes fillers, keeps ideas. “Um, maybe tomorrow” → “Maybe tomorrow.”"_s;
    case DictationStyle::polished:
        return u"Refines grammar and flow. “Make sure it works” → “Ensure it works.”"_s;
    case DictationStyle::excited:
        return u"Punctuates enthusiasm you express. “That is amazing” → “That is amazing!”"_s;
    case DictationStyle::casual:
        return u"Clean, with lighter punctuation. “See you soon.” → “See you soon”"_s;
    case DictationStyle::prompt:
        return u"Organizes your request and keeps every requirement. “Compare these. Keep every "
               u"example.” → separate task and constraints"_s;
    }
    return {};
}

bool keepsCommandsLiteral(DictationStyle style) {
    return style == DictationStyle::exact || style == DictationStyle::prompt;
}

} // namespace quendra

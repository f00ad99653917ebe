#include "DictationShortcut.h"

#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString DictationShortcut::displayName() const {
    QStringList parts;
    if (carbonModifiers & CarbonModifier::control)
        parts << u"Ctrl"_s;
    if (carbonModifiers & CarbonModifier::option)
        parts << u"Alt"_s;
    if (carbonModifiers & CarbonModifier::shift)
        parts << u"Shift"_s;
    if (carbonModifiers & CarbonModifier::command)
        parts << u"Super"_s;
    parts << (keyLabel.isEmpty() ? u"Key %1"_s.arg(keyCode) : keyLabel);
    return parts.join(u'+');
}

DictationShortcut DictationShortcut::defaultDictation() {
    return {49, CarbonModifier::option, u"Space"_s};
}

void to_json(Json& j, const DictationShortcut& s) {
    j = Json{
        {"keyCode", s.keyCode}, {"carbonModifiers", s.carbonModifiers}, {"keyLabel", s.keyLabel}};
}

void from_json(const Json& j, DictationShortcut& s) {
    auto key = integerField(j, "keyCode");
    auto modifiers = integerField(j, "carbonModifiers");
    auto label = field<QString>(j, "keyLabel");
    if (!key || !modifiers || !label || *key < 0 || *key > UINT32_MAX || *modifiers < 0 ||
        *modifiers > UINT32_MAX)
        throw std::invalid_argument("incomplete shortcut");
    s = {static_cast<std::uint32_t>(*key), static_cast<std::uint32_t>(*modifiers), *label};
}

} // namespace quendra

#include "ShortcutCapture.h"

#include <QRegularExpression>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

std::optional<QString> keyLabel(std::uint32_t keyCode) {
    static const std::pair<std::uint32_t, QStringView> labels[] = {
        {49, u"Space"}, {36, u"Return"}, {48, u"Tab"},
        {53, u"Esc"},   {51, u"Delete"}, {117, u"Forward Delete"},
        {123, u"←"},    {124, u"→"},     {126, u"↑"},
        {125, u"↓"},    {122, u"F1"},    {120, u"F2"},
        {99, u"F3"},    {118, u"F4"},    {96, u"F5"},
        {97, u"F6"},    {98, u"F7"},     {100, u"F8"},
        {101, u"F9"},   {109, u"F10"},   {103, u"F11"},
        {111, u"F12"},  {105, u"F13"},   {107, u"F14"},
        {113, u"F15"},  {106, u"F16"},   {64, u"F17"},
        {79, u"F18"},   {80, u"F19"},    {90, u"F20"}};
    for (const auto& [code, label] : labels)
        if (code == keyCode)
            return label.toString();
    return std::nullopt;
}

CaptureResult captureShortcut(std::uint16_t keyCode, std::uint32_t modifiers,
                              const std::optional<QString>& charactersIgnoringModifiers) {
    const std::uint32_t mask = modifiers & (CarbonModifier::control | CarbonModifier::option |
                                            CarbonModifier::shift | CarbonModifier::command);
    const QString label = keyLabel(keyCode).value_or(
        charactersIgnoringModifiers.value_or(QString()).trimmed().toUpper());
    if (label.isEmpty())
        return {};
    static const QRegularExpression functionKey(u"^F[0-9]+$"_s);
    const bool strong =
        mask & (CarbonModifier::control | CarbonModifier::option | CarbonModifier::command);
    if (functionKey.match(label).hasMatch() || strong)
        return {CaptureKind::accepted, {keyCode, mask, label}, {}};
    return {CaptureKind::needsModifier, {}, label};
}

std::optional<QString> CaptureResult::message() const {
    switch (kind) {
    case CaptureKind::accepted:
        return std::nullopt;
    case CaptureKind::needsModifier:
        return label + u" needs Ctrl, Alt, or Super to work globally."_s;
    case CaptureKind::unusable:
        return u"That key can’t be used. Press a different shortcut."_s;
    }
    return std::nullopt;
}

} // namespace quendra

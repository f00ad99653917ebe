#include "DictationShortcut.h"

#include <QStringList>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

constexpr std::pair<ShortcutModifier, QStringView> modifierNames[] = {
    {ShortcutModifier::ctrl, u"Ctrl"},
    {ShortcutModifier::alt, u"Alt"},
    {ShortcutModifier::shift, u"Shift"},
    {ShortcutModifier::super, u"Super"}};

// The form earlier builds stored: a virtual key code of the ANSI layout of
// another system's keyboard and that system's modifier bits. This is the one
// place that knows them; every such value is converted here on reading.
namespace EarlierForm {

constexpr std::uint32_t commandBit = 1u << 8;
constexpr std::uint32_t shiftBit = 1u << 9;
constexpr std::uint32_t optionBit = 1u << 11;
constexpr std::uint32_t controlBit = 1u << 12;

std::optional<std::uint32_t> keysymOf(std::uint32_t keyCode) {
    using namespace Keysym;
    static const std::pair<std::uint32_t, std::uint32_t> table[] = {
        {0, 'a'},        {1, 's'},        {2, 'd'},       {3, 'f'},       {4, 'h'},
        {5, 'g'},        {6, 'z'},        {7, 'x'},       {8, 'c'},       {9, 'v'},
        {11, 'b'},       {12, 'q'},       {13, 'w'},      {14, 'e'},      {15, 'r'},
        {16, 'y'},       {17, 't'},       {18, '1'},      {19, '2'},      {20, '3'},
        {21, '4'},       {22, '6'},       {23, '5'},      {24, '='},      {25, '9'},
        {26, '7'},       {27, '-'},       {28, '8'},      {29, '0'},      {30, ']'},
        {31, 'o'},       {32, 'u'},       {33, '['},      {34, 'i'},      {35, 'p'},
        {36, returnKey}, {37, 'l'},       {38, 'j'},      {39, '\''},     {40, 'k'},
        {41, ';'},       {42, '\\'},      {43, ','},      {44, '/'},      {45, 'n'},
        {46, 'm'},       {47, '.'},       {48, tab},      {49, space},    {50, '`'},
        {51, backSpace}, {53, escape},    {115, home},    {116, pageUp},  {117, deleteKey},
        {119, end},      {121, pageDown}, {123, left},    {124, right},   {125, down},
        {126, up},       {122, f1},       {120, f1 + 1},  {99, f1 + 2},   {118, f1 + 3},
        {96, f1 + 4},    {97, f1 + 5},    {98, f1 + 6},   {100, f1 + 7},  {101, f1 + 8},
        {109, f1 + 9},   {103, f1 + 10},  {111, f1 + 11}, {105, f1 + 12}, {107, f1 + 13},
        {113, f1 + 14},  {106, f1 + 15},  {64, f1 + 16},  {79, f1 + 17},  {80, f1 + 18},
        {90, f1 + 19}};
    for (const auto& [code, keysym] : table)
        if (code == keyCode)
            return keysym;
    return std::nullopt;
}

DictationShortcut convert(const Json& j) {
    const auto key = integerField(j, "keyCode");
    const auto bits = integerField(j, "carbonModifiers");
    const auto label = field<QString>(j, "keyLabel");
    if (!key || !bits || !label || *key < 0 || *key > UINT32_MAX || *bits < 0 || *bits > UINT32_MAX)
        throw std::invalid_argument("incomplete shortcut");
    const auto keysym = keysymOf(std::uint32_t(*key));
    if (!keysym)
        throw std::invalid_argument("a key of the earlier form without a keysym");
    ShortcutModifiers modifiers;
    modifiers.setFlag(ShortcutModifier::ctrl, *bits & controlBit);
    modifiers.setFlag(ShortcutModifier::alt, *bits & optionBit);
    modifiers.setFlag(ShortcutModifier::shift, *bits & shiftBit);
    modifiers.setFlag(ShortcutModifier::super, *bits & commandBit);
    // That system called Backspace "Delete" and Delete "Forward Delete".
    QString keyLabel = *label;
    if (*keysym == Keysym::backSpace)
        keyLabel = u"Backspace"_s;
    else if (*keysym == Keysym::deleteKey)
        keyLabel = u"Delete"_s;
    return {*keysym, modifiers, keyLabel};
}

bool holds(const Json& j) {
    return j.is_object() && j.contains("keyCode") && !j.contains("keysym");
}

} // namespace EarlierForm

} // namespace

QString modifierName(ShortcutModifier modifier) {
    for (const auto& [flag, name] : modifierNames)
        if (flag == modifier)
            return name.toString();
    return {};
}

std::optional<ShortcutModifier> modifierNamed(QStringView name) {
    for (const auto& [flag, known] : modifierNames)
        if (known.compare(name, Qt::CaseInsensitive) == 0)
            return flag;
    return std::nullopt;
}

QString DictationShortcut::displayName() const {
    QStringList parts;
    for (const auto& [flag, name] : modifierNames)
        if (modifiers.testFlag(flag))
            parts << name.toString();
    parts << (keyLabel.isEmpty() ? u"Key 0x%1"_s.arg(keysym, 0, 16) : keyLabel);
    return parts.join(u'+');
}

DictationShortcut DictationShortcut::defaultDictation() {
    return {Keysym::space, ShortcutModifier::alt, u"Space"_s};
}

void to_json(Json& j, const DictationShortcut& s) {
    Json modifiers = Json::array();
    for (const auto& [flag, name] : modifierNames)
        if (s.modifiers.testFlag(flag))
            modifiers.push_back(name.toString());
    j = Json{{"keysym", s.keysym}, {"modifiers", modifiers}, {"keyLabel", s.keyLabel}};
}

void from_json(const Json& j, DictationShortcut& s) {
    if (EarlierForm::holds(j)) {
        s = EarlierForm::convert(j);
        return;
    }
    const auto keysym = integerField(j, "keysym");
    const auto label = field<QString>(j, "keyLabel");
    const auto names = j.is_object() ? j.find("modifiers") : j.end();
    if (!keysym || !label || *keysym <= 0 || *keysym > UINT32_MAX || names == j.end() ||
        !names->is_array())
        throw std::invalid_argument("incomplete shortcut");
    ShortcutModifiers modifiers;
    for (const Json& name : *names) {
        const auto modifier = name.is_string() ? modifierNamed(name.get<QString>()) : std::nullopt;
        if (!modifier)
            throw std::invalid_argument("unknown modifier");
        modifiers |= *modifier;
    }
    s = {std::uint32_t(*keysym), modifiers, *label};
}

bool isEarlierShortcutForm(const QByteArray& stored) {
    const auto json = parseJson(stored);
    return json && EarlierForm::holds(*json);
}

} // namespace quendra

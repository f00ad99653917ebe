#include "VirtualKeymap.h"

#include <xkbcommon/xkbcommon.h>

#include <cstdlib>
#include <cstring>

namespace quendra {

namespace {

// evdev codes are the keymap's key codes less this.
constexpr std::uint32_t evdevOffset = 8;

} // namespace

std::optional<VirtualKeymap> VirtualKeymap::create() {
    std::unique_ptr<xkb_context, void (*)(xkb_context*)> context(
        xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES), &xkb_context_unref);
    if (!context)
        return std::nullopt;
    const xkb_rule_names names{"evdev", "pc105", "us", "", ""};
    xkb_keymap* compiled =
        xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!compiled)
        return std::nullopt;
    VirtualKeymap result;
    result.keymap.reset(compiled, &xkb_keymap_unref);
    char* text = xkb_keymap_get_as_string(compiled, XKB_KEYMAP_FORMAT_TEXT_V1);
    if (!text)
        return std::nullopt;
    result.keymapText = QByteArray(text, qsizetype(std::strlen(text)) + 1);
    std::free(text);
    return result;
}

std::optional<std::uint32_t> VirtualKeymap::keycodeOf(std::uint32_t keysym) const {
    xkb_keymap* k = keymap.get();
    for (xkb_keycode_t code = xkb_keymap_min_keycode(k); code <= xkb_keymap_max_keycode(k);
         ++code) {
        if (code < evdevOffset)
            continue;
        const xkb_keysym_t* syms = nullptr;
        const int count = xkb_keymap_key_get_syms_by_level(k, code, 0, 0, &syms);
        if (count == 1 && syms[0] == keysym)
            return code - evdevOffset;
    }
    return std::nullopt;
}

std::uint32_t VirtualKeymap::modifierMask(const char* name) const {
    const xkb_mod_index_t index = xkb_keymap_mod_get_index(keymap.get(), name);
    return index == XKB_MOD_INVALID ? 0 : std::uint32_t(1) << index;
}

QList<VirtualKeyEvent> VirtualKeymap::pasteEvents(PasteKeys keys) const {
    const auto control = keycodeOf(XKB_KEY_Control_L);
    const auto shift = keycodeOf(XKB_KEY_Shift_L);
    const auto v = keycodeOf(XKB_KEY_v);
    const std::uint32_t controlMask = modifierMask(XKB_MOD_NAME_CTRL);
    const std::uint32_t shiftMask = modifierMask(XKB_MOD_NAME_SHIFT);
    const bool withShift = keys == PasteKeys::controlShift;
    if (!control || !v || !controlMask || (withShift && (!shift || !shiftMask)))
        return {};

    using Kind = VirtualKeyEvent::Kind;
    // The compositor does not work the modifiers out from a virtual
    // keyboard's keys: each change is sent as well.
    QList<VirtualKeyEvent> events{{Kind::key, *control, true, 0},
                                  {Kind::modifiers, 0, false, controlMask}};
    if (withShift)
        events << VirtualKeyEvent{Kind::key, *shift, true, 0}
               << VirtualKeyEvent{Kind::modifiers, 0, false, controlMask | shiftMask};
    events << VirtualKeyEvent{Kind::key, *v, true, 0} << VirtualKeyEvent{Kind::key, *v, false, 0};
    if (withShift)
        events << VirtualKeyEvent{Kind::key, *shift, false, 0}
               << VirtualKeyEvent{Kind::modifiers, 0, false, controlMask};
    events << VirtualKeyEvent{Kind::key, *control, false, 0}
           << VirtualKeyEvent{Kind::modifiers, 0, false, 0};
    return events;
}

} // namespace quendra

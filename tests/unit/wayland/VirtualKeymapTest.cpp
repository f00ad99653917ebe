#include "platform/linux/VirtualKeymap.h"

#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include <cstring>
#include <memory>
#include <set>

using namespace quendra;

namespace {

// What a client makes of the events: it compiles the uploaded keymap, takes
// the modifier masks as sent, and reads each pressed key through that state.
struct Pressed {
    xkb_keysym_t keysym;
    bool control;
    bool shift;
};

struct Replay {
    QList<Pressed> presses;
    std::set<std::uint32_t> held;
    bool modifiersLeft = false;
    bool releasedUnpressed = false;
};

using CompiledKeymap = std::unique_ptr<xkb_keymap, void (*)(xkb_keymap*)>;

// The text alone, without the system's keyboard files: what the compositor
// and the client get is all there is.
CompiledKeymap compile(const QByteArray& text) {
    std::unique_ptr<xkb_context, void (*)(xkb_context*)> context(
        xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES), &xkb_context_unref);
    return CompiledKeymap(xkb_keymap_new_from_string(context.get(), text.constData(),
                                                     XKB_KEYMAP_FORMAT_TEXT_V1,
                                                     XKB_KEYMAP_COMPILE_NO_FLAGS),
                          &xkb_keymap_unref);
}

Replay replay(const VirtualKeymap& keymap, const QList<VirtualKeyEvent>& events) {
    const CompiledKeymap compiled = compile(keymap.text());
    EXPECT_NE(compiled, nullptr);
    Replay result;
    if (!compiled)
        return result;
    std::unique_ptr<xkb_state, void (*)(xkb_state*)> state(xkb_state_new(compiled.get()),
                                                           &xkb_state_unref);
    for (const VirtualKeyEvent& event : events) {
        if (event.kind == VirtualKeyEvent::Kind::modifiers) {
            xkb_state_update_mask(state.get(), event.depressed, 0, 0, 0, 0, 0);
            continue;
        }
        if (!event.pressed) {
            result.releasedUnpressed |= result.held.erase(event.code) == 0;
            continue;
        }
        result.held.insert(event.code);
        const xkb_keysym_t keysym = xkb_state_key_get_one_sym(state.get(), event.code + 8);
        if (keysym == XKB_KEY_Control_L || keysym == XKB_KEY_Shift_L)
            continue;
        result.presses.append({keysym,
                               xkb_state_mod_name_is_active(state.get(), XKB_MOD_NAME_CTRL,
                                                            XKB_STATE_MODS_EFFECTIVE) > 0,
                               xkb_state_mod_name_is_active(state.get(), XKB_MOD_NAME_SHIFT,
                                                            XKB_STATE_MODS_EFFECTIVE) > 0});
    }
    result.modifiersLeft = xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_EFFECTIVE) != 0;
    return result;
}

} // namespace

TEST(VirtualKeymapTest, PastesReadThroughTheUploadedKeymapAreCtrlVAndCtrlShiftV) {
    const auto keymap = VirtualKeymap::create();
    ASSERT_TRUE(keymap);

    const Replay control = replay(*keymap, keymap->pasteEvents(PasteKeys::control));
    ASSERT_EQ(control.presses.size(), 1);
    EXPECT_EQ(control.presses[0].keysym, XKB_KEY_v);
    EXPECT_TRUE(control.presses[0].control);
    EXPECT_FALSE(control.presses[0].shift);

    const Replay shifted = replay(*keymap, keymap->pasteEvents(PasteKeys::controlShift));
    ASSERT_EQ(shifted.presses.size(), 1);
    EXPECT_EQ(xkb_keysym_to_lower(shifted.presses[0].keysym), XKB_KEY_v);
    EXPECT_TRUE(shifted.presses[0].control);
    EXPECT_TRUE(shifted.presses[0].shift);
}

TEST(VirtualKeymapTest, APasteLeavesNoKeyOrModifierHeld) {
    const auto keymap = VirtualKeymap::create();
    ASSERT_TRUE(keymap);
    for (const PasteKeys keys : {PasteKeys::control, PasteKeys::controlShift}) {
        const Replay result = replay(*keymap, keymap->pasteEvents(keys));
        EXPECT_TRUE(result.held.empty());
        EXPECT_FALSE(result.releasedUnpressed);
        EXPECT_FALSE(result.modifiersLeft);
    }
}

TEST(VirtualKeymapTest, TheKeymapIsAFullLayoutSentWithOneTerminatingNul) {
    const auto keymap = VirtualKeymap::create();
    ASSERT_TRUE(keymap);
    const QByteArray& text = keymap->text();
    ASSERT_FALSE(text.isEmpty());
    EXPECT_EQ(text.back(), '\0');
    EXPECT_EQ(std::strlen(text.constData()), std::size_t(text.size() - 1));
    const CompiledKeymap compiled = compile(text);
    ASSERT_NE(compiled, nullptr);
    // Every letter and digit of the layout has a key, not only those pasted with.
    std::set<xkb_keysym_t> typed;
    for (xkb_keycode_t code = xkb_keymap_min_keycode(compiled.get());
         code <= xkb_keymap_max_keycode(compiled.get()); ++code) {
        const xkb_keysym_t* syms = nullptr;
        for (int i = 0; i < xkb_keymap_key_get_syms_by_level(compiled.get(), code, 0, 0, &syms);
             ++i)
            typed.insert(syms[i]);
    }
    for (xkb_keysym_t keysym = XKB_KEY_a; keysym <= XKB_KEY_z; ++keysym)
        EXPECT_TRUE(typed.contains(keysym)) << keysym;
    for (xkb_keysym_t keysym = XKB_KEY_0; keysym <= XKB_KEY_9; ++keysym)
        EXPECT_TRUE(typed.contains(keysym)) << keysym;
}

TEST(VirtualKeymapTest, KeysAndModifiersTheLayoutLacksAreNone) {
    const auto keymap = VirtualKeymap::create();
    ASSERT_TRUE(keymap);
    EXPECT_FALSE(keymap->keycodeOf(XKB_KEY_Cyrillic_a));
    EXPECT_EQ(keymap->modifierMask("NoSuchModifier"), 0u);
    EXPECT_NE(keymap->modifierMask(XKB_MOD_NAME_CTRL), keymap->modifierMask(XKB_MOD_NAME_SHIFT));
}

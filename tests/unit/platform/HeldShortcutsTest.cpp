#include "platform/linux/HeldShortcuts.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace std::chrono_literals;

namespace {

// A keyboard's auto-repeat: the first repeat after its delay, then one every 40 ms.
constexpr auto repeatDelay = 600ms;
constexpr auto repeatInterval = 40ms;

struct Keyboard {
    HeldShortcuts held;
    HeldShortcuts::Clock::time_point now{};
    int presses = 0;

    // Holds the shortcut for the time given, the desktop reporting each repeat as a press.
    void hold(std::uint32_t identifier, std::chrono::milliseconds duration) {
        const auto end = now + duration;
        presses += held.press(identifier, now);
        for (now += repeatDelay; now < end; now += repeatInterval)
            presses += held.press(identifier, now);
        now = end;
    }
};

TEST(HeldShortcuts, AHeldKeyIsOnePressHoweverLongItRepeats) {
    Keyboard keyboard;
    keyboard.hold(1, 5s);
    EXPECT_EQ(keyboard.presses, 1);
    EXPECT_TRUE(keyboard.held.release(1));
    keyboard.hold(1, 100ms);
    EXPECT_EQ(keyboard.presses, 2);
}

TEST(HeldShortcuts, PressesInQuickSuccessionEachCountOnceReleased) {
    Keyboard keyboard;
    for (int i = 0; i < 5; ++i) {
        keyboard.hold(1, 50ms);
        EXPECT_TRUE(keyboard.held.release(1));
        keyboard.now += 30ms;
    }
    EXPECT_EQ(keyboard.presses, 5);
}

TEST(HeldShortcuts, APressNeverReleasedStopsCountingAsHeldOnceTheRepeatsWouldHaveCome) {
    HeldShortcuts held;
    const HeldShortcuts::Clock::time_point start{};
    EXPECT_TRUE(held.press(1, start));
    // A repeat delay longer than the default, on a busy desktop, is still a repeat.
    EXPECT_FALSE(held.press(1, start + 1500ms));
    // Nothing for longer than any repeat delay: the next one is a new press.
    EXPECT_TRUE(held.press(1, start + 1500ms + HeldShortcuts::repeatWindow));
}

TEST(HeldShortcuts, ShortcutsAreHeldEachOnTheirOwn) {
    HeldShortcuts held;
    const HeldShortcuts::Clock::time_point start{};
    EXPECT_TRUE(held.press(1, start));
    EXPECT_TRUE(held.press(2, start + 10ms));
    EXPECT_FALSE(held.press(1, start + 20ms));
    EXPECT_TRUE(held.release(2));
    EXPECT_FALSE(held.release(2)); // released once only
    EXPECT_FALSE(held.press(1, start + 30ms));
    EXPECT_TRUE(held.press(2, start + 40ms));
}

TEST(HeldShortcuts, AForgottenShortcutIsNeitherHeldNorReleased) {
    HeldShortcuts held;
    const HeldShortcuts::Clock::time_point start{};
    EXPECT_TRUE(held.press(1, start));
    held.forget(1);
    EXPECT_FALSE(held.release(1));
    EXPECT_TRUE(held.press(1, start + 10ms));
}

} // namespace

#pragma once

#include <QHash>

#include <chrono>
#include <cstdint>

namespace quendra {

// Tells a new press of a global shortcut from the ones a held key repeats.
// kglobalaccel and the shortcuts portal report every auto-repeat as another
// press and the release once. A press nobody releases (kglobalaccel's
// invokeShortcut, as running it from the desktop's shortcut settings does) stops counting as held
// once no repeat has come for longer than any keyboard's repeat delay.
class HeldShortcuts {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds repeatWindow{2000};

    // Whether this press starts a new one (false for a repeat).
    bool press(std::uint32_t identifier, Clock::time_point now = Clock::now());
    // Whether the shortcut was held down.
    bool release(std::uint32_t identifier);
    void forget(std::uint32_t identifier) { lastPress.remove(identifier); }

private:
    QHash<std::uint32_t, Clock::time_point> lastPress;
};

} // namespace quendra

#include "HeldShortcuts.h"

namespace quendra {

bool HeldShortcuts::press(std::uint32_t identifier, Clock::time_point now) {
    const auto found = lastPress.find(identifier);
    if (found != lastPress.end() && now - *found < repeatWindow) {
        *found = now;
        return false;
    }
    lastPress.insert(identifier, now);
    return true;
}

bool HeldShortcuts::release(std::uint32_t identifier) {
    return lastPress.remove(identifier) > 0;
}

} // namespace quendra

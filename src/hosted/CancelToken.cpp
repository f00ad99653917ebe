#include "CancelToken.h"

namespace quendra {

void CancelToken::cancel() {
    if (cancelled)
        return;
    cancelled = true;
    // A callback may remove others (or itself); run from a copy.
    auto pending = std::move(callbacks);
    callbacks.clear();
    for (auto& [handle, callback] : pending)
        callback();
}

int CancelToken::onCancel(std::function<void()> callback) {
    if (cancelled) {
        callback();
        return 0;
    }
    const int handle = nextHandle++;
    callbacks.emplace(handle, std::move(callback));
    return handle;
}

void CancelToken::remove(int handle) {
    callbacks.erase(handle);
}

} // namespace quendra

#include "hosted/CancellationFlag.h"

namespace quendra {

void CancellationFlag::cancel() {
    if (cancelled)
        return;
    cancelled = true;
    // A callback may forget others; run from a copy.
    const auto pending = std::exchange(callbacks, {});
    for (const auto& [id, callback] : pending)
        callback();
}

int CancellationFlag::onCancel(std::function<void()> callback) {
    if (cancelled) {
        callback();
        return -1;
    }
    callbacks.append({++nextId, std::move(callback)});
    return nextId;
}

void CancellationFlag::forget(int callback) {
    callbacks.removeIf([callback](const auto& entry) { return entry.first == callback; });
}

} // namespace quendra

#pragma once

#include <functional>
#include <map>
#include <memory>

namespace quendra {

// Shared by a caller and the asynchronous work it may cancel. Main thread only.
class CancelToken {
public:
    static std::shared_ptr<CancelToken> make() { return std::make_shared<CancelToken>(); }

    void cancel();
    bool isCancelled() const { return cancelled; }

    // Runs `callback` when the token is cancelled (at once when it already
    // is); the returned number removes it again.
    int onCancel(std::function<void()> callback);
    void remove(int handle);

private:
    bool cancelled = false;
    int nextHandle = 1;
    std::map<int, std::function<void()>> callbacks;
};

using CancelRef = std::shared_ptr<CancelToken>;

} // namespace quendra

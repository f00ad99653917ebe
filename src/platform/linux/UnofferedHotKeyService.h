#pragma once

#include "platform/HotKeyService.h"

namespace quendra {

// A Wayland desktop that offers applications no shortcut of their own: the
// user binds Parlevo's command in the desktop's settings instead.
class UnofferedHotKeyService : public HotKeyService {
    Q_OBJECT
public:
    using HotKeyService::HotKeyService;
    std::expected<void, HotKeyServiceError> registerHotKey(std::uint32_t, std::uint32_t,
                                                           ShortcutModifiers) override {
        return std::unexpected(HotKeyServiceError::notOffered);
    }
    void unregisterHotKey(std::uint32_t) override {}
};

} // namespace quendra

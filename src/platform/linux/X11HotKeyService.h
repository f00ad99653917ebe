#pragma once

#include "X11Display.h"
#include "platform/HotKeyService.h"

#include <QMap>
#include <QSet>
#include <QSocketNotifier>

#include <memory>
#include <optional>

namespace quendra {

// The keysym of a DictationShortcut key code, none for keys without one.
std::optional<unsigned long> keysymForKeyCode(std::uint32_t keyCode);

// Global shortcuts as key grabs on the root window.
class X11HotKeyService : public HotKeyService {
    Q_OBJECT
public:
    explicit X11HotKeyService(QObject* parent = nullptr);
    ~X11HotKeyService() override;

    std::expected<void, HotKeyServiceError> registerHotKey(std::uint32_t identifier,
                                                           std::uint32_t keyCode,
                                                           std::uint32_t modifiers) override;
    void unregisterHotKey(std::uint32_t identifier) override;

private:
    struct Grab {
        unsigned int keycode;
        unsigned int modifiers;
    };
    void ungrab(const Grab& grab);
    void processEvents();

    X11Display x;
    std::unique_ptr<QSocketNotifier> notifier;
    QMap<std::uint32_t, Grab> grabs;
    // Keys down now: with detectable auto-repeat a repeat is a second press
    // of a key that was never released.
    QSet<unsigned int> down;
};

} // namespace quendra

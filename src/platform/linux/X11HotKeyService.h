#pragma once

#include "X11Display.h"
#include "model/MainThreadChecker.h"
#include "platform/HotKeyService.h"

#include <QMap>
#include <QSet>
#include <QSocketNotifier>

#include <memory>

namespace quendra {

// Global shortcuts as key grabs on the root window.
class X11HotKeyService : public HotKeyService {
    Q_OBJECT
public:
    explicit X11HotKeyService(QObject* parent = nullptr);
    ~X11HotKeyService() override;

    std::expected<void, HotKeyServiceError> registerHotKey(std::uint32_t identifier,
                                                           std::uint32_t keysym,
                                                           ShortcutModifiers modifiers) override;
    void unregisterHotKey(std::uint32_t identifier) override;

private:
    struct Grab {
        unsigned int keycode;
        unsigned int modifiers;
    };
    void ungrab(const Grab& grab);
    void processEvents();

    MainThreadChecker checker;
    X11Display x;
    std::unique_ptr<QSocketNotifier> notifier;
    QMap<std::uint32_t, Grab> grabs;
    // Keys down now: with detectable auto-repeat a repeat is a second press
    // of a key that was never released.
    QSet<unsigned int> down;
};

} // namespace quendra

#pragma once

#include "model/DictationShortcut.h"
#include "model/MainThreadChecker.h"
#include "platform/HotKeyService.h"

#include <QObject>

#include <cstdint>
#include <expected>
#include <optional>

namespace quendra {

enum class HotKeyError { unavailable, notOffered, declined };

QString message(HotKeyError error);

// One global key combination and its presses. Main thread only.
class HotKeyManager : public QObject {
    Q_OBJECT
public:
    HotKeyManager(HotKeyService& service, std::uint32_t identifier, QObject* parent = nullptr);
    ~HotKeyManager() override;

    std::expected<void, HotKeyError> registerShortcut(const DictationShortcut& shortcut);
    const std::optional<DictationShortcut>& registeredShortcut() const { return registered; }
    // Lets the keys reach the application's own windows, as while a new
    // shortcut is recorded; a registration or resume() takes them back.
    void suspend();
    std::expected<void, HotKeyError> resume();

    // Each registration written to standard error, for the tests that drive
    // the real desktop. Off by default.
    void setHotKeyLog(bool on) { hotKeyLog = on; }

    static constexpr std::uint32_t signature = 0x514E4452; // "QNDR"
    static constexpr std::uint32_t dictationIdentifier = 1;
    static constexpr std::uint32_t notesIdentifier = 2;

Q_SIGNALS:
    // Once per press, never for auto-repeats, never inside the service's own
    // event dispatch.
    void pressed();
    // A shortcut the desktop refused after registerShortcut took it; none is
    // registered any more.
    void failed(quendra::HotKeyError error);

private:
    MainThreadChecker checker;
    HotKeyService& service;
    const std::uint32_t hotKeyID;
    std::optional<DictationShortcut> registered;
    bool suspended = false;
    bool hotKeyLog = false;
};

} // namespace quendra

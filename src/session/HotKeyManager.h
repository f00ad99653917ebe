#pragma once

#include "model/DictationShortcut.h"
#include "platform/HotKeyService.h"

#include <QObject>
#include <QStringList>

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>

namespace quendra {

enum class HotKeyError { unavailable };

QString message(HotKeyError error);

// One global key combination and its press callback. Main thread only.
class HotKeyManager : public QObject {
    Q_OBJECT
public:
    HotKeyManager(HotKeyService& service, std::uint32_t identifier, QStringList arguments = {},
                  QObject* parent = nullptr);
    ~HotKeyManager() override;

    std::expected<void, HotKeyError> registerShortcut(const DictationShortcut& shortcut);
    const std::optional<DictationShortcut>& registeredShortcut() const { return registered; }

    // Called once per press, never for auto-repeats, never inside the
    // service's own event dispatch.
    std::function<void()> onPressed;

    static constexpr std::uint32_t signature = 0x514E4452; // "QNDR"
    static constexpr std::uint32_t dictationIdentifier = 1;
    static constexpr std::uint32_t notesIdentifier = 2;

private:
    HotKeyService& service;
    const std::uint32_t hotKeyID;
    std::optional<DictationShortcut> registered;
    bool handlerInstalled = false;
    bool qaHotKeyLog = false;
};

} // namespace quendra

#pragma once

// In-memory workspace, clipboard, key poster, hot-key service and screens.

#include "platform/HotKeyService.h"
#include "platform/KeyEventPoster.h"
#include "platform/Pasteboard.h"
#include "platform/Screens.h"
#include "platform/Workspace.h"

#include <QMap>
#include <QSet>

#include <functional>

namespace quendra {

class FakeWorkspace : public Workspace {
public:
    QList<RunningApplication> applications;
    std::optional<qint64> frontmost;
    QSet<qint64> terminated;
    qint64 ownPid = 1;
    bool activationWorks = true;
    QList<qint64> activations;
    std::function<void(qint64)> onActivate;

    RunningApplication& launch(qint64 processId, const QString& identifier);
    void bringToFront(qint64 processId, bool announce = true);
    void quit(qint64 processId);

    QList<RunningApplication> runningApplications() override { return applications; }
    std::optional<RunningApplication> frontmostApplication() override;
    bool isTerminated(qint64 processId) override { return terminated.contains(processId); }
    bool activate(qint64 processId) override;
    qint64 ownProcessId() const override { return ownPid; }
};

class FakePasteboard : public Pasteboard {
public:
    QList<PasteboardItem> contents;
    int count = 0;

    // What a user's copy in another program does.
    void copyFromElsewhere(const PasteboardItem& item);
    QString string() const;

    QList<PasteboardItem> items() override { return contents; }
    int changeCount() override { return count; }
    void clearContents() override;
    void setString(const QString& text) override;
    void writeItems(const QList<PasteboardItem>& items) override;
};

class FakeKeyEventPoster : public KeyEventPoster {
public:
    bool available = true;
    // A keyboard still being set up makes no event until it is ready.
    bool starting = false;
    QList<PasteKeys> posted;
    // What the focused application does with the keys.
    std::function<void(PasteKeys)> onPaste;

    bool postPaste(PasteKeys keys) override;
    bool isStarting() const override { return starting; }
};

class FakeHotKeyService : public HotKeyService {
public:
    struct Combination {
        std::uint32_t keysym;
        ShortcutModifiers modifiers;
        friend bool operator==(const Combination&, const Combination&) = default;
    };
    static Combination keysOf(const DictationShortcut& shortcut) {
        return {shortcut.keysym, shortcut.modifiers};
    }
    QMap<std::uint32_t, Combination> registered;
    // Combinations another program holds.
    QList<Combination> takenElsewhere;
    int registerCalls = 0;
    int unregisterCalls = 0;

    // Presses the shortcut's keys; only the identifier that holds them hears it.
    void press(const DictationShortcut& shortcut);

    std::expected<void, HotKeyServiceError> registerHotKey(std::uint32_t identifier,
                                                           std::uint32_t keysym,
                                                           ShortcutModifiers modifiers) override;
    void unregisterHotKey(std::uint32_t identifier) override;
};

class FakeScreens : public Screens {
public:
    QList<ScreenFrames> all;
    QPointF mouse;
    QList<ScreenFrames> screens() override { return all; }
    QPointF mouseLocation() override { return mouse; }
};

} // namespace quendra

#pragma once

#include "HeldShortcuts.h"
#include "ShortcutKeys.h"
#include "model/MainThreadChecker.h"
#include "platform/HotKeyService.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace quendra {

// Global shortcuts through KDE's kglobalaccel (inside KWin on Plasma
// Wayland, its own daemon on Plasma X11), which also reports releases.
//
// registerHotKey asks kglobalaccel for the keys and waits for its answer, as
// X11 grabs do, so that keys another shortcut holds are refused at once. The
// keys set are the application's, whatever the desktop's settings kept from
// before. The shortcuts share their group and names with the portal's
// (PortalHotKeyService), so that switching between the two finds one binding.
class KGlobalAccelHotKeyService : public HotKeyService {
    Q_OBJECT
public:
    // descriptions: what each identifier's shortcut does, as the desktop's
    // shortcut settings show it.
    explicit KGlobalAccelHotKeyService(QHash<std::uint32_t, QString> descriptions = {},
                                       QString component = desktopShortcutGroup,
                                       QObject* parent = nullptr);
    ~KGlobalAccelHotKeyService() override;

    // Whether kglobalaccel is running on the session bus (not started for the asking).
    static bool available();

    std::expected<void, HotKeyServiceError> registerHotKey(std::uint32_t identifier,
                                                           std::uint32_t keysym,
                                                           ShortcutModifiers modifiers) override;
    void unregisterHotKey(std::uint32_t identifier) override;

public Q_SLOTS:
    // Public: QtDBus delivers signals to public slots only.
    void shortcutPressed(const QString& component, const QString& action, qlonglong timestamp);
    void shortcutReleased(const QString& component, const QString& action, qlonglong timestamp);

private:
    QStringList action(std::uint32_t identifier) const;
    bool watchComponent();
    std::optional<std::uint32_t> registeredIdentifier(const QString& component,
                                                      const QString& action) const;

    MainThreadChecker checker;
    const QHash<std::uint32_t, QString> descriptions;
    const QString component;
    QString componentPath;
    QHash<std::uint32_t, int> registered;
    HeldShortcuts held;
};

} // namespace quendra

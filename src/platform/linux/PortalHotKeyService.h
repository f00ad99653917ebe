#pragma once

#include "HeldShortcuts.h"
#include "ShortcutKeys.h"
#include "model/MainThreadChecker.h"
#include "platform/HotKeyService.h"

#include <QDBusObjectPath>
#include <QHash>
#include <QString>
#include <QVariantMap>

#include <QCoro/QCoroTask>

#include <optional>

namespace quendra {

struct BoundKeys {
    bool known = false; // kglobalaccel answered
    QList<int> codes;
};

struct PortalShortcut;

// Global shortcuts through the desktop portal's GlobalShortcuts interface
// (KDE Plasma 5.27 and later, GNOME 48 and later).
//
// All shortcuts live in one portal session, named by a fixed token so that the
// desktop keeps their binding from one run to the next (KDE names the
// shortcuts' group after it). Each change of the registered shortcuts closes
// the session and opens it again with all of them; registerHotKey only
// answers whether the keys can be named, and a refusal found afterwards comes
// through registrationFailed, the shortcut then being unregistered.
//
// The keys asked for are the application's choice: on KDE, where the desktop
// would otherwise keep the keys it bound first, a binding that differs is
// dropped before the session is opened again, and the binding made is read
// back from kglobalaccel, since the portal reports the keys asked for even
// when another shortcut holds them.
class PortalHotKeyService : public HotKeyService {
    Q_OBJECT
public:
    // descriptions: what each identifier's shortcut does, as the desktop's
    // shortcut settings show it.
    explicit PortalHotKeyService(QHash<std::uint32_t, QString> descriptions = {},
                                 QString sessionToken = desktopShortcutGroup,
                                 QObject* parent = nullptr);
    ~PortalHotKeyService() override;

    // Whether the portal runs here and offers GlobalShortcuts. Waits for the
    // portal's answer (starting it if needed): for choosing a backend at start.
    static bool available();

    std::expected<void, HotKeyServiceError> registerHotKey(std::uint32_t identifier,
                                                           std::uint32_t keysym,
                                                           ShortcutModifiers modifiers) override;
    void unregisterHotKey(std::uint32_t identifier) override;

    // Whether the session holds the registered shortcuts as they are now (for tests).
    bool isBound() const { return !sessionHandle.isEmpty() && !changed && !binding; }

Q_SIGNALS:
    // Each time the session has been opened with the shortcuts of the moment.
    void bound();

public Q_SLOTS:
    // Public: QtDBus delivers signals to public slots only.
    void activated(const QDBusObjectPath& session, const QString& shortcut, qulonglong timestamp,
                   const QVariantMap& options);
    void deactivated(const QDBusObjectPath& session, const QString& shortcut, qulonglong timestamp,
                     const QVariantMap& options);
    void sessionClosed(const QVariantMap& details);

private:
    struct Wanted {
        QString trigger;
        std::optional<int> qtKey;
    };
    QString shortcutId(std::uint32_t identifier) const;
    std::optional<std::uint32_t> identifierOf(const QString& shortcutId) const;
    QString description(std::uint32_t identifier) const;
    QList<PortalShortcut> portalShortcuts(const QHash<std::uint32_t, Wanted>& shortcuts) const;
    QStringList kglobalaccelAction(std::uint32_t identifier) const;
    // The keys kglobalaccel holds for the shortcut (Qt key codes).
    QCoro::Task<BoundKeys> boundKeys(std::uint32_t identifier) const;
    void refuse(std::uint32_t identifier, HotKeyServiceError error);
    void scheduleBind(int delayMs = 0);
    QString takeSession();
    QCoro::Task<> bind();
    QCoro::Task<> forgetOtherBindings(QHash<std::uint32_t, Wanted> shortcuts);
    QCoro::Task<> checkBindings(QHash<std::uint32_t, Wanted> shortcuts);

    MainThreadChecker checker;
    const QHash<std::uint32_t, QString> descriptions;
    const QString token;
    QHash<std::uint32_t, Wanted> wanted;
    QString sessionHandle;
    bool binding = false;
    bool changed = false;
    bool bindScheduled = false;
    HeldShortcuts held;
};

} // namespace quendra

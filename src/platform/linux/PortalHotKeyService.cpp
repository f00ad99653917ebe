#include "PortalHotKeyService.h"

#include "PortalRequest.h"
#include "ShortcutKeys.h"
#include "platform/DesktopBindings.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QPointer>
#include <QSet>
#include <QTimer>

#include <algorithm>
#include <utility>

#include <QCoro/QCoroDBusPendingCall>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quendra {

// A shortcut as the portal passes them: its id and its properties.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

namespace {

const QString shortcutsInterface = u"org.freedesktop.portal.GlobalShortcuts"_s;
const QString kglobalaccelService = u"org.kde.kglobalaccel"_s;
// Answers come at once unless a dialog waits for the user.
constexpr auto requestTimeout = 30s;
constexpr auto dialogTimeout = 10min;

QSet<QString> shortcutIds(const QVariant& shortcuts) {
    QSet<QString> ids;
    if (!shortcuts.isValid())
        return ids;
    for (const PortalShortcut& shortcut : qdbus_cast<QList<PortalShortcut>>(shortcuts))
        ids.insert(shortcut.id);
    return ids;
}

QString objectPathText(const QVariant& value) {
    if (value.canConvert<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    return value.toString();
}

// The calls below are made outside the coroutines, which await only values
// made before: GCC 12 destroys an await expression's temporaries twice, and
// miscompiles braced lists inside coroutines.
QDBusMessage kglobalaccelCall(const QString& method, const QStringList& action) {
    QDBusMessage call = QDBusMessage::createMethodCall(kglobalaccelService, u"/kglobalaccel"_s,
                                                       u"org.kde.KGlobalAccel"_s, method);
    call << action;
    return call;
}

QVariantMap createOptions(const QString& token, const QList<PortalShortcut>& shortcuts) {
    return {{u"session_handle_token"_s, token}, {u"shortcuts"_s, QVariant::fromValue(shortcuts)}};
}

QVariantList sessionArguments(const QString& handle) {
    return {QVariant::fromValue(QDBusObjectPath(handle))};
}

QVariantList bindArguments(const QString& handle, const QList<PortalShortcut>& shortcuts) {
    // The last one names the window a dialog belongs to: none.
    return {QVariant::fromValue(QDBusObjectPath(handle)), QVariant::fromValue(shortcuts),
            QString()};
}

QDBusPendingCall askKglobalaccel(const QString& method, const QStringList& action) {
    return QDBusConnection::sessionBus().asyncCall(kglobalaccelCall(method, action), 5000);
}

QDBusPendingCall closeSession(const QString& handle) {
    return QDBusConnection::sessionBus().asyncCall(portalSessionClose(handle), 5000);
}

// KDE's portal 5.27 binds the shortcuts given here and nothing that
// BindShortcuts asks for later.
QCoro::Task<PortalResponse> createSession(const QString& token,
                                          const QList<PortalShortcut>& shortcuts) {
    return portalRequest(shortcutsInterface, u"CreateSession"_s, QVariantList(),
                         createOptions(token, shortcuts), requestTimeout);
}

QCoro::Task<PortalResponse> listShortcuts(const QString& handle) {
    return portalRequest(shortcutsInterface, u"ListShortcuts"_s, sessionArguments(handle),
                         QVariantMap(), requestTimeout);
}

// The interface's own way, which desktops other than KDE need, and which may
// ask the user first.
QCoro::Task<PortalResponse> bindShortcuts(const QString& handle,
                                          const QList<PortalShortcut>& shortcuts) {
    return portalRequest(shortcutsInterface, u"BindShortcuts"_s, bindArguments(handle, shortcuts),
                         QVariantMap(), dialogTimeout);
}

} // namespace

PortalHotKeyService::PortalHotKeyService(QHash<std::uint32_t, QString> descriptions,
                                         QString sessionToken, QObject* parent)
    : HotKeyService(parent)
    , descriptions(std::move(descriptions))
    , token(std::move(sessionToken)) {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    QDBusConnection bus = QDBusConnection::sessionBus();
    // QtDBus finds the slots by their parameters' registered types.
    qRegisterMetaType<QDBusObjectPath>();
    bus.connect(Portal::service, Portal::path, shortcutsInterface, u"Activated"_s, this,
                SLOT(activated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    bus.connect(Portal::service, Portal::path, shortcutsInterface, u"Deactivated"_s, this,
                SLOT(deactivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    // The next portal started gets the shortcuts again. The session is closed
    // first all the same: the portal itself may still hold it when only its
    // backend stopped, and would refuse a new one under the same token.
    whenPortalSessionsEnd(this, [this] {
        if (!sessionHandle.isEmpty())
            scheduleBind(1000);
    });
}

PortalHotKeyService::~PortalHotKeyService() {
    closePortalSession(sessionHandle);
}

bool PortalHotKeyService::available() {
    return portalInterfaceVersion(shortcutsInterface).has_value();
}

std::expected<void, HotKeyServiceError>
PortalHotKeyService::registerHotKey(std::uint32_t identifier, std::uint32_t keysym,
                                    ShortcutModifiers modifiers) {
    QUENDRA_CHECK_THREAD(checker);
    if (wanted.contains(identifier))
        return std::unexpected(HotKeyServiceError::unavailable);
    const auto trigger = portalTrigger(keysym, modifiers);
    if (!trigger)
        return std::unexpected(HotKeyServiceError::unavailable);
    wanted.insert(identifier, {*trigger, qtKeyCode(keysym, modifiers)});
    scheduleBind();
    return {};
}

void PortalHotKeyService::unregisterHotKey(std::uint32_t identifier) {
    QUENDRA_CHECK_THREAD(checker);
    if (!wanted.remove(identifier))
        return;
    held.forget(identifier);
    scheduleBind();
}

QString PortalHotKeyService::shortcutId(std::uint32_t identifier) const {
    return desktopShortcutName(identifier);
}

std::optional<std::uint32_t> PortalHotKeyService::identifierOf(const QString& shortcutId) const {
    const auto identifier = identifierOfDesktopShortcut(shortcutId);
    if (!identifier || !wanted.contains(*identifier))
        return std::nullopt;
    return identifier;
}

QList<PortalShortcut>
PortalHotKeyService::portalShortcuts(const QHash<std::uint32_t, Wanted>& shortcuts) const {
    // In the order of their identifiers, as a desktop's dialog would list them.
    QList<std::uint32_t> identifiers = shortcuts.keys();
    std::ranges::sort(identifiers);
    QList<PortalShortcut> list;
    for (std::uint32_t identifier : std::as_const(identifiers))
        list << PortalShortcut{shortcutId(identifier),
                               {{u"description"_s, description(identifier)},
                                {u"preferred_trigger"_s, shortcuts.value(identifier).trigger}}};
    return list;
}

QString PortalHotKeyService::description(std::uint32_t identifier) const {
    return descriptions.value(identifier, u"Shortcut %1"_s.arg(identifier));
}

// The portal's shortcut as kglobalaccel knows it: KDE's portal names the
// group after the session's token when the caller has no application id.
QStringList PortalHotKeyService::kglobalaccelAction(std::uint32_t identifier) const {
    return {token, shortcutId(identifier), token, description(identifier)};
}

// A refused shortcut is no longer registered, as one registerHotKey refused
// at once would not be: registering it again asks again.
void PortalHotKeyService::refuse(std::uint32_t identifier, HotKeyServiceError error) {
    if (!wanted.remove(identifier))
        return;
    held.forget(identifier);
    Q_EMIT registrationFailed(identifier, error);
}

void PortalHotKeyService::scheduleBind(int delayMs) {
    changed = true;
    if (binding || bindScheduled)
        return;
    // Registrations made together (each shortcut at start-up) share one session.
    bindScheduled = true;
    QTimer::singleShot(delayMs, this, [this] {
        bindScheduled = false;
        bind();
    });
}

QString PortalHotKeyService::takeSession() {
    if (!sessionHandle.isEmpty())
        QDBusConnection::sessionBus().disconnect(Portal::service, sessionHandle,
                                                 Portal::sessionInterface, u"Closed"_s, this,
                                                 SLOT(sessionClosed(QVariantMap)));
    return std::exchange(sessionHandle, QString());
}

QCoro::Task<> PortalHotKeyService::bind() {
    QPointer<PortalHotKeyService> self(this);
    binding = true;
    while (changed) {
        changed = false;
        // Closed before the next is opened under the same token: the portal
        // handles calls on threads of their own, and one that found the old
        // session still open would refuse the new one and end the old.
        const QString closing = takeSession();
        if (!closing.isEmpty()) {
            const QDBusPendingCall closed = closeSession(closing);
            co_await closed;
            if (!self)
                co_return;
        }
        if (wanted.isEmpty())
            break;
        const auto shortcuts = wanted;
        const QCoro::Task<> forgetting = forgetOtherBindings(shortcuts);
        co_await forgetting;
        if (!self)
            co_return;
        if (changed)
            continue;

        const QList<PortalShortcut> asked = portalShortcuts(shortcuts);
        const QCoro::Task<PortalResponse> creating = createSession(token, asked);
        const PortalResponse created = co_await creating;
        const QString handle = objectPathText(created.results.value(u"session_handle"_s));
        if (!self) {
            closePortalSession(handle);
            co_return;
        }
        if (!created.succeeded() || handle.isEmpty()) {
            qWarning("The desktop's shortcuts portal opened no session: %s",
                     qUtf8Printable(created.describe()));
            if (!changed)
                for (auto it = shortcuts.cbegin(); it != shortcuts.cend(); ++it)
                    refuse(it.key(), HotKeyServiceError::declined);
            continue;
        }
        sessionHandle = handle;
        QDBusConnection::sessionBus().connect(Portal::service, sessionHandle,
                                              Portal::sessionInterface, u"Closed"_s, this,
                                              SLOT(sessionClosed(QVariantMap)));
        if (changed)
            continue;

        const QCoro::Task<PortalResponse> listing = listShortcuts(handle);
        const PortalResponse listed = co_await listing;
        if (!self)
            co_return;
        if (changed)
            continue;
        const QSet<QString> listedIds = shortcutIds(listed.results.value(u"shortcuts"_s));
        QList<PortalShortcut> missing;
        for (const PortalShortcut& shortcut : std::as_const(asked))
            if (!listedIds.contains(shortcut.id))
                missing << shortcut;
        if (!missing.isEmpty()) {
            const QCoro::Task<PortalResponse> asking = bindShortcuts(handle, missing);
            const PortalResponse answer = co_await asking;
            if (!self)
                co_return;
            if (changed)
                continue;
            const QSet<QString> boundIds = shortcutIds(answer.results.value(u"shortcuts"_s));
            for (const PortalShortcut& shortcut : std::as_const(missing))
                if (!boundIds.contains(shortcut.id)) {
                    qWarning("The desktop did not bind the shortcut %s: %s",
                             qUtf8Printable(shortcut.id), qUtf8Printable(answer.describe()));
                    if (const auto identifier = identifierOf(shortcut.id))
                        refuse(*identifier, HotKeyServiceError::declined);
                }
        }
        const QCoro::Task<> checking = checkBindings(shortcuts);
        co_await checking;
        if (!self)
            co_return;
        if (changed)
            continue;
        Q_EMIT bound();
    }
    binding = false;
}

QCoro::Task<BoundKeys> PortalHotKeyService::boundKeys(std::uint32_t identifier) const {
    const QDBusPendingCall asked = askKglobalaccel(u"shortcut"_s, kglobalaccelAction(identifier));
    const QDBusMessage keys = co_await asked;
    // No kglobalaccel (not KDE), or a shortcut it does not know yet.
    if (keys.type() != QDBusMessage::ReplyMessage || keys.arguments().isEmpty())
        co_return BoundKeys{false, {}};
    co_return BoundKeys{true, qdbus_cast<QList<int>>(keys.arguments().constFirst())};
}

// kglobalaccel keeps the keys a shortcut was first bound to whatever the
// portal is asked for later; the application's choice replaces them.
QCoro::Task<> PortalHotKeyService::forgetOtherBindings(QHash<std::uint32_t, Wanted> shortcuts) {
    QPointer<PortalHotKeyService> self(this);
    for (auto it = shortcuts.cbegin(); it != shortcuts.cend(); ++it) {
        if (!it->qtKey)
            continue;
        const QCoro::Task<BoundKeys> asked = boundKeys(it.key());
        const BoundKeys bound = co_await asked;
        if (!self || !bound.known)
            co_return;
        if (bound.codes.isEmpty() || bound.codes.constFirst() == *it->qtKey)
            continue;
        const QDBusPendingCall forgotten =
            askKglobalaccel(u"unRegister"_s, kglobalaccelAction(it.key()));
        co_await forgotten;
        if (!self)
            co_return;
    }
}

QCoro::Task<> PortalHotKeyService::checkBindings(QHash<std::uint32_t, Wanted> shortcuts) {
    QPointer<PortalHotKeyService> self(this);
    for (auto it = shortcuts.cbegin(); it != shortcuts.cend(); ++it) {
        if (!it->qtKey)
            continue;
        const QCoro::Task<BoundKeys> asked = boundKeys(it.key());
        const BoundKeys bound = co_await asked;
        if (!self || changed || !bound.known)
            co_return;
        // Empty when kglobalaccel does not keep this portal's shortcuts.
        if (bound.codes.isEmpty() || bound.codes.constFirst() == *it->qtKey)
            continue;
        qWarning("The desktop bound the shortcut %s to other keys than %s (another shortcut "
                 "holds them)",
                 qUtf8Printable(shortcutId(it.key())), qUtf8Printable(it->trigger));
        refuse(it.key(), HotKeyServiceError::unavailable);
    }
}

void PortalHotKeyService::activated(const QDBusObjectPath& session, const QString& shortcut,
                                    qulonglong, const QVariantMap&) {
    if (session.path() != sessionHandle)
        return;
    if (const auto identifier = identifierOf(shortcut); identifier && held.press(*identifier))
        Q_EMIT pressed(*identifier);
}

void PortalHotKeyService::deactivated(const QDBusObjectPath& session, const QString& shortcut,
                                      qulonglong, const QVariantMap&) {
    if (session.path() != sessionHandle)
        return;
    if (const auto identifier = identifierOf(shortcut); identifier && held.release(*identifier))
        Q_EMIT released(*identifier);
}

void PortalHotKeyService::sessionClosed(const QVariantMap&) {
    // Closed by the desktop, not by us: open it again, not in a tight loop.
    sessionHandle.clear();
    scheduleBind(1000);
}

} // namespace quendra

#include "RemoteDesktopKeyEventPoster.h"

#include "PortalRequest.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QTimer>

#include <xkbcommon/xkbcommon-keysyms.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quendra {

namespace {

const QString remoteDesktopInterface = u"org.freedesktop.portal.RemoteDesktop"_s;
constexpr uint keyboardDevice = 1;
// Quick on KDE; GNOME waits for the user to answer its dialog.
constexpr auto selectTimeout = 30s;
constexpr auto startTimeout = 10min;

QString objectPathText(const QVariant& value) {
    if (value.canConvert<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    return value.toString();
}

// The calls below are made outside the coroutine, which awaits only values
// made before: GCC 12 destroys an await expression's temporaries twice, and
// miscompiles braced lists inside coroutines.
QVariantMap createOptions(const QString& token) {
    return {{u"session_handle_token"_s, token}};
}

QVariantMap keyboardOptions() {
    return {{u"types"_s, keyboardDevice}};
}

QVariantList sessionArguments(const QString& handle) {
    return {QVariant::fromValue(QDBusObjectPath(handle))};
}

QVariantList startArguments(const QString& handle) {
    // The last one names the window a dialog belongs to: none.
    return {QVariant::fromValue(QDBusObjectPath(handle)), QString()};
}

QCoro::Task<PortalResponse> createSession(const QString& token) {
    return portalRequest(remoteDesktopInterface, u"CreateSession"_s, QVariantList(),
                         createOptions(token), selectTimeout);
}

QCoro::Task<PortalResponse> selectKeyboard(const QString& handle) {
    return portalRequest(remoteDesktopInterface, u"SelectDevices"_s, sessionArguments(handle),
                         keyboardOptions(), selectTimeout);
}

QCoro::Task<PortalResponse> startKeyboard(const QString& handle) {
    return portalRequest(remoteDesktopInterface, u"Start"_s, startArguments(handle), QVariantMap(),
                         startTimeout);
}

} // namespace

RemoteDesktopKeyEventPoster::RemoteDesktopKeyEventPoster(QObject* parent)
    : QObject(parent) {
    whenPortalSessionsEnd(this, [this] {
        if (!isStarted())
            return;
        // The portal itself may still hold it when only its backend stopped.
        closePortalSession(sessionHandle);
        forgetSession();
        QTimer::singleShot(1000, this, &RemoteDesktopKeyEventPoster::start);
    });
    start();
}

RemoteDesktopKeyEventPoster::~RemoteDesktopKeyEventPoster() {
    closePortalSession(sessionHandle);
}

bool RemoteDesktopKeyEventPoster::available() {
    return portalInterfaceVersion(remoteDesktopInterface).has_value();
}

void RemoteDesktopKeyEventPoster::start() {
    if (starting || isStarted())
        return;
    starting = true;
    startSession();
}

QCoro::Task<> RemoteDesktopKeyEventPoster::startSession() {
    QPointer<RemoteDesktopKeyEventPoster> self(this);
    static std::uint32_t sessions = 0;
    // A token of its own each time: the one of a session being closed may still be taken.
    const QString token = u"quendra_keys%1"_s.arg(++sessions);
    const QCoro::Task<PortalResponse> creating = createSession(token);
    const PortalResponse created = co_await creating;
    const QString handle = objectPathText(created.results.value(u"session_handle"_s));
    if (!self) {
        closePortalSession(handle);
        co_return;
    }
    QString failure;
    if (!created.succeeded() || handle.isEmpty())
        failure = u"the portal opened no session (%1)"_s.arg(created.describe());
    if (failure.isEmpty()) {
        const QCoro::Task<PortalResponse> selecting = selectKeyboard(handle);
        const PortalResponse selected = co_await selecting;
        if (!self) {
            closePortalSession(handle);
            co_return;
        }
        if (!selected.succeeded())
            failure = u"the keyboard was not granted (%1)"_s.arg(selected.describe());
        refused = selected.cancelled();
    }
    if (failure.isEmpty()) {
        const QCoro::Task<PortalResponse> starting = startKeyboard(handle);
        const PortalResponse startedAnswer = co_await starting;
        if (!self) {
            closePortalSession(handle);
            co_return;
        }
        const uint devices = startedAnswer.results.value(u"devices"_s).toUInt();
        if (!startedAnswer.succeeded())
            failure = u"the session did not start (%1)"_s.arg(startedAnswer.describe());
        else if (!(devices & keyboardDevice))
            failure = u"the session started without a keyboard"_s;
        refused = startedAnswer.cancelled();
    }
    starting = false;
    if (!failure.isEmpty()) {
        closePortalSession(handle);
        qWarning("The desktop's remote keyboard is not available: %s", qUtf8Printable(failure));
        Q_EMIT startFailed(failure);
        co_return;
    }
    sessionHandle = handle;
    QDBusConnection::sessionBus().connect(Portal::service, sessionHandle, Portal::sessionInterface,
                                          u"Closed"_s, this, SLOT(sessionClosed(QVariantMap)));
    Q_EMIT started();
}

void RemoteDesktopKeyEventPoster::forgetSession() {
    if (sessionHandle.isEmpty())
        return;
    QDBusConnection::sessionBus().disconnect(Portal::service, sessionHandle,
                                             Portal::sessionInterface, u"Closed"_s, this,
                                             SLOT(sessionClosed(QVariantMap)));
    sessionHandle.clear();
    Q_EMIT stopped();
}

void RemoteDesktopKeyEventPoster::sessionClosed(const QVariantMap&) {
    forgetSession();
    // Not at once: a desktop that closes every session would be asked in a loop.
    QTimer::singleShot(1000, this, &RemoteDesktopKeyEventPoster::start);
}

void RemoteDesktopKeyEventPoster::sendNextKey() {
    if (sendingKey || keyQueue.isEmpty())
        return;
    if (!isStarted()) {
        keyQueue.clear();
        return;
    }
    const KeyEvent key = keyQueue.takeFirst();
    QDBusMessage call = QDBusMessage::createMethodCall(
        Portal::service, Portal::path, remoteDesktopInterface, u"NotifyKeyboardKeysym"_s);
    call << QVariant::fromValue(QDBusObjectPath(sessionHandle)) << QVariantMap() << int(key.keysym)
         << uint(key.down ? 1 : 0);
    sendingKey = true;
    auto* watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                sendingKey = false;
                if (finished->isError()) {
                    // The session is gone, and with it whatever it held down.
                    qWarning("The desktop refused a key of the remote keyboard: %s",
                             qUtf8Printable(finished->error().message()));
                    keyQueue.clear();
                    forgetSession();
                    start();
                    return;
                }
                sendNextKey();
            });
}

bool RemoteDesktopKeyEventPoster::postPaste(PasteKeys keys) {
    QUENDRA_CHECK_THREAD(checker);
    if (!isStarted()) {
        if (!refused)
            start();
        return false;
    }
    const bool shift = keys == PasteKeys::controlShift;
    keyQueue << KeyEvent{XKB_KEY_Control_L, true};
    if (shift)
        keyQueue << KeyEvent{XKB_KEY_Shift_L, true};
    keyQueue << KeyEvent{XKB_KEY_v, true} << KeyEvent{XKB_KEY_v, false};
    if (shift)
        keyQueue << KeyEvent{XKB_KEY_Shift_L, false};
    keyQueue << KeyEvent{XKB_KEY_Control_L, false};
    sendNextKey();
    return true;
}

} // namespace quendra

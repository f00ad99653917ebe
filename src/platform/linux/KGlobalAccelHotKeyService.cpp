#include "KGlobalAccelHotKeyService.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const QString service = u"org.kde.kglobalaccel"_s;
const QString componentInterface = u"org.kde.kglobalaccel.Component"_s;
// kglobalaccel answers from memory; a second is long enough for a busy desktop.
constexpr int answerTimeout = 2000;
// setShortcut's flags: the action is there to be pressed, and the keys given
// replace the ones stored from before.
constexpr uint setPresent = 2;
constexpr uint noAutoloading = 4;

QDBusMessage kglobalaccelCall(const QString& method, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(service, u"/kglobalaccel"_s,
                                                       u"org.kde.KGlobalAccel"_s, method);
    call.setArguments(arguments);
    return call;
}

} // namespace

KGlobalAccelHotKeyService::KGlobalAccelHotKeyService(QHash<std::uint32_t, QString> descriptions,
                                                     QString component, QObject* parent)
    : HotKeyService(parent)
    , descriptions(std::move(descriptions))
    , component(std::move(component)) {}

KGlobalAccelHotKeyService::~KGlobalAccelHotKeyService() {
    for (auto it = registered.cbegin(); it != registered.cend(); ++it)
        QDBusConnection::sessionBus().asyncCall(
            kglobalaccelCall(u"unRegister"_s, {action(it.key())}));
}

bool KGlobalAccelHotKeyService::available() {
    const QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return bus && bus->isServiceRegistered(service).value();
}

QStringList KGlobalAccelHotKeyService::action(std::uint32_t identifier) const {
    // The group's name as shown is the group's own, as the portal's are.
    return {component, desktopShortcutName(identifier), component,
            descriptions.value(identifier, u"Shortcut %1"_s.arg(identifier))};
}

bool KGlobalAccelHotKeyService::watchComponent() {
    if (!componentPath.isEmpty())
        return true;
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QDBusMessage path =
        bus.call(kglobalaccelCall(u"getComponent"_s, {component}), QDBus::Block, answerTimeout);
    if (path.type() != QDBusMessage::ReplyMessage || path.arguments().isEmpty())
        return false;
    componentPath = path.arguments().constFirst().value<QDBusObjectPath>().path();
    bus.connect(service, componentPath, componentInterface, u"globalShortcutPressed"_s, this,
                SLOT(shortcutPressed(QString, QString, qlonglong)));
    bus.connect(service, componentPath, componentInterface, u"globalShortcutReleased"_s, this,
                SLOT(shortcutReleased(QString, QString, qlonglong)));
    return true;
}

std::expected<void, HotKeyServiceError>
KGlobalAccelHotKeyService::registerHotKey(std::uint32_t identifier, std::uint32_t keysym,
                                          ShortcutModifiers modifiers) {
    QUENDRA_CHECK_THREAD(checker);
    const auto code = qtKeyCode(keysym, modifiers);
    if (registered.contains(identifier) || !code)
        return std::unexpected(HotKeyServiceError::unavailable);
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QStringList keys = action(identifier);
    // The interface forces an answer now: waited for, as briefly as kglobalaccel allows.
    const QDBusMessage registeredAction =
        bus.call(kglobalaccelCall(u"doRegister"_s, {keys}), QDBus::Block, answerTimeout);
    if (registeredAction.type() != QDBusMessage::ReplyMessage) {
        qWarning("kglobalaccel did not take the shortcut: %s",
                 qUtf8Printable(registeredAction.errorMessage()));
        return std::unexpected(HotKeyServiceError::unavailable);
    }
    const QDBusMessage set =
        bus.call(kglobalaccelCall(u"setShortcut"_s, {keys, QVariant::fromValue(QList<int>{*code}),
                                                     setPresent | noAutoloading}),
                 QDBus::Block, answerTimeout);
    const QList<int> given = set.type() == QDBusMessage::ReplyMessage && !set.arguments().isEmpty()
                                 ? qdbus_cast<QList<int>>(set.arguments().constFirst())
                                 : QList<int>();
    // Keys another shortcut holds are left out of the answer.
    if (given.value(0) != *code || !watchComponent()) {
        bus.asyncCall(kglobalaccelCall(u"unRegister"_s, {keys}));
        return std::unexpected(HotKeyServiceError::unavailable);
    }
    registered.insert(identifier, *code);
    return {};
}

void KGlobalAccelHotKeyService::unregisterHotKey(std::uint32_t identifier) {
    QUENDRA_CHECK_THREAD(checker);
    if (!registered.remove(identifier))
        return;
    held.forget(identifier);
    // Removed, not only made inactive, so that the keys are free for others.
    QDBusConnection::sessionBus().asyncCall(
        kglobalaccelCall(u"unRegister"_s, {action(identifier)}));
}

std::optional<std::uint32_t>
KGlobalAccelHotKeyService::registeredIdentifier(const QString& pressedComponent,
                                                const QString& pressedAction) const {
    if (pressedComponent != component)
        return std::nullopt;
    const auto identifier = identifierOfDesktopShortcut(pressedAction);
    if (!identifier || !registered.contains(*identifier))
        return std::nullopt;
    return identifier;
}

void KGlobalAccelHotKeyService::shortcutPressed(const QString& pressedComponent,
                                                const QString& pressedAction, qlonglong) {
    const auto identifier = registeredIdentifier(pressedComponent, pressedAction);
    if (identifier && held.press(*identifier))
        Q_EMIT pressed(*identifier);
}

void KGlobalAccelHotKeyService::shortcutReleased(const QString& pressedComponent,
                                                 const QString& pressedAction, qlonglong) {
    const auto identifier = registeredIdentifier(pressedComponent, pressedAction);
    if (identifier && held.release(*identifier))
        Q_EMIT released(*identifier);
}

} // namespace quendra

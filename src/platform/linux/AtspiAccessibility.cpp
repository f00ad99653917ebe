#include "AtspiAccessibility.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDateTime>
#include <QQueue>

#include <X11/Xlib.h>
#include <atspi/atspi.h>

#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

using Accessible = GObjectRef<AtspiAccessible>;

// Owns one reference to an accessible; equal when bus name and path match.
class AtspiElement : public ElementHandle {
public:
    explicit AtspiElement(Accessible accessible)
        : accessible(std::move(accessible)) {}
    bool equals(const ElementHandle& other) const override {
        const auto* that = dynamic_cast<const AtspiElement*>(&other);
        if (!that)
            return false;
        const auto* a = ATSPI_OBJECT(accessible.get());
        const auto* b = ATSPI_OBJECT(that->accessible.get());
        return a == b || (a->app && b->app && std::strcmp(a->path, b->path) == 0 &&
                          std::strcmp(a->app->bus_name, b->app->bus_name) == 0);
    }
    const Accessible accessible;
};

Element wrap(Accessible accessible) {
    if (!accessible)
        return {};
    return std::make_shared<AtspiElement>(std::move(accessible));
}

// Takes over the reference the caller owns.
Element adopt(AtspiAccessible* accessible) {
    return wrap(Accessible::adopt(accessible));
}

AtspiAccessible* raw(const Element& element) {
    const auto* handle = dynamic_cast<const AtspiElement*>(element.get());
    return handle ? handle->accessible.get() : nullptr;
}

// Failed reads count as absent values: the error is dropped.
struct Error {
    GError* error = nullptr;
    ~Error() { g_clear_error(&error); }
    GError** operator&() { return &error; }
    explicit operator bool() const { return error != nullptr; }
};

QString takeString(gchar* text) {
    if (!text)
        return {};
    QString result = QString::fromUtf8(text);
    g_free(text);
    return result;
}

std::optional<AtspiRole> atspiRoleOf(AtspiAccessible* accessible) {
    Error error;
    const AtspiRole role = atspi_accessible_get_role(accessible, &error);
    if (error)
        return std::nullopt;
    return role;
}

bool hasState(AtspiAccessible* accessible, AtspiStateType state) {
    const auto states =
        GObjectRef<AtspiStateSet>::adopt(atspi_accessible_get_state_set(accessible));
    return states && atspi_state_set_contains(states.get(), state);
}

// The AT-SPI vocabulary in the terms of Accessibility.h: roles, events and
// actions are translated here and nowhere else.

AccessibleRole translateRole(AtspiRole role, AtspiAccessible* accessible) {
    switch (role) {
    case ATSPI_ROLE_APPLICATION:
        return AccessibleRole::application;
    case ATSPI_ROLE_FRAME:
    case ATSPI_ROLE_WINDOW:
    case ATSPI_ROLE_DIALOG:
    case ATSPI_ROLE_ALERT:
    case ATSPI_ROLE_FILE_CHOOSER:
        return AccessibleRole::window;
    case ATSPI_ROLE_TEXT:
        return hasState(accessible, ATSPI_STATE_MULTI_LINE) ? AccessibleRole::text
                                                            : AccessibleRole::entry;
    case ATSPI_ROLE_ENTRY:
        return AccessibleRole::entry;
    case ATSPI_ROLE_PASSWORD_TEXT:
        return AccessibleRole::passwordText;
    case ATSPI_ROLE_TERMINAL:
        return AccessibleRole::terminal;
    case ATSPI_ROLE_SPIN_BUTTON:
        return AccessibleRole::spinButton;
    case ATSPI_ROLE_COMBO_BOX:
        return AccessibleRole::comboBox;
    case ATSPI_ROLE_PUSH_BUTTON:
        return AccessibleRole::pushButton;
    case ATSPI_ROLE_TOGGLE_BUTTON:
        return AccessibleRole::toggleButton;
    case ATSPI_ROLE_CHECK_BOX:
        return AccessibleRole::checkBox;
    case ATSPI_ROLE_RADIO_BUTTON:
        return AccessibleRole::radioButton;
    case ATSPI_ROLE_LINK:
        return AccessibleRole::link;
    case ATSPI_ROLE_MENU:
        return AccessibleRole::menu;
    case ATSPI_ROLE_SCROLL_BAR:
        return AccessibleRole::scrollBar;
    case ATSPI_ROLE_SLIDER:
        return AccessibleRole::slider;
    case ATSPI_ROLE_PAGE_TAB:
        return AccessibleRole::pageTab;
    case ATSPI_ROLE_LABEL:
    case ATSPI_ROLE_STATIC:
        return AccessibleRole::label;
    case ATSPI_ROLE_DOCUMENT_WEB:
        return AccessibleRole::documentWeb;
    case ATSPI_ROLE_SECTION:
    case ATSPI_ROLE_PARAGRAPH:
        // A contenteditable region of a web page.
        return hasState(accessible, ATSPI_STATE_EDITABLE) ? AccessibleRole::text
                                                          : AccessibleRole::other;
    default:
        return AccessibleRole::other;
    }
}

std::optional<AccessibleRole> roleOf(AtspiAccessible* accessible) {
    const auto role = atspiRoleOf(accessible);
    if (!role)
        return std::nullopt;
    return translateRole(*role, accessible);
}

// The events the listener registers for; the focus event is kept apart
// because it also updates the remembered focused element.
constexpr const char* focusEvent = "object:state-changed:focused";
constexpr const char* listenedEvents[] = {focusEvent,
                                          "object:text-changed",
                                          "object:bounds-changed",
                                          "object:children-changed",
                                          "object:state-changed:defunct",
                                          "window:activate",
                                          "window:deactivate",
                                          "window:create"};

struct TranslatedEvent {
    QList<AccessibilityNotification> notifications;
    // Whether the event's source is the element it is about, or the
    // notification belongs to the application.
    bool aboutSource = true;
};

std::optional<TranslatedEvent> translateEvent(const char* type) {
    using N = AccessibilityNotification;
    const auto is = [type](const char* prefix) {
        return std::strncmp(type, prefix, std::strlen(prefix)) == 0;
    };
    if (is(focusEvent))
        return TranslatedEvent{{N::focusedElementChanged}, false};
    if (is("object:text-changed"))
        return TranslatedEvent{{N::valueChanged}};
    // One change of bounds is one notification, whichever was asked for.
    if (is("object:bounds-changed"))
        return TranslatedEvent{{N::moved, N::resized}};
    if (is("object:children-changed:add"))
        return TranslatedEvent{{N::created}};
    if (is("object:children-changed:remove") || is("object:state-changed:defunct"))
        return TranslatedEvent{{N::destroyed}};
    if (is("window:activate"))
        return TranslatedEvent{{N::focusedWindowChanged}, false};
    if (is("window:create"))
        return TranslatedEvent{{N::windowCreated}, false};
    return std::nullopt;
}

std::optional<AccessibleAction> translateAction(const QString& name) {
    if (name == u"click"_s || name == u"press"_s || name == u"activate"_s || name == u"jump"_s)
        return AccessibleAction::press;
    if (name == u"showmenu"_s || name == u"popup"_s)
        return AccessibleAction::showMenu;
    return std::nullopt;
}

qint64 processOf(AtspiAccessible* accessible) {
    Error error;
    const guint pid = atspi_accessible_get_process_id(accessible, &error);
    return error ? 0 : qint64(pid);
}

QString textOf(AtspiAccessible* accessible) {
    const auto text = GObjectRef<AtspiText>::adopt(atspi_accessible_get_text_iface(accessible));
    if (!text)
        return {};
    Error error;
    const gint count = atspi_text_get_character_count(text.get(), &error);
    return error ? QString() : takeString(atspi_text_get_text(text.get(), 0, count, &error));
}

// AT-SPI counts characters (code points); the rest of the code counts UTF-16 units.
qsizetype utf16Offset(const QString& text, gint characters) {
    qsizetype units = 0;
    for (gint i = 0; i < characters && units < text.size(); ++i)
        units += text.at(units).isHighSurrogate() && units + 1 < text.size() ? 2 : 1;
    return units;
}

} // namespace

class AtspiObserver : public AccessibilityObserver {
public:
    AtspiObserver(AtspiAccessibility& owner, qint64 processId,
                  Accessibility::NotificationHandler handler)
        : owner(owner)
        , processId(processId)
        , handler(std::move(handler)) {
        owner.observers.append(this);
    }
    ~AtspiObserver() override { owner.observers.removeOne(this); }

    bool addNotification(const Element& element, AccessibilityNotification notification) override {
        QUENDRA_CHECK_THREAD(owner.checker);
        if (!raw(element))
            return false;
        for (const Registration& known : std::as_const(registrations))
            if (known.notification == notification && sameElement(known.element, element))
                return false;
        // Read once here rather than on every event of the process.
        const auto role = roleOf(raw(element));
        const bool window = role == AccessibleRole::window;
        registrations.append({element, notification, role == AccessibleRole::application, window});
        if ((notification == AccessibilityNotification::moved ||
             notification == AccessibilityNotification::resized) &&
            window)
            owner.watchWindowsOf(processId);
        return true;
    }
    void removeNotification(const Element& element,
                            AccessibilityNotification notification) override {
        QUENDRA_CHECK_THREAD(owner.checker);
        registrations.removeIf([&](const Registration& r) {
            return r.notification == notification && sameElement(r.element, element);
        });
    }

    struct Registration {
        Element element;
        AccessibilityNotification notification;
        bool application;
        bool window;
    };
    AtspiAccessibility& owner;
    qint64 processId;
    Accessibility::NotificationHandler handler;
    QList<Registration> registrations;
};

AtspiAccessibility::AtspiAccessibility() {
    atspi_init();
    listener = GObjectRef<AtspiEventListener>::adopt(
        atspi_event_listener_new(&AtspiAccessibility::onEvent, this, nullptr));
    for (const char* type : listenedEvents)
        atspi_event_listener_register(listener.get(), type, nullptr);
}

void AtspiAccessibility::watchWindowsOf(qint64 processId) {
    if (!x.isOpen())
        return;
    if (!windowNotifier) {
        windowNotifier =
            std::make_unique<QSocketNotifier>(x.fileDescriptor(), QSocketNotifier::Read);
        QObject::connect(windowNotifier.get(), &QSocketNotifier::activated,
                         [this] { processWindowEvents(); });
    }
    const XAtom pidAtom = x.atom("_NET_WM_PID");
    for (XWindow window : x.windowListProperty(x.root(), x.atom("_NET_CLIENT_LIST"))) {
        if (watchedWindows.contains(window) ||
            x.cardinalProperty(window, pidAtom) != std::uint32_t(processId))
            continue;
        XSelectInput(x.get(), window, StructureNotifyMask);
        watchedWindows.insert(window, processId);
    }
    XFlush(x.get());
}

void AtspiAccessibility::processWindowEvents() {
    QSet<qint64> moved;
    while (XPending(x.get())) {
        XEvent event;
        XNextEvent(x.get(), &event);
        if (event.type == ConfigureNotify)
            moved.insert(watchedWindows.value(event.xconfigure.window));
        else if (event.type == DestroyNotify)
            watchedWindows.remove(event.xdestroywindow.window);
    }
    for (qint64 pid : std::as_const(moved)) {
        QList<std::pair<AtspiObserver*, Element>> targets;
        for (AtspiObserver* observer : std::as_const(observers))
            if (observer->processId == pid)
                for (const auto& r : std::as_const(observer->registrations))
                    if (r.notification == AccessibilityNotification::moved && r.window) {
                        targets.append({observer, r.element});
                        break;
                    }
        for (const auto& [observer, element] : targets)
            if (observers.contains(observer))
                observer->handler(AccessibilityNotification::moved, element);
    }
}

AtspiAccessibility::~AtspiAccessibility() {
    if (listener) {
        atspi_event_listener_deregister(listener.get(), "object:", nullptr);
        atspi_event_listener_deregister(listener.get(), "window:", nullptr);
    }
}

bool AtspiAccessibility::busEnabled() {
    QDBusMessage get = QDBusMessage::createMethodCall(
        u"org.a11y.Bus"_s, u"/org/a11y/bus"_s, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    get << u"org.a11y.Status"_s << u"IsEnabled"_s;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(get, QDBus::Block, 2000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return false;
    return reply.arguments().first().value<QDBusVariant>().variant().toBool();
}

bool AtspiAccessibility::isTrusted() {
    QUENDRA_CHECK_THREAD(checker);
    // Asked four times a second by the tracker: one D-Bus call a second is plenty.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (trustCheckedAtMs < 0 || now - trustCheckedAtMs > 1000) {
        trusted = busEnabled();
        trustCheckedAtMs = now;
    }
    return trusted;
}

void AtspiAccessibility::onEvent(AtspiEvent* event, void* self) {
    static_cast<AtspiAccessibility*>(self)->handleEvent(event);
    g_boxed_free(ATSPI_TYPE_EVENT, event);
}

void AtspiAccessibility::handleEvent(AtspiEvent* event) {
    if (!event->source || !event->type)
        return;
    const bool activated =
        std::strcmp(event->type, "window:activate") == 0 ||
        (std::strncmp(event->type, focusEvent, std::strlen(focusEvent)) == 0 && event->detail1);
    const bool deactivated = std::strcmp(event->type, "window:deactivate") == 0;
    if (activationHandler && (activated || deactivated))
        activationHandler(processOf(event->source), activated);
    const auto translated = translateEvent(event->type);
    if (!translated)
        return;
    const Element source = wrap(Accessible::share(event->source));
    const qint64 pid = processOf(event->source);
    if (translated->notifications.contains(AccessibilityNotification::focusedElementChanged)) {
        if (!event->detail1) {
            if (sameElement(focusedByProcess.value(pid), source))
                focusedByProcess.remove(pid);
            return;
        }
        // GTK announces each focus gain twice.
        if (sameElement(focusedByProcess.value(pid), source))
            return;
        focusedByProcess.insert(pid, source);
    }
    deliver(pid, translated->notifications, translated->aboutSource ? source : Element());
}

void AtspiAccessibility::deliver(qint64 processId,
                                 const QList<AccessibilityNotification>& notifications,
                                 const Element& source) {
    struct Delivery {
        AtspiObserver* observer;
        AccessibilityNotification notification;
        Element element;
    };
    QList<Delivery> targets;
    for (AtspiObserver* observer : std::as_const(observers)) {
        if (observer->processId != processId)
            continue;
        for (const auto& r : std::as_const(observer->registrations)) {
            if (!notifications.contains(r.notification))
                continue;
            if ((!source && r.application) || (source && sameElement(r.element, source))) {
                targets.append({observer, r.notification, source ? source : r.element});
                break;
            }
        }
    }
    for (const Delivery& delivery : targets)
        if (observers.contains(delivery.observer))
            delivery.observer->handler(delivery.notification, delivery.element);
}

void AtspiAccessibility::setActivationHandler(ActivationHandler handler) {
    QUENDRA_CHECK_THREAD(checker);
    activationHandler = std::move(handler);
}

QList<AtspiAccessibility::RunningProcess> AtspiAccessibility::applications() {
    QUENDRA_CHECK_THREAD(checker);
    QList<RunningProcess> result;
    const Element desktop = adopt(atspi_get_desktop(0));
    if (!desktop)
        return result;
    for (const Element& app : children(desktop)) {
        const qint64 pid = processOf(raw(app));
        if (pid <= 0)
            continue;
        // Asking ourselves over the bus would wait on the thread that asks.
        if (pid == QCoreApplication::applicationPid()) {
            result.append({pid, QCoreApplication::applicationName()});
            continue;
        }
        applicationsByProcess.insert(pid, app);
        Error error;
        result.append({pid, takeString(atspi_accessible_get_name(raw(app), &error))});
    }
    return result;
}

bool AtspiAccessibility::hasActiveWindow(qint64 processId) {
    QUENDRA_CHECK_THREAD(checker);
    if (processId == QCoreApplication::applicationPid())
        return false; // the caller knows its own windows
    const Element app = applicationElement(processId);
    if (!app)
        return false;
    for (const Element& window : children(app))
        if (hasState(raw(window), ATSPI_STATE_ACTIVE))
            return true;
    return false;
}

Element AtspiAccessibility::applicationElement(qint64 processId) {
    QUENDRA_CHECK_THREAD(checker);
    // Polled four times a second: one read confirms the remembered element
    // instead of a walk over every application on the desktop.
    if (const Element known = applicationsByProcess.value(processId)) {
        if (processOf(raw(known)) == processId)
            return known;
        applicationsByProcess.remove(processId);
    }
    const auto desktop = Accessible::adopt(atspi_get_desktop(0));
    if (!desktop)
        return {};
    Element found;
    Error error;
    const gint count = atspi_accessible_get_child_count(desktop.get(), &error);
    for (gint i = 0; i < count && !found; ++i) {
        Error childError;
        auto app =
            Accessible::adopt(atspi_accessible_get_child_at_index(desktop.get(), i, &childError));
        if (app && processOf(app.get()) == processId)
            found = wrap(std::move(app));
    }
    if (found)
        applicationsByProcess.insert(processId, found);
    return found;
}

std::optional<AccessibleRole> AtspiAccessibility::role(const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    AtspiAccessible* accessible = raw(element);
    return accessible ? roleOf(accessible) : std::nullopt;
}

std::optional<QString> AtspiAccessibility::stringAttribute(const Element& element,
                                                           AccessibleStringAttribute attribute) {
    QUENDRA_CHECK_THREAD(checker);
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return std::nullopt;
    switch (attribute) {
    case AccessibleStringAttribute::name: {
        Error error;
        const QString title = takeString(atspi_accessible_get_name(accessible, &error));
        return error ? std::nullopt : std::optional(title);
    }
    case AccessibleStringAttribute::value:
        if (!GObjectRef<AtspiText>::adopt(atspi_accessible_get_text_iface(accessible)))
            return std::nullopt;
        return textOf(accessible);
    case AccessibleStringAttribute::documentAddress: {
        const auto document =
            GObjectRef<AtspiDocument>::adopt(atspi_accessible_get_document_iface(accessible));
        if (!document)
            return std::nullopt;
        Error error;
        gchar* url = atspi_document_get_document_attribute_value(
            document.get(), const_cast<gchar*>("DocURL"), &error);
        if (error || !url) {
            g_free(url);
            return std::nullopt;
        }
        return takeString(url);
    }
    }
    return std::nullopt;
}

Element AtspiAccessibility::elementAttribute(const Element& element,
                                             AccessibleElementAttribute attribute) {
    QUENDRA_CHECK_THREAD(checker);
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return {};
    switch (attribute) {
    case AccessibleElementAttribute::parent: {
        if (atspiRoleOf(accessible) == ATSPI_ROLE_APPLICATION)
            return {}; // the desktop above is no element of the application
        Error error;
        return adopt(atspi_accessible_get_parent(accessible, &error));
    }
    case AccessibleElementAttribute::window: {
        auto current = Accessible::share(accessible);
        for (int depth = 0; current && depth < 64; ++depth) {
            const auto atspiRole = atspiRoleOf(current.get());
            if (!atspiRole)
                break;
            if (translateRole(*atspiRole, current.get()) == AccessibleRole::window)
                return wrap(std::move(current));
            if (*atspiRole == ATSPI_ROLE_APPLICATION || *atspiRole == ATSPI_ROLE_DESKTOP_FRAME)
                break;
            Error parentError;
            current = Accessible::adopt(atspi_accessible_get_parent(current.get(), &parentError));
        }
        return {};
    }
    case AccessibleElementAttribute::focusedElement:
        if (atspiRoleOf(accessible) == ATSPI_ROLE_APPLICATION)
            return focusedIn(processOf(accessible));
        return {};
    }
    return {};
}

Element AtspiAccessibility::focusedIn(qint64 processId) {
    // The element the last focus event named, confirmed with one state read.
    if (const Element known = focusedByProcess.value(processId)) {
        if (hasState(raw(known), ATSPI_STATE_FOCUSED))
            return known;
        focusedByProcess.remove(processId);
    }
    const Element application = applicationElement(processId);
    if (!application)
        return {};
    const Element found = searchFocused(raw(application));
    if (found)
        focusedByProcess.insert(processId, found);
    return found;
}

// Breadth first through the active window (or every window), bounded.
Element AtspiAccessibility::searchFocused(AtspiAccessible* application) {
    QQueue<Element> queue;
    Error error;
    const gint windows = atspi_accessible_get_child_count(application, &error);
    QList<Element> all;
    for (gint i = 0; i < windows; ++i) {
        Error childError;
        const Element window =
            adopt(atspi_accessible_get_child_at_index(application, i, &childError));
        if (!window)
            continue;
        all.append(window);
        if (hasState(raw(window), ATSPI_STATE_ACTIVE))
            queue.enqueue(window);
    }
    if (queue.isEmpty())
        for (const Element& window : all)
            queue.enqueue(window);
    for (int visited = 0; !queue.isEmpty() && visited < 400; ++visited) {
        const Element current = queue.dequeue();
        const auto states =
            GObjectRef<AtspiStateSet>::adopt(atspi_accessible_get_state_set(raw(current)));
        if (states && atspi_state_set_contains(states.get(), ATSPI_STATE_FOCUSED))
            return current;
        if (states && !atspi_state_set_contains(states.get(), ATSPI_STATE_SHOWING))
            continue;
        Error countError;
        const gint count = atspi_accessible_get_child_count(raw(current), &countError);
        for (gint i = 0; i < count && i < 200; ++i) {
            Error childError;
            if (const Element child =
                    adopt(atspi_accessible_get_child_at_index(raw(current), i, &childError)))
                queue.enqueue(child);
        }
    }
    return {};
}

QList<Element> AtspiAccessibility::children(const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    QList<Element> result;
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return result;
    Error error;
    const gint count = atspi_accessible_get_child_count(accessible, &error);
    for (gint i = 0; i < count && i < 500; ++i) {
        Error childError;
        if (const Element child =
                adopt(atspi_accessible_get_child_at_index(accessible, i, &childError)))
            result.append(child);
    }
    return result;
}

std::optional<QRectF> AtspiAccessibility::frame(const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    AtspiAccessible* accessible = raw(element);
    const auto component = GObjectRef<AtspiComponent>::adopt(
        accessible ? atspi_accessible_get_component_iface(accessible) : nullptr);
    if (!component)
        return std::nullopt;
    Error error;
    AtspiRect* rect = atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, &error);
    if (error || !rect) {
        g_free(rect);
        return std::nullopt;
    }
    const QRectF result(rect->x, rect->y, rect->width, rect->height);
    g_free(rect);
    if (result.width() < 0 || result.height() < 0)
        return std::nullopt;
    return result;
}

std::optional<TextRange> AtspiAccessibility::selectedTextRange(const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    AtspiAccessible* accessible = raw(element);
    const auto text = GObjectRef<AtspiText>::adopt(
        accessible ? atspi_accessible_get_text_iface(accessible) : nullptr);
    if (!text)
        return std::nullopt;
    const QString content = textOf(accessible);
    Error error;
    gint start = atspi_text_get_caret_offset(text.get(), &error);
    if (error)
        return std::nullopt;
    gint end = start;
    Error selectionError;
    if (atspi_text_get_n_selections(text.get(), &selectionError) > 0) {
        if (AtspiRange* range = atspi_text_get_selection(text.get(), 0, &selectionError)) {
            start = range->start_offset;
            end = range->end_offset;
            g_free(range);
        }
    }
    const qsizetype from = utf16Offset(content, start);
    return TextRange{from, utf16Offset(content, end) - from};
}

QList<AccessibleAction> AtspiAccessibility::actions(const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    QList<AccessibleAction> result;
    AtspiAccessible* accessible = raw(element);
    const auto action = GObjectRef<AtspiAction>::adopt(
        accessible ? atspi_accessible_get_action_iface(accessible) : nullptr);
    if (!action)
        return result;
    Error error;
    const gint count = atspi_action_get_n_actions(action.get(), &error);
    for (gint i = 0; i < count; ++i) {
        Error nameError;
        const auto translated =
            translateAction(takeString(atspi_action_get_action_name(action.get(), i, &nameError)));
        if (translated && !result.contains(*translated))
            result.append(*translated);
    }
    return result;
}

bool AtspiAccessibility::canSetSelectedText(const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return false;
    // Qt Quick fields lack the editable-text interface yet take a paste.
    if (!GObjectRef<AtspiText>::adopt(atspi_accessible_get_text_iface(accessible)))
        return false;
    return hasState(accessible, ATSPI_STATE_EDITABLE);
}

std::expected<void, FocusError> AtspiAccessibility::setFocused(const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return std::unexpected(FocusError::noElement);
    const auto component =
        GObjectRef<AtspiComponent>::adopt(atspi_accessible_get_component_iface(accessible));
    if (!component)
        return std::unexpected(FocusError::notFocusable);
    Error error;
    const gboolean done = atspi_component_grab_focus(component.get(), &error);
    if (!done || error)
        return std::unexpected(FocusError::refused);
    return {};
}

bool AtspiAccessibility::setSelectedText(const Element& element, const QString& text) {
    QUENDRA_CHECK_THREAD(checker);
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return false;
    const auto editable =
        GObjectRef<AtspiEditableText>::adopt(atspi_accessible_get_editable_text_iface(accessible));
    const auto plain = GObjectRef<AtspiText>::adopt(atspi_accessible_get_text_iface(accessible));
    if (!editable || !plain)
        return false;
    Error error;
    gint caret = atspi_text_get_caret_offset(plain.get(), &error);
    if (atspi_text_get_n_selections(plain.get(), &error) > 0)
        if (AtspiRange* range = atspi_text_get_selection(plain.get(), 0, &error)) {
            if (range->end_offset > range->start_offset) {
                atspi_editable_text_delete_text(editable.get(), range->start_offset,
                                                range->end_offset, &error);
                caret = range->start_offset;
            }
            g_free(range);
        }
    if (caret < 0)
        caret = atspi_text_get_character_count(plain.get(), &error);
    g_clear_error(&error);
    // The length is in bytes of UTF-8; a character count cuts non-ASCII text short.
    const QByteArray utf8 = text.toUtf8();
    const gboolean done = atspi_editable_text_insert_text(editable.get(), caret, utf8.constData(),
                                                          utf8.size(), &error);
    return done && !error;
}

Element AtspiAccessibility::elementAtPosition(QPointF point) {
    QUENDRA_CHECK_THREAD(checker);
    const Element desktop = adopt(atspi_get_desktop(0));
    if (!desktop)
        return {};
    const int px = int(point.x()), py = int(point.y());
    // Windows holding the point, active ones first.
    QList<Element> candidates;
    for (const Element& app : children(desktop)) {
        // Our own windows could not answer while we wait on them, and are
        // never what sits under the point for the caller.
        if (processOf(raw(app)) == QCoreApplication::applicationPid())
            continue;
        for (const Element& window : children(app)) {
            const auto bounds = frame(window);
            if (!bounds || !bounds->contains(point) || !hasState(raw(window), ATSPI_STATE_SHOWING))
                continue;
            if (hasState(raw(window), ATSPI_STATE_ACTIVE))
                candidates.prepend(window);
            else
                candidates.append(window);
        }
    }
    if (candidates.isEmpty())
        return {};
    // Hit testing answers one level at a time.
    Element current = candidates.first();
    for (int depth = 0; depth < 32; ++depth) {
        const auto component =
            GObjectRef<AtspiComponent>::adopt(atspi_accessible_get_component_iface(raw(current)));
        if (!component)
            break;
        Error error;
        const Element next = adopt(atspi_component_get_accessible_at_point(
            component.get(), px, py, ATSPI_COORD_TYPE_SCREEN, &error));
        if (!next || sameElement(next, current))
            break;
        current = next;
    }
    return current;
}

std::unique_ptr<AccessibilityObserver>
AtspiAccessibility::createObserver(qint64 processId, NotificationHandler handler) {
    QUENDRA_CHECK_THREAD(checker);
    return std::make_unique<AtspiObserver>(*this, processId, std::move(handler));
}

} // namespace quendra

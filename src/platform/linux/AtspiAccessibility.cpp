#include "AtspiAccessibility.h"

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

// Owns one reference to an accessible; equal when bus name and path match.
class AtspiElement : public ElementHandle {
public:
    explicit AtspiElement(AtspiAccessible* accessible)
        : accessible(accessible) {}
    ~AtspiElement() override { g_object_unref(accessible); }
    bool equals(const ElementHandle& other) const override {
        const auto* that = dynamic_cast<const AtspiElement*>(&other);
        if (!that)
            return false;
        const auto* a = ATSPI_OBJECT(accessible);
        const auto* b = ATSPI_OBJECT(that->accessible);
        return a == b || (a->app && b->app && std::strcmp(a->path, b->path) == 0 &&
                          std::strcmp(a->app->bus_name, b->app->bus_name) == 0);
    }
    AtspiAccessible* accessible;
};

// Takes over the reference the caller owns.
Element adopt(AtspiAccessible* accessible) {
    if (!accessible)
        return {};
    return std::make_shared<AtspiElement>(accessible);
}

AtspiAccessible* raw(const Element& element) {
    const auto* handle = dynamic_cast<const AtspiElement*>(element.get());
    return handle ? handle->accessible : nullptr;
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

AtspiRole roleOf(AtspiAccessible* accessible) {
    Error error;
    return atspi_accessible_get_role(accessible, &error);
}

bool hasState(AtspiAccessible* accessible, AtspiStateType state) {
    AtspiStateSet* states = atspi_accessible_get_state_set(accessible);
    if (!states)
        return false;
    const bool present = atspi_state_set_contains(states, state);
    g_object_unref(states);
    return present;
}

bool isWindowRole(AtspiRole role) {
    return role == ATSPI_ROLE_FRAME || role == ATSPI_ROLE_WINDOW || role == ATSPI_ROLE_DIALOG ||
           role == ATSPI_ROLE_ALERT || role == ATSPI_ROLE_FILE_CHOOSER;
}

std::optional<QString> translatedRole(AtspiAccessible* accessible) {
    Error error;
    const AtspiRole role = atspi_accessible_get_role(accessible, &error);
    if (error)
        return std::nullopt;
    switch (role) {
    case ATSPI_ROLE_TEXT:
    case ATSPI_ROLE_TERMINAL:
        return hasState(accessible, ATSPI_STATE_MULTI_LINE) || role == ATSPI_ROLE_TERMINAL
                   ? u"AXTextArea"_s
                   : u"AXTextField"_s;
    case ATSPI_ROLE_ENTRY:
    case ATSPI_ROLE_PASSWORD_TEXT:
    case ATSPI_ROLE_SPIN_BUTTON:
        return u"AXTextField"_s;
    case ATSPI_ROLE_PUSH_BUTTON:
        return u"AXButton"_s;
    case ATSPI_ROLE_TOGGLE_BUTTON:
    case ATSPI_ROLE_CHECK_BOX:
        return u"AXCheckBox"_s;
    case ATSPI_ROLE_RADIO_BUTTON:
        return u"AXRadioButton"_s;
    case ATSPI_ROLE_COMBO_BOX:
        return u"AXComboBox"_s;
    case ATSPI_ROLE_LINK:
        return u"AXLink"_s;
    case ATSPI_ROLE_SCROLL_BAR:
        return u"AXScrollBar"_s;
    case ATSPI_ROLE_SLIDER:
        return u"AXSlider"_s;
    case ATSPI_ROLE_PAGE_TAB:
        return u"AXTab"_s;
    case ATSPI_ROLE_DOCUMENT_WEB:
        return u"AXWebArea"_s;
    case ATSPI_ROLE_APPLICATION:
        return u"AXApplication"_s;
    case ATSPI_ROLE_LABEL:
    case ATSPI_ROLE_STATIC:
        return u"AXStaticText"_s;
    case ATSPI_ROLE_MENU:
        return u"AXMenuButton"_s;
    case ATSPI_ROLE_SECTION:
    case ATSPI_ROLE_PARAGRAPH:
        // A contenteditable region of a web page.
        return hasState(accessible, ATSPI_STATE_EDITABLE) ? u"AXTextArea"_s : u"AXGroup"_s;
    default:
        break;
    }
    if (isWindowRole(role))
        return u"AXWindow"_s;
    return u"AXGroup"_s;
}

std::optional<QString> translatedSubrole(AtspiAccessible* accessible) {
    switch (roleOf(accessible)) {
    case ATSPI_ROLE_PASSWORD_TEXT:
        return u"AXSecureTextField"_s;
    case ATSPI_ROLE_TERMINAL:
        return u"AXTerminal"_s;
    default:
        return std::nullopt;
    }
}

qint64 processOf(AtspiAccessible* accessible) {
    Error error;
    const guint pid = atspi_accessible_get_process_id(accessible, &error);
    return error ? 0 : qint64(pid);
}

QString textOf(AtspiAccessible* accessible) {
    AtspiText* text = atspi_accessible_get_text_iface(accessible);
    if (!text)
        return {};
    Error error;
    const gint count = atspi_text_get_character_count(text, &error);
    QString result = error ? QString() : takeString(atspi_text_get_text(text, 0, count, &error));
    g_object_unref(text);
    return result;
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

    bool addNotification(const Element& element, const QString& name) override {
        if (!raw(element))
            return false;
        for (const Registration& known : std::as_const(registrations))
            if (known.name == name && sameElement(known.element, element))
                return false;
        // Read once here rather than on every event of the process.
        const AtspiRole role = roleOf(raw(element));
        registrations.append({element, name, role == ATSPI_ROLE_APPLICATION, isWindowRole(role)});
        if ((name == u"AXMoved"_s || name == u"AXResized"_s) && isWindowRole(role))
            owner.watchWindowsOf(processId);
        return true;
    }
    void removeNotification(const Element& element, const QString& name) override {
        registrations.removeIf([&](const Registration& r) {
            return r.name == name && sameElement(r.element, element);
        });
    }

    struct Registration {
        Element element;
        QString name;
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
    listener = atspi_event_listener_new(&AtspiAccessibility::onEvent, this, nullptr);
    for (const char* type : {"object:state-changed:focused", "object:text-changed",
                             "object:bounds-changed", "object:children-changed",
                             "object:state-changed:defunct", "window:activate", "window:create"})
        atspi_event_listener_register(listener, type, nullptr);
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
                    if (r.name == u"AXMoved"_s && r.window) {
                        targets.append({observer, r.element});
                        break;
                    }
        for (const auto& [observer, element] : targets)
            if (observers.contains(observer))
                observer->handler(u"AXMoved"_s, element);
    }
}

AtspiAccessibility::~AtspiAccessibility() {
    if (listener) {
        atspi_event_listener_deregister(listener, "object:", nullptr);
        atspi_event_listener_deregister(listener, "window:", nullptr);
        g_object_unref(listener);
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
    if (!event->source)
        return;
    const Element source = adopt(static_cast<AtspiAccessible*>(g_object_ref(event->source)));
    const qint64 pid = processOf(event->source);
    const QString type = QString::fromUtf8(event->type);
    if (type.startsWith(u"object:state-changed:focused"_s)) {
        if (event->detail1) {
            // GTK announces each focus gain twice.
            if (sameElement(focusedByProcess.value(pid), source))
                return;
            focusedByProcess.insert(pid, source);
            deliver(pid, {u"AXFocusedUIElementChanged"_s}, {});
        } else if (sameElement(focusedByProcess.value(pid), source)) {
            focusedByProcess.remove(pid);
        }
    } else if (type.startsWith(u"object:text-changed"_s)) {
        deliver(pid, {u"AXValueChanged"_s}, source);
    } else if (type.startsWith(u"object:bounds-changed"_s)) {
        // One change of bounds is one notification, whichever was asked for.
        deliver(pid, {u"AXMoved"_s, u"AXResized"_s}, source);
    } else if (type.startsWith(u"object:children-changed:add"_s)) {
        deliver(pid, {u"AXCreated"_s}, source);
    } else if (type.startsWith(u"object:children-changed:remove"_s) ||
               type.startsWith(u"object:state-changed:defunct"_s)) {
        deliver(pid, {u"AXUIElementDestroyed"_s}, source);
    } else if (type.startsWith(u"window:activate"_s)) {
        deliver(pid, {u"AXFocusedWindowChanged"_s}, {});
    } else if (type.startsWith(u"window:create"_s)) {
        deliver(pid, {u"AXWindowCreated"_s}, {});
    }
}

void AtspiAccessibility::deliver(qint64 processId, const QStringList& names,
                                 const Element& source) {
    struct Delivery {
        AtspiObserver* observer;
        QString name;
        Element element;
    };
    QList<Delivery> targets;
    for (AtspiObserver* observer : std::as_const(observers)) {
        if (observer->processId != processId)
            continue;
        for (const auto& r : std::as_const(observer->registrations)) {
            if (!names.contains(r.name))
                continue;
            if ((!source && r.application) || (source && sameElement(r.element, source))) {
                targets.append({observer, r.name, source ? source : r.element});
                break;
            }
        }
    }
    for (const Delivery& delivery : targets)
        if (observers.contains(delivery.observer))
            delivery.observer->handler(delivery.name, delivery.element);
}

Element AtspiAccessibility::applicationElement(qint64 processId) {
    // Polled four times a second: one read confirms the remembered element
    // instead of a walk over every application on the desktop.
    if (const Element known = applicationsByProcess.value(processId)) {
        if (processOf(raw(known)) == processId)
            return known;
        applicationsByProcess.remove(processId);
    }
    AtspiAccessible* desktop = atspi_get_desktop(0);
    if (!desktop)
        return {};
    Element found;
    Error error;
    const gint count = atspi_accessible_get_child_count(desktop, &error);
    for (gint i = 0; i < count && !found; ++i) {
        Error childError;
        AtspiAccessible* app = atspi_accessible_get_child_at_index(desktop, i, &childError);
        if (!app)
            continue;
        if (processOf(app) == processId)
            found = adopt(app);
        else
            g_object_unref(app);
    }
    g_object_unref(desktop);
    if (found)
        applicationsByProcess.insert(processId, found);
    return found;
}

std::optional<QString> AtspiAccessibility::stringAttribute(const Element& element,
                                                           const QString& name) {
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return std::nullopt;
    if (name == u"AXRole"_s)
        return translatedRole(accessible);
    if (name == u"AXSubrole"_s)
        return translatedSubrole(accessible);
    if (name == u"AXTitle"_s) {
        Error error;
        const QString title = takeString(atspi_accessible_get_name(accessible, &error));
        return error ? std::nullopt : std::optional(title);
    }
    if (name == u"AXValue"_s) {
        AtspiText* text = atspi_accessible_get_text_iface(accessible);
        if (!text)
            return std::nullopt;
        g_object_unref(text);
        return textOf(accessible);
    }
    if (name == u"AXURL"_s) {
        AtspiDocument* document = atspi_accessible_get_document_iface(accessible);
        if (!document)
            return std::nullopt;
        Error error;
        gchar* url = atspi_document_get_document_attribute_value(
            document, const_cast<gchar*>("DocURL"), &error);
        g_object_unref(document);
        if (error || !url)
            return std::nullopt;
        return takeString(url);
    }
    return std::nullopt;
}

Element AtspiAccessibility::elementAttribute(const Element& element, const QString& name) {
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return {};
    Error error;
    if (name == u"AXParent"_s) {
        if (roleOf(accessible) == ATSPI_ROLE_APPLICATION)
            return {}; // the desktop above is no element of the application
        return adopt(atspi_accessible_get_parent(accessible, &error));
    }
    if (name == u"AXWindow"_s) {
        AtspiAccessible* current = static_cast<AtspiAccessible*>(g_object_ref(accessible));
        for (int depth = 0; current && depth < 64; ++depth) {
            const AtspiRole role = roleOf(current);
            if (isWindowRole(role))
                return adopt(current);
            if (role == ATSPI_ROLE_APPLICATION || role == ATSPI_ROLE_DESKTOP_FRAME)
                break;
            Error parentError;
            AtspiAccessible* parent = atspi_accessible_get_parent(current, &parentError);
            g_object_unref(current);
            current = parent;
        }
        if (current)
            g_object_unref(current);
        return {};
    }
    if (name == u"AXFocusedUIElement"_s && roleOf(accessible) == ATSPI_ROLE_APPLICATION)
        return focusedIn(processOf(accessible));
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
        AtspiStateSet* states = atspi_accessible_get_state_set(raw(current));
        const bool focused = states && atspi_state_set_contains(states, ATSPI_STATE_FOCUSED);
        const bool showing = !states || atspi_state_set_contains(states, ATSPI_STATE_SHOWING);
        if (states)
            g_object_unref(states);
        if (focused)
            return current;
        if (!showing)
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
    AtspiAccessible* accessible = raw(element);
    AtspiComponent* component =
        accessible ? atspi_accessible_get_component_iface(accessible) : nullptr;
    if (!component)
        return std::nullopt;
    Error error;
    AtspiRect* rect = atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, &error);
    g_object_unref(component);
    if (error || !rect)
        return std::nullopt;
    const QRectF result(rect->x, rect->y, rect->width, rect->height);
    g_free(rect);
    if (result.width() < 0 || result.height() < 0)
        return std::nullopt;
    return result;
}

std::optional<TextRange> AtspiAccessibility::selectedTextRange(const Element& element) {
    AtspiAccessible* accessible = raw(element);
    AtspiText* text = accessible ? atspi_accessible_get_text_iface(accessible) : nullptr;
    if (!text)
        return std::nullopt;
    const QString content = textOf(accessible);
    Error error;
    gint start = atspi_text_get_caret_offset(text, &error);
    gint end = start;
    if (!error) {
        Error selectionError;
        if (atspi_text_get_n_selections(text, &selectionError) > 0) {
            if (AtspiRange* range = atspi_text_get_selection(text, 0, &selectionError)) {
                start = range->start_offset;
                end = range->end_offset;
                g_free(range);
            }
        }
    }
    g_object_unref(text);
    if (error)
        return std::nullopt;
    const qsizetype from = utf16Offset(content, start);
    return TextRange{from, utf16Offset(content, end) - from};
}

QStringList AtspiAccessibility::actionNames(const Element& element) {
    QStringList names;
    AtspiAccessible* accessible = raw(element);
    AtspiAction* action = accessible ? atspi_accessible_get_action_iface(accessible) : nullptr;
    if (!action)
        return names;
    Error error;
    const gint count = atspi_action_get_n_actions(action, &error);
    for (gint i = 0; i < count; ++i) {
        Error nameError;
        const QString name = takeString(atspi_action_get_action_name(action, i, &nameError));
        if (name == u"click"_s || name == u"press"_s || name == u"activate"_s || name == u"jump"_s)
            names << u"AXPress"_s;
        else if (name == u"showmenu"_s || name == u"popup"_s)
            names << u"AXShowMenu"_s;
        else if (!name.isEmpty())
            names << name;
    }
    g_object_unref(action);
    return names;
}

bool AtspiAccessibility::isAttributeSettable(const Element& element, const QString& name) {
    AtspiAccessible* accessible = raw(element);
    if (!accessible)
        return false;
    if (name == u"AXSelectedText"_s) {
        // Qt Quick fields lack the editable-text interface yet take a paste.
        AtspiText* text = atspi_accessible_get_text_iface(accessible);
        if (!text)
            return false;
        g_object_unref(text);
        return hasState(accessible, ATSPI_STATE_EDITABLE);
    }
    if (name == u"AXFocused"_s)
        return hasState(accessible, ATSPI_STATE_FOCUSABLE);
    return false;
}

int AtspiAccessibility::setFocused(const Element& element) {
    constexpr int failure = -25200;
    AtspiAccessible* accessible = raw(element);
    AtspiComponent* component =
        accessible ? atspi_accessible_get_component_iface(accessible) : nullptr;
    if (!component)
        return failure;
    Error error;
    const gboolean done = atspi_component_grab_focus(component, &error);
    g_object_unref(component);
    return done && !error ? 0 : failure;
}

bool AtspiAccessibility::setSelectedText(const Element& element, const QString& text) {
    AtspiAccessible* accessible = raw(element);
    AtspiEditableText* editable =
        accessible ? atspi_accessible_get_editable_text_iface(accessible) : nullptr;
    AtspiText* plain = accessible ? atspi_accessible_get_text_iface(accessible) : nullptr;
    if (!editable || !plain) {
        if (editable)
            g_object_unref(editable);
        if (plain)
            g_object_unref(plain);
        return false;
    }
    Error error;
    gint caret = atspi_text_get_caret_offset(plain, &error);
    if (atspi_text_get_n_selections(plain, &error) > 0)
        if (AtspiRange* range = atspi_text_get_selection(plain, 0, &error)) {
            if (range->end_offset > range->start_offset) {
                atspi_editable_text_delete_text(editable, range->start_offset, range->end_offset,
                                                &error);
                caret = range->start_offset;
            }
            g_free(range);
        }
    if (caret < 0)
        caret = atspi_text_get_character_count(plain, &error);
    g_clear_error(&error);
    // The length is in bytes of UTF-8; a character count cuts non-ASCII text short.
    const QByteArray utf8 = text.toUtf8();
    const gboolean done =
        atspi_editable_text_insert_text(editable, caret, utf8.constData(), utf8.size(), &error);
    g_object_unref(editable);
    g_object_unref(plain);
    return done && !error;
}

Element AtspiAccessibility::elementAtPosition(QPointF point) {
    AtspiAccessible* desktop = atspi_get_desktop(0);
    if (!desktop)
        return {};
    const int px = int(point.x()), py = int(point.y());
    // Windows holding the point, active ones first.
    QList<Element> candidates;
    for (const Element& app : children(adopt(static_cast<AtspiAccessible*>(g_object_ref(desktop)))))
        for (const Element& window : children(app)) {
            const auto bounds = frame(window);
            if (!bounds || !bounds->contains(point) || !hasState(raw(window), ATSPI_STATE_SHOWING))
                continue;
            if (hasState(raw(window), ATSPI_STATE_ACTIVE))
                candidates.prepend(window);
            else
                candidates.append(window);
        }
    g_object_unref(desktop);
    if (candidates.isEmpty())
        return {};
    // Hit testing answers one level at a time.
    Element current = candidates.first();
    for (int depth = 0; depth < 32; ++depth) {
        AtspiComponent* component = atspi_accessible_get_component_iface(raw(current));
        if (!component)
            break;
        Error error;
        AtspiAccessible* child = atspi_component_get_accessible_at_point(
            component, px, py, ATSPI_COORD_TYPE_SCREEN, &error);
        g_object_unref(component);
        const Element next = adopt(child);
        if (!next || sameElement(next, current))
            break;
        current = next;
    }
    return current;
}

std::unique_ptr<AccessibilityObserver>
AtspiAccessibility::createObserver(qint64 processId, NotificationHandler handler) {
    return std::make_unique<AtspiObserver>(*this, processId, std::move(handler));
}

} // namespace quendra

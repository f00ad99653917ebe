#pragma once

#include "platform/Accessibility.h"

#include "GObjectRef.h"
#include "X11Display.h"
#include "model/MainThreadChecker.h"

#include <QHash>
#include <QSet>
#include <QSocketNotifier>

#include <memory>

typedef struct _AtspiAccessible AtspiAccessible;
typedef struct _AtspiEvent AtspiEvent;
typedef struct _AtspiEventListener AtspiEventListener;

namespace quendra {

class AtspiObserver;

// Other applications through AT-SPI 2: roles, states, events and actions are
// translated to the types of Accessibility.h, and focus events keep track of
// each process's focused element.
class AtspiAccessibility : public Accessibility {
public:
    AtspiAccessibility();
    ~AtspiAccessibility() override;

    // Whether the accessibility bus is there and says accessibility is on.
    static bool busEnabled();

    // Where no window system says which application is in front (Wayland),
    // the applications say it themselves: their windows' activation and
    // their elements' focus.
    using ActivationHandler = std::function<void(qint64 processId, bool active)>;
    void setActivationHandler(ActivationHandler handler);
    struct RunningProcess {
        qint64 processId = 0;
        QString name; // the application's accessible name
    };
    QList<RunningProcess> applications();
    // Whether one of the process's windows is the active one.
    bool hasActiveWindow(qint64 processId);

    bool isTrusted() override;
    Element applicationElement(qint64 processId) override;
    std::optional<AccessibleRole> role(const Element& element) override;
    std::optional<QString> stringAttribute(const Element& element,
                                           AccessibleStringAttribute attribute) override;
    Element elementAttribute(const Element& element, AccessibleElementAttribute attribute) override;
    QList<Element> children(const Element& element) override;
    std::optional<QRectF> frame(const Element& element) override;
    std::optional<TextRange> selectedTextRange(const Element& element) override;
    QList<AccessibleAction> actions(const Element& element) override;
    bool canSetSelectedText(const Element& element) override;
    std::expected<void, FocusError> setFocused(const Element& element) override;
    bool setSelectedText(const Element& element, const QString& text) override;
    Element elementAtPosition(QPointF point) override;
    std::unique_ptr<AccessibilityObserver> createObserver(qint64 processId,
                                                          NotificationHandler handler) override;

private:
    friend class AtspiObserver;
    static void onEvent(AtspiEvent* event, void* self);
    void handleEvent(AtspiEvent* event);
    // Notifications without a source element belong to the application element.
    void deliver(qint64 processId, const QList<AccessibilityNotification>& notifications,
                 const Element& source);
    Element focusedIn(qint64 processId);
    Element searchFocused(AtspiAccessible* application);
    // GTK does not announce moved windows over AT-SPI; the window manager's
    // configure notifications to the client window do.
    void watchWindowsOf(qint64 processId);
    void processWindowEvents();

    MainThreadChecker checker;
    GObjectRef<AtspiEventListener> listener;
    ActivationHandler activationHandler;
    QHash<qint64, Element> focusedByProcess;
    QHash<qint64, Element> applicationsByProcess;
    QList<AtspiObserver*> observers;
    qint64 trustCheckedAtMs = -1;
    bool trusted = false;
    X11Display x;
    std::unique_ptr<QSocketNotifier> windowNotifier;
    QHash<XWindow, qint64> watchedWindows;
};

} // namespace quendra

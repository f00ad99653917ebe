#pragma once

// Other applications' user-interface elements, described with the roles,
// attributes and events of the desktop's accessibility layer (AT-SPI on
// Linux), reduced to what the insertion and the overlays decide on.
// Main thread only.

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace quendra {

// One element of another application; compared with sameElement().
class ElementHandle {
public:
    virtual ~ElementHandle() = default;
    virtual bool equals(const ElementHandle& other) const = 0;
};
using Element = std::shared_ptr<const ElementHandle>;

// Both empty, or both present and naming the same element.
bool sameElement(const Element& a, const Element& b);

// What an element is. Each role is an AT-SPI role, except that a text element
// is split by the multi-line state: `entry` holds one line, `text` several.
enum class AccessibleRole {
    application,
    window, // frame, window, dialog, alert, file chooser
    entry,
    text,
    passwordText,
    terminal,
    spinButton,
    comboBox,
    pushButton,
    toggleButton,
    checkBox,
    radioButton,
    link,
    menu,
    scrollBar,
    slider,
    pageTab,
    label,
    documentWeb,
    other,
};
// The AT-SPI name with hyphens for spaces ("entry", "password-text",
// "push-button"), for logs and the watch command.
QString toString(AccessibleRole role);

enum class AccessibleStringAttribute {
    name,            // the accessible name (a button's label, a window's title)
    value,           // the whole text of a text element
    documentAddress, // the address of a web document
};

enum class AccessibleElementAttribute {
    parent,         // none above an application
    window,         // the window the element sits in
    focusedElement, // of an application: the element with keyboard focus
};

// The actions a user can trigger on an element; others are not reported.
enum class AccessibleAction { press, showMenu };

enum class AccessibilityNotification {
    focusedElementChanged, // on an application
    focusedWindowChanged,  // on an application
    windowCreated,         // on an application
    moved,
    resized,
    created,   // a child was added
    destroyed, // a child was removed, or the element went away
    valueChanged,
};

enum class FocusError {
    noElement,    // the element is gone
    notFocusable, // it cannot take keyboard focus
    refused,      // the application said no
};
QString toString(FocusError error);

// A selection in a field's text, counted in UTF-16 units.
struct TextRange {
    qsizetype location = 0;
    qsizetype length = 0;
};

// Receives the notifications registered on it until it is destroyed.
class AccessibilityObserver {
public:
    virtual ~AccessibilityObserver() = default;
    // False when the element cannot report that notification, or already does.
    virtual bool addNotification(const Element& element,
                                 AccessibilityNotification notification) = 0;
    virtual void removeNotification(const Element& element,
                                    AccessibilityNotification notification) = 0;
};

class Accessibility {
public:
    // Each observer has its own handler; it runs on the main thread.
    using NotificationHandler =
        std::function<void(AccessibilityNotification notification, const Element& element)>;

    virtual ~Accessibility() = default;

    // Whether other applications' elements can be read and written at all.
    virtual bool isTrusted() = 0;

    virtual Element applicationElement(qint64 processId) = 0;
    virtual std::optional<AccessibleRole> role(const Element& element) = 0;
    virtual std::optional<QString> stringAttribute(const Element& element,
                                                   AccessibleStringAttribute attribute) = 0;
    virtual Element elementAttribute(const Element& element,
                                     AccessibleElementAttribute attribute) = 0;
    virtual QList<Element> children(const Element& element) = 0;
    // Position and size in screen coordinates, origin at the top left.
    virtual std::optional<QRectF> frame(const Element& element) = 0;
    virtual std::optional<TextRange> selectedTextRange(const Element& element) = 0;
    virtual QList<AccessibleAction> actions(const Element& element) = 0;
    // Whether setSelectedText can write into the element.
    virtual bool canSetSelectedText(const Element& element) = 0;

    // Gives the element keyboard focus.
    virtual std::expected<void, FocusError> setFocused(const Element& element) = 0;
    // Replaces the selection (or inserts at the caret) with text.
    virtual bool setSelectedText(const Element& element, const QString& text) = 0;

    // The deepest element at a point in screen coordinates (top-left origin).
    virtual Element elementAtPosition(QPointF point) = 0;

    // The notifications of one process that the observer registers.
    virtual std::unique_ptr<AccessibilityObserver> createObserver(qint64 processId,
                                                                  NotificationHandler handler) = 0;
};

} // namespace quendra

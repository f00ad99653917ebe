#pragma once

// Other applications' user-interface elements, in the attribute vocabulary the
// rest of the code speaks ("AXRole", "AXParent", "AXFocusedUIElement", ...).
// Main thread only.

#include <QPointF>
#include <QRectF>
#include <QString>
#include <QStringList>

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

// A selection in a field's text, counted in UTF-16 units.
struct TextRange {
    qsizetype location = 0;
    qsizetype length = 0;
};

// Receives the notifications registered on it until it is destroyed.
class AccessibilityObserver {
public:
    virtual ~AccessibilityObserver() = default;
    // False when the element cannot report that notification.
    virtual bool addNotification(const Element& element, const QString& name) = 0;
    virtual void removeNotification(const Element& element, const QString& name) = 0;
};

class Accessibility {
public:
    using NotificationHandler = std::function<void(const QString& name, const Element& element)>;

    virtual ~Accessibility() = default;

    // Whether other applications' elements can be read and written at all.
    virtual bool isTrusted() = 0;

    virtual Element applicationElement(qint64 processId) = 0;
    // A string-valued attribute ("AXRole", "AXSubrole", "AXValue", "AXURL"...).
    virtual std::optional<QString> stringAttribute(const Element& element, const QString& name) = 0;
    // An element-valued attribute ("AXParent", "AXWindow", "AXFocusedUIElement").
    virtual Element elementAttribute(const Element& element, const QString& name) = 0;
    virtual QList<Element> children(const Element& element) = 0;
    // Position and size in screen coordinates, origin at the top left.
    virtual std::optional<QRectF> frame(const Element& element) = 0;
    virtual std::optional<TextRange> selectedTextRange(const Element& element) = 0;
    virtual QStringList actionNames(const Element& element) = 0;
    virtual bool isAttributeSettable(const Element& element, const QString& name) = 0;

    // Gives the element keyboard focus; 0 on success, otherwise a status code.
    virtual int setFocused(const Element& element) = 0;
    // Replaces the selection (or inserts at the caret) with text.
    virtual bool setSelectedText(const Element& element, const QString& text) = 0;

    // The deepest element at a point in screen coordinates (top-left origin).
    virtual Element elementAtPosition(QPointF point) = 0;

    // Notifications of one process ("AXFocusedUIElementChanged", "AXMoved",
    // "AXValueChanged", ...) delivered on the main thread.
    virtual std::unique_ptr<AccessibilityObserver> createObserver(qint64 processId,
                                                                  NotificationHandler handler) = 0;
};

} // namespace quendra

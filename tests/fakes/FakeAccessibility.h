#pragma once

#include "platform/Accessibility.h"

#include <QMap>
#include <QSet>

#include <functional>

namespace quendra {

// One element of the in-memory tree; tests change its fields directly.
struct FakeNode : ElementHandle {
    bool equals(const ElementHandle& other) const override { return &other == this; }

    qint64 processId = 0;
    std::optional<AccessibleRole> role;
    QMap<AccessibleStringAttribute, QString> strings;
    std::optional<QRectF> frame; // top-left origin
    std::weak_ptr<FakeNode> parent;
    std::weak_ptr<FakeNode> window;
    QList<std::shared_ptr<FakeNode>> children;
    // Whether canSetSelectedText says yes.
    bool selectedTextSettable = false;
    QList<AccessibleAction> actions;
    std::optional<TextRange> selection;
    // Whether setSelectedText actually writes (when settable).
    bool acceptsSelectedText = true;
    // Whether an accepted setSelectedText changes the text, or only says so.
    bool writesAcceptedText = true;
    // Whether taking the focus selects the whole text, as a GTK entry does.
    bool selectsAllOnFocus = false;
};
using FakeNodePtr = std::shared_ptr<FakeNode>;

class FakeAccessibility : public Accessibility {
public:
    FakeNodePtr addApplication(qint64 processId);
    // A child of parent with the role and frame; its window is the parent's,
    // or the parent itself when the parent is a window.
    FakeNodePtr addElement(const FakeNodePtr& parent, AccessibleRole role,
                           std::optional<QRectF> frame = std::nullopt);
    // A single-line field with a settable selection.
    FakeNodePtr addTextField(const FakeNodePtr& parent, QRectF frame);
    void focus(qint64 processId, const FakeNodePtr& element);
    FakeNodePtr focusedNode(qint64 processId) const;
    // Delivers a notification to the observers that registered it.
    void post(AccessibilityNotification notification, const FakeNodePtr& element);
    static FakeNodePtr node(const Element& element);

    bool trusted = true;
    // What setFocused answers for an element that exists.
    std::optional<FocusError> focusError;
    // Whether setFocused actually moves the focus.
    bool focusFollowsRequests = true;
    int setFocusedCalls = 0;
    QStringList writtenTexts;

    bool isTrusted() override { return trusted; }
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

    struct Registration {
        const void* observer;
        const ElementHandle* element;
        AccessibilityNotification notification;
    };
    QList<Registration> registrations;
    int observersCreated = 0;

private:
    struct ObserverEntry {
        const void* observer;
        qint64 processId;
        NotificationHandler handler;
    };
    friend class FakeObserver;
    QList<FakeNodePtr> applications;
    QMap<qint64, std::weak_ptr<FakeNode>> focused;
    QList<ObserverEntry> observers;
};

} // namespace quendra

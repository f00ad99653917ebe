#include "FakeAccessibility.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

class FakeObserver : public AccessibilityObserver {
public:
    explicit FakeObserver(FakeAccessibility& owner)
        : owner(owner) {}
    ~FakeObserver() override {
        owner.observers.removeIf([this](const auto& entry) { return entry.observer == this; });
        owner.registrations.removeIf([this](const auto& r) { return r.observer == this; });
    }
    bool addNotification(const Element& element, AccessibilityNotification notification) override {
        if (!element)
            return false;
        for (const auto& r : owner.registrations)
            if (r.observer == this && r.element == element.get() && r.notification == notification)
                return false;
        owner.registrations.append({this, element.get(), notification});
        return true;
    }
    void removeNotification(const Element& element,
                            AccessibilityNotification notification) override {
        owner.registrations.removeIf([&](const auto& r) {
            return r.observer == this && r.element == element.get() &&
                   r.notification == notification;
        });
    }

private:
    FakeAccessibility& owner;
};

FakeNodePtr FakeAccessibility::node(const Element& element) {
    return std::const_pointer_cast<FakeNode>(std::dynamic_pointer_cast<const FakeNode>(element));
}

FakeNodePtr FakeAccessibility::addApplication(qint64 processId) {
    auto app = std::make_shared<FakeNode>();
    app->processId = processId;
    app->role = AccessibleRole::application;
    applications.append(app);
    return app;
}

FakeNodePtr FakeAccessibility::addElement(const FakeNodePtr& parent, AccessibleRole role,
                                          std::optional<QRectF> frame) {
    auto element = std::make_shared<FakeNode>();
    element->processId = parent->processId;
    element->role = role;
    element->frame = frame;
    element->parent = parent;
    element->window = parent->role == AccessibleRole::window ? parent : parent->window.lock();
    parent->children.append(element);
    return element;
}

FakeNodePtr FakeAccessibility::addTextField(const FakeNodePtr& parent, QRectF frame) {
    auto field = addElement(parent, AccessibleRole::entry, frame);
    field->selectedTextSettable = true;
    field->strings[AccessibleStringAttribute::value] = QString();
    field->selection = TextRange{0, 0};
    return field;
}

void FakeAccessibility::focus(qint64 processId, const FakeNodePtr& element) {
    focused[processId] = element;
}

FakeNodePtr FakeAccessibility::focusedNode(qint64 processId) const {
    return focused.value(processId).lock();
}

void FakeAccessibility::post(AccessibilityNotification notification, const FakeNodePtr& element) {
    const QList<Registration> current = registrations;
    const QList<ObserverEntry> entries = observers;
    for (const auto& r : current) {
        if (r.element != element.get() || r.notification != notification)
            continue;
        for (const auto& entry : entries)
            if (entry.observer == r.observer)
                entry.handler(notification, element);
    }
}

Element FakeAccessibility::applicationElement(qint64 processId) {
    for (const auto& app : applications)
        if (app->processId == processId)
            return app;
    return {};
}

std::optional<AccessibleRole> FakeAccessibility::role(const Element& element) {
    const auto n = node(element);
    return n ? n->role : std::nullopt;
}

std::optional<QString> FakeAccessibility::stringAttribute(const Element& element,
                                                          AccessibleStringAttribute attribute) {
    const auto n = node(element);
    if (!n || !n->strings.contains(attribute))
        return std::nullopt;
    return n->strings.value(attribute);
}

Element FakeAccessibility::elementAttribute(const Element& element,
                                            AccessibleElementAttribute attribute) {
    const auto n = node(element);
    if (!n)
        return {};
    switch (attribute) {
    case AccessibleElementAttribute::parent:
        return n->parent.lock();
    case AccessibleElementAttribute::window:
        return n->window.lock();
    case AccessibleElementAttribute::focusedElement:
        if (n->role == AccessibleRole::application)
            return focusedNode(n->processId);
        return {};
    }
    return {};
}

QList<Element> FakeAccessibility::children(const Element& element) {
    QList<Element> result;
    if (const auto n = node(element))
        for (const auto& child : n->children)
            result.append(child);
    return result;
}

std::optional<QRectF> FakeAccessibility::frame(const Element& element) {
    const auto n = node(element);
    return n ? n->frame : std::nullopt;
}

std::optional<TextRange> FakeAccessibility::selectedTextRange(const Element& element) {
    const auto n = node(element);
    return n ? n->selection : std::nullopt;
}

QList<AccessibleAction> FakeAccessibility::actions(const Element& element) {
    const auto n = node(element);
    return n ? n->actions : QList<AccessibleAction>();
}

bool FakeAccessibility::canSetSelectedText(const Element& element) {
    const auto n = node(element);
    return n && n->selectedTextSettable;
}

std::expected<void, FocusError> FakeAccessibility::setFocused(const Element& element) {
    ++setFocusedCalls;
    const auto n = node(element);
    if (!n)
        return std::unexpected(FocusError::noElement);
    if (focusError)
        return std::unexpected(*focusError);
    if (focusFollowsRequests)
        focus(n->processId, n);
    if (n->selectsAllOnFocus)
        n->selection = TextRange{0, n->strings.value(AccessibleStringAttribute::value).size()};
    return {};
}

bool FakeAccessibility::setSelectedText(const Element& element, const QString& text) {
    const auto n = node(element);
    if (!n || !n->acceptsSelectedText || !n->selectedTextSettable)
        return false;
    writtenTexts.append(text);
    if (!n->writesAcceptedText)
        return true;
    QString value = n->strings.value(AccessibleStringAttribute::value);
    const TextRange range = n->selection.value_or(TextRange{value.size(), 0});
    value.replace(range.location, range.length, text);
    n->strings[AccessibleStringAttribute::value] = value;
    n->selection = TextRange{range.location + text.size(), 0};
    return true;
}

Element FakeAccessibility::elementAtPosition(QPointF point) {
    FakeNodePtr best;
    std::function<void(const FakeNodePtr&)> visit = [&](const FakeNodePtr& n) {
        if (n->frame && n->frame->contains(point))
            if (!best || n->frame->width() * n->frame->height() <=
                             best->frame->width() * best->frame->height())
                best = n;
        for (const auto& child : n->children)
            visit(child);
    };
    for (const auto& app : applications)
        visit(app);
    return best;
}

std::unique_ptr<AccessibilityObserver>
FakeAccessibility::createObserver(qint64 processId, NotificationHandler handler) {
    auto observer = std::make_unique<FakeObserver>(*this);
    observers.append({observer.get(), processId, std::move(handler)});
    ++observersCreated;
    return observer;
}

} // namespace quendra

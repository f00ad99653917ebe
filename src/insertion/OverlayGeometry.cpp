#include "OverlayGeometry.h"

#include <QQueue>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Controls the field microphone must not cover.
bool isInteractiveRole(AccessibleRole role) {
    switch (role) {
    case AccessibleRole::entry:
    case AccessibleRole::text:
    case AccessibleRole::passwordText:
    case AccessibleRole::terminal:
    case AccessibleRole::spinButton:
    case AccessibleRole::comboBox:
    case AccessibleRole::pushButton:
    case AccessibleRole::toggleButton:
    case AccessibleRole::checkBox:
    case AccessibleRole::radioButton:
    case AccessibleRole::link:
    case AccessibleRole::menu:
    case AccessibleRole::scrollBar:
    case AccessibleRole::slider:
    case AccessibleRole::pageTab:
        return true;
    case AccessibleRole::application:
    case AccessibleRole::window:
    case AccessibleRole::label:
    case AccessibleRole::documentWeb:
    case AccessibleRole::other:
        return false;
    }
    return false;
}

double area(const QRectF& rect) {
    return rect.width() * rect.height();
}

// Qt's intersects() is false for rectangles that only touch; so is AppKit's.
bool meets(const QRectF& a, const QRectF& b) {
    return a.intersects(b);
}

} // namespace

std::optional<qsizetype> OverlayScreenSelection::index(const QRectF& rect,
                                                       const QList<QRectF>& screenFrames) {
    if (rect.width() <= 0 || rect.height() <= 0)
        return std::nullopt;
    const QPointF centre = rect.center();
    for (qsizetype i = 0; i < screenFrames.size(); ++i) {
        const QRectF& screen = screenFrames[i];
        // Half-open, as a point on the far edge belongs to the next screen.
        if (centre.x() >= screen.left() && centre.x() < screen.right() &&
            centre.y() >= screen.top() && centre.y() < screen.bottom())
            return i;
    }
    std::optional<qsizetype> best;
    double bestArea = 0;
    for (qsizetype i = 0; i < screenFrames.size(); ++i) {
        const QRectF overlap = rect.intersected(screenFrames[i]);
        const double overlapArea = overlap.isValid() ? area(overlap) : 0;
        if (overlapArea > bestArea) {
            bestArea = overlapArea;
            best = i;
        }
    }
    return best;
}

QList<double> FieldMicrophonePlacement::uniqueValues(const QList<double>& values) {
    QList<double> kept;
    for (double value : values) {
        bool close = false;
        for (double earlier : kept)
            if (std::abs(earlier - value) < 0.5)
                close = true;
        if (!close)
            kept.append(value);
    }
    return kept;
}

std::optional<QPointF>
FieldMicrophonePlacement::origin(QSizeF panelSize, const QRectF& targetFrame,
                                 const QRectF& visibleFrame, const QList<QRectF>& obstacleFrames,
                                 const std::function<bool(const QRectF&)>& candidateIsClear) {
    const double width = panelSize.width();
    const double height = panelSize.height();
    if (width <= 0 || height <= 0 || targetFrame.width() < 2 || targetFrame.height() < 2)
        return std::nullopt;
    const QRectF allowed = visibleFrame.adjusted(6, 6, -6, -6);
    if (allowed.width() < width || allowed.height() < height)
        return std::nullopt;
    const QRectF keepOut = targetFrame.adjusted(-6, -6, 6, 6);
    QList<QRectF> obstacles;
    for (const QRectF& obstacle : obstacleFrames)
        obstacles.append(obstacle.adjusted(-4, -4, 4, 4));

    const double inset = std::min(std::max(targetFrame.height() - height, 0.0), 10.0);
    const QList<double> ys =
        uniqueValues({targetFrame.top() + inset, targetFrame.center().y() - height / 2,
                      targetFrame.bottom() - height - inset});
    const QList<double> xs{targetFrame.right() + 6, targetFrame.left() - width - 6};
    for (double x : xs)
        for (double y : ys) {
            const QRectF candidate(x, y, width, height);
            if (!allowed.contains(candidate) || meets(candidate, keepOut))
                continue;
            bool blocked = false;
            for (const QRectF& obstacle : std::as_const(obstacles))
                if (meets(candidate, obstacle))
                    blocked = true;
            if (blocked || (candidateIsClear && !candidateIsClear(candidate)))
                continue;
            return candidate.topLeft();
        }
    return std::nullopt;
}

OverlayGeometry::OverlayGeometry(Accessibility& accessibility, Screens& screens)
    : accessibility(accessibility)
    , screens(screens) {}

double OverlayGeometry::primaryMaxY() {
    const QList<ScreenFrames> all = screens.screens();
    return all.isEmpty() ? 0 : all.first().frame.bottom();
}

std::optional<QRectF> OverlayGeometry::appKitFrame(const Element& element) {
    if (!element)
        return std::nullopt;
    const auto frame = accessibility.frame(element);
    if (!frame)
        return std::nullopt;
    return QRectF(frame->x(), primaryMaxY() - frame->y() - frame->height(), frame->width(),
                  frame->height());
}

std::optional<ScreenFrames> OverlayGeometry::screenContaining(const QRectF& rect) {
    const QList<ScreenFrames> all = screens.screens();
    QList<QRectF> frames;
    for (const ScreenFrames& screen : all)
        frames.append(screen.frame);
    const auto found = OverlayScreenSelection::index(rect, frames);
    if (!found)
        return std::nullopt;
    return all[*found];
}

QPointF OverlayGeometry::floatingOrigin(QSizeF panelSize, const Element& near) {
    const QList<ScreenFrames> all = screens.screens();
    std::optional<ScreenFrames> screen;
    if (const auto frame = appKitFrame(near))
        screen = screenContaining(*frame);
    if (!screen) {
        const QPointF mouse = screens.mouseLocation();
        for (const ScreenFrames& candidate : all)
            if (candidate.frame.contains(mouse)) {
                screen = candidate;
                break;
            }
    }
    if (!screen && !all.isEmpty())
        screen = all.first();
    const QRectF visible = screen ? screen->visibleFrame : QRectF();
    return {visible.right() - panelSize.width() - 18, visible.bottom() - panelSize.height() - 12};
}

bool OverlayGeometry::isInteractive(const Element& element) {
    if (!element)
        return false;
    if (const auto role = accessibility.role(element); role && isInteractiveRole(*role))
        return true;
    // Anything that can be pressed or opens a menu is a control, whatever its role.
    return !accessibility.actions(element).isEmpty();
}

QList<QRectF> OverlayGeometry::nearbyInteractiveFrames(const Element& element,
                                                       const QRectF& targetFrame) {
    const double zoneY = targetFrame.top() - 52;
    const double zoneHeight = targetFrame.height() + 104;
    const QRectF rightZone(targetFrame.right() - 4, zoneY, 58, zoneHeight);
    const QRectF leftZone(targetFrame.left() - 54, zoneY, 58, zoneHeight);
    const auto inZones = [&](const QRectF& frame) {
        return meets(frame, rightZone) || meets(frame, leftZone);
    };

    Element root = element;
    for (int up = 0; up < 3; ++up) {
        const Element parent =
            accessibility.elementAttribute(root, AccessibleElementAttribute::parent);
        if (!parent)
            break;
        root = parent;
    }
    QList<QRectF> found;
    QQueue<std::pair<Element, int>> queue;
    queue.enqueue({root, 0});
    int visited = 0;
    while (!queue.isEmpty() && visited < 96) {
        const auto [current, depth] = queue.dequeue();
        ++visited;
        const auto frame = appKitFrame(current);
        const bool usable = frame && frame->width() > 0 && frame->height() > 0;
        if (!sameElement(current, element) && usable && inZones(*frame) && isInteractive(current))
            found.append(*frame);
        if (depth < 2 && (sameElement(current, root) || !frame || inZones(*frame)))
            for (const Element& child : accessibility.children(current))
                queue.enqueue({child, depth + 1});
    }
    return found;
}

Element OverlayGeometry::interactiveAncestor(const Element& element, const Element& excluding) {
    Element current = element;
    for (int guard = 0; current && guard < 64; ++guard) {
        if (!sameElement(current, excluding) && isInteractive(current))
            return current;
        current = accessibility.elementAttribute(current, AccessibleElementAttribute::parent);
    }
    return {};
}

bool OverlayGeometry::candidateHasNoInteractiveControl(const QRectF& candidate,
                                                       const Element& excluding) {
    const double maxY = primaryMaxY();
    const double xs[] = {candidate.left() + 5, candidate.center().x(), candidate.right() - 5};
    const double ys[] = {candidate.top() + 5, candidate.center().y(), candidate.bottom() - 5};
    for (double x : xs)
        for (double y : ys) {
            const Element hit = accessibility.elementAtPosition(QPointF(x, maxY - y));
            if (!hit || interactiveAncestor(hit, excluding))
                return false;
        }
    return true;
}

std::optional<QPointF> OverlayGeometry::fieldMicrophoneOrigin(const Element& element) {
    const auto frame = appKitFrame(element);
    if (!frame || frame->width() < 2 || frame->height() < 2)
        return std::nullopt;
    const auto screen = screenContaining(*frame);
    if (!screen)
        return std::nullopt;
    const QList<QRectF> obstacles = nearbyInteractiveFrames(element, *frame);
    return FieldMicrophonePlacement::origin(fieldMicrophoneSize, *frame, screen->visibleFrame,
                                            obstacles, [this, element](const QRectF& candidate) {
                                                return candidateHasNoInteractiveControl(candidate,
                                                                                        element);
                                            });
}

} // namespace quendra

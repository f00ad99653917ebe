#pragma once

#include "platform/Accessibility.h"
#include "platform/Screens.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <functional>
#include <optional>

namespace quendra {

namespace OverlayScreenSelection {
// The screen that holds a rectangle: the first containing its centre, else the
// largest overlap.
std::optional<qsizetype> index(const QRectF& rect, const QList<QRectF>& screenFrames);
} // namespace OverlayScreenSelection

namespace FieldMicrophonePlacement {
// Where the field microphone may sit beside a field without covering it or a
// control; none when no candidate is clear. Bottom-left-origin coordinates.
std::optional<QPointF> origin(QSizeF panelSize, const QRectF& targetFrame,
                              const QRectF& visibleFrame, const QList<QRectF>& obstacleFrames,
                              const std::function<bool(const QRectF&)>& candidateIsClear);
// Drops values closer than 0.5 to an earlier one.
QList<double> uniqueValues(const QList<double>& values);
} // namespace FieldMicrophonePlacement

// Geometry of the panels that float beside other applications' fields, in
// bottom-left-origin screen coordinates. Main thread only.
class OverlayGeometry {
public:
    OverlayGeometry(Accessibility& accessibility, Screens& screens);

    std::optional<QRectF> appKitFrame(const Element& element);
    std::optional<ScreenFrames> screenContaining(const QRectF& rect);
    QPointF floatingOrigin(QSizeF panelSize, const Element& near);
    QList<QRectF> nearbyInteractiveFrames(const Element& element, const QRectF& targetFrame);
    bool candidateHasNoInteractiveControl(const QRectF& candidate, const Element& excluding);
    Element interactiveAncestor(const Element& element, const Element& excluding);
    bool isInteractive(const Element& element);
    // The microphone's origin beside the element, none when it is to be hidden.
    std::optional<QPointF> fieldMicrophoneOrigin(const Element& element);

    static constexpr QSizeF fieldMicrophoneSize{44, 44};

private:
    double primaryMaxY();

    Accessibility& accessibility;
    Screens& screens;
};

} // namespace quendra

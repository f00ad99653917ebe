#pragma once

// Screen geometry in bottom-left-origin coordinates (y upward), the first
// screen being the primary one. Main thread only.

#include <QList>
#include <QPointF>
#include <QRectF>

namespace quendra {

struct ScreenFrames {
    QRectF frame;
    QRectF visibleFrame;
};

class Screens {
public:
    virtual ~Screens() = default;
    virtual QList<ScreenFrames> screens() = 0;
    virtual QPointF mouseLocation() = 0;
};

} // namespace quendra

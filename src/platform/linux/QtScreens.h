#pragma once

#include "platform/Screens.h"

namespace quendra {

// QScreen geometry turned upside down: y grows upward from the bottom of the
// primary screen.
class QtScreens : public Screens {
public:
    QList<ScreenFrames> screens() override;
    QPointF mouseLocation() override;
};

} // namespace quendra

#pragma once

#include "X11Display.h"
#include "model/MainThreadChecker.h"
#include "platform/KeyEventPoster.h"

namespace quendra {

// Synthetic keys through the XTest extension, as if typed on the keyboard.
class XTestKeyEventPoster : public KeyEventPoster {
public:
    bool postPaste(PasteKeys keys) override;

private:
    MainThreadChecker checker;
    X11Display x;
};

} // namespace quendra

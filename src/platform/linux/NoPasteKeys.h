#pragma once

#include "platform/KeyEventPoster.h"

namespace quendra {

// A desktop where no program may type into another without the user's leave.
class NoPasteKeys : public KeyEventPoster {
public:
    bool postPaste(PasteKeys) override { return false; }
};

} // namespace quendra

#pragma once

// The table of known applications and their writing surfaces lives with the
// surfaces themselves, where the sound side can read it too.
#include "model/WritingSurface.h"

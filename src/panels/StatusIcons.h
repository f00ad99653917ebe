#pragma once

#include "model/DictationPhase.h"

#include <QIcon>

namespace quendra {

// The application's icon in the tray, badged with the dictation's state.
enum class StatusIcon { ready, listening, transcribing, attention };

// `setupProblem` when something keeps dictation from starting (a shortcut
// not taken, a permission missing).
StatusIcon statusIconFor(const DictationPhase& phase, bool setupProblem);
// Drawn at run time, so no image plug-in is needed.
QIcon statusIcon(StatusIcon kind);

} // namespace quendra

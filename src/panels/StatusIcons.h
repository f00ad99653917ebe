#pragma once

#include "model/DictationPhase.h"

#include <QIcon>

namespace quendra {

// The application's icon in the tray, badged with the dictation's state.
enum class StatusIcon { ready, listening, transcribing, attention };

// `setupProblem` when something keeps dictation from starting (a shortcut
// not taken, a permission missing).
StatusIcon statusIconFor(const DictationPhase& phase, bool setupProblem);
// The symbolic icon of the installed icon theme (`statusIconName`), which a
// tray can colour to suit the panel; drawn at run time where the theme has
// none (a copy that is not installed, or no SVG plug-in to read it).
QIcon statusIcon(StatusIcon kind);
QString statusIconName(StatusIcon kind);
// The application's own icon from the theme, or the drawn one.
QIcon applicationIcon();

} // namespace quendra

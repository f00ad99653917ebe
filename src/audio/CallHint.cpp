#include "audio/CallHint.h"

#include "model/WritingSurface.h"

namespace quendra {

std::optional<QString> CallHint::appNameFor(const QString& bundleID) {
    const auto application = WritingDestinations::find(bundleID);
    return application ? application->callName : std::nullopt;
}

CallHint CallHint::from(const QStringList& bundleIDs, bool microphoneInUse) {
    CallHint hint;
    hint.microphoneInUse = microphoneInUse;
    hint.applicationsUsingAudio = !bundleIDs.isEmpty();
    for (const QString& bundleID : bundleIDs) {
        if ((hint.appName = appNameFor(bundleID)))
            break;
    }
    return hint;
}

} // namespace quendra

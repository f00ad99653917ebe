#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace quendra {

// Whether the computer looks like it is in a call, and with which application,
// from the applications taking part in audio and the microphone's use.
struct CallHint {
    bool microphoneInUse = false;
    std::optional<QString> appName;
    // Some application (known or not) takes part in audio.
    bool applicationsUsingAudio = false;

    bool likelyCall() const { return microphoneInUse || applicationsUsingAudio; }

    // The identifiers are bundle identifiers, Flatpak application ids or
    // process names; the first one naming a known call application wins.
    // The call applications are those of WritingDestinations' table.
    static CallHint from(const QStringList& bundleIDs, bool microphoneInUse);
    // The name of the call application an identifier belongs to, if known.
    static std::optional<QString> appNameFor(const QString& bundleID);

    friend bool operator==(const CallHint&, const CallHint&) = default;
};

} // namespace quendra

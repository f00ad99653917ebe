#include "audio/CallHint.h"

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Case-insensitive prefixes of bundle identifiers; the first match wins.
const std::array<std::pair<QString, QString>, 9>& bundlePrefixes() {
    static const std::array<std::pair<QString, QString>, 9> table{{
        {u"us.zoom."_s, u"Zoom"_s},
        {u"com.microsoft.teams"_s, u"Teams"_s},
        {u"com.apple.FaceTime"_s, u"FaceTime"_s},
        {u"com.tinyspeck.slackmacgap"_s, u"Slack"_s},
        {u"com.hnc.Discord"_s, u"Discord"_s},
        {u"com.cisco.webex"_s, u"Webex"_s},
        {u"net.whatsapp."_s, u"WhatsApp"_s},
        {u"com.skype."_s, u"Skype"_s},
        {u"com.google.meet"_s, u"Google Meet"_s},
    }};
    return table;
}

// Linux names of the same applications that the prefixes above miss: Flathub
// application ids (prefixes) and the process names of the native packages
// (whole names, since "zoom" alone is too short to be a safe prefix).
const std::array<std::pair<QString, QString>, 2>& linuxApplicationPrefixes() {
    static const std::array<std::pair<QString, QString>, 2> table{{
        {u"com.slack.Slack"_s, u"Slack"_s},
        {u"com.discordapp.Discord"_s, u"Discord"_s},
    }};
    return table;
}

const std::array<std::pair<QString, QString>, 5>& linuxProcessNames() {
    static const std::array<std::pair<QString, QString>, 5> table{{
        {u"zoom"_s, u"Zoom"_s},
        {u"teams"_s, u"Teams"_s},
        {u"slack"_s, u"Slack"_s},
        {u"discord"_s, u"Discord"_s},
        {u"skypeforlinux"_s, u"Skype"_s},
    }};
    return table;
}

} // namespace

std::optional<QString> CallHint::appNameFor(const QString& bundleID) {
    for (const auto& [prefix, name] : bundlePrefixes())
        if (bundleID.startsWith(prefix, Qt::CaseInsensitive))
            return name;
    for (const auto& [prefix, name] : linuxApplicationPrefixes())
        if (bundleID.startsWith(prefix, Qt::CaseInsensitive))
            return name;
    for (const auto& [process, name] : linuxProcessNames())
        if (bundleID.compare(process, Qt::CaseInsensitive) == 0)
            return name;
    return std::nullopt;
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

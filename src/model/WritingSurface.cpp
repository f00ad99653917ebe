#include "WritingSurface.h"

#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString title(WritingSurface surface) {
    switch (surface) {
    case WritingSurface::email:
        return u"Email"_s;
    case WritingSurface::messaging:
        return u"Messaging"_s;
    case WritingSurface::slack:
        return u"Slack"_s;
    case WritingSurface::ai:
        return u"AI assistants"_s;
    }
    return {};
}

namespace {

enum class Match { whole, prefix };

struct Row {
    QStringView id;
    std::optional<WritingSurface> surface;
    QStringView callName = {};
    // Bundle identifiers of call applications go by prefix: their helpers and
    // editions ("us.zoom.xos", "com.microsoft.teams2") carry the same start.
    Match match = Match::whole;
};

constexpr auto email = WritingSurface::email;
constexpr auto messaging = WritingSurface::messaging;
constexpr auto slack = WritingSurface::slack;
constexpr auto ai = WritingSurface::ai;
constexpr auto prefix = Match::prefix;

// Slack has a surface of its own; every other chat, team chat included, is
// "messaging".
constexpr Row table[] = {
    // E-mail.
    {u"org.gnome.Evolution", email},
    {u"evolution", email},
    {u"thunderbird", email},
    {u"org.mozilla.Thunderbird", email},
    {u"net.thunderbird.Thunderbird", email},
    {u"betterbird", email},
    {u"eu.betterbird.Betterbird", email},
    {u"org.gnome.Geary", email},
    {u"geary", email},
    {u"org.kde.kmail2", email},
    {u"kmail", email},
    {u"claws-mail", email},
    {u"mailspring", email},
    {u"com.getmailspring.Mailspring", email},
    {u"web:mail.google.com", email},
    {u"web:outlook.live.com", email},
    {u"web:outlook.office.com", email},
    {u"web:outlook.office365.com", email},
    {u"web:mail.yahoo.com", email},
    {u"web:mail.proton.me", email},
    {u"web:app.fastmail.com", email},
    {u"web:app.hey.com", email},
    // Messaging.
    {u"org.telegram.desktop", messaging},
    {u"telegram-desktop", messaging},
    {u"telegramdesktop", messaging},
    {u"signal", messaging},
    {u"signal-desktop", messaging},
    {u"org.signal.Signal", messaging},
    {u"whatsapp-for-linux", messaging},
    {u"com.github.eneshecan.WhatsAppForLinux", messaging},
    {u"element", messaging},
    {u"im.riot.Riot", messaging},
    {u"discord", messaging, u"Discord"},
    {u"com.discordapp.Discord", messaging, u"Discord", prefix},
    {u"org.gnome.Fractal", messaging},
    {u"org.kde.neochat", messaging},
    {u"im.dino.Dino", messaging},
    {u"dino", messaging},
    {u"pidgin", messaging},
    {u"skypeforlinux", messaging, u"Skype"},
    {u"web:web.whatsapp.com", messaging},
    {u"web:web.telegram.org", messaging},
    {u"web:messages.google.com", messaging},
    {u"web:www.messenger.com", messaging},
    {u"web:discord.com", messaging},
    {u"web:app.element.io", messaging},
    // Team chat.
    {u"teams", messaging, u"Teams"},
    {u"teams-for-linux", messaging, u"Teams"},
    {u"com.github.IsmaelMartinez.teams_for_linux", messaging, u"Teams"},
    {u"mattermost-desktop", messaging},
    {u"com.mattermost.Desktop", messaging},
    {u"rocket.chat", messaging},
    {u"chat.rocket.RocketChat", messaging},
    {u"zulip", messaging},
    {u"org.zulip.Zulip", messaging},
    {u"web:teams.microsoft.com", messaging},
    {u"web:teams.live.com", messaging},
    {u"web:chat.google.com", messaging},
    {u"web:chat.zulip.org", messaging},
    {u"slack", slack, u"Slack"},
    {u"com.slack.Slack", slack, u"Slack", prefix},
    {u"web:app.slack.com", slack},
    // Assistants.
    {u"com.jeffser.Alpaca", ai},
    {u"io.github.qwersyk.Newelle", ai},
    {u"chatgpt", ai},
    {u"claude-desktop", ai},
    {u"web:chatgpt.com", ai},
    {u"web:chat.openai.com", ai},
    {u"web:claude.ai", ai},
    {u"web:gemini.google.com", ai},
    {u"web:copilot.microsoft.com", ai},
    {u"web:www.perplexity.ai", ai},
    {u"web:perplexity.ai", ai},
    {u"web:chat.mistral.ai", ai},
    {u"web:chat.deepseek.com", ai},
    {u"web:poe.com", ai},
    // Calls. "zoom" alone is too short to be a safe prefix: it goes whole.
    {u"zoom", std::nullopt, u"Zoom"},
    {u"us.zoom.", std::nullopt, u"Zoom", prefix},
    {u"com.microsoft.teams", messaging, u"Teams", prefix},
    {u"com.apple.FaceTime", std::nullopt, u"FaceTime", prefix},
    {u"com.tinyspeck.slackmacgap", slack, u"Slack", prefix},
    {u"com.hnc.Discord", messaging, u"Discord", prefix},
    {u"com.cisco.webex", std::nullopt, u"Webex", prefix},
    {u"net.whatsapp.", messaging, u"WhatsApp", prefix},
    {u"com.skype.", messaging, u"Skype", prefix},
    {u"com.google.meet", std::nullopt, u"Google Meet", prefix},
};

WritingDestinations::Application applicationOf(const Row& row) {
    WritingDestinations::Application application{row.surface, std::nullopt};
    if (!row.callName.isEmpty())
        application.callName = row.callName.toString();
    return application;
}

// Whole names by their folded spelling; prefixes stay in the table's order.
const QHash<QString, const Row*>& wholeNames() {
    static const QHash<QString, const Row*> byId = [] {
        QHash<QString, const Row*> ids;
        for (const Row& row : table)
            if (row.match == Match::whole)
                ids.insert(row.id.toString().toLower(), &row);
        return ids;
    }();
    return byId;
}

} // namespace

std::optional<WritingDestinations::Application> WritingDestinations::find(const QString& id) {
    if (id.isEmpty())
        return std::nullopt;
    if (const auto found = wholeNames().constFind(id.toLower()); found != wholeNames().constEnd())
        return applicationOf(**found);
    for (const Row& row : table)
        if (row.match == Match::prefix && id.startsWith(row.id, Qt::CaseInsensitive))
            return applicationOf(row);
    return std::nullopt;
}

std::optional<WritingSurface> WritingDestinations::detect(const QString& id) {
    const auto application = find(id);
    return application ? application->surface : std::nullopt;
}

QString WritingDestinations::surfaceName(std::optional<WritingSurface> surface) {
    return surface ? rawValue(*surface).toString() : u"generic"_s;
}

QString title(AppSection section) {
    switch (section) {
    case AppSection::home:
        return u"Home"_s;
    case AppSection::notes:
        return u"Notes"_s;
    case AppSection::words:
        return u"Words"_s;
    case AppSection::history:
        return u"History"_s;
    case AppSection::settings:
        return u"Settings"_s;
    }
    return {};
}

} // namespace quendra

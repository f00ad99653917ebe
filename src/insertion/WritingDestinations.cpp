#include "WritingDestinations.h"

#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

struct Destination {
    QStringView key;
    WritingSurface surface;
};

constexpr Destination table[] = {
    // E-mail.
    {u"org.gnome.Evolution", WritingSurface::email},
    {u"evolution", WritingSurface::email},
    {u"thunderbird", WritingSurface::email},
    {u"org.mozilla.Thunderbird", WritingSurface::email},
    {u"net.thunderbird.Thunderbird", WritingSurface::email},
    {u"betterbird", WritingSurface::email},
    {u"eu.betterbird.Betterbird", WritingSurface::email},
    {u"org.gnome.Geary", WritingSurface::email},
    {u"geary", WritingSurface::email},
    {u"org.kde.kmail2", WritingSurface::email},
    {u"kmail", WritingSurface::email},
    {u"claws-mail", WritingSurface::email},
    {u"mailspring", WritingSurface::email},
    {u"com.getmailspring.Mailspring", WritingSurface::email},
    {u"web:mail.google.com", WritingSurface::email},
    {u"web:outlook.live.com", WritingSurface::email},
    {u"web:outlook.office.com", WritingSurface::email},
    {u"web:outlook.office365.com", WritingSurface::email},
    {u"web:mail.yahoo.com", WritingSurface::email},
    {u"web:mail.proton.me", WritingSurface::email},
    {u"web:app.fastmail.com", WritingSurface::email},
    {u"web:app.hey.com", WritingSurface::email},
    // Messaging.
    {u"org.telegram.desktop", WritingSurface::messaging},
    {u"telegram-desktop", WritingSurface::messaging},
    {u"telegramdesktop", WritingSurface::messaging},
    {u"signal", WritingSurface::messaging},
    {u"signal-desktop", WritingSurface::messaging},
    {u"org.signal.Signal", WritingSurface::messaging},
    {u"whatsapp-for-linux", WritingSurface::messaging},
    {u"com.github.eneshecan.WhatsAppForLinux", WritingSurface::messaging},
    {u"element", WritingSurface::messaging},
    {u"im.riot.Riot", WritingSurface::messaging},
    {u"discord", WritingSurface::messaging},
    {u"com.discordapp.Discord", WritingSurface::messaging},
    {u"org.gnome.Fractal", WritingSurface::messaging},
    {u"org.kde.neochat", WritingSurface::messaging},
    {u"im.dino.Dino", WritingSurface::messaging},
    {u"dino", WritingSurface::messaging},
    {u"pidgin", WritingSurface::messaging},
    {u"web:web.whatsapp.com", WritingSurface::messaging},
    {u"web:web.telegram.org", WritingSurface::messaging},
    {u"web:messages.google.com", WritingSurface::messaging},
    {u"web:www.messenger.com", WritingSurface::messaging},
    {u"web:discord.com", WritingSurface::messaging},
    {u"web:app.element.io", WritingSurface::messaging},
    // Team chat.
    {u"slack", WritingSurface::slack},
    {u"com.slack.Slack", WritingSurface::slack},
    {u"teams-for-linux", WritingSurface::slack},
    {u"com.github.IsmaelMartinez.teams_for_linux", WritingSurface::slack},
    {u"mattermost-desktop", WritingSurface::slack},
    {u"com.mattermost.Desktop", WritingSurface::slack},
    {u"rocket.chat", WritingSurface::slack},
    {u"chat.rocket.RocketChat", WritingSurface::slack},
    {u"zulip", WritingSurface::slack},
    {u"org.zulip.Zulip", WritingSurface::slack},
    {u"web:app.slack.com", WritingSurface::slack},
    {u"web:teams.microsoft.com", WritingSurface::slack},
    {u"web:teams.live.com", WritingSurface::slack},
    {u"web:chat.google.com", WritingSurface::slack},
    {u"web:chat.zulip.org", WritingSurface::slack},
    // Assistants.
    {u"com.jeffser.Alpaca", WritingSurface::ai},
    {u"io.github.qwersyk.Newelle", WritingSurface::ai},
    {u"chatgpt", WritingSurface::ai},
    {u"claude-desktop", WritingSurface::ai},
    {u"web:chatgpt.com", WritingSurface::ai},
    {u"web:chat.openai.com", WritingSurface::ai},
    {u"web:claude.ai", WritingSurface::ai},
    {u"web:gemini.google.com", WritingSurface::ai},
    {u"web:copilot.microsoft.com", WritingSurface::ai},
    {u"web:www.perplexity.ai", WritingSurface::ai},
    {u"web:perplexity.ai", WritingSurface::ai},
    {u"web:chat.mistral.ai", WritingSurface::ai},
    {u"web:chat.deepseek.com", WritingSurface::ai},
    {u"web:poe.com", WritingSurface::ai},
};

const QHash<QString, WritingSurface>& index() {
    static const QHash<QString, WritingSurface> byKey = [] {
        QHash<QString, WritingSurface> keys;
        for (const Destination& destination : table)
            keys.insert(destination.key.toString().toLower(), destination.surface);
        return keys;
    }();
    return byKey;
}

} // namespace

std::optional<WritingSurface> WritingDestinations::detect(const QString& key) {
    const auto found = index().constFind(key.toLower());
    if (found == index().constEnd())
        return std::nullopt;
    return *found;
}

} // namespace quendra

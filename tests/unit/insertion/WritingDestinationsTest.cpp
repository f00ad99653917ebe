#include "insertion/WritingDestinations.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

TEST(WritingDestinations, applicationsAndWebPagesHaveTheirSurface) {
    const QList<std::pair<QString, std::optional<WritingSurface>>> cases{
        {u"web:chatgpt.com"_s, WritingSurface::ai},
        {u"web:claude.ai"_s, WritingSurface::ai},
        {u"web:chat.openai.com"_s, WritingSurface::ai},
        {u"org.mozilla.Thunderbird"_s, WritingSurface::email},
        {u"web:mail.google.com"_s, WritingSurface::email},
        {u"org.gnome.Evolution"_s, WritingSurface::email},
        {u"com.slack.Slack"_s, WritingSurface::slack},
        {u"Slack"_s, WritingSurface::slack},
        {u"web:app.slack.com"_s, WritingSurface::slack},
        {u"org.telegram.desktop"_s, WritingSurface::messaging},
        {u"TelegramDesktop"_s, WritingSurface::messaging},
        {u"org.signal.Signal"_s, WritingSurface::messaging},
        {u"web:web.whatsapp.com"_s, WritingSurface::messaging},
        {u"discord"_s, WritingSurface::messaging},
        {u"org.gnome.TextEditor"_s, std::nullopt},
        {u"web:docs.google.com"_s, std::nullopt},
        {u"web:mailchimp-fans.example"_s, std::nullopt},
        // A host without the "web:" mark is no application.
        {u"mail.google.com"_s, std::nullopt},
        {u""_s, std::nullopt},
    };
    for (const auto& [id, surface] : cases)
        EXPECT_EQ(WritingDestinations::detect(id), surface) << id.toStdString();
}

TEST(WritingDestinations, teamChatOtherThanSlackIsMessaging) {
    for (const QString& id :
         {u"teams-for-linux"_s, u"com.github.IsmaelMartinez.teams_for_linux"_s,
          u"mattermost-desktop"_s, u"com.mattermost.Desktop"_s, u"zulip"_s, u"org.zulip.Zulip"_s,
          u"web:teams.microsoft.com"_s, u"web:chat.zulip.org"_s, u"rocket.chat"_s})
        EXPECT_EQ(WritingDestinations::detect(id), WritingSurface::messaging) << id.toStdString();
}

TEST(WritingDestinations, oneRowSaysBothTheSurfaceAndWhetherItHoldsCalls) {
    const auto teams = WritingDestinations::find(u"Teams-For-Linux"_s);
    ASSERT_TRUE(teams);
    EXPECT_EQ(teams->surface, WritingSurface::messaging);
    EXPECT_EQ(teams->callName, u"Teams"_s);

    const auto slack = WritingDestinations::find(u"com.slack.Slack"_s);
    ASSERT_TRUE(slack);
    EXPECT_EQ(slack->surface, WritingSurface::slack);
    EXPECT_EQ(slack->callName, u"Slack"_s);

    // A call application need not be a place to write, and the reverse.
    const auto zoom = WritingDestinations::find(u"us.zoom.Zoom"_s);
    ASSERT_TRUE(zoom);
    EXPECT_EQ(zoom->surface, std::nullopt);
    EXPECT_EQ(zoom->callName, u"Zoom"_s);
    const auto thunderbird = WritingDestinations::find(u"thunderbird"_s);
    ASSERT_TRUE(thunderbird);
    EXPECT_EQ(thunderbird->callName, std::nullopt);

    EXPECT_EQ(WritingDestinations::find(u"org.videolan.vlc"_s), std::nullopt);
}

TEST(WritingDestinations, anOrdinaryFieldIsNamedGeneric) {
    EXPECT_EQ(WritingDestinations::surfaceName(std::nullopt), u"generic"_s);
    for (WritingSurface surface : allCases<WritingSurface>())
        EXPECT_EQ(fromRawValue<WritingSurface>(WritingDestinations::surfaceName(surface)), surface);
}

} // namespace

#include "insertion/InsertionGuard.h"
#include "insertion/WritingDestinations.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

TEST(InsertionGuard, PasswordOrSecureAnywhereInRoleOrSubroleIsSecure) {
    EXPECT_TRUE(InsertionGuard::isSecure(u"AXTextField"_s, u"AXSecureTextField"_s));
    EXPECT_TRUE(InsertionGuard::isSecure(u"AXPasswordEntry"_s, std::nullopt));
    EXPECT_TRUE(InsertionGuard::isSecure(std::nullopt, u"PASSWORD"_s));
    EXPECT_FALSE(InsertionGuard::isSecure(u"AXTextField"_s, std::nullopt));
    EXPECT_FALSE(InsertionGuard::isSecure(std::nullopt, std::nullopt));
    // Only the joined words count, so "secure" split across both is not a match.
    EXPECT_FALSE(InsertionGuard::isSecure(u"sec"_s, u"ure"_s));
}

TEST(InsertionGuard, EditableNeedsASettableSelectionOrATextRole) {
    EXPECT_TRUE(InsertionGuard::isEditable(u"AXTextArea"_s, false));
    EXPECT_TRUE(InsertionGuard::isEditable(u"AXComboBox"_s, false));
    EXPECT_TRUE(InsertionGuard::isEditable(u"AXGroup"_s, true));
    EXPECT_FALSE(InsertionGuard::isEditable(u"AXButton"_s, false));
    EXPECT_FALSE(InsertionGuard::isEditable(std::nullopt, false));
    EXPECT_TRUE(InsertionGuard::isEditable(std::nullopt, true));
    EXPECT_FALSE(InsertionGuard::isEditable(u"AXSecureTextField"_s, true));
}

TEST(ReplacementTargetMatch, EightyPercentOfTheSmallerFrameInTheSameWindow) {
    const QRectF original(0, 0, 100, 10);
    EXPECT_TRUE(ReplacementTargetMatch::isSameField(original, QRectF(20, 0, 100, 10), true));
    EXPECT_FALSE(ReplacementTargetMatch::isSameField(original, QRectF(21, 0, 100, 10), true));
    // A small frame wholly inside a large one overlaps by all of the smaller.
    EXPECT_TRUE(ReplacementTargetMatch::isSameField(original, QRectF(10, 2, 20, 5), true));
    EXPECT_FALSE(ReplacementTargetMatch::isSameField(original, original, false));
    EXPECT_FALSE(ReplacementTargetMatch::isSameField(original, std::nullopt, true));
    EXPECT_FALSE(ReplacementTargetMatch::isSameField(QRectF(0, 0, 0, 10), original, true));
}

TEST(WritingDestinations, DesktopApplicationsAndWebHostsMapToSurfaces) {
    EXPECT_EQ(WritingDestinations::detect(u"org.mozilla.Thunderbird"_s), WritingSurface::email);
    EXPECT_EQ(WritingDestinations::detect(u"Slack"_s), WritingSurface::slack);
    EXPECT_EQ(WritingDestinations::detect(u"TelegramDesktop"_s), WritingSurface::messaging);
    EXPECT_EQ(WritingDestinations::detect(u"web:claude.ai"_s), WritingSurface::ai);
    EXPECT_EQ(WritingDestinations::detect(u"web:mail.google.com"_s), WritingSurface::email);
    EXPECT_EQ(WritingDestinations::detect(u"org.gnome.TextEditor"_s), std::nullopt);
    EXPECT_EQ(WritingDestinations::detect(u"mail.google.com"_s), std::nullopt);
    EXPECT_EQ(WritingDestinations::detect(QString()), std::nullopt);
}

#include "insertion/InsertionGuard.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

TEST(InsertionGuard, PasswordFieldsAreSecureAndNeverEditable) {
    EXPECT_TRUE(InsertionGuard::isSecure(AccessibleRole::passwordText));
    EXPECT_FALSE(InsertionGuard::isSecure(AccessibleRole::entry));
    EXPECT_FALSE(InsertionGuard::isSecure(std::nullopt));
    // Not even when its selection reports as writable.
    EXPECT_FALSE(InsertionGuard::isEditable(AccessibleRole::passwordText, true));
}

TEST(InsertionGuard, EditableNeedsASettableSelectionOrATextRole) {
    EXPECT_TRUE(InsertionGuard::isEditable(AccessibleRole::text, false));
    EXPECT_TRUE(InsertionGuard::isEditable(AccessibleRole::terminal, false));
    EXPECT_TRUE(InsertionGuard::isEditable(AccessibleRole::comboBox, false));
    EXPECT_TRUE(InsertionGuard::isEditable(AccessibleRole::other, true));
    EXPECT_FALSE(InsertionGuard::isEditable(AccessibleRole::pushButton, false));
    EXPECT_FALSE(InsertionGuard::isEditable(AccessibleRole::documentWeb, false));
    EXPECT_FALSE(InsertionGuard::isEditable(std::nullopt, false));
    EXPECT_TRUE(InsertionGuard::isEditable(std::nullopt, true));
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

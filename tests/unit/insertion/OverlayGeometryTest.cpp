#include "insertion/OverlayGeometry.h"
#include "fakes/FakeAccessibility.h"
#include "fakes/FakeDesktop.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

const auto alwaysClear = [](const QRectF&) { return true; };
const QRectF visible(0, 0, 1280, 800);

TEST(OverlayScreenSelection, CentreFirstThenLargestOverlap) {
    const QList<QRectF> screens{QRectF(0, 0, 1000, 800), QRectF(1000, 0, 1000, 800)};
    EXPECT_EQ(OverlayScreenSelection::index(QRectF(900, 10, 300, 10), screens), 1);
    EXPECT_EQ(OverlayScreenSelection::index(QRectF(10, 10, 10, 10), screens), 0);
    // Centre off every screen: the bigger overlap wins, ties go to the first.
    EXPECT_EQ(OverlayScreenSelection::index(QRectF(700, 790, 400, 100), screens), 0);
    EXPECT_EQ(OverlayScreenSelection::index(QRectF(800, 790, 400, 100), screens), 0);
    EXPECT_EQ(OverlayScreenSelection::index(QRectF(900, 790, 400, 100), screens), 1);
    EXPECT_EQ(OverlayScreenSelection::index(QRectF(5000, 0, 10, 10), screens), std::nullopt);
    EXPECT_EQ(OverlayScreenSelection::index(QRectF(10, 10, 0, 10), screens), std::nullopt);
}

TEST(FieldMicrophonePlacement, RightOfTheFieldNearItsBottom) {
    const QRectF field(100, 100, 300, 60);
    const auto origin = FieldMicrophonePlacement::origin({44, 44}, field, visible, {}, alwaysClear);
    ASSERT_TRUE(origin);
    EXPECT_EQ(*origin, QPointF(406, 110)); // 10 points above the bottom edge
}

TEST(FieldMicrophonePlacement, ExactlyPanelHighFieldHasOneRow) {
    EXPECT_EQ(FieldMicrophonePlacement::uniqueValues({100, 100.3, 100, 120}),
              (QList<double>{100, 120}));
    QList<QRectF> tried;
    FieldMicrophonePlacement::origin({44, 44}, QRectF(100, 100, 300, 44), visible, {},
                                     [&tried](const QRectF& candidate) {
                                         tried.append(candidate);
                                         return false;
                                     });
    ASSERT_EQ(tried.size(), 2);
    EXPECT_EQ(tried[0], QRectF(406, 100, 44, 44));
    EXPECT_EQ(tried[1], QRectF(50, 100, 44, 44));
}

TEST(FieldMicrophonePlacement, AButtonBesideTheFieldSendsTheMicrophoneLeft) {
    const QRectF field(200, 100, 300, 30);
    const QRectF button(552, 100, 30, 30); // within 4 points of the right spot
    const auto origin =
        FieldMicrophonePlacement::origin({44, 44}, field, visible, {button}, alwaysClear);
    ASSERT_TRUE(origin);
    EXPECT_EQ(origin->x(), 150);
    const QRectF leftButton(120, 90, 30, 50);
    EXPECT_FALSE(FieldMicrophonePlacement::origin({44, 44}, field, visible, {button, leftButton},
                                                  alwaysClear));
}

TEST(FieldMicrophonePlacement, StaysInsideTheMarginOfTheVisibleFrame) {
    const QRectF field(1000, 100, 280, 30); // touches the right edge
    const auto origin = FieldMicrophonePlacement::origin({44, 44}, field, visible, {}, alwaysClear);
    ASSERT_TRUE(origin);
    EXPECT_EQ(origin->x(), 1000 - 50);
    EXPECT_FALSE(FieldMicrophonePlacement::origin({44, 44}, QRectF(6, 100, 1268, 30), visible, {},
                                                  alwaysClear));
    EXPECT_FALSE(FieldMicrophonePlacement::origin({44, 44}, QRectF(10, 10, 1.5, 30), visible, {},
                                                  alwaysClear));
    EXPECT_FALSE(FieldMicrophonePlacement::origin({0, 44}, QRectF(10, 10, 100, 30), visible, {},
                                                  alwaysClear));
}

class OverlayGeometryTest : public testing::Test {
protected:
    OverlayGeometryTest() {
        // A primary screen 800 high and a second one above it.
        screens.all = {{QRectF(0, 0, 1280, 800), QRectF(0, 0, 1280, 775)},
                       {QRectF(0, 800, 1920, 1080), QRectF(0, 800, 1920, 1055)}};
        app = ax.addApplication(7);
        window = ax.addElement(app, AccessibleRole::window, QRectF(0, 0, 800, 600));
        field = ax.addTextField(window, QRectF(100, 100, 300, 30));
    }

    FakeAccessibility ax;
    FakeScreens screens;
    OverlayGeometry geometry{ax, screens};
    FakeNodePtr app, window, field;
};

TEST_F(OverlayGeometryTest, FlipsWithThePrimaryScreenHeight) {
    EXPECT_EQ(geometry.appKitFrame(field), QRectF(100, 670, 300, 30));
    // A field on the screen above the primary one has a negative top.
    field->frame = QRectF(50, -500, 200, 40);
    EXPECT_EQ(geometry.appKitFrame(field), QRectF(50, 1260, 200, 40));
    EXPECT_EQ(geometry.screenContaining(*geometry.appKitFrame(field))->frame,
              QRectF(0, 800, 1920, 1080));
    field->frame.reset();
    EXPECT_FALSE(geometry.appKitFrame(field));
}

TEST_F(OverlayGeometryTest, FloatingPanelsSitInTheTopRightOfTheFieldsScreen) {
    EXPECT_EQ(geometry.floatingOrigin({300, 80}, field), QPointF(1280 - 318, 775 - 92));
    field->frame = QRectF(50, -500, 200, 40);
    EXPECT_EQ(geometry.floatingOrigin({300, 80}, field), QPointF(1920 - 318, 1855 - 92));
    screens.mouse = QPointF(100, 900);
    EXPECT_EQ(geometry.floatingOrigin({300, 80}, nullptr), QPointF(1920 - 318, 1855 - 92));
    screens.mouse = QPointF(-100, -100);
    EXPECT_EQ(geometry.floatingOrigin({300, 80}, nullptr), QPointF(1280 - 318, 775 - 92));
}

TEST_F(OverlayGeometryTest, FindsControlsBesideTheFieldOnly) {
    const auto send = ax.addElement(window, AccessibleRole::pushButton, QRectF(405, 100, 40, 30));
    ax.addElement(window, AccessibleRole::pushButton, QRectF(700, 100, 40, 30)); // far away
    const auto label = ax.addElement(window, AccessibleRole::label, QRectF(60, 100, 38, 30));
    const auto pressable = ax.addElement(window, AccessibleRole::other, QRectF(60, 140, 30, 30));
    pressable->actions = {AccessibleAction::press};
    (void)send;
    (void)label;
    // Three levels below the root are out of reach of the bounded search.
    const auto deep = ax.addElement(ax.addElement(window, AccessibleRole::other),
                                    AccessibleRole::pushButton, QRectF(405, 140, 40, 30));
    (void)deep;
    const QList<QRectF> found =
        geometry.nearbyInteractiveFrames(field, *geometry.appKitFrame(field));
    EXPECT_EQ(found, (QList<QRectF>{QRectF(405, 670, 40, 30), QRectF(60, 630, 30, 30)}));
}

TEST_F(OverlayGeometryTest, MicrophoneAvoidsSpotsWhereHitTestingFindsAControl) {
    const auto origin = geometry.fieldMicrophoneOrigin(field);
    ASSERT_TRUE(origin);
    // Right of the field; a field lower than the panel aligns their bottoms.
    EXPECT_EQ(*origin, QPointF(406, 670));

    // A toolbar button over the whole right side, not a child of the field's
    // ancestors within reach, is only found by hit testing.
    const auto other = ax.addApplication(8);
    const auto toolbar = ax.addElement(other, AccessibleRole::window, QRectF(400, 0, 100, 300));
    ax.addElement(toolbar, AccessibleRole::toggleButton, QRectF(400, 0, 100, 300));
    const auto moved = geometry.fieldMicrophoneOrigin(field);
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->x(), 50);
}

} // namespace

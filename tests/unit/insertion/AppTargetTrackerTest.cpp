#include "insertion/AppTargetTracker.h"
#include "fakes/FakeAccessibility.h"
#include "fakes/FakeDesktop.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

// The timer's poll, window moves and an application's exit are checked
// against real windows in integration/desktop/target_watch.sh.

namespace {

constexpr qint64 editorPid = 50;
constexpr qint64 browserPid = 51;

class AppTargetTrackerTest : public testing::Test {
protected:
    AppTargetTrackerTest() {
        ensureCoreApplication();
        workspace.launch(editorPid, u"org.example.Editor"_s);
        workspace.launch(browserPid, u"org.example.Browser"_s);
        editor = ax.addApplication(editorPid);
        editorWindow = ax.addElement(editor, AccessibleRole::window, QRectF(0, 0, 500, 300));
        name = ax.addTextField(editorWindow, QRectF(10, 10, 200, 24));
        notes = ax.addTextField(editorWindow, QRectF(10, 50, 200, 24));
        browser = ax.addApplication(browserPid);
        const auto browserWindow =
            ax.addElement(browser, AccessibleRole::window, QRectF(0, 0, 900, 700));
        search = ax.addTextField(browserWindow, QRectF(20, 20, 400, 30));
        ax.focus(editorPid, name);
        ax.focus(browserPid, search);
        workspace.frontmost = editorPid;
    }

    void track(const QString& bundleOverride = {}) {
        tracker = std::make_unique<AppTargetTracker>(workspace, ax);
        tracker->setTargetBundleOverride(bundleOverride);
        QObject::connect(tracker.get(), &AppTargetTracker::targetChanged,
                         [this](const TargetUpdate& update) { updates.append(update); });
        tracker->start();
    }

    FakeAccessibility ax;
    FakeWorkspace workspace;
    FakeNodePtr editor, editorWindow, name, notes, browser, search;
    std::unique_ptr<AppTargetTracker> tracker;
    QList<TargetUpdate> updates;
};

TEST_F(AppTargetTrackerTest, StartingReportsTheFrontmostApplicationAndItsFocusedField) {
    track();
    ASSERT_EQ(updates.size(), 1);
    EXPECT_EQ(updates[0].reason, TargetUpdateReason::manual);
    EXPECT_EQ(updates[0].application->processId, editorPid);
    EXPECT_TRUE(sameElement(updates[0].element, name));
    tracker->start();
    EXPECT_EQ(updates.size(), 1);
}

TEST_F(AppTargetTrackerTest, AnUnannouncedFocusChangeIsFoundByOnePoll) {
    track();
    tracker->pollCurrentTarget();
    EXPECT_EQ(updates.size(), 1); // nothing changed, nothing reported
    ax.focus(editorPid, notes);
    tracker->pollCurrentTarget();
    ASSERT_EQ(updates.size(), 2);
    EXPECT_EQ(updates[1].reason, TargetUpdateReason::focusChanged);
    EXPECT_TRUE(sameElement(updates[1].element, notes));
}

TEST_F(AppTargetTrackerTest, OwnWindowInFrontClearsTheTargetUnlessAllowed) {
    track();
    workspace.frontmost = workspace.ownPid;
    tracker->pollCurrentTarget();
    ASSERT_EQ(updates.size(), 2);
    EXPECT_EQ(updates[1].reason, TargetUpdateReason::focusChanged);
    EXPECT_FALSE(updates[1].application);
    EXPECT_FALSE(updates[1].element);
    tracker->pollCurrentTarget();
    EXPECT_EQ(updates.size(), 2);

    ax.addApplication(workspace.ownPid);
    tracker->captureCurrentTarget(true, std::nullopt, TargetUpdateReason::manual);
    EXPECT_EQ(updates.last().application->processId, workspace.ownPid);
}

TEST_F(AppTargetTrackerTest, ActivationMovesTheObserverToTheNewApplication) {
    track();
    workspace.bringToFront(browserPid);
    ASSERT_EQ(updates.size(), 2);
    EXPECT_EQ(updates[1].reason, TargetUpdateReason::applicationChanged);
    EXPECT_TRUE(sameElement(updates[1].element, search));
    EXPECT_EQ(ax.observersCreated, 2);
    // Only the browser's elements are watched now.
    for (const auto& r : ax.registrations)
        EXPECT_NE(r.element, name.get());
}

TEST_F(AppTargetTrackerTest, AFocusNotificationRecapturesTheTarget) {
    track();
    ax.focus(editorPid, notes);
    ax.post(AccessibilityNotification::focusedElementChanged, editor);
    processEventsUntil([this] { return updates.size() > 1; }, 200);
    ASSERT_EQ(updates.size(), 2);
    EXPECT_EQ(updates[1].reason, TargetUpdateReason::focusChanged);
    EXPECT_TRUE(sameElement(updates[1].element, notes));
}

TEST_F(AppTargetTrackerTest, AShortcutsCaptureKeepsTheFieldItsKeyGrabUnfocused) {
    track();
    ax.focus(editorPid, notes);
    tracker->pollCurrentTarget();
    // The shortcut's key is down: the application reports nothing focused.
    ax.focus(editorPid, nullptr);
    tracker->captureCurrentTarget(false, std::nullopt, TargetUpdateReason::manual);
    EXPECT_TRUE(sameElement(updates.last().element, notes));

    // Another application with nothing focused has no field.
    ax.focus(browserPid, nullptr);
    workspace.frontmost = browserPid;
    tracker->captureCurrentTarget(false, std::nullopt, TargetUpdateReason::manual);
    EXPECT_EQ(updates.last().application->processId, browserPid);
    EXPECT_FALSE(updates.last().element);
}

TEST_F(AppTargetTrackerTest, ATargetBundleOverrideFallsBackWhenNotRunning) {
    track(u"org.example.Browser"_s);
    EXPECT_EQ(updates.last().application->processId, browserPid);
    updates.clear();
    track(u"org.example.Missing"_s);
    EXPECT_EQ(updates.last().application->processId, editorPid);
}

TEST_F(AppTargetTrackerTest, WithoutPermissionThePollDoesNothing) {
    track();
    ax.trusted = false;
    ax.focus(editorPid, notes);
    tracker->pollCurrentTarget();
    EXPECT_EQ(updates.size(), 1);
}

} // namespace

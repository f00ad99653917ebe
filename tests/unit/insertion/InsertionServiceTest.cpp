#include "insertion/InsertionService.h"
#include "fakes/FakeAccessibility.h"
#include "fakes/FakeDesktop.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;
using testing::Contains;
using testing::ElementsAre;

namespace {

constexpr qint64 editorPid = 40;
constexpr qint64 otherPid = 41;

class InsertionServiceTest : public testing::Test {
protected:
    InsertionServiceTest() {
        ensureCoreApplication();
        workspace.launch(editorPid, u"org.example.Editor"_s);
        workspace.launch(otherPid, u"org.example.Other"_s);
        app = ax.addApplication(editorPid);
        window = ax.addElement(app, AccessibleRole::window, QRectF(100, 100, 600, 400));
        field = ax.addTextField(window, QRectF(120, 130, 300, 30));
        secondField = ax.addTextField(window, QRectF(120, 180, 300, 30));
        ax.focus(editorPid, field);
        workspace.frontmost = editorPid;
        // The editor takes what Ctrl+V offers into its focused field.
        keys.onPaste = [this](PasteKeys) {
            if (!pasteWorks)
                return;
            const auto focused = ax.focusedNode(editorPid);
            focused->strings[AccessibleStringAttribute::value] += pasteboard.string();
            ax.post(AccessibilityNotification::valueChanged, focused);
        };
        QObject::connect(&service, &InsertionService::diagnostic,
                         [this](const QString& line) { log.append(line); });
        service.pasteConfirmationMs = 100;
    }

    InsertionTarget remembered() {
        const auto capture = service.captureTarget(workspace.applications[0], field);
        EXPECT_EQ(capture.kind, TargetCaptureKind::ready);
        return *capture.target;
    }

    InsertionResult insert(const QString& text, const InsertionTarget& target) {
        return QCoro::waitFor(service.insert(text, target));
    }

    FakeAccessibility ax;
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
    FakeKeyEventPoster keys;
    InsertionService service{ax, workspace, pasteboard, keys};
    FakeNodePtr app, window, field, secondField;
    QStringList log;
    bool pasteWorks = true;
};

TEST_F(InsertionServiceTest, PastesIntoTheRememberedFieldAfterReturningToIt) {
    const InsertionTarget target = remembered();
    workspace.frontmost = workspace.ownPid; // the user is looking at our window
    ax.focus(editorPid, field);

    EXPECT_EQ(insert(u"héllo wörld"_s, target), InsertionResult::inserted);
    EXPECT_EQ(field->strings[AccessibleStringAttribute::value], u"héllo wörld"_s);
    EXPECT_THAT(workspace.activations, ElementsAre(editorPid));
    EXPECT_THAT(keys.posted, ElementsAre(PasteKeys::control));
    EXPECT_THAT(log, ElementsAre(u"starting for app=org.example.Editor"_s,
                                 u"original focus status=ok confirmed=true"_s,
                                 u"using focused editable target original=true replacement=true"_s,
                                 u"inserted with paste"_s));
}

// A quit target, a field turned secret and a switch to another application
// are checked against real applications in integration/desktop/insert.sh.
TEST_F(InsertionServiceTest, RefusesWithoutTouchingTheDesktopWithoutAccessibility) {
    const InsertionTarget target = remembered();
    ax.trusted = false;
    EXPECT_EQ(insert(u"x"_s, target), InsertionResult::failed);
    EXPECT_THAT(log, ElementsAre(u"blocked: Accessibility permission is unavailable"_s));
    EXPECT_TRUE(workspace.activations.isEmpty());
    EXPECT_TRUE(keys.posted.isEmpty());
}

TEST_F(InsertionServiceTest, NothingIsActivatedWhenFocusMovedToAnotherField) {
    const InsertionTarget target = remembered();
    ax.focus(editorPid, secondField);
    EXPECT_EQ(insert(u"x"_s, target), InsertionResult::failed);
    EXPECT_TRUE(workspace.activations.isEmpty());
    EXPECT_TRUE(secondField->strings[AccessibleStringAttribute::value].isEmpty());
}

TEST_F(InsertionServiceTest, AFieldUnfocusedByTheShortcutsKeyGrabIsWaitedFor) {
    const InsertionTarget target = remembered();
    // The shortcut's key is down: nothing is focused until it is released.
    ax.focus(editorPid, nullptr);
    QTimer::singleShot(150, [this] { ax.focus(editorPid, field); });
    EXPECT_EQ(insert(u"x"_s, target), InsertionResult::inserted);
    EXPECT_EQ(field->strings[AccessibleStringAttribute::value], u"x"_s);

    // Focus that never comes back fails, without touching the desktop.
    ax.focus(editorPid, nullptr);
    EXPECT_EQ(insert(u"y"_s, target), InsertionResult::failed);
    EXPECT_THAT(workspace.activations, ElementsAre(editorPid));
}

TEST_F(InsertionServiceTest, AWebPageThatNavigatedElsewhereIsRefused) {
    window->role = AccessibleRole::documentWeb;
    window->strings[AccessibleStringAttribute::documentAddress] =
        u"https://mail.example.org/compose"_s;
    const InsertionTarget target = remembered();
    EXPECT_EQ(target.webAddress, u"https://mail.example.org/compose"_s);
    window->strings[AccessibleStringAttribute::documentAddress] =
        u"https://mail.example.org/inbox"_s;
    EXPECT_EQ(insert(u"x"_s, target), InsertionResult::failed);
    EXPECT_TRUE(workspace.activations.isEmpty());
}

TEST_F(InsertionServiceTest, AnApplicationThatStaysBehindFailsAfterWaiting) {
    const InsertionTarget target = remembered();
    workspace.frontmost = workspace.ownPid;
    workspace.activationWorks = false;
    EXPECT_EQ(insert(u"x"_s, target), InsertionResult::failed);
    EXPECT_EQ(log.last(), u"failed: target application did not become frontmost"_s);
    EXPECT_TRUE(keys.posted.isEmpty());
}

TEST_F(InsertionServiceTest, FocusThatLandsOnAnotherFieldIsNotUsedEvenWhenItOverlaps) {
    const InsertionTarget target = remembered();
    workspace.frontmost = workspace.ownPid;
    // Coming to the front, the editor focuses a field on nearly the same spot
    // and keeps it there.
    secondField->frame = QRectF(121, 131, 300, 30);
    ax.focusFollowsRequests = false;
    workspace.onActivate = [this](qint64) { ax.focus(editorPid, secondField); };

    EXPECT_EQ(insert(u"x"_s, target), InsertionResult::failed);
    EXPECT_THAT(log, Contains(u"original focus status=ok confirmed=false"_s));
    EXPECT_THAT(log, Contains(u"using focused editable target original=false replacement=true"_s));
    EXPECT_EQ(log.last(), u"failed: focused target differs from the original field"_s);
    EXPECT_TRUE(keys.posted.isEmpty());
    EXPECT_TRUE(secondField->strings[AccessibleStringAttribute::value].isEmpty());
}

TEST_F(InsertionServiceTest, ARefusedFocusRequestIsLoggedByNameAndTheFocusedFieldStillCounts) {
    const InsertionTarget target = remembered();
    // Raising the window takes the focus off the field for a moment, so the
    // field is asked for it, and says no.
    workspace.onActivate = [this](qint64) {
        ax.focus(editorPid, nullptr);
        QTimer::singleShot(30, [this] { ax.focus(editorPid, field); });
    };
    ax.focusError = FocusError::refused;
    EXPECT_EQ(insert(u"x"_s, target), InsertionResult::inserted);
    EXPECT_THAT(log, Contains(u"original focus status=refused confirmed=false"_s));
    EXPECT_EQ(ax.setFocusedCalls, 1);
}

// The fallback that works is checked in integration/desktop/fallback.sh.
TEST_F(InsertionServiceTest, IgnoredPasteAndNoFallbackFails) {
    const InsertionTarget target = remembered();
    pasteWorks = false;
    field->acceptsSelectedText = false;
    EXPECT_EQ(insert(u"lost"_s, target), InsertionResult::failed);
    EXPECT_EQ(log.last(), u"failed: both insertion methods were unavailable"_s);
}

TEST_F(InsertionServiceTest, KeysThatCannotBeMadeLeaveTheClipboardAsItWas) {
    const InsertionTarget target = remembered();
    pasteboard.copyFromElsewhere({{u"text/plain"_s, "mine"}});
    keys.available = false;
    EXPECT_EQ(insert(u"typed"_s, target), InsertionResult::inserted);
    EXPECT_EQ(log.last(), u"inserted with Accessibility fallback"_s);
    EXPECT_EQ(pasteboard.string(), u"mine"_s);
}

// What the clipboard holds afterwards is checked on a real X clipboard in
// integration/desktop/clipboard.sh; here, what the settled signal says.
TEST_F(InsertionServiceTest, TheClipboardIsGivenBackUnlessSomethingNewerWasCopied) {
    const InsertionTarget target = remembered();
    const PasteboardItem users{{u"text/plain"_s, "caption"}, {u"image/png"_s, "\x89PNG\r\n"}};
    const PasteboardItem newer{{u"text/plain"_s, "newer"}};
    service.restoreDelayMs = 300;
    for (const bool copiedMeanwhile : {false, true}) {
        pasteboard.copyFromElsewhere(users);
        EXPECT_EQ(insert(u"dictated"_s, target), InsertionResult::inserted);
        EXPECT_EQ(pasteboard.string(), u"dictated"_s);
        EXPECT_TRUE(service.clipboardInUse());
        if (copiedMeanwhile)
            pasteboard.copyFromElsewhere(newer);
        std::optional<bool> restored;
        const auto connection = QObject::connect(&service, &InsertionService::clipboardSettled,
                                                 [&](bool r) { restored = r; });
        EXPECT_TRUE(processEventsUntil([&] { return restored.has_value(); }));
        QObject::disconnect(connection);
        EXPECT_EQ(restored, !copiedMeanwhile);
        EXPECT_FALSE(service.clipboardInUse());
        ASSERT_EQ(pasteboard.contents.size(), 1);
        EXPECT_EQ(pasteboard.contents[0], copiedMeanwhile ? newer : users);
    }
}

TEST_F(InsertionServiceTest, TerminalsGetControlShiftV) {
    field->role = AccessibleRole::terminal;
    const InsertionTarget target = remembered();
    EXPECT_EQ(insert(u"ls"_s, target), InsertionResult::inserted);
    EXPECT_THAT(keys.posted, ElementsAre(PasteKeys::controlShift));
}

TEST_F(InsertionServiceTest, ClassifiesFocusedElements) {
    const RunningApplication editor = workspace.applications[0];
    field->role = AccessibleRole::passwordText;
    EXPECT_EQ(service.captureTarget(editor, field).kind, TargetCaptureKind::secureField);

    const auto area = ax.addElement(window, AccessibleRole::text, QRectF(0, 0, 10, 10));
    const auto capture = service.captureTarget(editor, area);
    ASSERT_EQ(capture.kind, TargetCaptureKind::ready);
    EXPECT_TRUE(sameElement(capture.target->window, window));
    EXPECT_EQ(capture.target->frame, QRectF(0, 0, 10, 10));
    EXPECT_EQ(capture.target->role, AccessibleRole::text);

    const auto button = ax.addElement(window, AccessibleRole::pushButton);
    EXPECT_EQ(service.captureTarget(editor, button).kind, TargetCaptureKind::noEditableField);
    EXPECT_EQ(service.captureTarget(std::nullopt, area).kind, TargetCaptureKind::noEditableField);
    ax.trusted = false;
    EXPECT_EQ(service.captureTarget(editor, area).kind, TargetCaptureKind::noEditableField);
}

TEST_F(InsertionServiceTest, TextAroundTheSelectionInUtf16Units) {
    field->strings[AccessibleStringAttribute::value] = u"ab😀cd"_s;
    field->selection = TextRange{2, 2}; // the emoji
    auto context = service.textContext(remembered());
    ASSERT_TRUE(context);
    EXPECT_EQ(context->before, u"ab"_s);
    EXPECT_EQ(context->after, u"cd"_s);

    field->selection = TextRange{4, -3};
    context = service.textContext(remembered());
    EXPECT_EQ(context->before, u"ab😀"_s);
    EXPECT_EQ(context->after, u"cd"_s);

    field->selection = TextRange{50, 1};
    context = service.textContext(remembered());
    EXPECT_EQ(context->before, u"ab😀cd"_s);
    EXPECT_EQ(context->after, QString());

    field->selection.reset();
    EXPECT_FALSE(service.textContext(remembered()));
}

TEST_F(InsertionServiceTest, WritingApplicationPrefersKnownApplicationsThenSecureWebHosts) {
    InsertionTarget target = remembered();
    EXPECT_EQ(service.writingApplication(target), u"org.example.Editor"_s);

    window->role = AccessibleRole::documentWeb;
    window->strings[AccessibleStringAttribute::documentAddress] = u"HTTPS://Claude.AI/chat/1"_s;
    EXPECT_EQ(service.writingApplication(target), u"web:claude.ai"_s);
    window->strings[AccessibleStringAttribute::documentAddress] = u"http://claude.ai/chat/1"_s;
    EXPECT_EQ(service.writingApplication(target), u"org.example.Editor"_s);

    target.application.bundleIdentifier = u"slack"_s;
    EXPECT_EQ(service.writingApplication(target), u"slack"_s);
    target.application.bundleIdentifier.clear();
    EXPECT_EQ(service.writingApplication(target), std::nullopt);
}

// Main-thread-only objects stop a call from another thread in debug builds,
// before it touches anything.
TEST_F(InsertionServiceTest, ACallFromAnotherThreadIsStoppedInDebugBuilds) {
#ifdef NDEBUG
    GTEST_SKIP() << "the check is compiled only into debug builds";
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const RunningApplication editor = workspace.applications[0];
    EXPECT_DEATH(
        {
            std::thread other([&] { service.captureTarget(editor, field); });
            other.join();
        },
        "captureTarget.*called on a thread other than the one that owns it");
    // The owning thread is still served.
    EXPECT_EQ(service.captureTarget(editor, field).kind, TargetCaptureKind::ready);
#endif
}

} // namespace

// Where the compositor may drop synthetic keys unseen (Wayland), nothing
// counts as written until the field is read back holding the text.
class AccessibleTextFirstTest : public InsertionServiceTest {
protected:
    AccessibleTextFirstTest() { service.setAccessibleTextFirst(true); }
};

TEST_F(AccessibleTextFirstTest, WritesThroughTheAccessibilityLayerAndLeavesTheClipboardAlone) {
    const InsertionTarget target = remembered();
    static_cast<Pasteboard&>(pasteboard).setString(u"the user's copy"_s);
    field->strings[AccessibleStringAttribute::value] = u"Dear Ann, "_s;
    field->selection = TextRange{10, 0};

    EXPECT_EQ(insert(u"see you at nine"_s, target), InsertionResult::inserted);
    EXPECT_EQ(field->strings[AccessibleStringAttribute::value], u"Dear Ann, see you at nine"_s);
    EXPECT_TRUE(keys.posted.isEmpty());
    EXPECT_EQ(pasteboard.string(), u"the user's copy"_s);
    EXPECT_THAT(log, Contains(u"inserted with Accessibility and read back"_s));

    // The same words again are a second copy, which the read-back must see.
    EXPECT_EQ(insert(u"see you at nine"_s, target), InsertionResult::inserted);
    EXPECT_EQ(field->strings[AccessibleStringAttribute::value],
              u"Dear Ann, see you at ninesee you at nine"_s);
}

TEST_F(AccessibleTextFirstTest, ASecondDictationKeepsWhatTheFieldAlreadyHolds) {
    field->selectsAllOnFocus = true;
    const InsertionTarget target = remembered();
    EXPECT_EQ(insert(u"Dear Ann,"_s, target), InsertionResult::inserted);
    EXPECT_EQ(insert(u" see you"_s, target), InsertionResult::inserted);
    EXPECT_EQ(field->strings[AccessibleStringAttribute::value], u"Dear Ann, see you"_s);
    EXPECT_EQ(ax.setFocusedCalls, 0);
}

TEST_F(AccessibleTextFirstTest, AWriteThatOnlyClaimsSuccessFallsBackToAPasteThatIsReadBack) {
    const InsertionTarget target = remembered();
    field->writesAcceptedText = false;

    EXPECT_EQ(insert(u"hello"_s, target), InsertionResult::inserted);
    EXPECT_THAT(keys.posted, ElementsAre(PasteKeys::control));
    EXPECT_EQ(field->strings[AccessibleStringAttribute::value], u"hello"_s);
    EXPECT_THAT(log, Contains(u"inserted with paste and read back"_s));
}

TEST_F(AccessibleTextFirstTest, NothingIsClaimedWhenNeitherWayChangesTheField) {
    const InsertionTarget target = remembered();
    field->writesAcceptedText = false;
    // The keys are sent, and the compositor or the application drops them.
    pasteWorks = false;
    EXPECT_EQ(insert(u"hello"_s, target), InsertionResult::failed);
    EXPECT_THAT(log, Contains(u"failed: the field did not show the text, written or pasted"_s));
    EXPECT_TRUE(field->strings[AccessibleStringAttribute::value].isEmpty());

    // A desktop with no way to send keys at all.
    keys.available = false;
    EXPECT_EQ(insert(u"hello"_s, target), InsertionResult::failed);
    EXPECT_TRUE(field->strings[AccessibleStringAttribute::value].isEmpty());
}

TEST_F(AccessibleTextFirstTest, AFieldWithoutEditableTextTakesThePasteAndIsReadBack) {
    // A terminal: its text can be read, not written.
    field->role = AccessibleRole::terminal;
    field->selectedTextSettable = false;
    field->strings[AccessibleStringAttribute::value] = u"$ "_s;
    const InsertionTarget target = remembered();
    EXPECT_EQ(insert(u"ls"_s, target), InsertionResult::inserted);
    EXPECT_THAT(keys.posted, ElementsAre(PasteKeys::controlShift));
    EXPECT_EQ(field->strings[AccessibleStringAttribute::value], u"$ ls"_s);
    EXPECT_TRUE(ax.writtenTexts.isEmpty());
}

TEST_F(AccessibleTextFirstTest, APasteWaitsForAKeyboardTheDesktopIsStillHandingOver) {
    field->role = AccessibleRole::terminal;
    field->selectedTextSettable = false;
    const InsertionTarget target = remembered();
    keys.starting = true;
    QTimer::singleShot(200, [this] { keys.starting = false; });
    EXPECT_EQ(insert(u"ls"_s, target), InsertionResult::inserted);
    EXPECT_EQ(field->strings[AccessibleStringAttribute::value], u"ls"_s);
}

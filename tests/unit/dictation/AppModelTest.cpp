#include "dictation/AppModel.h"

#include "audio/AudioRecorder.h"
#include "fakes/FakeAccessibility.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeMicrophonePermission.h"
#include "fakes/RecordingPanels.h"
#include "fakes/ScriptedAudioSource.h"
#include "insertion/InsertionService.h"
#include "model/AppDataStore.h"
#include "model/PendingRecordingStore.h"
#include "model/UserDefaults.h"
#include "support/CoreApplication.h"
#include "support/PrivateTemporaryFolder.h"
#include "transcription/TranscriptionEngine.h"
#include "transcription/TranscriptionService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoro/QCoroTimer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;
using testing::Contains;
using testing::ElementsAre;

namespace {

constexpr qint64 editorPid = 40;

// An engine that answers every part with the text it is given, counting parts.
class ScriptedEngine : public TranscriptionEngine {
public:
    QCoro::Task<EngineResult> transcribe(EngineRequest request) override {
        sent << request.part;
        co_await QCoro::sleepFor(std::chrono::milliseconds(2));
        if (failure)
            co_return std::unexpected(*failure);
        // Each minute says which it is, so that joined parts can be told apart.
        const QString said =
            request.part.startMs == 0 ? text : u"minute %1"_s.arg(request.part.startMs / 60'000);
        co_return EngineTranscript{said, said, {}, false, false};
    }
    QString text = u"hello world"_s;
    std::optional<TranscriptionServiceError> failure;
    QList<AudioPart> sent;
};

class AppModelTest : public testing::Test {
protected:
    AppModelTest() {
        ensureCoreApplication();
        workspace.launch(editorPid, u"org.gnome.TextEditor"_s);
        workspace.frontmost = editorPid;
        app = ax.addApplication(editorPid);
        window = ax.addElement(app, AccessibleRole::window, QRectF(100, 100, 600, 400));
        field = ax.addTextField(window, QRectF(120, 130, 300, 30));
        label = ax.addElement(window, AccessibleRole::pushButton, QRectF(120, 300, 300, 30));
        ax.focus(editorPid, field);
        keys.onPaste = [this](PasteKeys) {
            const auto focused = ax.focusedNode(editorPid);
            focused->strings[AccessibleStringAttribute::value] += pasteboard.string();
            ax.post(AccessibilityNotification::valueChanged, focused);
        };
        insertion.pasteConfirmationMs = 50;
        service.setEngine(DictationModel::offline, offline);
        service.setEngine(DictationModel::hosted, hosted);
    }

    AppModel& model() {
        if (!made) {
            made = std::make_unique<AppModel>(AppModel::Parts{.store = store,
                                                              .pendingRecordings = pending,
                                                              .recorder = recorder,
                                                              .transcription = service,
                                                              .microphone = permission,
                                                              .panels = panels,
                                                              .pasteboard = &pasteboard,
                                                              .insertion = &insertion,
                                                              .uptime = [this] { return now; }});
            QObject::connect(made.get(), &AppModel::entryCompleted,
                             [this](const QUuid& id) { completed << id; });
            focus(field);
        }
        return *made;
    }

    void focus(const FakeNodePtr& element) {
        ax.focus(editorPid, element);
        model().updateTarget(TargetUpdate{workspace.applications[0], element, {}});
    }

    // Starts a dictation and plays `seconds` of loud audio into it.
    void record(double seconds, float value = 0.2f) {
        model().toggle();
        ASSERT_EQ(model().phaseName(), u"recording"_s);
        play(seconds, value);
    }

    void play(double seconds, float value = 0.2f) {
        const double target = recorder.elapsedSeconds() + seconds;
        sources.lastMicrophone->deliverConstant(value, qsizetype(seconds * 16000), 16000);
        ASSERT_TRUE(processEventsUntil([&] { return recorder.elapsedSeconds() >= target - 1e-6; }));
    }

    // Waits until the dictation under way has finished with its entry.
    bool completes(int count = 1) {
        return processEventsUntil([&] { return completed.size() >= count; }, 10000);
    }

    TranscriptEntry entry(const QUuid& id) {
        defaults.reload();
        for (const auto& e : store.history())
            if (e.id == id)
                return e;
        ADD_FAILURE() << "no entry " << id.toString().toStdString();
        return {};
    }

    QString recordingFile(const QUuid& id) {
        return QDir(pending.directory()).filePath(PendingRecordingStore::fileName(id));
    }

    QString fieldText() const { return field->strings[AccessibleStringAttribute::value]; }

    PrivateTemporaryFolder temporary;
    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(u"defaults.json"_s)};
    AppDataStore store{defaults};
    PendingRecordingStore pending{dir.filePath(u"Pending"_s)};
    ScriptedAudioSourceFactory sources;
    FakeMicrophonePermission permission;
    double now = 1000;
    AudioRecorder recorder{
        sources, permission, nullptr,
        AudioRecorder::Options{.uptime = [this] { return now; }, .pollIntervalMs = 60'000}};
    std::shared_ptr<ScriptedEngine> offline = std::make_shared<ScriptedEngine>();
    std::shared_ptr<ScriptedEngine> hosted = std::make_shared<ScriptedEngine>();
    bool cleanupOnly = false;
    TranscriptionService service{[this](const QString& text, const FinishingContext&, bool) {
        return std::expected<FinishedText, TranscriptionServiceError>(
            FinishedText{text, text, !text.trimmed().isEmpty(), cleanupOnly});
    }};
    FakeAccessibility ax;
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
    FakeKeyEventPoster keys;
    InsertionService insertion{ax, workspace, pasteboard, keys};
    RecordingPanels panels;
    FakeNodePtr app, window, field, label;
    std::unique_ptr<AppModel> made;
    QList<QUuid> completed;
};

TEST_F(AppModelTest, ADictationGoesFromTheShortcutIntoTheFocusedFieldAndLeavesNoAudio) {
    record(1.5);
    const QUuid id = *model().recordingEntryID();
    EXPECT_TRUE(QFile::exists(recordingFile(id)));
    EXPECT_TRUE(entry(id).isPending());
    ASSERT_TRUE(panels.hud);
    EXPECT_EQ(panels.hud->destination, u"Inserts into org.gnome.TextEditor"_s.section(u' ', 0, 1) +
                                           u" "_s + workspace.applications[0].localizedName);

    model().toggle();
    EXPECT_EQ(model().phaseName(), u"transcribing"_s);
    ASSERT_TRUE(completes());
    EXPECT_EQ(model().phaseName(), u"ready"_s);
    EXPECT_EQ(fieldText(), u"hello world"_s);
    EXPECT_EQ(entry(id).text, u"hello world"_s);
    EXPECT_FALSE(entry(id).recordingFileName);
    EXPECT_FALSE(QFile::exists(recordingFile(id)));
    EXPECT_EQ(model().lastTranscript(), u"hello world"_s);
    // No model chosen and no sign-in kept: a new user dictates offline.
    EXPECT_EQ(offline->sent.size(), 1);
    EXPECT_TRUE(hosted->sent.isEmpty());
    // The pill went before the text was typed.
    EXPECT_EQ(panels.calls.last(), u"hideHud"_s);
}

TEST_F(AppModelTest, TheHostedModelAsksForASignInBeforeRecording) {
    ASSERT_TRUE(store.setDictationModel(DictationModel::hosted));
    QStringList sections;
    QObject::connect(&model(), &AppModel::mainWindowRequested,
                     [&](const QString& section) { sections << section; });
    model().toggle();
    EXPECT_EQ(model().currentPhase(), DictationPhase::failed(u"Sign in to Parlevo to dictate."_s));
    EXPECT_THAT(sections, ElementsAre(u"account"_s));
    EXPECT_EQ(sources.microphoneRequests.size(), 0);
    EXPECT_TRUE(store.history().isEmpty());
}

TEST_F(AppModelTest, WithoutAMicrophoneNothingIsRecordedAndTheSetupAlertSaysWhy) {
    permission.isGranted = false;
    model().toggle();
    EXPECT_EQ(model().phaseName(), u"ready"_s);
    ASSERT_TRUE(panels.alert);
    EXPECT_EQ(panels.alert->kind, DictationAlert::Kind::setup);
    EXPECT_EQ(panels.alert->title, u"Recording did not start"_s);
    EXPECT_TRUE(store.history().isEmpty());
}

TEST_F(AppModelTest, TheLimitStopsTheRecordingOnTheTickThatReachesIt) {
    ASSERT_TRUE(store.setRecordingDuration(RecordingDuration::five));
    record(1.5);
    now += 299.9;
    processEventsUntil([] { return false; }, 150); // at least one meter tick
    EXPECT_EQ(model().phaseName(), u"recording"_s);
    EXPECT_EQ(model().elapsed(), u"4:59"_s);
    now += 0.1;
    ASSERT_TRUE(processEventsUntil([&] { return !model().isRecording(); }, 1000));
    ASSERT_TRUE(panels.alert);
    EXPECT_EQ(panels.alert->title, u"Recording limit reached"_s);
    EXPECT_EQ(panels.alert->detail, u"Your dictation is saving to History."_s);
    ASSERT_TRUE(completes());
    EXPECT_EQ(fieldText(), u"hello world"_s);
}

TEST_F(AppModelTest, CancelDeletesTheAudioAndItsEntry) {
    record(1.0);
    const QUuid id = *model().recordingEntryID();
    model().cancel();
    EXPECT_EQ(model().phaseName(), u"ready"_s);
    EXPECT_FALSE(QFile::exists(recordingFile(id)));
    EXPECT_TRUE(store.history().isEmpty());
    EXPECT_FALSE(panels.hud);
    EXPECT_TRUE(offline->sent.isEmpty());
}

TEST_F(AppModelTest, CaptureThatDiesKeepsTheAudioForHistoryAndSaysSo) {
    record(1.5);
    const QUuid id = *model().recordingEntryID();
    sources.lastMicrophone->fail(u"The microphone was unplugged."_s);
    ASSERT_TRUE(processEventsUntil([&] { return !model().isRecording(); }));
    EXPECT_EQ(model().phaseName(), u"ready"_s);
    ASSERT_TRUE(panels.alert);
    EXPECT_EQ(panels.alert->title, u"Recording stopped unexpectedly"_s);
    EXPECT_EQ(panels.alert->detail, u"The audio captured so far is saved in History."_s);
    EXPECT_TRUE(QFile::exists(recordingFile(id)));
    EXPECT_TRUE(entry(id).isPending());
    EXPECT_TRUE(offline->sent.isEmpty());

    // The kept audio turns into text from History, without being inserted.
    model().retryHistoryEntry(id, false);
    ASSERT_TRUE(completes());
    EXPECT_EQ(entry(id).text, u"hello world"_s);
    EXPECT_EQ(fieldText(), QString());
}

TEST_F(AppModelTest, SilenceAndEmptyTranscriptsLeaveAFailedEntryWithItsAudio) {
    record(1.5, 0.0f);
    const QUuid silent = *model().recordingEntryID();
    model().toggle();
    EXPECT_EQ(model().currentPhase(),
              DictationPhase::failed(
                  u"No clear speech was detected. The recording is saved in History."_s));
    EXPECT_TRUE(entry(silent).isFailed());
    EXPECT_TRUE(QFile::exists(recordingFile(silent)));
    EXPECT_TRUE(offline->sent.isEmpty());

    offline->text = u"   "_s;
    record(1.5);
    const QUuid empty = *model().recordingEntryID();
    model().toggle();
    ASSERT_TRUE(completes());
    EXPECT_EQ(model().phaseName(), u"failed"_s);
    EXPECT_EQ(entry(empty).transcriptionError,
              u"No clear speech was detected. Retry whenever you’re ready."_s);
    EXPECT_TRUE(QFile::exists(recordingFile(empty)));
    EXPECT_EQ(fieldText(), QString());
}

TEST_F(AppModelTest, AFailedDictationRetriedWithCopyIsCopiedAndNotInserted) {
    offline->failure = TranscriptionServiceError::engine(u"The offline engine stopped."_s);
    record(1.5);
    const QUuid id = *model().recordingEntryID();
    model().toggle();
    ASSERT_TRUE(completes());
    EXPECT_EQ(model().currentPhase(), DictationPhase::failed(u"The offline engine stopped."_s));
    ASSERT_TRUE(panels.alert);
    EXPECT_EQ(panels.alert->title, u"Dictation wasn’t transcribed"_s);
    EXPECT_THAT(panels.alert->actions, Contains(AlertAction::retryAndCopy));
    EXPECT_EQ(entry(id).transcriptionError, u"The offline engine stopped."_s);

    offline->failure.reset();
    offline->text = u"second try"_s;
    Q_EMIT panels.alertActionChosen(AlertAction::retryAndCopy, id);
    ASSERT_TRUE(completes(2));
    EXPECT_EQ(pasteboard.string(), u"second try"_s);
    EXPECT_EQ(fieldText(), QString());
    EXPECT_EQ(entry(id).text, u"second try"_s);
    ASSERT_TRUE(panels.alert);
    EXPECT_EQ(panels.alert->title, u"Dictation copied"_s);
}

TEST_F(AppModelTest, TheBasicCleanupNoticeNamesTheStyleFrozenAtTheStart) {
    ASSERT_TRUE(store.setDictationStyle(DictationStyle::polished));
    cleanupOnly = true;
    record(1.5);
    ASSERT_TRUE(store.setDictationStyle(DictationStyle::casual));
    model().toggle();
    ASSERT_TRUE(completes());
    EXPECT_EQ(fieldText(), u"hello world"_s);
    ASSERT_TRUE(panels.hud);
    EXPECT_EQ(panels.hud->message,
              u"Text inserted with basic cleanup. Polished was unavailable."_s);
}

TEST_F(AppModelTest, PlacementRefusesAPasswordFieldAndInsertsIntoTheFieldChosenNext) {
    focus(label);
    record(1.5);
    EXPECT_EQ(panels.hud->destination, u"Choose a field after dictation"_s);
    model().toggle();
    ASSERT_TRUE(completes());
    EXPECT_EQ(model().phaseName(), u"awaiting-placement"_s);
    EXPECT_EQ(panels.placement, u"Click a text field to insert your transcript."_s);

    const FakeNodePtr secret = ax.addTextField(window, QRectF(120, 200, 300, 30));
    secret->role = AccessibleRole::passwordText;
    focus(secret);
    model().toggle();
    EXPECT_EQ(panels.placement, u"Password fields are excluded. Choose another field."_s);
    EXPECT_EQ(model().phaseName(), u"awaiting-placement"_s);
    EXPECT_EQ(secret->strings[AccessibleStringAttribute::value], QString());

    focus(field);
    model().toggle();
    ASSERT_TRUE(processEventsUntil([&] { return model().phaseName() == u"ready"_s; }));
    EXPECT_EQ(fieldText(), u"hello world"_s);
    EXPECT_EQ(panels.placement, QString());
}

TEST_F(AppModelTest, FinishedMinutesAreTranscribedWhileTheRecordingGoesOn) {
    record(61.0);
    now += 61.0;
    ASSERT_TRUE(processEventsUntil([&] { return offline->sent.size() == 1; }));
    EXPECT_EQ(offline->sent[0].durationMs, 60'000);
    const QUuid id = *model().recordingEntryID();
    ASSERT_TRUE(
        processEventsUntil([&] { return QFile::exists(recordingFile(id) + u".progress.json"_s); }));

    play(64.0, 0.3f); // unlike the first minute, so no part is a copy of another
    now += 64.0;
    model().toggle();
    ASSERT_TRUE(completes());
    // 125 s make three parts; the first minute was not sent again.
    EXPECT_EQ(offline->sent.size(), 3);
    EXPECT_EQ(fieldText(), u"hello world minute 1 minute 2"_s);
    EXPECT_FALSE(QFile::exists(recordingFile(id) + u".progress.json"_s));
}

} // namespace

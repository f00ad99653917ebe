#pragma once

#include "dictation/DictationPanels.h"
#include "dictation/EntryCompletion.h"
#include "hosted/HostedTokenStore.h"
#include "insertion/InsertionTarget.h"
#include "model/DictationModel.h"
#include "model/DictationPhase.h"
#include "model/DictationSessionSettings.h"
#include "model/DictationShortcut.h"
#include "model/MainThreadChecker.h"
#include "model/TranscriptEntry.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <QUuid>
#include <qcorotask.h>

#include <functional>
#include <optional>

namespace quendra {

class AppDataStore;
class AppTargetTracker;
class AudioRecorder;
class InsertionService;
class MicrophonePermission;
class Pasteboard;
class PendingRecordingStore;
class TranscriptionService;
struct TargetUpdate;

// The centre of the application: the shortcut, the tray, the windows and the
// field microphone call into it; it drives the recorder, the transcription,
// the target tracker, the insertion and the floating panels, and keeps each
// dictation in History until its text is safe. Main thread only.
class AppModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString phase READ phaseName NOTIFY stateChanged)
    Q_PROPERTY(QString phaseMessage READ phaseMessage NOTIFY stateChanged)
    Q_PROPERTY(QString statusTitle READ statusTitle NOTIFY stateChanged)
    Q_PROPERTY(bool recording READ isRecording NOTIFY stateChanged)
    Q_PROPERTY(QString elapsed READ elapsed NOTIFY elapsedChanged)
    Q_PROPERTY(double level READ level NOTIFY levelChanged)
    Q_PROPERTY(int finishedParts READ finishedParts NOTIFY stateChanged)
    Q_PROPERTY(int totalParts READ totalParts NOTIFY stateChanged)
    Q_PROPERTY(QString shortcutText READ shortcutText NOTIFY stateChanged)
    Q_PROPERTY(QString notesShortcutText READ notesShortcutText NOTIFY stateChanged)
    Q_PROPERTY(QString hotKeyError READ hotKeyError NOTIFY stateChanged)
    Q_PROPERTY(QString notesHotKeyError READ notesHotKeyError NOTIFY stateChanged)
    Q_PROPERTY(bool microphoneGranted READ microphoneGranted NOTIFY stateChanged)
    Q_PROPERTY(bool accessibilityGranted READ accessibilityGranted NOTIFY stateChanged)
    Q_PROPERTY(QString setupMessage READ setupMessage NOTIFY stateChanged)
    Q_PROPERTY(QString targetApplicationName READ targetApplicationName NOTIFY stateChanged)
    Q_PROPERTY(bool targetReady READ targetReady NOTIFY stateChanged)
    Q_PROPERTY(bool targetIsSecure READ targetIsSecure NOTIFY stateChanged)
    Q_PROPERTY(QString lastTranscript READ lastTranscript NOTIFY stateChanged)
    Q_PROPERTY(bool fieldMicrophoneEnabled READ fieldMicrophoneEnabled WRITE
                   setFieldMicrophoneEnabled NOTIFY stateChanged)
    Q_PROPERTY(bool fieldMicrophoneOffered READ fieldMicrophoneOffered CONSTANT)
    Q_PROPERTY(
        QStringList transcribingHistoryIDs READ transcribingHistoryIDList NOTIFY stateChanged)
    Q_PROPERTY(QString transcriptionCheckTitle READ transcriptionCheckTitle NOTIFY stateChanged)
    Q_PROPERTY(QString dictionaryTestText READ dictionaryTestText NOTIFY stateChanged)
    Q_PROPERTY(bool dictionaryTestRecording READ dictionaryTestRecording NOTIFY stateChanged)
    Q_PROPERTY(QString modelProblem READ modelProblem NOTIFY stateChanged)
    Q_PROPERTY(QString modelTitle READ modelTitle NOTIFY stateChanged)
    Q_PROPERTY(QString modelSetupSection READ modelSetupSection NOTIFY stateChanged)

public:
    // The collaborators; each must outlive the model. The desktop ones are
    // absent when there is no usable display or accessibility bus: the text
    // is then copied instead of inserted.
    struct Parts {
        AppDataStore& store;
        PendingRecordingStore& pendingRecordings;
        AudioRecorder& recorder;
        AudioRecorder* dictionaryTestRecorder = nullptr;
        TranscriptionService& transcription;
        MicrophonePermission& microphone;
        DictationPanels& panels;
        HostedTokenStore* tokens = nullptr;
        // Whether a sign-in is kept on this computer (see AppContext::savedSignIn).
        std::function<bool()> savedSignIn{};
        Pasteboard* pasteboard = nullptr;
        InsertionService* insertion = nullptr;
        AppTargetTracker* targetTracker = nullptr;
        // Whether the desktop tells where other applications' fields are, so
        // that a button can sit beside one (not on Wayland).
        bool fieldMicrophoneOffered = true;
        // Seconds of a monotonic clock; the meter's elapsed time and the limit use it.
        std::function<double()> uptime{};
    };

    static constexpr int meterIntervalMs = 100;
    static constexpr int sectionSeconds = 60;

    explicit AppModel(Parts parts, QObject* parent = nullptr);
    ~AppModel() override;

    // The shortcut, the tray, the bus and the pill's button call these.
    Q_INVOKABLE void toggle(bool fromMenu = false);
    QCoro::Task<> start(bool fromMenu, std::optional<InsertionTarget> preferredTarget);
    // Whether the audio was kept.
    bool stop(bool saveOnly);
    Q_INVOKABLE void cancel();
    void handleRecordingInterruption();

    // History.
    Q_INVOKABLE void retryHistoryEntry(const QString& id, bool copyWhenReady);
    void retryHistoryEntry(const QUuid& id, bool copyWhenReady);
    Q_INVOKABLE void copyLastTranscript();
    void copyText(const QString& text, const QString& message);

    // The small test flows of the settings.
    Q_INVOKABLE void toggleDictionaryTest();
    Q_INVOKABLE void cancelDictionaryTest();
    Q_INVOKABLE void checkTranscriptionStatus();

    // The target tracker's reports, and the field chosen at placement.
    void updateTarget(const TargetUpdate& update);
    void insertPendingTranscript(InsertionTarget target);

    // What the application found at launch.
    void setHotKeyError(std::optional<QString> error);
    void setNotesHotKeyError(std::optional<QString> error);
    void setAccessibilityState(bool granted, QString setupMessage);
    void setConnectionCheck(std::function<QCoro::Task<std::expected<void, QString>>()> check);
    // Reads the settings again after another process changed them.
    void reloadDefaults();
    // Asks again for the microphone and the kept sign-in, for the setup list.
    Q_INVOKABLE void refreshSetup();

    // Observable state.
    const DictationPhase& currentPhase() const { return phaseValue; }
    QString phaseName() const;
    QString phaseMessage() const { return phaseValue.message; }
    QString statusTitle() const;
    bool isRecording() const { return phaseValue.kind == DictationPhase::Case::recording; }
    QString elapsed() const { return elapsedText; }
    double level() const { return levelValue; }
    int finishedParts() const { return progress.finishedParts; }
    int totalParts() const { return progress.totalParts; }
    QString shortcutText() const;
    QString notesShortcutText() const;
    QString hotKeyError() const { return hotKeyErrorText.value_or(QString()); }
    QString notesHotKeyError() const { return notesHotKeyErrorText.value_or(QString()); }
    bool microphoneGranted() const { return microphoneOk; }
    bool accessibilityGranted() const { return accessibilityOk; }
    QString setupMessage() const { return accessibilitySetup; }
    QString targetApplicationName() const;
    bool targetReady() const;
    bool targetIsSecure() const { return currentTargetSecure; }
    QString lastTranscript() const { return lastText; }
    bool fieldMicrophoneEnabled() const;
    bool fieldMicrophoneOffered() const { return parts.fieldMicrophoneOffered; }
    void setFieldMicrophoneEnabled(bool on);
    QStringList transcribingHistoryIDList() const;
    const QSet<QUuid>& transcribingHistoryIDs() const { return transcribing; }
    QString transcriptionCheckTitle() const;
    QString dictionaryTestText() const;
    bool dictionaryTestRecording() const {
        return testPhase.kind == DictionaryTestPhase::Case::recording;
    }
    // Why a dictation started now could not be transcribed; empty when it could.
    QString modelProblem() const;
    QString modelTitle() const;
    // Where the window fixes the model's problem: "account" or "settings".
    QString modelSetupSection() const;
    const TranscriptionCheckPhase& transcriptionCheckPhase() const { return checkPhase; }
    const DictionaryTestPhase& dictionaryTestPhase() const { return testPhase; }
    std::optional<QUuid> recordingEntryID() const { return recordingEntry; }
    const std::optional<QString>& pendingTranscript() const { return pendingText; }
    // The model a recording started now would use.
    DictationModel dictationModel() const;

    // One-line summary for "parlevo dictation status": the phase and its message.
    QString statusLine() const;

Q_SIGNALS:
    void stateChanged();
    void elapsedChanged();
    void levelChanged();
    // The main window is to open at a section: "history", "account", "home".
    void mainWindowRequested(const QString& section);
    // A completion ended, for the tests and the windows: the entry holds text
    // or its failure.
    void entryCompleted(const QUuid& id);
    // The steps of the dictation the user waits for, for timing it: "dictation
    // stopped", "transcription started", "transcription finished", "insert
    // started", "insert finished".
    void milestone(const QString& name);

private:
    void setPhase(DictationPhase phase);
    void meterTick();
    double now() const;
    bool canStart() const;
    bool savedSignIn() const;
    void refreshPermissions();
    std::optional<InsertionTarget> captureRecordingTarget(bool allowRememberedTarget);
    std::optional<InsertionTarget> captureCompletionTarget();
    DictationSessionSettings freezeSettings(const std::optional<InsertionTarget>& target,
                                            DictationModel model);
    std::optional<QString> reasonNotToRecord(DictationModel model) const;
    void removeEntry(const QUuid& id);
    std::optional<DictationModel> dictationModelOf(const QUuid& id) const;

    HudState hudState(HudState::Kind kind, QString message = {}) const;
    void showHud(const HudState& state, const std::optional<InsertionTarget>& near);
    void hideHud();
    void showAlert(const DictationAlert& alert);
    void dismissAlert();
    void showSetupAlert(const QString& title, const QString& detail);
    void showRecordingAlert(const QString& title, const QString& detail);
    void refreshFieldMicrophone();

    QCoro::Task<> startHistoryTranscription(QUuid id, std::optional<InsertionTarget> target,
                                            bool foreground);
    void processCompletedDictationSections(double seconds);
    QCoro::Task<> transcribeLiveSections(QString path, int sections);
    void finishFailedTranscription(const QUuid& id, const EntryCompletion::Failure& failure);
    void beginPlacement(const QString& text, const QString& message);
    void copyRecoveredEntry(const TranscriptEntry& entry, bool onlyIfAlertMatches);
    bool copyToClipboard(const QString& text);
    void onAlertAction(AlertAction action, std::optional<QUuid> entryID);
    void startDictionaryTest();
    void finishDictionaryTest();
    QCoro::Task<> runDictionaryTest(QString path);

    static constexpr int hudLingerMs = 4000;

    MainThreadChecker checker;
    Parts parts;
    EntryCompletion completion;
    // Cleared when the model goes, so that a task resuming later touches nothing.
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);

    DictationPhase phaseValue;
    QString elapsedText = QStringLiteral("0:00");
    double levelValue = 0;
    TranscriptionProgress progress;
    std::optional<QString> hotKeyErrorText;
    std::optional<QString> notesHotKeyErrorText;
    bool microphoneOk = true;
    bool accessibilityOk = true;
    QString accessibilitySetup;
    HostedTokenStore::Status signInStatus = HostedTokenStore::Status::signedOut;
    bool signInSaved = false;
    QString lastText;
    TranscriptionCheckPhase checkPhase;
    DictionaryTestPhase testPhase;
    Cancellation testCancel;
    std::function<QCoro::Task<std::expected<void, QString>>()> connectionCheck;
    QTimer hudTimer;

    // Targets.
    std::optional<InsertionTarget> currentTarget;
    std::optional<InsertionTarget> rememberedTarget;
    bool currentTargetSecure = false;

    // The recording under way.
    std::optional<InsertionTarget> recordingTarget;
    std::optional<DictationSessionSettings> recordingSettings;
    std::optional<QUuid> recordingEntry;
    std::optional<double> recordingStartedAt;
    double activeRecordingLimit = 0;
    int liveDictationBoundary = 0;
    Cancellation liveCancel;
    QTimer meterTimer;

    // Completion and placement.
    std::optional<QUuid> activeForegroundTranscription;
    QSet<QUuid> transcribing;
    QSet<QUuid> historyOnly;
    QSet<QUuid> copyOnCompletion;
    QHash<QUuid, Cancellation> historyTasks;
    std::optional<QString> pendingText;
    bool placementInsertionInFlight = false;
    std::optional<DictationAlert> shownAlert;
};

} // namespace quendra

#include "AppModel.h"

#include "model/DisplayText.h"

#include "audio/AudioRecorder.h"
#include "hosted/HostedTokenStore.h"
#include "insertion/AppTargetTracker.h"
#include "insertion/InsertionService.h"
#include "model/AppDataStore.h"
#include "model/DictationStyle.h"
#include "model/PendingRecordingStore.h"
#include "model/RecordingDuration.h"
#include "model/UserDefaults.h"
#include "model/WritingSurface.h"
#include "platform/MicrophonePermission.h"
#include "platform/Pasteboard.h"
#include "transcription/TranscriptionService.h"

#include <QDateTime>
#include <QElapsedTimer>

#include <cmath>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const QString placementMessage = u"Click a text field to insert your transcript."_s;
const QString recordingDidNotStart = u"Recording did not start"_s;
const QString noMicrophone =
    u"Allow microphone access in the desktop's sound settings, then try again."_s;
const QString noClearSpeechShown =
    u"No clear speech was detected. The recording is saved in History."_s;
const QString recordingUnreadable = u"The recording could not be read."_s;

QString clockText(double seconds) {
    return DisplayText::clock(qint64(std::max(0.0, std::floor(seconds))) * 1000);
}

} // namespace

AppModel::AppModel(Parts given, QObject* parent)
    : QObject(parent)
    , parts(std::move(given))
    , completion(parts.store, parts.pendingRecordings, parts.transcription,
                 [this] { return savedSignIn(); }) {
    if (!parts.uptime) {
        auto clock = std::make_shared<QElapsedTimer>();
        clock->start();
        parts.uptime = [clock] { return double(clock->nsecsElapsed()) / 1e9; };
    }
    meterTimer.setInterval(meterIntervalMs);
    meterTimer.setTimerType(Qt::PreciseTimer);
    connect(&meterTimer, &QTimer::timeout, this, &AppModel::meterTick);
    hudTimer.setSingleShot(true);
    hudTimer.setInterval(hudLingerMs);
    connect(&hudTimer, &QTimer::timeout, this, [this] { parts.panels.hideHud(); });
    connect(&parts.recorder, &AudioRecorder::unexpectedStop, this,
            &AppModel::handleRecordingInterruption);
    connect(&parts.panels, &DictationPanels::hudCancelPressed, this, &AppModel::cancel);
    connect(&parts.panels, &DictationPanels::alertActionChosen, this, &AppModel::onAlertAction);
    connect(&parts.panels, &DictationPanels::fieldMicrophonePressed, this,
            [this](const InsertionTarget& target) {
                if (canStart())
                    start(false, target);
            });
    for (const auto& entry : parts.store.history())
        if (!entry.text.isEmpty()) {
            lastText = entry.text;
            break;
        }
    refreshPermissions();
}

AppModel::~AppModel() {
    *alive = false;
    meterTimer.stop();
    for (const auto& cancel : std::as_const(historyTasks))
        cancel->cancel();
    if (liveCancel)
        liveCancel->cancel();
}

// MARK: observable state

QString AppModel::phaseName() const {
    switch (phaseValue.kind) {
    case DictationPhase::Case::ready:
        return u"ready"_s;
    case DictationPhase::Case::recording:
        return u"recording"_s;
    case DictationPhase::Case::transcribing:
        return u"transcribing"_s;
    case DictationPhase::Case::awaitingPlacement:
        return u"awaiting-placement"_s;
    case DictationPhase::Case::copied:
        return u"copied"_s;
    case DictationPhase::Case::failed:
        return u"failed"_s;
    }
    return {};
}

QString AppModel::statusTitle() const {
    switch (phaseValue.kind) {
    case DictationPhase::Case::recording:
        return u"Listening"_s;
    case DictationPhase::Case::transcribing:
        return u"Transcribing"_s;
    case DictationPhase::Case::awaitingPlacement:
        return u"Choose where to insert"_s;
    case DictationPhase::Case::copied:
        return u"Copied"_s;
    case DictationPhase::Case::failed:
        return u"Needs attention"_s;
    case DictationPhase::Case::ready:
        break;
    }
    if (!microphoneOk)
        return u"Microphone access needed"_s;
    if (dictationModel() == DictationModel::hosted) {
        if (signInStatus == HostedTokenStore::Status::locked && signInSaved)
            return u"Unlock your saved sign-in"_s;
        if (signInStatus != HostedTokenStore::Status::session &&
            signInStatus != HostedTokenStore::Status::accessCode)
            return u"Sign in to dictate"_s;
    }
    return accessibilityOk ? u"Ready anywhere"_s : u"Ready"_s;
}

QString AppModel::statusLine() const {
    QString line = phaseName();
    if (isRecording())
        line += u" "_s + elapsedText;
    else if (phaseValue.kind == DictationPhase::Case::transcribing && progress.totalParts > 1)
        line += u" part %1 of %2"_s.arg(progress.finishedParts).arg(progress.totalParts);
    if (!phaseValue.message.isEmpty())
        line += u": "_s + phaseValue.message;
    return line;
}

QString AppModel::shortcutText() const {
    return parts.store.dictationShortcut().displayName();
}

QString AppModel::notesShortcutText() const {
    const auto shortcut = parts.store.notesRecordingShortcut();
    return shortcut ? shortcut->displayName() : QString();
}

QString AppModel::targetApplicationName() const {
    return currentTarget ? currentTarget->application.localizedName : QString();
}

bool AppModel::targetReady() const {
    return currentTarget.has_value();
}

bool AppModel::fieldMicrophoneEnabled() const {
    return parts.store.fieldMicrophoneEnabled();
}

void AppModel::setFieldMicrophoneEnabled(bool on) {
    QUENDRA_CHECK_THREAD(checker);
    if (auto stored = parts.store.setFieldMicrophoneEnabled(on); !stored)
        showSetupAlert(u"Settings not saved"_s, stored.error().message);
    refreshFieldMicrophone();
    Q_EMIT stateChanged();
}

QStringList AppModel::transcribingHistoryIDList() const {
    QStringList ids;
    for (const QUuid& id : transcribing)
        ids << id.toString(QUuid::WithoutBraces);
    return ids;
}

QString AppModel::transcriptionCheckTitle() const {
    switch (checkPhase.kind) {
    case TranscriptionCheckPhase::Case::idle:
        return {};
    case TranscriptionCheckPhase::Case::checking:
        return u"Checking connection…"_s;
    case TranscriptionCheckPhase::Case::ready:
    case TranscriptionCheckPhase::Case::failed:
        return checkPhase.message;
    }
    return {};
}

QString AppModel::dictionaryTestText() const {
    return testPhase.text;
}

DictationModel AppModel::dictationModel() const {
    return parts.store.dictationModel(signInSaved);
}

bool AppModel::savedSignIn() const {
    return signInSaved;
}

void AppModel::setHotKeyError(std::optional<QString> error) {
    hotKeyErrorText = std::move(error);
    Q_EMIT stateChanged();
}

void AppModel::setNotesHotKeyError(std::optional<QString> error) {
    notesHotKeyErrorText = std::move(error);
    Q_EMIT stateChanged();
}

void AppModel::setAccessibilityState(bool granted, QString setupMessage) {
    accessibilityOk = granted;
    accessibilitySetup = std::move(setupMessage);
    Q_EMIT stateChanged();
}

void AppModel::setConnectionCheck(
    std::function<QCoro::Task<std::expected<void, QString>>()> check) {
    connectionCheck = std::move(check);
}

void AppModel::reloadDefaults() {
    QUENDRA_CHECK_THREAD(checker);
    // Runs on every change to the settings folder, the application's own
    // writes included: the keyring and the sound server are asked at the next
    // start instead.
    parts.store.defaults().reload();
    Q_EMIT stateChanged();
}

void AppModel::refreshSetup() {
    QUENDRA_CHECK_THREAD(checker);
    refreshPermissions();
    Q_EMIT stateChanged();
}

QString AppModel::modelProblem() const {
    return reasonNotToRecord(dictationModel()).value_or(QString());
}

QString AppModel::modelTitle() const {
    return title(dictationModel());
}

QString AppModel::modelSetupSection() const {
    return dictationModel() == DictationModel::hosted ? u"account"_s : u"settings"_s;
}

void AppModel::refreshPermissions() {
    microphoneOk = parts.microphone.granted();
    // Only a kept sign-in is worth asking the keyring about.
    signInSaved = parts.savedSignIn ? parts.savedSignIn() : parts.tokens != nullptr;
    signInStatus =
        signInSaved && parts.tokens ? parts.tokens->status() : HostedTokenStore::Status::signedOut;
    if (!parts.savedSignIn)
        signInSaved = signInStatus != HostedTokenStore::Status::signedOut;
}

void AppModel::setPhase(DictationPhase phase) {
    phaseValue = std::move(phase);
    if (phaseValue.kind != DictationPhase::Case::transcribing)
        progress = {};
    refreshFieldMicrophone();
    Q_EMIT stateChanged();
}

double AppModel::now() const {
    return parts.uptime();
}

bool AppModel::canStart() const {
    using C = DictationPhase::Case;
    return phaseValue.kind == C::ready || phaseValue.kind == C::copied ||
           phaseValue.kind == C::failed;
}

// MARK: targets

void AppModel::updateTarget(const TargetUpdate& update) {
    QUENDRA_CHECK_THREAD(checker);
    if (!parts.insertion)
        return;
    const TargetCapture capture =
        parts.insertion->captureTarget(update.application, update.element);
    currentTargetSecure = capture.kind == TargetCaptureKind::secureField;
    currentTarget = capture.target;
    if (currentTarget)
        rememberedTarget = currentTarget;
    refreshFieldMicrophone();
    Q_EMIT stateChanged();
}

std::optional<InsertionTarget> AppModel::captureRecordingTarget(bool allowRememberedTarget) {
    if (parts.targetTracker && parts.targetTracker->isStarted())
        parts.targetTracker->captureCurrentTarget(false, std::nullopt, TargetUpdateReason::manual);
    if (currentTarget)
        return currentTarget;
    if (allowRememberedTarget)
        return rememberedTarget;
    return std::nullopt;
}

std::optional<InsertionTarget> AppModel::captureCompletionTarget() {
    if (parts.targetTracker && parts.targetTracker->isStarted())
        parts.targetTracker->captureCurrentTarget(false, std::nullopt, TargetUpdateReason::manual);
    return currentTarget;
}

void AppModel::refreshFieldMicrophone() {
    const bool show = parts.fieldMicrophoneOffered && parts.store.fieldMicrophoneEnabled() &&
                      currentTarget &&
                      (phaseValue.kind == DictationPhase::Case::ready ||
                       phaseValue.kind == DictationPhase::Case::copied ||
                       phaseValue.kind == DictationPhase::Case::failed);
    if (show)
        parts.panels.showFieldMicrophone(*currentTarget);
    else
        parts.panels.hideFieldMicrophone();
}

// MARK: start, stop, cancel

void AppModel::toggle(bool fromMenu) {
    QUENDRA_CHECK_THREAD(checker);
    switch (phaseValue.kind) {
    case DictationPhase::Case::recording:
        stop(false);
        return;
    case DictationPhase::Case::awaitingPlacement: {
        const auto target = captureCompletionTarget();
        if (target)
            insertPendingTranscript(*target);
        else if (currentTargetSecure)
            parts.panels.showPlacement(u"Password fields are excluded. Choose another field."_s);
        else
            parts.panels.showPlacement(placementMessage);
        return;
    }
    case DictationPhase::Case::transcribing:
        // The dictation the user waits for finishes first.
        return;
    default:
        if (canStart())
            start(fromMenu, std::nullopt);
    }
}

DictationSessionSettings AppModel::freezeSettings(const std::optional<InsertionTarget>& target,
                                                  DictationModel model) {
    DictationSessionSettings settings;
    settings.style = parts.store.dictationStyle();
    if (target && parts.insertion) {
        settings.application = parts.insertion->writingApplication(*target).value_or(
            target->application.bundleIdentifier);
        if (const auto surface = WritingDestinations::detect(settings.application))
            settings.style = parts.store.surfaceStyles().value(*surface, settings.style);
        if (const auto context = parts.insertion->textContext(*target)) {
            settings.contextBefore = context->before;
            settings.contextAfter = context->after;
        }
    }
    settings.language = rawValue(parts.store.dictationLanguage()).toString();
    settings.replyAssist = parts.store.replyAssist();
    settings.dictionary = parts.store.dictionaryEntries();
    settings.model = model;
    settings.allowFallback = parts.store.allowModelFallback();
    return settings;
}

std::optional<QString> AppModel::reasonNotToRecord(DictationModel model) const {
    if (model == DictationModel::hosted) {
        if (signInStatus == HostedTokenStore::Status::locked && signInSaved)
            return u"Open Settings, then Account, to unlock your saved sign-in."_s;
        if (signInStatus == HostedTokenStore::Status::session ||
            signInStatus == HostedTokenStore::Status::accessCode)
            return std::nullopt;
        return u"Sign in to Parlevo to dictate."_s;
    }
    if (auto reason = parts.transcription.unavailable(model, parts.store.dictationLanguage()))
        return reason->message();
    return std::nullopt;
}

QCoro::Task<> AppModel::start(bool fromMenu, std::optional<InsertionTarget> preferredTarget) {
    QUENDRA_CHECK_THREAD(checker);
    if (!canStart())
        co_return;
    cancelDictionaryTest();
    // Settings changed by the commands or another window count from now.
    parts.store.defaults().reload();
    refreshPermissions();

    const DictationModel model = dictationModel();
    if (const auto reason = reasonNotToRecord(model)) {
        setPhase(DictationPhase::failed(*reason));
        showHud(hudState(HudState::Kind::failed, *reason), std::nullopt);
        Q_EMIT mainWindowRequested(modelSetupSection());
        co_return;
    }
    if (!microphoneOk) {
        showSetupAlert(recordingDidNotStart, noMicrophone);
        co_return;
    }

    const auto target =
        preferredTarget ? preferredTarget : captureRecordingTarget(/*allowRemembered*/ fromMenu);
    const DictationSessionSettings settings = freezeSettings(target, model);

    dismissAlert();
    const QUuid id = QUuid::createUuid();
    const auto path = parts.pendingRecordings.prepare(id);
    if (!path) {
        showSetupAlert(recordingDidNotStart, path.error());
        co_return;
    }
    if (auto started = parts.recorder.start(*path); !started) {
        setPhase(DictationPhase::ready());
        showSetupAlert(recordingDidNotStart, started.error().message());
        co_return;
    }
    TranscriptEntry entry;
    entry.id = id;
    entry.createdAt = QDateTime::currentDateTimeUtc();
    entry.source = u"dictation"_s;
    entry.recordingFileName = PendingRecordingStore::fileName(id);
    entry.dictationSettings = settings;
    if (auto stored = parts.store.addHistory(entry); !stored) {
        // Without its History entry the audio could not be found again.
        parts.recorder.stop();
        parts.recorder.clearFile();
        setPhase(DictationPhase::ready());
        showSetupAlert(recordingDidNotStart, stored.error().message);
        co_return;
    }

    recordingTarget = target;
    recordingSettings = settings;
    recordingEntry = id;
    recordingStartedAt = now();
    activeRecordingLimit = limitSeconds(parts.store.recordingDuration());
    liveDictationBoundary = 0;
    levelValue = 0;
    elapsedText = u"0:00"_s;
    setPhase(DictationPhase::recording());
    Q_EMIT elapsedChanged();
    showHud(hudState(HudState::Kind::recording), recordingTarget);
    meterTimer.start();
}

void AppModel::meterTick() {
    if (!isRecording() || !recordingStartedAt)
        return;
    const double seconds = now() - *recordingStartedAt;
    levelValue = parts.recorder.level();
    Q_EMIT levelChanged();
    const QString text = clockText(seconds);
    if (text != elapsedText) {
        elapsedText = text;
        Q_EMIT elapsedChanged();
    }
    processCompletedDictationSections(seconds);
    if (activeRecordingLimit <= seconds) {
        const bool kept = stop(false);
        showRecordingAlert(u"Recording limit reached"_s,
                           kept ? u"Your dictation is saving to History."_s
                                : u"The recording could not be saved. Start a new recording."_s);
    }
}

bool AppModel::stop(bool saveOnly) {
    QUENDRA_CHECK_THREAD(checker);
    if (!isRecording())
        return false;
    meterTimer.stop();
    if (liveCancel)
        liveCancel->cancel();
    const auto capture = parts.recorder.stop();
    const QUuid id = recordingEntry.value_or(QUuid());
    recordingEntry.reset();
    recordingStartedAt.reset();
    levelValue = 0;
    Q_EMIT levelChanged();

    const auto path = completion.recordingPath(id);
    if (!capture || !path) {
        completion.markPendingFailure(id, recordingUnreadable);
        hideHud();
        setPhase(DictationPhase::failed(recordingUnreadable));
        return false;
    }
    if (!capture->hasSpeech) {
        completion.markPendingFailure(
            id, u"No clear speech was detected. The recording is still saved."_s);
        showHud(hudState(HudState::Kind::failed, noClearSpeechShown), recordingTarget);
        setPhase(DictationPhase::failed(noClearSpeechShown));
        return true;
    }
    if (saveOnly) {
        hideHud();
        setPhase(DictationPhase::ready());
        return true;
    }
    std::optional<InsertionTarget> target = recordingTarget;
    if (!target)
        target = captureCompletionTarget();
    Q_EMIT milestone(u"dictation stopped"_s);
    setPhase(DictationPhase::transcribing());
    showHud(hudState(HudState::Kind::transcribing), target);
    activeForegroundTranscription = id;
    startHistoryTranscription(id, target, true);
    return true;
}

void AppModel::cancel() {
    QUENDRA_CHECK_THREAD(checker);
    if (isRecording()) {
        meterTimer.stop();
        if (liveCancel)
            liveCancel->cancel();
        parts.recorder.stop();
        parts.recorder.clearFile();
        if (recordingEntry)
            removeEntry(*recordingEntry);
        recordingEntry.reset();
        recordingStartedAt.reset();
        levelValue = 0;
        Q_EMIT levelChanged();
    } else if (phaseValue.kind == DictationPhase::Case::awaitingPlacement) {
        pendingText.reset();
    } else if (phaseValue.kind == DictationPhase::Case::transcribing &&
               activeForegroundTranscription) {
        // The audio stays in History; only the wait is over.
        if (const auto task = historyTasks.value(*activeForegroundTranscription))
            task->cancel();
    } else {
        return;
    }
    hideHud();
    parts.panels.hidePlacement();
    setPhase(DictationPhase::ready());
}

void AppModel::removeEntry(const QUuid& id) {
    // A cancelled dictation leaves nothing behind; the entry was only a
    // placeholder for its audio.
    (void)parts.store.removeHistory(id);
}

void AppModel::handleRecordingInterruption() {
    QUENDRA_CHECK_THREAD(checker);
    if (!isRecording())
        return;
    const bool kept = stop(true);
    showRecordingAlert(u"Recording stopped unexpectedly"_s,
                       kept
                           ? u"The audio captured so far is saved in History."_s
                           : u"Audio could not be saved. Check your microphone and start again."_s);
}

// MARK: live sections

void AppModel::processCompletedDictationSections(double seconds) {
    const int completed = int(seconds) / sectionSeconds;
    if (completed <= liveDictationBoundary || liveCancel || !recordingEntry)
        return;
    const auto path = completion.recordingPath(*recordingEntry);
    if (!path)
        return;
    liveDictationBoundary = completed;
    transcribeLiveSections(*path, completed);
}

QCoro::Task<> AppModel::transcribeLiveSections(QString path, int sections) {
    if (!recordingSettings)
        co_return;
    TranscriptEntry entry;
    entry.dictationSettings = recordingSettings;
    TranscriptionRequest request = completion.request(entry, path);
    request.wholePartsOnly = sections;
    // Only the chosen engine's parts serve the final transcription.
    request.allowFallback = false;
    liveCancel = request.cancel;
    const auto flag = alive;
    // Failures here cost nothing: the final transcription sends what is missing.
    co_await parts.transcription.transcribe(std::move(request));
    if (!*flag)
        co_return;
    liveCancel.reset();
}

// MARK: completion

QCoro::Task<> AppModel::startHistoryTranscription(QUuid id, std::optional<InsertionTarget> target,
                                                  bool foreground) {
    if (historyTasks.contains(id))
        co_return;
    auto cancel = std::make_shared<CancellationFlag>();
    historyTasks.insert(id, cancel);
    transcribing.insert(id);
    Q_EMIT stateChanged();
    const auto flag = alive;
    auto onProgress = [this, flag, id](TranscriptionProgress p) {
        if (!*flag || activeForegroundTranscription != id)
            return;
        progress = p;
        if (phaseValue.kind == DictationPhase::Case::transcribing)
            showHud(hudState(HudState::Kind::transcribing), recordingTarget);
        Q_EMIT stateChanged();
    };
    if (foreground)
        Q_EMIT milestone(u"transcription started"_s);
    auto outcome = co_await completion.complete(id, onProgress, cancel);
    if (!*flag)
        co_return;
    if (foreground)
        Q_EMIT milestone(u"transcription finished"_s);
    historyTasks.remove(id);
    transcribing.remove(id);
    const bool isForeground = foreground && activeForegroundTranscription == id;
    if (isForeground)
        activeForegroundTranscription.reset();

    if (!outcome) {
        const auto& failure = outcome.error();
        copyOnCompletion.remove(id);
        historyOnly.remove(id);
        if (failure.kind == EntryCompletion::Failure::Kind::cancelled) {
            // Cancelled by the user: the entry waits in History.
        } else if (isForeground) {
            finishFailedTranscription(id, failure);
        } else if (failure.kind == EntryCompletion::Failure::Kind::recordingUnavailable) {
            showAlert({DictationAlert::Kind::recovery,
                       u"Recording unavailable"_s,
                       EntryCompletion::recordingUnavailable,
                       {AlertAction::openHistory},
                       id});
        } else {
            showAlert({DictationAlert::Kind::recovery,
                       u"Dictation wasn’t transcribed"_s,
                       failure.message + u" The recording is saved in History."_s,
                       {AlertAction::retryAndCopy, AlertAction::openHistory},
                       id});
        }
        Q_EMIT stateChanged();
        Q_EMIT entryCompleted(id);
        co_return;
    }

    const auto& done = *outcome;
    lastText = done.entry.text;
    Q_EMIT stateChanged();
    const bool copyWhenReady = copyOnCompletion.remove(id);
    const bool onlyHistory = historyOnly.remove(id);
    if (copyWhenReady) {
        if (isForeground)
            hideHud();
        copyRecoveredEntry(done.entry, false);
        if (isForeground)
            setPhase(DictationPhase::ready());
    } else if (!onlyHistory && isForeground) {
        // The pill goes before anything is typed, so that nothing lands in it.
        hideHud();
        const auto destination = target ? target : captureCompletionTarget();
        bool inserted = false;
        if (destination && parts.insertion) {
            Q_EMIT milestone(u"insert started"_s);
            const auto result = co_await parts.insertion->insert(done.entry.text, *destination);
            if (!*flag)
                co_return;
            Q_EMIT milestone(u"insert finished"_s);
            inserted = result == InsertionResult::inserted;
        }
        if (!inserted) {
            beginPlacement(done.entry.text, placementMessage);
        } else {
            setPhase(DictationPhase::ready());
            if (done.result.formattingFallback)
                showHud(hudState(HudState::Kind::copied,
                                 u"Text inserted with basic cleanup. %1 was unavailable."_s.arg(
                                     done.styleTitle)),
                        destination);
        }
    }
    Q_EMIT entryCompleted(id);
}

void AppModel::finishFailedTranscription(const QUuid& id, const EntryCompletion::Failure& failure) {
    const bool signIn = dictationModelOf(id) == DictationModel::hosted && parts.tokens &&
                        parts.tokens->status() != HostedTokenStore::Status::session &&
                        parts.tokens->status() != HostedTokenStore::Status::accessCode;
    const QString shown = failure.kind == EntryCompletion::Failure::Kind::noClearSpeech
                              ? noClearSpeechShown
                              : failure.message;
    setPhase(DictationPhase::failed(shown));
    showHud(hudState(HudState::Kind::failed, shown), recordingTarget);
    if (failure.kind == EntryCompletion::Failure::Kind::noClearSpeech)
        return;
    DictationAlert alert{
        DictationAlert::Kind::recovery,
        signIn ? u"Sign in to finish this dictation"_s : u"Dictation wasn’t transcribed"_s,
        signIn ? u"Sign in to Parlevo, then retry. The recording is saved in History."_s
               : failure.message + u" The recording is saved in History."_s,
        {AlertAction::retryAndCopy, AlertAction::openHistory},
        id};
    if (signIn)
        alert.actions.prepend(AlertAction::openSettings);
    showAlert(alert);
}

std::optional<DictationModel> AppModel::dictationModelOf(const QUuid& id) const {
    for (const auto& entry : parts.store.history())
        if (entry.id == id && entry.dictationSettings)
            return entry.dictationSettings->model;
    return std::nullopt;
}

void AppModel::beginPlacement(const QString& text, const QString& message) {
    pendingText = text;
    setPhase(DictationPhase::awaitingPlacement());
    parts.panels.showPlacement(message);
}

void AppModel::insertPendingTranscript(InsertionTarget target) {
    QUENDRA_CHECK_THREAD(checker);
    if (!pendingText || placementInsertionInFlight || !parts.insertion)
        return;
    placementInsertionInFlight = true;
    [](AppModel* self, InsertionTarget target, std::shared_ptr<bool> flag) -> QCoro::Task<> {
        const QString text = *self->pendingText;
        self->parts.panels.hidePlacement();
        const auto result = co_await self->parts.insertion->insert(text, target);
        if (!*flag)
            co_return;
        self->placementInsertionInFlight = false;
        switch (result) {
        case InsertionResult::inserted:
            self->pendingText.reset();
            self->setPhase(DictationPhase::ready());
            break;
        case InsertionResult::blockedSecureField:
            self->parts.panels.showPlacement(
                u"Password fields are excluded. Choose another field."_s);
            break;
        case InsertionResult::failed:
            self->parts.panels.showPlacement(
                u"Couldn’t insert there. Choose another field or copy."_s);
            break;
        }
    }(this, std::move(target), alive);
}

// MARK: history

void AppModel::retryHistoryEntry(const QString& id, bool copyWhenReady) {
    retryHistoryEntry(QUuid::fromString(id), copyWhenReady);
}

void AppModel::retryHistoryEntry(const QUuid& id, bool copyWhenReady) {
    QUENDRA_CHECK_THREAD(checker);
    parts.store.defaults().reload();
    if (!completion.recordingPath(id)) {
        showAlert({DictationAlert::Kind::recovery,
                   u"Recording unavailable"_s,
                   EntryCompletion::recordingUnavailable,
                   {AlertAction::openHistory},
                   id});
        return;
    }
    if (historyTasks.contains(id))
        return;
    historyOnly.insert(id);
    if (copyWhenReady)
        copyOnCompletion.insert(id);
    showAlert({DictationAlert::Kind::recovery,
               u"Retrying dictation…"_s,
               copyWhenReady ? u"The text will be copied when it’s ready."_s : QString(),
               {AlertAction::dismiss},
               id});
    startHistoryTranscription(id, std::nullopt, false);
}

void AppModel::copyRecoveredEntry(const TranscriptEntry& entry, bool onlyIfAlertMatches) {
    if (onlyIfAlertMatches && (!shownAlert || shownAlert->entryID != entry.id))
        return;
    if (copyToClipboard(entry.text))
        showAlert({DictationAlert::Kind::recovery,
                   u"Dictation copied"_s,
                   u"Copied to the clipboard."_s,
                   {AlertAction::dismiss},
                   entry.id});
    else
        showAlert({DictationAlert::Kind::recovery,
                   u"Text saved in History"_s,
                   u"The clipboard is unavailable. Open History to copy the text."_s,
                   {AlertAction::openHistory},
                   entry.id});
}

bool AppModel::copyToClipboard(const QString& text) {
    if (!parts.pasteboard)
        return false;
    parts.pasteboard->clearContents();
    parts.pasteboard->setString(text);
    return true;
}

void AppModel::copyText(const QString& text, const QString& message) {
    QUENDRA_CHECK_THREAD(checker);
    parts.panels.hidePlacement();
    if (!copyToClipboard(text)) {
        setPhase(DictationPhase::failed(
            u"The clipboard is unavailable. Open History to copy the text."_s));
        return;
    }
    pendingText.reset();
    setPhase(DictationPhase::copied(message));
    showHud(hudState(HudState::Kind::copied, message), std::nullopt);
}

void AppModel::copyLastTranscript() {
    if (!lastText.isEmpty())
        copyText(lastText, u"Transcript copied. Paste it where you want it."_s);
}

void AppModel::onAlertAction(AlertAction action, std::optional<QUuid> entryID) {
    dismissAlert();
    switch (action) {
    case AlertAction::retryAndCopy:
        if (entryID)
            retryHistoryEntry(*entryID, true);
        break;
    case AlertAction::openHistory:
        Q_EMIT mainWindowRequested(u"history"_s);
        break;
    case AlertAction::openSettings:
        Q_EMIT mainWindowRequested(u"account"_s);
        break;
    case AlertAction::dismiss:
        break;
    }
}

// MARK: panels

HudState AppModel::hudState(HudState::Kind kind, QString message) const {
    HudState state;
    state.kind = kind;
    const DictationStyle style =
        recordingSettings ? recordingSettings->style : parts.store.dictationStyle();
    state.styleTitle = title(style);
    state.shortcut = shortcutText();
    if (recordingTarget)
        state.destination =
            u"Inserts into %1"_s.arg(recordingTarget->application.localizedName.isEmpty()
                                         ? u"your app"_s
                                         : recordingTarget->application.localizedName);
    else
        state.destination = u"Choose a field after dictation"_s;
    state.message = std::move(message);
    state.finishedParts = progress.finishedParts;
    state.totalParts = progress.totalParts;
    return state;
}

void AppModel::showHud(const HudState& state, const std::optional<InsertionTarget>& near) {
    hudTimer.stop();
    parts.panels.showHud(state, near);
    // A finished message stays a few seconds; the phase keeps it for the tray.
    if (state.kind == HudState::Kind::copied || state.kind == HudState::Kind::failed)
        hudTimer.start();
}

void AppModel::hideHud() {
    hudTimer.stop();
    parts.panels.hideHud();
}

void AppModel::showAlert(const DictationAlert& alert) {
    shownAlert = alert;
    parts.panels.showAlert(alert);
}

void AppModel::dismissAlert() {
    if (!shownAlert)
        return;
    shownAlert.reset();
    parts.panels.dismissAlert();
}

void AppModel::showSetupAlert(const QString& title, const QString& detail) {
    showAlert({DictationAlert::Kind::setup, title, detail, {AlertAction::dismiss}, std::nullopt});
}

void AppModel::showRecordingAlert(const QString& title, const QString& detail) {
    showAlert({DictationAlert::Kind::recording,
               title,
               detail,
               {AlertAction::openHistory, AlertAction::dismiss},
               std::nullopt});
}

// MARK: the test flows

void AppModel::toggleDictionaryTest() {
    QUENDRA_CHECK_THREAD(checker);
    if (testPhase.kind == DictionaryTestPhase::Case::recording)
        finishDictionaryTest();
    else
        startDictionaryTest();
}

void AppModel::startDictionaryTest() {
    if (phaseValue.kind == DictationPhase::Case::recording ||
        phaseValue.kind == DictationPhase::Case::transcribing || !parts.dictionaryTestRecorder) {
        testPhase = DictionaryTestPhase::failed(u"Finish the current dictation first."_s);
        Q_EMIT stateChanged();
        return;
    }
    refreshPermissions();
    if (!microphoneOk) {
        testPhase = DictionaryTestPhase::failed(u"Allow microphone access, then try again."_s);
        Q_EMIT stateChanged();
        return;
    }
    if (auto started = parts.dictionaryTestRecorder->start(); !started) {
        testPhase = DictionaryTestPhase::failed(started.error().message());
        Q_EMIT stateChanged();
        return;
    }
    testPhase = DictionaryTestPhase::recording();
    Q_EMIT stateChanged();
}

void AppModel::finishDictionaryTest() {
    if (!parts.dictionaryTestRecorder)
        return;
    const auto capture = parts.dictionaryTestRecorder->stop();
    if (!capture) {
        testPhase = DictionaryTestPhase::failed(u"The test recording could not be read."_s);
        Q_EMIT stateChanged();
        return;
    }
    if (!capture->hasSpeech) {
        parts.dictionaryTestRecorder->clearFile();
        testPhase = DictionaryTestPhase::failed(
            u"No clear speech was detected. Try again a little closer."_s);
        Q_EMIT stateChanged();
        return;
    }
    testPhase = DictionaryTestPhase::transcribing();
    Q_EMIT stateChanged();
    runDictionaryTest(capture->path);
}

QCoro::Task<> AppModel::runDictionaryTest(QString path) {
    TranscriptEntry entry;
    entry.dictationSettings = freezeSettings(std::nullopt, dictationModel());
    TranscriptionRequest request = completion.request(entry, path);
    testCancel = request.cancel;
    const auto flag = alive;
    auto result = co_await parts.transcription.transcribe(std::move(request));
    if (!*flag)
        co_return;
    parts.dictionaryTestRecorder->clearFile();
    if (testCancel && testCancel->isCancelled())
        co_return;
    testCancel.reset();
    if (!result || result->transcript.trimmed().isEmpty())
        testPhase =
            DictionaryTestPhase::failed(u"Parlevo did not hear a clear phrase. Try again."_s);
    else
        testPhase = DictionaryTestPhase::result(result->transcript);
    Q_EMIT stateChanged();
}

void AppModel::cancelDictionaryTest() {
    if (testPhase.kind == DictionaryTestPhase::Case::recording && parts.dictionaryTestRecorder) {
        parts.dictionaryTestRecorder->stop();
        parts.dictionaryTestRecorder->clearFile();
    }
    if (testCancel) {
        testCancel->cancel();
        testCancel.reset();
    }
    if (testPhase.kind != DictionaryTestPhase::Case::idle) {
        testPhase = DictionaryTestPhase::idle();
        Q_EMIT stateChanged();
    }
}

void AppModel::checkTranscriptionStatus() {
    QUENDRA_CHECK_THREAD(checker);
    refreshPermissions();
    if (signInStatus == HostedTokenStore::Status::signedOut ||
        signInStatus == HostedTokenStore::Status::locked) {
        checkPhase = TranscriptionCheckPhase::failed(u"Sign in to Parlevo"_s);
        Q_EMIT stateChanged();
        return;
    }
    if (!connectionCheck || checkPhase.kind == TranscriptionCheckPhase::Case::checking)
        return;
    checkPhase = TranscriptionCheckPhase::checking();
    Q_EMIT stateChanged();
    [](AppModel* self, std::shared_ptr<bool> flag) -> QCoro::Task<> {
        const auto reached = co_await self->connectionCheck();
        if (!*flag)
            co_return;
        self->checkPhase = reached ? TranscriptionCheckPhase::ready(u"Parlevo is connected"_s)
                                   : TranscriptionCheckPhase::failed(
                                         u"Parlevo couldn’t be reached. Check your connection."_s);
        Q_EMIT self->stateChanged();
    }(this, alive);
}

} // namespace quendra

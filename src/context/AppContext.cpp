#include "AppContext.h"

#include "audio/AudioRecorder.h"
#include "hosted/AccountModel.h"
#include "hosted/ConnectionStore.h"
#include "hosted/HostedClient.h"
#include "hosted/HostedTokenStore.h"
#include "hosted/ServiceBaseURL.h"
#include "insertion/AppTargetTracker.h"
#include "insertion/InsertionService.h"
#include "model/AppDataStore.h"
#include "model/AppPaths.h"
#include "model/PendingRecordingStore.h"
#include "model/UserDefaults.h"
#include "notes/EngineSectionTranscriber.h"
#include "notes/GroqNoteSummarizer.h"
#include "notes/HostedNoteSummarizer.h"
#include "notes/HostedSectionTranscriber.h"
#include "notes/NoteExport.h"
#include "notes/NoteProcessor.h"
#include "notes/NoteRecorder.h"
#include "notes/NotesStore.h"
#include "platform/AudioSource.h"
#include "platform/CredentialBackend.h"
#include "platform/IdleInhibitor.h"
#include "platform/InstanceBus.h"
#include "platform/MicrophonePermission.h"
#include "platform/UrlOpener.h"
#include "session/HotKeyManager.h"
#include "transcription/DictationIntelligence.h"
#include "transcription/GroqEngine.h"
#include "transcription/HostedEngine.h"
#include "transcription/LocalEngine.h"
#include "transcription/LocalQwen.h"
#include "transcription/LocalWorker.h"
#include "transcription/QwenInstaller.h"
#include "transcription/TranscriptionService.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// The object in `slot`, made by `make` on the first call.
template <typename Pointer, typename Make>
auto& made(Pointer& slot, Make make) {
    if (!slot)
        slot = make();
    return *slot;
}

} // namespace

AppContext::AppContext(const QStringList& arguments, Front front, QObject* parent)
    : QObject(parent)
    , switches(QaSwitches::parse(arguments))
    , front(front) {}

AppContext::~AppContext() {
    QUENDRA_CHECK_THREAD(thread);
}

UserDefaults& AppContext::defaults() {
    QUENDRA_CHECK_THREAD(thread);
    return made(defaultsDatabase, [&] { return std::make_unique<UserDefaults>(); });
}

AppDataStore& AppContext::store() {
    QUENDRA_CHECK_THREAD(thread);
    return made(dataStore, [&] { return std::make_unique<AppDataStore>(defaults()); });
}

NotesStore& AppContext::notes() {
    QUENDRA_CHECK_THREAD(thread);
    return made(notesStore, [&] { return std::make_unique<NotesStore>(); });
}

PendingRecordingStore& AppContext::pendingRecordings() {
    QUENDRA_CHECK_THREAD(thread);
    return made(pendingStore, [&] { return std::make_unique<PendingRecordingStore>(); });
}

CredentialBackend& AppContext::keyring() {
    QUENDRA_CHECK_THREAD(thread);
    return made(credentials, [&] { return CredentialBackend::create(); });
}

HostedTokenStore& AppContext::tokens() {
    QUENDRA_CHECK_THREAD(thread);
    return made(tokenStore, [&] { return std::make_unique<HostedTokenStore>(keyring()); });
}

ConnectionStore& AppContext::connections() {
    QUENDRA_CHECK_THREAD(thread);
    return made(connectionStore, [&] { return std::make_unique<ConnectionStore>(keyring()); });
}

HostedClient& AppContext::hostedClient() {
    QUENDRA_CHECK_THREAD(thread);
    if (!client)
        // The bearer is read per call, so building the client opens nothing.
        client = std::make_unique<HostedClient>(
            HostedClientOptions{serviceBaseURL(defaults()), [this] { return tokens().bearer(); },
                                serviceTlsConfiguration()});
    return *client;
}

AccountModel& AppContext::account() {
    QUENDRA_CHECK_THREAD(thread);
    return made(accountModel,
                [&] { return std::make_unique<AccountModel>(hostedClient(), tokens()); });
}

bool AppContext::savedSignIn() {
    // Without a keyring nothing can have been saved, and asking it for the
    // sign-in would only log its absence.
    if (!keyring().available())
        return false;
    return tokens().status() != HostedTokenStore::Status::signedOut;
}

UrlOpener& AppContext::urlOpener() {
    QUENDRA_CHECK_THREAD(thread);
    return made(browser, [&] { return UrlOpener::create(); });
}

DictationIntelligence& AppContext::finishing() {
    QUENDRA_CHECK_THREAD(thread);
    return made(intelligence, [&] { return std::make_shared<DictationIntelligence>(); });
}

QwenInstaller& AppContext::qwenInstaller() {
    QUENDRA_CHECK_THREAD(thread);
    return made(installer,
                [&] { return std::make_unique<QwenInstaller>(applicationDataDirectory()); });
}

TranscriptionService& AppContext::transcription() {
    QUENDRA_CHECK_THREAD(thread);
    if (service)
        return *service;
    finishing();
    service = std::make_unique<TranscriptionService>(
        [finisher = intelligence](const QString& text, const FinishingContext& context,
                                  bool formatted) {
            return finisher->finish(text, context, formatted);
        });

    // Failures are worded for where the user reads them: a dictation in the
    // application, a named file on the command line.
    const HostedMessageContext wording =
        front == Front::application ? HostedMessageContext::dictation : HostedMessageContext::file;
    service->setEngine(DictationModel::hosted,
                       std::make_shared<HostedEngine>(hostedClient(), wording));
    GroqEngineOptions groq;
    // The key is read per part: a key saved meanwhile is used at once.
    groq.key = [this] { return connections().connectionKey(GroqEngine::connectionName); };
    groq.tls = serviceTlsConfiguration();
    for (const DictationModel whisper : {DictationModel::largeV3, DictationModel::turbo})
        service->setEngine(whisper, std::make_shared<GroqEngine>(whisper, groq, intelligence));
    groqChat = std::make_shared<GroqEngine>(DictationModel::turbo, groq, intelligence);

    workerQueue = std::make_unique<SerialQueue>(LocalQwen::queueLabel);
    qwenWorker = std::make_unique<LocalWorker>(
        *workerQueue, LocalQwen::command(qwenInstaller(), LocalQwen::defaultWorkerScript()));
    offlineWorker = std::make_unique<LocalWorker>(
        *workerQueue, OfflineSpeech::command(OfflineSpeech::installedWorker()));
    service->setEngine(DictationModel::qwen,
                       std::make_shared<LocalEngine>(*qwenWorker, LocalQwen::sentences(),
                                                     LocalQwen::availability(qwenInstaller())));
    service->setEngine(DictationModel::offline,
                       std::make_shared<LocalEngine>(*offlineWorker, OfflineSpeech::sentences(),
                                                     OfflineSpeech::availability()));
    return *service;
}

AudioSourceFactory& AppContext::audioSources() {
    QUENDRA_CHECK_THREAD(thread);
    return made(sources, [&] { return AudioSourceFactory::create(); });
}

MicrophonePermission& AppContext::microphonePermission() {
    QUENDRA_CHECK_THREAD(thread);
    return made(permission, [&] { return MicrophonePermission::create(); });
}

AudioRecorder& AppContext::dictationRecorder() {
    QUENDRA_CHECK_THREAD(thread);
    if (!recorder) {
        idle = IdleInhibitor::create();
        recorder =
            std::make_unique<AudioRecorder>(audioSources(), microphonePermission(), idle.get());
    }
    return *recorder;
}

AudioRecorder& AppContext::dictionaryTestRecorder() {
    return made(testRecorder, [&] {
        return std::make_unique<AudioRecorder>(audioSources(), microphonePermission(), idle.get());
    });
}

NoteRecorder& AppContext::noteRecorder() {
    QUENDRA_CHECK_THREAD(thread);
    return made(notesRecorder, [&] { return std::make_unique<NoteRecorder>(audioSources()); });
}

NoteProcessor& AppContext::noteProcessor() {
    QUENDRA_CHECK_THREAD(thread);
    if (processor)
        return *processor;
    transcription();
    NoteProcessor::Setup setup;
    setup.transcriber = [this]() -> std::shared_ptr<SectionTranscriber> {
        const bool signedIn = savedSignIn();
        const DictationModel model = store().dictationModel(signedIn);
        if (model == DictationModel::hosted)
            return std::make_shared<HostedSectionTranscriber>(hostedClient(),
                                                              [this] { return savedSignIn(); });
        const auto engine = service->engine(model);
        if (!engine)
            return nullptr;
        return std::make_shared<EngineSectionTranscriber>(engine, title(model));
    };
    setup.summarizer = [this]() -> std::shared_ptr<NoteSummarizer> {
        if (savedSignIn())
            return std::make_shared<HostedNoteSummarizer>(hostedClient());
        if (groqChat->storedKey())
            return std::make_shared<GroqNoteSummarizer>(groqChat);
        return nullptr;
    };
    setup.exportAudio = [store = &notes()](const Note& note,
                                           const QString& path) -> std::expected<void, QString> {
        if (auto written = NoteExport::writeAudio(*store, note, path); !written)
            return std::unexpected(written.error().message);
        return {};
    };
    processor = std::make_unique<NoteProcessor>(notes(), std::move(setup));
    return *processor;
}

std::expected<DesktopServices*, QString> AppContext::desktop() {
    QUENDRA_CHECK_THREAD(thread);
    if (!desktopServices) {
        auto connected = DesktopServices::connect();
        if (!connected)
            return std::unexpected(connected.error());
        desktopServices = std::make_unique<DesktopServices>(std::move(*connected));
    }
    return desktopServices.get();
}

std::expected<InsertionService*, QString> AppContext::insertion() {
    QUENDRA_CHECK_THREAD(thread);
    if (!insertionService) {
        const auto services = desktop();
        if (!services)
            return std::unexpected(services.error());
        DesktopServices& d = **services;
        insertionService = std::make_unique<InsertionService>(*d.accessibility, *d.workspace,
                                                              *d.pasteboard, *d.keys);
        insertionService->setTargetLog(switches.targetLog);
        insertionService->setAccessibleTextFirst(d.session.writesAccessibleTextFirst());
    }
    return insertionService.get();
}

std::expected<AppTargetTracker*, QString> AppContext::targetTracker() {
    QUENDRA_CHECK_THREAD(thread);
    if (!tracker) {
        const auto services = desktop();
        if (!services)
            return std::unexpected(services.error());
        tracker = std::make_unique<AppTargetTracker>(*(*services)->workspace,
                                                     *(*services)->accessibility);
        tracker->setTargetLog(switches.targetLog);
        if (!switches.targetBundle.isEmpty())
            tracker->setTargetBundleOverride(switches.targetBundle);
    }
    return tracker.get();
}

std::expected<HotKeyManager*, QString> AppContext::hotKey(std::unique_ptr<HotKeyManager>& manager,
                                                          std::uint32_t identifier) {
    if (!manager) {
        const auto services = desktop();
        if (!services)
            return std::unexpected(services.error());
        manager = std::make_unique<HotKeyManager>(*(*services)->hotKeys, identifier);
        manager->setHotKeyLog(switches.hotKeyLog);
    }
    return manager.get();
}

std::expected<HotKeyManager*, QString> AppContext::dictationHotKey() {
    QUENDRA_CHECK_THREAD(thread);
    return hotKey(dictationKey, HotKeyManager::dictationIdentifier);
}

std::expected<HotKeyManager*, QString> AppContext::notesHotKey() {
    QUENDRA_CHECK_THREAD(thread);
    return hotKey(notesKey, HotKeyManager::notesIdentifier);
}

InstanceBus& AppContext::instanceBus() {
    QUENDRA_CHECK_THREAD(thread);
    return made(instances, [&] { return InstanceBus::create(); });
}

} // namespace quendra

#pragma once

#include "context/QaSwitches.h"
#include "model/MainThreadChecker.h"
#include "platform/DesktopServices.h"

#include <QObject>
#include <QString>

#include <expected>
#include <memory>

namespace quendra {

class AccountModel;
class AppDataStore;
class AppTargetTracker;
class AudioRecorder;
class AudioSourceFactory;
class ConnectionStore;
class CredentialBackend;
class DictationIntelligence;
class GroqEngine;
class HostedClient;
class HostedTokenStore;
class HotKeyManager;
class IdleInhibitor;
class InsertionService;
class InstanceBus;
class LocalWorker;
class MicrophonePermission;
class NoteProcessor;
class NoteRecorder;
class NotesStore;
class PendingRecordingStore;
class QwenInstaller;
class SerialQueue;
class TranscriptionService;
class UrlOpener;
class UserDefaults;

// Builds and owns the running objects of one Parlevo process, for the
// application and the commands alike, so that both run the same wiring. Each
// object is made on first use: "parlevo words list" opens neither the keyring
// nor the sound server nor the display. Everything here lives on the main
// thread and is destroyed in the reverse order of its dependencies.
class AppContext : public QObject {
    Q_OBJECT
public:
    // Where the user reads what goes wrong: the windows of the application,
    // or a terminal running one command on a file.
    enum class Front { application, commandLine };

    // `arguments` are the process's own; only the "--qa-*" switches are read.
    explicit AppContext(const QStringList& arguments = {}, Front front = Front::commandLine,
                        QObject* parent = nullptr);
    ~AppContext() override;
    AppContext(const AppContext&) = delete;
    AppContext& operator=(const AppContext&) = delete;

    const QaSwitches& qa() const { return switches; }

    // The stores of the user's data.
    UserDefaults& defaults();
    AppDataStore& store();
    NotesStore& notes();
    PendingRecordingStore& pendingRecordings();

    // The keyring, the sign-in and the hosted service. The keyring is asked
    // only when a call needs what it holds.
    CredentialBackend& keyring();
    HostedTokenStore& tokens();
    ConnectionStore& connections();
    HostedClient& hostedClient();
    AccountModel& account();
    // Whether a sign-in is kept on this computer, unlocked or not; asks the
    // keyring without prompting.
    bool savedSignIn();
    // The user's browser, for the sign-in page.
    UrlOpener& urlOpener();

    // The transcription service with every engine, and the finishing step it
    // and "parlevo finish" share. The local models' workers run one at a time
    // on their own queue.
    TranscriptionService& transcription();
    DictationIntelligence& finishing();
    QwenInstaller& qwenInstaller();

    // The recorders and what they need from this computer.
    AudioSourceFactory& audioSources();
    MicrophonePermission& microphonePermission();
    AudioRecorder& dictationRecorder();
    // The settings' short practice recording, beside a dictation's own.
    AudioRecorder& dictionaryTestRecorder();
    NoteRecorder& noteRecorder();
    // Note processing: sections transcribed by the hosted service when it is
    // the model and a sign-in is kept, otherwise by the chosen engine;
    // summaries by the hosted service when signed in, else by Groq when its
    // key is kept.
    NoteProcessor& noteProcessor();

    // The desktop: needs a QGuiApplication on a reachable display. The
    // sentence says what is missing otherwise; the failure is not kept, so a
    // later call tries again.
    std::expected<DesktopServices*, QString> desktop();
    std::expected<InsertionService*, QString> insertion();
    std::expected<AppTargetTracker*, QString> targetTracker();
    std::expected<HotKeyManager*, QString> dictationHotKey();
    std::expected<HotKeyManager*, QString> notesHotKey();

    // The other running copies of the application, and this one's place among them.
    InstanceBus& instanceBus();

private:
    std::expected<HotKeyManager*, QString> hotKey(std::unique_ptr<HotKeyManager>& manager,
                                                  std::uint32_t identifier);

    MainThreadChecker thread;
    const QaSwitches switches;
    const Front front;

    // Declared in the order of dependency: later members use earlier ones,
    // so they are destroyed first.
    std::unique_ptr<UserDefaults> defaultsDatabase;
    std::unique_ptr<AppDataStore> dataStore;
    std::unique_ptr<NotesStore> notesStore;
    std::unique_ptr<PendingRecordingStore> pendingStore;

    std::unique_ptr<CredentialBackend> credentials;
    std::unique_ptr<HostedTokenStore> tokenStore;
    std::unique_ptr<ConnectionStore> connectionStore;
    std::unique_ptr<HostedClient> client;
    std::unique_ptr<AccountModel> accountModel;
    std::unique_ptr<UrlOpener> browser;

    std::shared_ptr<DictationIntelligence> intelligence;
    std::unique_ptr<QwenInstaller> installer;
    std::unique_ptr<SerialQueue> workerQueue;
    std::unique_ptr<LocalWorker> qwenWorker;
    std::unique_ptr<LocalWorker> offlineWorker;
    std::unique_ptr<TranscriptionService> service;
    // Groq's chat, for the summaries of notes.
    std::shared_ptr<GroqEngine> groqChat;

    std::unique_ptr<AudioSourceFactory> sources;
    std::unique_ptr<MicrophonePermission> permission;
    std::unique_ptr<IdleInhibitor> idle;
    std::unique_ptr<AudioRecorder> recorder;
    std::unique_ptr<AudioRecorder> testRecorder;
    std::unique_ptr<NoteRecorder> notesRecorder;
    std::unique_ptr<NoteProcessor> processor;

    std::unique_ptr<DesktopServices> desktopServices;
    std::unique_ptr<InsertionService> insertionService;
    std::unique_ptr<AppTargetTracker> tracker;
    std::unique_ptr<HotKeyManager> dictationKey;
    std::unique_ptr<HotKeyManager> notesKey;
    std::unique_ptr<InstanceBus> instances;
};

} // namespace quendra

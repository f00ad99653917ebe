#include "QuendraApp.h"

#include "StatusTray.h"
#include "audio/AudioRecorder.h"
#include "context/AppContext.h"
#include "dictation/AppModel.h"
#include "hosted/HostedClient.h"
#include "insertion/AppTargetTracker.h"
#include "model/AppDataStore.h"
#include "model/ApplicationId.h"
#include "model/UserDefaults.h"
#include "model/WritingSurface.h"
#include "notes/NoteExport.h"
#include "notes/NoteSession.h"
#include "notes/NotesModel.h"
#include "notes/NotesStore.h"
#include "panels/QuickPanels.h"
#include "panels/StatusIcons.h"
#include "platform/AudioSource.h"
#include "platform/DesktopSession.h"
#include "platform/InstanceBus.h"
#include "platform/LoginItem.h"
#include "platform/PanelFocusRules.h"
#include "platform/UrlOpener.h"
#include "session/HotKeyManager.h"
#include "session/ShortcutSettings.h"
#include "session/SingleInstanceCoordinator.h"
#include "views/AccountSettings.h"
#include "views/DictionaryListModel.h"
#include "views/HistoryListModel.h"
#include "views/NoteDetailModel.h"
#include "views/NotesListModel.h"
#include "views/SettingsModel.h"
#include "views/ShortcutRecorder.h"
#include "views/SnippetListModel.h"
#include "views/WordSuggestionsModel.h"
#include "views/WordsTransferActions.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <QTimer>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const QString accessibilityOff =
    u"Parlevo can't see which text field has focus because the desktop's accessibility bus "
    "is off. Run “parlevo doctor --enable-accessibility”, then log out and back in."_s;

} // namespace

QuendraApp::QuendraApp(AppContext& context, bool quiet, QObject* parent)
    : QObject(parent)
    , context(context)
    , quiet(quiet) {}

QuendraApp::~QuendraApp() {
    // The window goes first, then what it shows; the controller goes before
    // the panels and the desktop it talks to, the panels before the QML
    // engine they share with the main window.
    tray.reset();
    if (engine) {
        for (QObject* root : engine->rootObjects())
            if (auto* window = qobject_cast<QQuickWindow*>(root)) {
                window->hide();
                window->setProperty("closing", true);
            }
        for (const char* name :
             {"dictation", "history", "dictionary", "snippets", "suggestions", "wordsTransfer",
              "notesList", "notes", "noteDetail", "settings", "shortcuts", "account"})
            engine->rootContext()->setContextProperty(QString::fromLatin1(name), nullptr);
    }
    noteDetail.reset();
    notes.reset();
    note.reset();
    account.reset();
    shortcuts.reset();
    settings.reset();
    notesList.reset();
    wordsTransfer.reset();
    suggestions.reset();
    snippets.reset();
    dictionary.reset();
    history.reset();
    model.reset();
    panels.reset();
    engine.reset();
}

bool QuendraApp::start() {
    recoverNotes();

    auto desktop = context.desktop();
    if (!desktop)
        qWarning("parlevo: %s", qPrintable(desktop.error()));
    engine = std::make_unique<QQmlApplicationEngine>();
    panels =
        std::make_unique<QuickPanels>(desktop ? (*desktop)->accessibility.get() : nullptr,
                                      desktop ? (*desktop)->screens.get() : nullptr, engine.get());
    const DesktopSession session = desktop ? (*desktop)->session : DesktopSession::current();
    panelRules = std::make_unique<PanelFocusRules>(session, QStringLiteral(QUENDRA_APPLICATION_ID));
    panels->setPillAllowed(panelRules->honoured());
    connect(panelRules.get(), &PanelFocusRules::honouredChanged, panels.get(),
            &QuickPanels::setPillAllowed);
    panelRules->apply();
    auto insertion = context.insertion();
    auto tracker = context.targetTracker();
    model = std::make_unique<AppModel>(AppModel::Parts{
        .store = context.store(),
        .pendingRecordings = context.pendingRecordings(),
        .recorder = context.dictationRecorder(),
        .dictionaryTestRecorder = &context.dictionaryTestRecorder(),
        .transcription = context.transcription(),
        .microphone = context.microphonePermission(),
        .panels = *panels,
        .tokens = &context.tokens(),
        .savedSignIn = [this] { return context.savedSignIn(); },
        .pasteboard = desktop ? (*desktop)->pasteboard.get() : nullptr,
        .insertion = insertion ? *insertion : nullptr,
        .targetTracker = tracker ? *tracker : nullptr,
        .fieldMicrophoneOffered = session.offersFieldMicrophone(),
    });
    panels->setMeter(model.get());
    model->setConnectionCheck([this]() -> QCoro::Task<std::expected<void, QString>> {
        const auto reply = co_await context.hostedClient().me();
        if (!reply)
            co_return std::unexpected(describe(reply.error()));
        co_return std::expected<void, QString>{};
    });
    connect(model.get(), &AppModel::mainWindowRequested, this,
            [this](const QString& section) { showMainWindow(section); });

    buildViews();
    engine->load(QUrl(u"qrc:/ui/Main.qml"_s));
    if (engine->rootObjects().isEmpty())
        return false;
    QApplication::setWindowIcon(applicationIcon());

    tray = std::make_unique<StatusTray>(*model);
    connect(tray.get(), &StatusTray::openRequested, this, [this] { showMainWindow(); });
    connect(tray.get(), &StatusTray::quitRequested, qApp, &QCoreApplication::quit);
    connect(tray.get(), &StatusTray::noteToggleRequested, notes.get(), &NotesModel::toggle);
    connect(notes.get(), &NotesModel::recordingChanged, this,
            [this] { tray->setNoteRecording(notes->recording()); });
    // Queued: the recorder is not stopped from inside its own report.
    connect(
        notes.get(), &NotesModel::stoppedUnexpectedly, this,
        [this](const QString& message) {
            panels->showAlert({DictationAlert::Kind::recording,
                               u"Note recording stopped"_s,
                               message + u" What was recorded is kept in Notes."_s,
                               {AlertAction::dismiss},
                               std::nullopt});
        },
        Qt::QueuedConnection);
    connect(notes.get(), &NotesModel::processed, this,
            [](const QString& id, const QString& message) {
                if (message.isEmpty())
                    qInfo("parlevo: the note %s is processed", qPrintable(id));
                else
                    qWarning("parlevo: the note %s: %s", qPrintable(id), qPrintable(message));
            });
    notes->resume();
    // A desktop without a tray would leave no way in but the window.
    if (StatusTray::available()) {
        tray->show();
    } else {
        QApplication::setQuitOnLastWindowClosed(!quiet);
        if (!quiet)
            showMainWindow();
    }

    registerShortcuts();
    followTargets();
    answerOnTheBus();
    watchSettings();
    if (context.qa().insertTiming)
        logTimings();

    if (context.qa().quitAfterLaunch) {
        QTimer::singleShot(500, qApp, [] {
            qInfo("parlevo: launched");
            QCoreApplication::quit();
        });
    }
    return true;
}

void QuendraApp::recoverNotes() {
    // Notes left recording by a previous run become interrupted notes whose
    // audio can still be processed.
    const NoteRecovery recovery = context.notes().recoverInterrupted();
    for (const Note& note : recovery.recovered)
        qInfo("parlevo: recovered the interrupted note %s", qPrintable(uuidText(note.id)));
    for (const QString& sentence : recovery.keptAside)
        qWarning("parlevo: %s", qPrintable(sentence));
    for (const StoreError& failure : recovery.failures)
        qWarning("parlevo: %s", qPrintable(failure.message));
}

void QuendraApp::registerShortcuts() {
    // A desktop that asks the user may refuse a shortcut after it was taken.
    if (auto hotKey = context.dictationHotKey())
        connect(*hotKey, &HotKeyManager::failed, this, [this](HotKeyError error) {
            model->setHotKeyError(message(error));
            qWarning("parlevo: %s", qPrintable(message(error)));
        });
    if (auto notesHotKey = context.notesHotKey())
        connect(*notesHotKey, &HotKeyManager::failed, this, [this](HotKeyError error) {
            model->setNotesHotKeyError(message(error));
            qWarning("parlevo: %s", qPrintable(message(error)));
        });
    if (!shortcutSettings) {
        auto hotKey = context.dictationHotKey();
        auto notesHotKey = context.notesHotKey();
        model->setHotKeyError(!hotKey ? hotKey.error() : notesHotKey.error());
    } else {
        shortcutSettings->registerStored();
        const auto optional = [](const QString& s) {
            return s.isEmpty() ? std::nullopt : std::optional<QString>(s);
        };
        model->setHotKeyError(optional(shortcutSettings->hotKeyError()));
        model->setNotesHotKeyError(optional(shortcutSettings->notesHotKeyError()));
    }
    for (const QString& error : {model->hotKeyError(), model->notesHotKeyError()})
        if (!error.isEmpty())
            qWarning("parlevo: %s", qPrintable(error));
}

void QuendraApp::followTargets() {
    auto tracker = context.targetTracker();
    if (!tracker || !DesktopServices::accessibilityStatus().enabled) {
        model->setAccessibilityState(false, accessibilityOff);
        qWarning("parlevo: %s", qPrintable(accessibilityOff));
        return;
    }
    connect(*tracker, &AppTargetTracker::targetChanged, model.get(), &AppModel::updateTarget);
    (*tracker)->start();
    model->setAccessibilityState(true, {});
}

void QuendraApp::answerOnTheBus() {
    // Test runs stay out of the other copies' way, and out of their reach.
    if (context.qa().any())
        return;
    InstanceBus& instances = context.instanceBus();
    connect(&instances, &InstanceBus::showWindowRequested, this, [this] {
        qInfo("parlevo: another copy asked for the main window");
        showMainWindow();
    });
    connect(&instances, &InstanceBus::quitRequested, qApp, &QCoreApplication::quit);
    connect(&instances, &InstanceBus::toggleRequested, model.get(),
            [this] { model->toggle(false); });
    connect(&instances, &InstanceBus::cancelRequested, model.get(), &AppModel::cancel);
    connect(&instances, &InstanceBus::noteToggleRequested, notes.get(), &NotesModel::toggle);
    instances.setStatusProvider([this] { return model->statusLine(); });
    if (!instances.publish(
            SingleInstanceCoordinator::resolvedLocation(QCoreApplication::applicationFilePath())))
        qWarning("parlevo: the session bus is not reachable; other copies cannot find this one");
}

void QuendraApp::watchSettings() {
    // The commands change the same settings and lists while the application
    // runs; one write is several changes of the folder, so they are gathered.
    const QString path = context.defaults().filePath();
    refreshTimer = new QTimer(this);
    refreshTimer->setSingleShot(true);
    refreshTimer->setInterval(150);
    connect(refreshTimer, &QTimer::timeout, this, &QuendraApp::refreshViews);
    settingsWatcher = std::make_unique<QFileSystemWatcher>();
    // A new user has no settings folder yet; one made later would go unseen.
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder) || !settingsWatcher->addPath(folder))
        qWarning("parlevo: changes made by the commands will show after a restart; %s cannot "
                 "be watched",
                 qPrintable(folder));
    connect(settingsWatcher.get(), &QFileSystemWatcher::directoryChanged, refreshTimer,
            qOverload<>(&QTimer::start));
    // New and removed notes show in the Notes list.
    notesWatcher = std::make_unique<QFileSystemWatcher>();
    if (QDir().mkpath(context.notes().root()))
        notesWatcher->addPath(context.notes().root());
    connect(notesWatcher.get(), &QFileSystemWatcher::directoryChanged, notesList.get(),
            &NotesListModel::refresh);
}

void QuendraApp::refreshViews() {
    model->reloadDefaults();
    history->refresh();
    dictionary->refresh();
    snippets->refresh();
    suggestions->refresh();
    settings->refresh();
}

void QuendraApp::buildViews() {
    AppDataStore& store = context.store();
    UrlOpener* opener = &context.urlOpener();
    history =
        std::make_unique<HistoryListModel>(store, context.pendingRecordings(), *model, opener);
    dictionary = std::make_unique<DictionaryListModel>(store);
    snippets = std::make_unique<SnippetListModel>(store);
    suggestions = std::make_unique<WordSuggestionsModel>(store);
    wordsTransfer = std::make_unique<WordsTransferActions>(store, *dictionary, *snippets);
    notesList = std::make_unique<NotesListModel>(context.notes());
    note = std::make_unique<NoteSession>(context.notes(), context.noteRecorder());
    notes = std::make_unique<NotesModel>(
        *note, context.noteRecorder(), context.noteProcessor(),
        NotesModel::Options{
            .callHint =
                [this] {
                    const AudioActivity activity = context.audioSources().activity();
                    return CallHint::from(activity.playing, activity.microphoneInUse);
                },
            .language = [&store] { return rawValue(store.dictationLanguage()).toString(); },
            .now = {},
        });
    noteDetail = std::make_unique<NoteDetailModel>(context.notes(), context.noteProcessor(), *notes,
                                                   NoteDetailModel::Exporter{});
    // A note's progress is in its own folder, which the list does not watch;
    // a burst of changes is one refresh.
    notesRefresh = new QTimer(this);
    notesRefresh->setSingleShot(true);
    notesRefresh->setInterval(300);
    connect(notesRefresh, &QTimer::timeout, notesList.get(), &NotesListModel::refresh);
    // Progress shows in the rows by itself; the list is read again only when
    // a note's state changes, not at each of its sections.
    connect(notes.get(), &NotesModel::recordingChanged, notesRefresh, qOverload<>(&QTimer::start));
    connect(notes.get(), &NotesModel::processed, notesRefresh, qOverload<>(&QTimer::start));
    loginItem = LoginItem::create(QCoreApplication::applicationFilePath());
    // The controller's own answer: it asks the keyring once, not at every redraw.
    settings = std::make_unique<SettingsModel>(store, *loginItem,
                                               [this] { return model->dictationModel(); });
    account = std::make_unique<AccountSettings>(AccountSettings::Parts{
        .client = context.hostedClient(),
        .tokens = context.tokens(),
        .account = context.account(),
        .connections = context.connections(),
        .qwen = context.qwenInstaller(),
        .browser = context.urlOpener(),
    });
    connect(account.get(), &AccountSettings::signInChanged, model.get(), &AppModel::refreshSetup);
    auto hotKey = context.dictationHotKey();
    auto notesHotKey = context.notesHotKey();
    if (hotKey)
        connect(*hotKey, &HotKeyManager::pressed, model.get(), [this] { model->toggle(false); });
    if (notesHotKey)
        connect(*notesHotKey, &HotKeyManager::pressed, notes.get(), &NotesModel::toggle);
    if (hotKey && notesHotKey) {
        shortcutSettings = std::make_unique<ShortcutSettings>(store, **hotKey, **notesHotKey);
        shortcuts = std::make_unique<ShortcutRecorder>(*shortcutSettings, *model);
    }
    // A finished dictation may bring a word worth suggesting.
    connect(model.get(), &AppModel::entryCompleted, suggestions.get(),
            &WordSuggestionsModel::refresh);
    connect(suggestions.get(), &WordSuggestionsModel::accepted, dictionary.get(),
            &DictionaryListModel::refresh);
    connect(dictionary.get(), &DictionaryListModel::changed, suggestions.get(),
            &WordSuggestionsModel::refresh);

    QStringList sections;
    for (auto section : allCases<AppSection>())
        sections << title(section);
    QQmlContext* root = engine->rootContext();
    root->setContextProperty(u"appSections"_s, sections);
    root->setContextProperty(u"dictation"_s, model.get());
    root->setContextProperty(u"history"_s, history.get());
    root->setContextProperty(u"dictionary"_s, dictionary.get());
    root->setContextProperty(u"snippets"_s, snippets.get());
    root->setContextProperty(u"suggestions"_s, suggestions.get());
    root->setContextProperty(u"wordsTransfer"_s, wordsTransfer.get());
    root->setContextProperty(u"notesList"_s, notesList.get());
    root->setContextProperty(u"notes"_s, notes.get());
    root->setContextProperty(u"noteDetail"_s, noteDetail.get());
    root->setContextProperty(u"settings"_s, settings.get());
    root->setContextProperty(u"shortcuts"_s, shortcuts.get());
    root->setContextProperty(u"account"_s, account.get());
}

void QuendraApp::logTimings() {
    connect(model.get(), &AppModel::milestone, this, [](const QString& name) {
        std::fprintf(stderr, "qa %s at=%lld\n", qUtf8Printable(name),
                     static_cast<long long>(QDateTime::currentMSecsSinceEpoch()));
    });
}

void QuendraApp::showMainWindow(const QString& section) {
    for (QObject* root : engine->rootObjects()) {
        if (auto* window = qobject_cast<QQuickWindow*>(root)) {
            if (!section.isEmpty())
                QMetaObject::invokeMethod(window, "showSection", Q_ARG(QVariant, section));
            window->show();
            window->raise();
            window->requestActivate();
        }
    }
}

} // namespace quendra

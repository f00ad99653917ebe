#include "QuendraApp.h"

#include "StatusTray.h"
#include "audio/AudioRecorder.h"
#include "context/AppContext.h"
#include "dictation/AppModel.h"
#include "hosted/HostedClient.h"
#include "insertion/AppTargetTracker.h"
#include "model/AppDataStore.h"
#include "model/UserDefaults.h"
#include "model/WritingSurface.h"
#include "notes/NoteSession.h"
#include "notes/NotesStore.h"
#include "panels/QuickPanels.h"
#include "panels/StatusIcons.h"
#include "platform/InstanceBus.h"
#include "session/HotKeyManager.h"
#include "session/SingleInstanceCoordinator.h"

#include <QApplication>
#include <QDateTime>
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

QuendraApp::QuendraApp(AppContext& context, QObject* parent)
    : QObject(parent)
    , context(context) {}

QuendraApp::~QuendraApp() {
    // The controller goes before the panels and the desktop it talks to, the
    // panels before the QML engine they share with the main window.
    tray.reset();
    note.reset();
    if (engine)
        engine->rootContext()->setContextProperty(u"dictation"_s, nullptr);
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
    panels = std::make_unique<QuickPanels>(desktop ? (*desktop)->accessibility.get() : nullptr,
                                           desktop ? (*desktop)->screens.get() : nullptr,
                                           engine.get());
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
    });
    panels->setMeter(model.get());
    model->setConnectionCheck([this]() -> QCoro::Task<std::expected<void, QString>> {
        const auto reply = co_await context.hostedClient().me();
        if (!reply)
            co_return std::unexpected(describe(reply.error()));
        co_return std::expected<void, QString>{};
    });
    connect(model.get(), &AppModel::mainWindowRequested, this, &QuendraApp::showMainWindow);

    QStringList sections;
    for (auto section : allCases<AppSection>())
        sections << title(section);
    engine->rootContext()->setContextProperty(u"appSections"_s, sections);
    engine->rootContext()->setContextProperty(u"dictation"_s, model.get());
    engine->load(QUrl(u"qrc:/ui/Main.qml"_s));
    if (engine->rootObjects().isEmpty())
        return false;
    QApplication::setWindowIcon(statusIcon(StatusIcon::ready));

    tray = std::make_unique<StatusTray>(*model);
    connect(tray.get(), &StatusTray::openRequested, this, &QuendraApp::showMainWindow);
    connect(tray.get(), &StatusTray::quitRequested, qApp, &QCoreApplication::quit);
    note = std::make_unique<NoteSession>(context.notes(), context.noteRecorder());
    connect(tray.get(), &StatusTray::noteToggleRequested, this, &QuendraApp::toggleNote);
    // Queued: the recorder is not stopped from inside its own report.
    connect(note.get(), &NoteSession::limitReached, this, &QuendraApp::toggleNote,
            Qt::QueuedConnection);
    connect(
        note.get(), &NoteSession::failed, this,
        [this](const QString& message) {
            if (note->isRecording())
                toggleNote();
            panels->showAlert({DictationAlert::Kind::recording,
                               u"Note recording stopped"_s,
                               message + u" What was recorded is kept in Notes."_s,
                               {AlertAction::dismiss},
                               std::nullopt});
        },
        Qt::QueuedConnection);
    connect(note.get(), &NoteSession::notice, this,
            [](const QString& message) { qInfo("parlevo: %s", qPrintable(message)); });
    // A desktop without a tray would leave no way in but the window.
    if (StatusTray::available()) {
        tray->show();
    } else {
        QApplication::setQuitOnLastWindowClosed(true);
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
    AppDataStore& store = context.store();
    if (auto hotKey = context.dictationHotKey()) {
        connect(*hotKey, &HotKeyManager::pressed, model.get(), [this] { model->toggle(false); });
        if (auto registered = (*hotKey)->registerShortcut(store.dictationShortcut()); !registered)
            model->setHotKeyError(message(registered.error()));
    } else {
        model->setHotKeyError(hotKey.error());
    }
    if (const auto notesShortcut = store.notesRecordingShortcut()) {
        if (auto hotKey = context.notesHotKey()) {
            connect(*hotKey, &HotKeyManager::pressed, this, &QuendraApp::toggleNote);
            if (auto registered = (*hotKey)->registerShortcut(*notesShortcut); !registered)
                model->setNotesHotKeyError(message(registered.error()));
        } else {
            model->setNotesHotKeyError(hotKey.error());
        }
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
    instances.setStatusProvider([this] { return model->statusLine(); });
    if (!instances.publish(
            SingleInstanceCoordinator::resolvedLocation(QCoreApplication::applicationFilePath())))
        qWarning("parlevo: the session bus is not reachable; other copies cannot find this one");
}

void QuendraApp::watchSettings() {
    // The commands change the same settings and lists while the application runs.
    const QString path = context.defaults().filePath();
    settingsWatcher = std::make_unique<QFileSystemWatcher>();
    settingsWatcher->addPath(QFileInfo(path).absolutePath());
    connect(settingsWatcher.get(), &QFileSystemWatcher::directoryChanged, model.get(),
            [this] { model->reloadDefaults(); });
}

void QuendraApp::logTimings() {
    connect(model.get(), &AppModel::milestone, this, [](const QString& name) {
        std::fprintf(stderr, "qa %s at=%lld\n", qUtf8Printable(name),
                     static_cast<long long>(QDateTime::currentMSecsSinceEpoch()));
    });
}

void QuendraApp::toggleNote() {
    if (note->isRecording()) {
        if (const auto finished = note->stop())
            qInfo("parlevo: recorded the note %s (%lld ms)", qPrintable(uuidText(finished->id)),
                  static_cast<long long>(finished->durationMs));
    } else if (const auto started = note->start(NoteSource::room); !started) {
        panels->showAlert({DictationAlert::Kind::setup,
                           u"Note did not start"_s,
                           started.error(),
                           {AlertAction::dismiss},
                           std::nullopt});
    } else {
        qInfo("parlevo: recording the note %s", qPrintable(uuidText(started->id)));
    }
    tray->setNoteRecording(note->isRecording());
}

void QuendraApp::showMainWindow() {
    for (QObject* root : engine->rootObjects()) {
        if (auto* window = qobject_cast<QQuickWindow*>(root)) {
            window->show();
            window->raise();
            window->requestActivate();
        }
    }
}

} // namespace quendra

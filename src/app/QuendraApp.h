#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class QQmlApplicationEngine;
class QFileSystemWatcher;

namespace quendra {

class AppContext;
class AppModel;
class NoteSession;
class QuickPanels;
class StatusTray;

// The application object: on the running objects that `context` owns, it
// builds the dictation controller with its floating panels, the tray and the
// main window, registers the shortcuts, follows the focused field and answers
// the other copies and the commands on the session bus.
class QuendraApp : public QObject {
    Q_OBJECT

public:
    explicit QuendraApp(AppContext& context, QObject* parent = nullptr);
    ~QuendraApp() override;

    // False when the main window could not load.
    bool start();

public Q_SLOTS:
    void showMainWindow();

private:
    void recoverNotes();
    void registerShortcuts();
    void followTargets();
    void answerOnTheBus();
    void watchSettings();
    void logTimings();
    void toggleNote();

    AppContext& context;
    std::unique_ptr<QuickPanels> panels;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<QQmlApplicationEngine> engine;
    std::unique_ptr<NoteSession> note;
    std::unique_ptr<StatusTray> tray;
    std::unique_ptr<QFileSystemWatcher> settingsWatcher;
};

} // namespace quendra

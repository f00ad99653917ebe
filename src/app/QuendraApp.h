#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class QQmlApplicationEngine;
class QFileSystemWatcher;
class QTimer;

namespace quendra {

class AccountSettings;
class AppContext;
class AppModel;
class DictionaryListModel;
class HistoryListModel;
class LoginItem;
class NotesListModel;
class SettingsModel;
class ShortcutRecorder;
class ShortcutSettings;
class SnippetListModel;
class WordSuggestionsModel;
class WordsTransferActions;
class NoteSession;
class NotesModel;
class NoteDetailModel;
class QuickPanels;
class PanelFocusRules;
class StatusTray;

// The application object: on the running objects that `context` owns, it
// builds the dictation controller with its floating panels, the tray and the
// main window, registers the shortcuts, follows the focused field and answers
// the other copies and the commands on the session bus.
class QuendraApp : public QObject {
    Q_OBJECT

public:
    // `quiet`: started at login, so the window waits to be asked for.
    explicit QuendraApp(AppContext& context, bool quiet = false, QObject* parent = nullptr);
    ~QuendraApp() override;

    // False when the main window could not load.
    bool start();

public Q_SLOTS:
    // `section` is one of the window's: "home", "history", "account", …
    void showMainWindow(const QString& section = {});

private:
    void recoverNotes();
    void buildViews();
    void refreshViews();
    void registerShortcuts();
    void followTargets();
    void answerOnTheBus();
    void watchSettings();
    void logTimings();

    AppContext& context;
    const bool quiet;
    std::unique_ptr<QuickPanels> panels;
    std::unique_ptr<PanelFocusRules> panelRules;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<LoginItem> loginItem;
    std::unique_ptr<ShortcutSettings> shortcutSettings;
    // What the main window shows; each goes before the objects it reads.
    std::unique_ptr<HistoryListModel> history;
    std::unique_ptr<DictionaryListModel> dictionary;
    std::unique_ptr<SnippetListModel> snippets;
    std::unique_ptr<WordSuggestionsModel> suggestions;
    std::unique_ptr<WordsTransferActions> wordsTransfer;
    std::unique_ptr<NotesListModel> notesList;
    std::unique_ptr<SettingsModel> settings;
    std::unique_ptr<ShortcutRecorder> shortcuts;
    std::unique_ptr<AccountSettings> account;
    std::unique_ptr<QQmlApplicationEngine> engine;
    std::unique_ptr<NoteSession> note;
    std::unique_ptr<NotesModel> notes;
    std::unique_ptr<NoteDetailModel> noteDetail;
    QTimer* notesRefresh = nullptr;
    std::unique_ptr<StatusTray> tray;
    std::unique_ptr<QFileSystemWatcher> settingsWatcher;
    std::unique_ptr<QFileSystemWatcher> notesWatcher;
    QTimer* refreshTimer = nullptr;
};

} // namespace quendra

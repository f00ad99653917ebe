#pragma once

#include "model/MainThreadChecker.h"
#include "panels/StatusIcons.h"

#include <QObject>

#include <memory>
#include <optional>

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace quendra {

class AppModel;

// The status item in the desktop's tray (a StatusNotifierItem): an icon for
// the dictation's state and a menu of the things the user does most, kept in
// step with the model. Main thread only.
class StatusTray : public QObject {
    Q_OBJECT
public:
    // `model` must outlive the tray. Nothing shows until show().
    explicit StatusTray(AppModel& model, QObject* parent = nullptr);
    ~StatusTray() override;

    // Whether the desktop has a tray to show the item in; without one the
    // main window is the only way in.
    static bool available();

    void show();
    void hide();

    // Whether a note is being recorded, which the note item then stops.
    void setNoteRecording(bool recording);

Q_SIGNALS:
    void noteToggleRequested();
    void openRequested();
    void quitRequested();

private:
    void refresh();

    MainThreadChecker checker;
    AppModel& model;
    bool noteRecording = false;
    std::unique_ptr<QMenu> menu;
    std::unique_ptr<QSystemTrayIcon> tray;
    QAction* status = nullptr;
    QAction* toggleDictation = nullptr;
    QAction* cancelDictation = nullptr;
    QAction* copyLast = nullptr;
    QAction* toggleNote = nullptr;
    std::optional<StatusIcon> shownIcon;
};

} // namespace quendra

#include "StatusTray.h"

#include "dictation/AppModel.h"
#include "panels/StatusIcons.h"

#include <QMenu>
#include <QSystemTrayIcon>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// A menu entry with its shortcut in the column the menu keeps for shortcuts.
QString withShortcut(const QString& text, const QString& shortcut) {
    return shortcut.isEmpty() ? text : text + u'\t' + shortcut;
}

} // namespace

StatusTray::StatusTray(AppModel& model, QObject* parent)
    : QObject(parent)
    , model(model)
    , menu(std::make_unique<QMenu>())
    , tray(std::make_unique<QSystemTrayIcon>()) {
    status = menu->addAction(QString());
    status->setEnabled(false);
    menu->addSeparator();
    toggleDictation = menu->addAction(QString(), &model, [&model] { model.toggle(true); });
    cancelDictation = menu->addAction(u"Cancel Dictation"_s, &model, &AppModel::cancel);
    copyLast = menu->addAction(u"Copy Last Transcript"_s, &model, &AppModel::copyLastTranscript);
    menu->addSeparator();
    toggleNote = menu->addAction(QString(), this, &StatusTray::noteToggleRequested);
    menu->addSeparator();
    menu->addAction(u"Open Parlevo"_s, this, &StatusTray::openRequested);
    menu->addAction(u"Quit Parlevo"_s, this, &StatusTray::quitRequested);

    tray->setContextMenu(menu.get());
    connect(tray.get(), &QSystemTrayIcon::activated, this, [this](auto reason) {
        if (reason == QSystemTrayIcon::Trigger)
            Q_EMIT openRequested();
    });
    connect(&model, &AppModel::stateChanged, this, &StatusTray::refresh);
    refresh();
}

StatusTray::~StatusTray() = default;

bool StatusTray::available() {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void StatusTray::show() {
    QUENDRA_CHECK_THREAD(checker);
    tray->show();
}

void StatusTray::hide() {
    QUENDRA_CHECK_THREAD(checker);
    tray->hide();
}

void StatusTray::setNoteRecording(bool recording) {
    QUENDRA_CHECK_THREAD(checker);
    noteRecording = recording;
    refresh();
}

void StatusTray::refresh() {
    QUENDRA_CHECK_THREAD(checker);
    const bool recording = model.isRecording();
    const QString title = model.statusTitle();
    status->setText(title);
    toggleDictation->setText(
        withShortcut(recording ? u"Stop Dictation"_s : u"Start Dictation"_s, model.shortcutText()));
    cancelDictation->setVisible(recording);
    copyLast->setEnabled(!model.lastTranscript().isEmpty());
    toggleNote->setText(
        withShortcut(noteRecording ? u"Stop Note"_s : u"Start Note"_s, model.notesShortcutText()));

    const bool setupProblem = !model.hotKeyError().isEmpty() || !model.microphoneGranted() ||
                              !model.accessibilityGranted();
    const StatusIcon kind = statusIconFor(model.currentPhase(), setupProblem);
    if (shownIcon != kind) {
        tray->setIcon(statusIcon(kind));
        shownIcon = kind;
    }
    tray->setToolTip(title.isEmpty() ? u"Parlevo"_s : u"Parlevo: "_s + title);
}

} // namespace quendra

#include "StatusTray.h"

#include "dictation/AppModel.h"

#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QSystemTrayIcon>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// A menu entry with its shortcut in the column the menu keeps for shortcuts.
QString withShortcut(const QString& text, const QString& shortcut) {
    return shortcut.isEmpty() ? text : text + u'\t' + shortcut;
}

// Drawn at run time, so the tray needs no image plug-in.
QPixmap microphone(const QColor& colour, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 64.0, size / 64.0);
    p.setPen(QPen(colour, 5, Qt::SolidLine, Qt::RoundCap));
    p.setBrush(colour);
    p.drawRoundedRect(QRectF(22, 6, 20, 34), 10, 10);
    p.setBrush(Qt::NoBrush);
    QPainterPath cup;
    cup.moveTo(14, 30);
    cup.cubicTo(14, 52, 50, 52, 50, 30);
    p.drawPath(cup);
    p.drawLine(32, 48, 32, 58);
    p.drawLine(22, 58, 42, 58);
    return pixmap;
}

// A badge in the lower right corner: a dot for listening, three dots for
// transcribing, an exclamation mark for a problem.
void badge(QPixmap& pixmap, StatusTray::Icon kind) {
    if (kind == StatusTray::Icon::ready)
        return;
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(pixmap.width() / 64.0, pixmap.height() / 64.0);
    const QRectF disc(34, 34, 28, 28);
    p.setPen(QPen(Qt::white, 3));
    switch (kind) {
    case StatusTray::Icon::listening:
        p.setBrush(QColor(0xd9, 0x34, 0x2b));
        p.drawEllipse(disc);
        break;
    case StatusTray::Icon::transcribing:
        p.setBrush(QColor(0x2b, 0x6c, 0xb0));
        p.drawEllipse(disc);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        for (int i = 0; i < 3; ++i)
            p.drawEllipse(QPointF(41 + 7 * i, 48), 2.6, 2.6);
        break;
    case StatusTray::Icon::attention:
        p.setBrush(QColor(0xe6, 0x7e, 0x22));
        p.drawEllipse(disc);
        p.setPen(QPen(Qt::white, 4, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(48, 40), QPointF(48, 50));
        p.drawPoint(QPointF(48, 56));
        break;
    case StatusTray::Icon::ready:
        break;
    }
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

StatusTray::Icon StatusTray::iconFor(const DictationPhase& phase, bool setupProblem) {
    switch (phase.kind) {
    case DictationPhase::Case::recording:
        return Icon::listening;
    case DictationPhase::Case::transcribing:
        return Icon::transcribing;
    case DictationPhase::Case::awaitingPlacement:
    case DictationPhase::Case::failed:
        return Icon::attention;
    case DictationPhase::Case::ready:
    case DictationPhase::Case::copied:
        break;
    }
    return setupProblem ? Icon::attention : Icon::ready;
}

QIcon StatusTray::icon(Icon kind) {
    QIcon made;
    for (int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap = microphone(QColor(0x2b, 0x6c, 0xb0), size);
        badge(pixmap, kind);
        made.addPixmap(pixmap);
    }
    return made;
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
    const Icon kind = iconFor(model.currentPhase(), setupProblem);
    if (shownIcon != kind) {
        tray->setIcon(icon(kind));
        shownIcon = kind;
    }
    tray->setToolTip(title.isEmpty() ? u"Parlevo"_s : u"Parlevo: "_s + title);
}

} // namespace quendra

// Shows the dictation panels on the real desktop for the desktop tests,
// driven by one command a line on standard input (with --bare, without the
// desktop's accessibility and screen services; --icons FOLDER writes the
// status icons there instead):
//   target                       remembers the focused field of the frontmost application
//   hud recording|transcribing|copied|failed   shows the pill near that field
//   meter LEVEL ELAPSED          moves the pill's meter and clock
//   hide-hud                     hides the pill and prints "hud hidden MAPSTATE", the
//                                X server's state of the pill the moment hideHud returned
//   placement | hide-placement | alert | dismiss-alert | mic | hide-mic | quit
// Each command is answered with "done COMMAND" once the panels are drawn and
// the X server has them; the panels' signals are printed as they come:
// "cancel pressed", "microphone pressed PID", "alert action ACTION ENTRY".

#include "insertion/InsertionService.h"
#include "panels/QuickPanels.h"
#include "panels/StatusIcons.h"
#include "platform/DesktopServices.h"

#include "ProbeSupport.h"

#include <QGuiApplication>
#include <QProcess>
#include <QQmlPropertyMap>
#include <QQuickWindow>
#include <QTimer>

#include <memory>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;
using probe::say;

namespace {

const QUuid entry = QUuid::fromString(u"{6c1f2a4e-8d3b-4f7a-9e21-5b0c7d9a3f10}"_s);

WId windowId(const QString& title) {
    for (QWindow* each : QGuiApplication::topLevelWindows())
        if (each->title() == title && each->isVisible())
            return each->winId();
    return 0;
}

// The X server's word on a window: IsViewable, IsUnMapped or IsUnviewable.
QString mapState(WId window) {
    QProcess xwininfo;
    xwininfo.start(u"xwininfo"_s, {u"-id"_s, QString::number(window)});
    if (!xwininfo.waitForFinished(10000))
        return u"unknown"_s;
    const QString out = QString::fromUtf8(xwininfo.readAllStandardOutput());
    const qsizetype at = out.indexOf(u"Map State: "_s);
    return at < 0 ? u"unknown"_s : out.mid(at + 11).section(u'\n', 0, 0).trimmed();
}

struct Probe {
    DesktopServices& services;
    QuickPanels& panels;
    QQmlPropertyMap& meter;
    InsertionService insertion;
    std::optional<InsertionTarget> target;

    HudState hud(const QString& kind) const {
        HudState state;
        state.styleTitle = u"Clean"_s;
        state.shortcut = u"Ctrl+Alt+Space"_s;
        state.destination = target ? u"Inserts into "_s + target->application.localizedName
                                   : u"Choose a field after dictation"_s;
        if (kind == u"transcribing"_s) {
            state.kind = HudState::Kind::transcribing;
            state.finishedParts = 1;
            state.totalParts = 5;
        } else if (kind == u"copied"_s) {
            state.kind = HudState::Kind::copied;
            state.message = u"No text field was selected; the transcript is on the clipboard."_s;
        } else if (kind == u"failed"_s) {
            state.kind = HudState::Kind::failed;
            state.message = u"The transcription service could not be reached."_s;
        }
        return state;
    }

    // False for an unknown command.
    bool run(const QStringList& words) {
        const QString command = words.value(0);
        if (command == u"target"_s) {
            const auto application = services.workspace->frontmostApplication();
            const TargetCapture capture = insertion.captureTarget(
                application, application ? insertion.focusedElement(*application) : Element{});
            target = capture.target;
            say(target ? u"target ready "_s + target->application.localizedName : u"target none"_s);
        } else if (command == u"hud"_s) {
            panels.showHud(hud(words.value(1)), target);
        } else if (command == u"meter"_s) {
            meter.insert(u"level"_s, words.value(1).toDouble());
            meter.insert(u"elapsed"_s, words.value(2));
        } else if (command == u"hide-hud"_s) {
            const WId pill = windowId(u"Parlevo dictation"_s);
            panels.hideHud();
            // Asked before this process goes back to its event loop, which
            // would send the server whatever hideHud left unsent.
            say(u"hud hidden "_s + mapState(pill));
        } else if (command == u"placement"_s) {
            panels.showPlacement(u"Click a text field to insert your transcript."_s);
        } else if (command == u"hide-placement"_s) {
            panels.hidePlacement();
        } else if (command == u"alert"_s) {
            DictationAlert alert;
            alert.kind = DictationAlert::Kind::recovery;
            alert.title = u"Your last dictation was not transcribed"_s;
            alert.detail =
                u"The recording is kept in History. Parlevo can try again and copy the text."_s;
            alert.actions = {AlertAction::openHistory, AlertAction::dismiss,
                             AlertAction::retryAndCopy};
            alert.entryID = entry;
            panels.showAlert(alert);
        } else if (command == u"dismiss-alert"_s) {
            panels.dismissAlert();
        } else if (command == u"mic"_s) {
            if (target)
                panels.showFieldMicrophone(*target);
        } else if (command == u"hide-mic"_s) {
            panels.hideFieldMicrophone();
        } else if (command == u"quit"_s) {
            QCoreApplication::quit();
        } else {
            return false;
        }
        return true;
    }
};

QString actionName(AlertAction action) {
    switch (action) {
    case AlertAction::retryAndCopy:
        return u"retryAndCopy"_s;
    case AlertAction::openHistory:
        return u"openHistory"_s;
    case AlertAction::openSettings:
        return u"openSettings"_s;
    case AlertAction::dismiss:
        return u"dismiss"_s;
    }
    return {};
}

// Answers once every visible panel has drawn a frame since the command and
// the server has the pictures, so a screenshot taken then shows them.
void answerWhenDrawn(const QString& command) {
    QList<QQuickWindow*> pending;
    for (QWindow* each : QGuiApplication::topLevelWindows())
        if (auto* quick = qobject_cast<QQuickWindow*>(each); quick && quick->isVisible())
            pending << quick;
    auto remaining = std::make_shared<qsizetype>(pending.size());
    const auto finish = [command] {
        QGuiApplication::sync();
        say(u"done "_s + command);
    };
    if (pending.isEmpty()) {
        QGuiApplication::sync();
        say(u"done "_s + command);
        return;
    }
    for (QQuickWindow* quick : pending) {
        auto connection = std::make_shared<QMetaObject::Connection>();
        *connection = QObject::connect(
            quick, &QQuickWindow::frameSwapped, qApp,
            [connection, remaining, finish] {
                QObject::disconnect(*connection);
                if (--*remaining == 0)
                    QTimer::singleShot(0, qApp, finish);
            },
            Qt::QueuedConnection);
        quick->update();
    }
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (app.arguments().value(1) == u"--icons"_s) {
        // The status icons at the tray's largest size, for review; each one
        // the icon theme provides is named on standard output.
        const QString folder = app.arguments().value(2);
        const std::pair<StatusIcon, QString> icons[] = {
            {StatusIcon::ready, u"ready"_s},
            {StatusIcon::listening, u"listening"_s},
            {StatusIcon::transcribing, u"transcribing"_s},
            {StatusIcon::attention, u"attention"_s}};
        for (const auto& [kind, name] : icons) {
            const QIcon icon = statusIcon(kind);
            if (!icon.pixmap(64).save(folder + u"/tray-"_s + name + u".png"_s)) {
                say(u"could not write "_s + folder + u"/tray-"_s + name + u".png"_s);
                return 1;
            }
            if (!icon.name().isEmpty())
                say(name + u' ' + icon.name());
        }
        return 0;
    }
    auto services = DesktopServices::connect();
    if (!services) {
        say(services.error());
        return 1;
    }
    // --bare: the panels as the application makes them when it has no
    // accessibility or screen services.
    const bool bare = app.arguments().contains(u"--bare"_s);
    QuickPanels panels(bare ? nullptr : services->accessibility.get(),
                       bare ? nullptr : services->screens.get());
    QQmlPropertyMap meter;
    meter.insert(u"level"_s, 0.0);
    meter.insert(u"elapsed"_s, u"0:00"_s);
    panels.setMeter(&meter);
    Probe probe{*services, panels, meter,
                InsertionService(*services->accessibility, *services->workspace,
                                 *services->pasteboard, *services->keys),
                std::nullopt};

    QObject::connect(&panels, &DictationPanels::hudCancelPressed, [] { say(u"cancel pressed"_s); });
    QObject::connect(
        &panels, &DictationPanels::fieldMicrophonePressed, [](const InsertionTarget& target) {
            say(u"microphone pressed "_s + QString::number(target.application.processId));
        });
    QObject::connect(&panels, &DictationPanels::alertActionChosen,
                     [](AlertAction action, std::optional<QUuid> id) {
                         say(u"alert action "_s + actionName(action) + u' ' +
                             (id ? id->toString(QUuid::WithoutBraces) : u"-"_s));
                     });

    probe::LineReader input([&](const QString& line) {
        const QString command = line.trimmed();
        if (!probe.run(command.split(u' ', Qt::SkipEmptyParts)))
            say(u"unknown "_s + command);
        else if (command != u"quit"_s && command != u"target"_s && command != u"hide-hud"_s)
            answerWhenDrawn(command);
        return true;
    });
    say(u"ready"_s);
    return QGuiApplication::exec();
}

#include "PanelFocusRules.h"

#include "model/DurableFile.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

constexpr auto kwinRuleGroup = "parlevo-panels";

} // namespace

PanelFocusRules::PanelFocusRules(DesktopSession session, QString applicationId, QObject* parent)
    : QObject(parent)
    , session(std::move(session))
    , applicationId(std::move(applicationId))
    , isHonoured(!this->session.isWayland()) {}

QString PanelFocusRules::titlePattern() {
    return u"^Parlevo (dictation|alert|placement|microphone)$"_s;
}

void PanelFocusRules::apply() {
    if (!session.isWayland())
        return setHonoured(true);
    if (session.family == DesktopFamily::kde)
        return applyKWin();
    if (session.desktopName.compare(u"sway"_s, Qt::CaseInsensitive) == 0)
        return applySway();
    // Others offer an application no such rule: the panels stay hidden.
}

void PanelFocusRules::setHonoured(bool on) {
    if (isHonoured == on)
        return;
    isHonoured = on;
    Q_EMIT honouredChanged(on);
}

void PanelFocusRules::applySway() {
    const QString criteria = u"[app_id=\"%1\" title=\"%2\"]"_s.arg(applicationId, titlePattern());
    // Two messages: a comma inside one would split its command.
    auto* process = new QProcess(this);
    connect(process, &QProcess::finished, this, [this, process](int code, QProcess::ExitStatus) {
        process->deleteLater();
        if (code != 0)
            qWarning("parlevo: sway did not take the rule that keeps the panels unfocused: %s",
                     qPrintable(QString::fromUtf8(process->readAll())));
        setHonoured(code == 0);
    });
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(u"swaymsg"_s,
                   {u"no_focus "_s + criteria + u"; for_window "_s + criteria +
                    u" floating enable; for_window "_s + criteria + u" sticky enable"_s});
}

void PanelFocusRules::applyKWin() {
    // KWin's rules file is a KConfig file of groups; ours is added once, and
    // the list of rules in [General] names it.
    const QString path =
        QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
            .filePath(u"kwinrulesrc"_s);
    // Read and written whole, the way Parlevo keeps its own files: a full
    // disk must not leave the user's rules emptied.
    QString text;
    const auto read = DurableFile::read(path, 1 << 20);
    if (read)
        text = QString::fromUtf8(*read);
    else if (read.error().kind != StoreError::Kind::missing) {
        qWarning("parlevo: %s The dictation pill stays hidden.", qPrintable(read.error().message));
        return;
    }
    const QString group = QLatin1String(kwinRuleGroup);
    if (!text.contains(u"["_s + group + u"]"_s)) {
        QStringList lines = text.split(u'\n');
        qsizetype general = lines.indexOf(u"[General]"_s);
        if (general < 0) {
            lines.prepend(QString());
            lines.prepend(u"[General]"_s);
            general = 0;
        }
        qsizetype end = general + 1;
        while (end < lines.size() && !lines[end].startsWith(u'['))
            ++end;
        QStringList rules, kept;
        int count = 0;
        for (qsizetype i = 0; i < lines.size(); ++i) {
            const bool inGeneral = i > general && i < end;
            if (inGeneral && lines[i].startsWith(u"rules="_s))
                rules = lines[i].mid(6).split(u',', Qt::SkipEmptyParts);
            else if (inGeneral && lines[i].startsWith(u"count="_s))
                count = lines[i].mid(6).toInt();
            else
                kept << lines[i];
        }
        rules << group;
        kept.insert(general + 1, u"count=%1"_s.arg(std::max<qsizetype>(count + 1, rules.size())));
        kept.insert(general + 2, u"rules="_s + rules.join(u','));
        lines = kept;
        lines << u""_s << u"["_s + group + u"]"_s
              << u"Description=Parlevo’s panels never take the keyboard"_s
              << u"wmclass="_s + applicationId << u"wmclassmatch=1"_s
              << u"title="_s + titlePattern() << u"titlematch=3"_s << u"acceptfocus=false"_s
              << u"acceptfocusrule=2"_s << u"above=true"_s << u"aboverule=2"_s << u""_s;
        if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
            qWarning("parlevo: %s cannot be made; the dictation pill stays hidden",
                     qPrintable(QFileInfo(path).absolutePath()));
            return;
        }
        if (const auto written = DurableFile::write(path, lines.join(u'\n').toUtf8()); !written) {
            qWarning("parlevo: %s The dictation pill stays hidden.",
                     qPrintable(written.error().message));
            return;
        }
    }
    const QDBusMessage reconfigure = QDBusMessage::createMethodCall(
        u"org.kde.KWin"_s, u"/KWin"_s, u"org.kde.KWin"_s, u"reconfigure"_s);
    auto* watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(reconfigure), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                if (call->isError())
                    qWarning("parlevo: KWin did not reload its window rules: %s",
                             qPrintable(call->error().message()));
                setHonoured(!call->isError());
            });
}

} // namespace quendra

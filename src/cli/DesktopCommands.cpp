#include "CommandSupport.h"
#include "insertion/AppTargetTracker.h"
#include "insertion/InsertionService.h"
#include "platform/DesktopServices.h"

#include <QCoreApplication>
#include <QCoroTimer>
#include <QDateTime>
#include <QEventLoop>
#include <QTimer>

#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QString frameText(const std::optional<QRectF>& frame) {
    if (!frame)
        return u"-"_s;
    return u"%1,%2,%3,%4"_s.arg(frame->x())
        .arg(frame->y())
        .arg(frame->width())
        .arg(frame->height());
}

std::optional<double> seconds(const Invocation& invocation, const QString& name) {
    const QStringList values = invocation.values(name);
    if (values.isEmpty())
        return 0.0;
    return parseSeconds(values.last());
}

QString roleText(const std::optional<AccessibleRole>& role) {
    return role ? toString(*role) : u"-"_s;
}

} // namespace

int runTargetCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err) {
    const CommandHelp help{u"target --watch [--seconds N]"_s,
                           u"Prints each change of the application and field that dictation\n"
                           "would write into, as it happens."_s};
    Invocation invocation(app, u"target"_s, arguments, out, err);
    if (!invocation.parse(help, 0, {u"watch"_s}, {u"seconds"_s}))
        return int(ExitStatus::usage);
    if (invocation.helpRequested())
        return invocation.printHelp(help);
    if (!invocation.flag(u"watch"_s))
        return invocation.usageError(u"it needs --watch"_s);
    const auto limit = seconds(invocation, u"seconds"_s);
    if (!limit)
        return invocation.usageError(u"--seconds needs a number of seconds, at most a week"_s);
    const auto services = app.desktop();
    const auto insertion = app.insertion();
    const auto watched = app.targetTracker();
    if (!services || !insertion || !watched)
        return invocation.failure(services ? insertion ? watched.error() : insertion.error()
                                           : services.error());
    InsertionService& service = **insertion;
    AppTargetTracker& tracker = **watched;
    // The owner's objects outlive this command; its connections end with it.
    QObject scope;
    QObject::connect(
        &tracker, &AppTargetTracker::targetChanged, &scope, [&](const TargetUpdate& update) {
            Accessibility& ax = *(*services)->accessibility;
            const TargetCapture capture = service.captureTarget(update.application, update.element);
            out << toString(update.reason) << u" app="_s
                << (update.application ? update.application->bundleIdentifier : u"-"_s)
                << u" pid="_s
                << (update.application ? QString::number(update.application->processId) : u"-"_s)
                << u" role="_s << roleText(update.element ? ax.role(update.element) : std::nullopt)
                << u" frame="_s
                << frameText(update.element ? ax.frame(update.element) : std::nullopt)
                << u" classification="_s << toString(capture.kind) << Qt::endl;
        });
    QObject::connect(&tracker, &AppTargetTracker::applicationTerminated, &scope,
                     [&](qint64 pid) { out << u"terminated pid="_s << pid << Qt::endl; });
    if (!(*services)->accessibility->isTrusted())
        err << u"Accessibility is turned off; run “parlevo doctor” to see how to turn it on."_s
            << Qt::endl;
    tracker.start();
    if (*limit > 0)
        QTimer::singleShot(int(*limit * 1000), qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    return int(ExitStatus::success);
}

int runInsertCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err) {
    const CommandHelp help{u"insert TEXT [--delay SECONDS] [--hold SECONDS] "
                           "[--keep-clipboard SECONDS]"_s,
                           u"Waits, remembers the focused field and writes TEXT into it the way\n"
                           "a dictation does, printing the result and the diagnostics. --hold\n"
                           "waits between remembering and writing, as while you speak;\n"
                           "--keep-clipboard stays to serve the restored clipboard."_s};
    Invocation invocation(app, u"insert"_s, arguments, out, err);
    if (!invocation.parse(help, 1, {}, {u"delay"_s, u"hold"_s, u"keep-clipboard"_s}))
        return int(ExitStatus::usage);
    if (invocation.helpRequested())
        return invocation.printHelp(help);
    const auto delay = seconds(invocation, u"delay"_s);
    const auto hold = seconds(invocation, u"hold"_s);
    const auto keep = seconds(invocation, u"keep-clipboard"_s);
    if (!delay || !hold || !keep)
        return invocation.usageError(u"--delay, --hold and --keep-clipboard need a number of "
                                     "seconds, at most a week"_s);
    const auto services = invocation.app.desktop();
    const auto insertion = invocation.app.insertion();
    if (!services || !insertion)
        return invocation.failure(services ? insertion.error() : services.error());
    DesktopServices& desktop = **services;
    InsertionService& service = **insertion;
    QObject scope;
    QObject::connect(&service, &InsertionService::diagnostic, &scope,
                     [&out](const QString& line) { out << line << Qt::endl; });
    QCoro::waitFor(QCoro::sleepFor(std::chrono::milliseconds(qint64(*delay * 1000))));

    if (!desktop.accessibility->isTrusted())
        err << u"Accessibility is turned off; run “parlevo doctor” to see how to turn it on."_s
            << Qt::endl;
    const auto application = desktop.workspace->frontmostApplication();
    if (!application)
        err << u"No application is in front."_s << Qt::endl;
    const Element element = application ? service.focusedElement(*application) : Element();
    const TargetCapture capture = service.captureTarget(application, element);
    if (capture.kind != TargetCaptureKind::ready) {
        out << u"target "_s << toString(capture.kind) << Qt::endl;
        // What a dictation into that field would come to.
        if (capture.kind == TargetCaptureKind::secureField)
            out << toString(InsertionResult::blockedSecureField) << Qt::endl;
        return invocation.failure(
            capture.kind == TargetCaptureKind::secureField
                ? u"The focused field is a password field; nothing was written."_s
                : u"No editable text field has keyboard focus."_s);
    }
    out << u"target ready app="_s << capture.target->application.bundleIdentifier << u" role="_s
        << roleText(capture.target->role) << Qt::endl;
    QCoro::waitFor(QCoro::sleepFor(std::chrono::milliseconds(qint64(*hold * 1000))));
    if (invocation.app.qa().insertTiming)
        err << u"qa insert started at="_s << QDateTime::currentMSecsSinceEpoch() << Qt::endl;
    const InsertionResult result =
        QCoro::waitFor(service.insert(invocation.positionals()[0], *capture.target));
    out << toString(result) << Qt::endl;
    // The clipboard is put back after the paste; stay until then.
    if (service.clipboardInUse()) {
        QEventLoop settling;
        QObject::connect(&service, &InsertionService::clipboardSettled, &settling,
                         [&] { settling.quit(); });
        settling.exec();
    }
    QCoro::waitFor(QCoro::sleepFor(std::chrono::milliseconds(qint64(*keep * 1000))));
    return int(result == InsertionResult::inserted ? ExitStatus::success : ExitStatus::failure);
}

} // namespace quendra

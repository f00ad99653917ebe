#include "QuendraApp.h"
#include "cli/CommandLine.h"
#include "context/AppContext.h"
#include "model/ApplicationId.h"
#include "platform/DesktopSession.h"
#include "session/SingleInstanceCoordinator.h"

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QTextStream>

#include <cstdio>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           qEnvironmentVariable("QT_QPA_PLATFORM") == u"offscreen"_s;
}

} // namespace

int main(int argc, char** argv) {
    const auto decoded = quendra::decodeArguments(argc, argv);
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    if (quendra::wantsCommandLine(arguments)) {
        // The desktop commands need the clipboard and screens of a GUI application.
        std::unique_ptr<QCoreApplication> app;
        if (quendra::commandNeedsDisplay(arguments.mid(1)) &&
            quendra::DesktopSession::current().type != quendra::SessionType::none)
            app = std::make_unique<QGuiApplication>(argc, argv);
        else
            app = std::make_unique<QCoreApplication>(argc, argv);
        QTextStream out(stdout);
        QTextStream err(stderr);
        if (!decoded) {
            err << decoded.error() << Qt::endl;
            return int(quendra::ExitStatus::usage);
        }
        quendra::AppContext context(*decoded);
        const int status = quendra::runCommandLine(
            context, quendra::QaSwitches::without(decoded->mid(1)), out, err);
        return quendra::finishOutput(status, out, err);
    }
    if (!hasDisplay()) {
        QTextStream(stderr) << u"Parlevo needs a graphical display to start, and none was found; "
                               "its command-line subcommands work without one (run “parlevo "
                               "--help”)."_s
                            << Qt::endl;
        return 1;
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(u"Parlevo"_s);
    QApplication::setOrganizationName(u"Quendra"_s);
    // The desktop matches the windows to the desktop entry by this name.
    QGuiApplication::setDesktopFileName(QStringLiteral(QUENDRA_APPLICATION_ID));
    QApplication::setQuitOnLastWindowClosed(false);
    quendra::AppContext context(arguments, quendra::AppContext::Front::application);
    // Before anything else starts: a copy that defers to the installed one
    // has brought that one to the front and goes no further.
    if (!context.qa().any() && !quendra::SingleInstanceCoordinator::shouldContinueLaunching(
                                   QCoreApplication::applicationFilePath(), context.instanceBus()))
        return 0;
    quendra::QuendraApp parlevo(context, arguments.contains(quendra::autostartSwitch));
    if (!parlevo.start())
        return 1;
    return QApplication::exec();
}

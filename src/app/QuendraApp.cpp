#include "QuendraApp.h"

#include "context/AppContext.h"
#include "model/WritingSurface.h"
#include "notes/NotesStore.h"
#include "panels/StatusIcons.h"
#include "platform/InstanceBus.h"
#include "session/SingleInstanceCoordinator.h"

#include <QApplication>
#include <QMenu>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <QSystemTrayIcon>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QuendraApp::QuendraApp(AppContext& context, QObject* parent)
    : QObject(parent)
    , context(context) {}

QuendraApp::~QuendraApp() = default;

bool QuendraApp::start() {
    // Notes left recording by a previous run become interrupted notes whose
    // audio can still be processed.
    const NoteRecovery recovery = context.notes().recoverInterrupted();
    for (const Note& note : recovery.recovered)
        qInfo("parlevo: recovered the interrupted note %s", qPrintable(uuidText(note.id)));
    for (const QString& sentence : recovery.keptAside)
        qWarning("parlevo: %s", qPrintable(sentence));
    for (const StoreError& failure : recovery.failures)
        qWarning("parlevo: %s", qPrintable(failure.message));

    const QIcon icon = statusIcon(StatusIcon::ready);
    QApplication::setWindowIcon(icon);

    engine = std::make_unique<QQmlApplicationEngine>();
    QStringList sections;
    for (auto section : allCases<AppSection>())
        sections << title(section);
    engine->rootContext()->setContextProperty(u"appSections"_s, sections);
    engine->load(QUrl(u"qrc:/ui/Main.qml"_s));
    if (engine->rootObjects().isEmpty())
        return false;

    trayMenu = std::make_unique<QMenu>();
    trayMenu->addAction(u"Open Parlevo"_s, this, &QuendraApp::showMainWindow);
    trayMenu->addSeparator();
    trayMenu->addAction(u"Quit Parlevo"_s, qApp, &QCoreApplication::quit);
    tray = std::make_unique<QSystemTrayIcon>(icon);
    tray->setToolTip(u"Parlevo"_s);
    tray->setContextMenu(trayMenu.get());
    connect(tray.get(), &QSystemTrayIcon::activated, this, [this](auto reason) {
        if (reason == QSystemTrayIcon::Trigger)
            showMainWindow();
    });
    tray->show();

    // A desktop without a tray would leave no way back in: keep the window then.
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        QApplication::setQuitOnLastWindowClosed(true);

    // Test runs stay out of the other copies' way, and out of their reach.
    if (!context.qa().any()) {
        InstanceBus& instances = context.instanceBus();
        connect(&instances, &InstanceBus::showWindowRequested, this, [this] {
            qInfo("parlevo: another copy asked for the main window");
            showMainWindow();
        });
        connect(&instances, &InstanceBus::quitRequested, qApp, &QCoreApplication::quit);
        if (!instances.publish(SingleInstanceCoordinator::resolvedLocation(
                QCoreApplication::applicationFilePath())))
            qWarning(
                "parlevo: the session bus is not reachable; other copies cannot find this one");
    }

    if (context.qa().quitAfterLaunch) {
        QTimer::singleShot(500, qApp, [] {
            qInfo("parlevo: launched");
            QCoreApplication::quit();
        });
    }
    return true;
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

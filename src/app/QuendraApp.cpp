#include "QuendraApp.h"

#include "context/AppContext.h"
#include "model/WritingSurface.h"
#include "notes/NotesStore.h"
#include "platform/InstanceBus.h"
#include "session/SingleInstanceCoordinator.h"

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <QSystemTrayIcon>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// A microphone drawn at run time, so the tray needs no image plug-in.
QIcon microphoneIcon() {
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(0x2b, 0x6c, 0xb0), 5, Qt::SolidLine, Qt::RoundCap));
    p.setBrush(QColor(0x2b, 0x6c, 0xb0));
    p.drawRoundedRect(QRectF(22, 6, 20, 34), 10, 10);
    p.setBrush(Qt::NoBrush);
    QPainterPath cup;
    cup.moveTo(14, 30);
    cup.cubicTo(14, 52, 50, 52, 50, 30);
    p.drawPath(cup);
    p.drawLine(32, 48, 32, 58);
    p.drawLine(22, 58, 42, 58);
    return QIcon(pixmap);
}

} // namespace

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

    const QIcon icon = microphoneIcon();
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

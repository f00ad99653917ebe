#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class QQmlApplicationEngine;
class QSystemTrayIcon;
class QMenu;

namespace quendra {

// The application object: the status item in the system tray and the main
// window. Owns every long-lived controller of the running application.
class QuendraMacApp : public QObject {
    Q_OBJECT

public:
    explicit QuendraMacApp(QStringList arguments, QObject* parent = nullptr);
    ~QuendraMacApp() override;

    // Shows the tray item and the main window; false when the window could not load.
    bool start();

public Q_SLOTS:
    void showMainWindow();

private:
    QStringList arguments;
    std::unique_ptr<QQmlApplicationEngine> engine;
    std::unique_ptr<QMenu> trayMenu;
    std::unique_ptr<QSystemTrayIcon> tray;
};

} // namespace quendra

#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class QQmlApplicationEngine;
class QSystemTrayIcon;
class QMenu;

namespace quendra {

class AppContext;

// The application object: the status item in the system tray and the main
// window, on the running objects that `context` owns.
class QuendraApp : public QObject {
    Q_OBJECT

public:
    explicit QuendraApp(AppContext& context, QObject* parent = nullptr);
    ~QuendraApp() override;

    // Shows the tray item and the main window; false when the window could not load.
    bool start();

public Q_SLOTS:
    void showMainWindow();

private:
    AppContext& context;
    std::unique_ptr<QQmlApplicationEngine> engine;
    std::unique_ptr<QMenu> trayMenu;
    std::unique_ptr<QSystemTrayIcon> tray;
};

} // namespace quendra

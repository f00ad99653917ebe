#pragma once

#include "model/MainThreadChecker.h"
#include "platform/KeyEventPoster.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <QCoro/QCoroTask>

#include <cstdint>

namespace quendra {

// Synthetic keys through the desktop portal's RemoteDesktop keyboard (KDE
// Plasma grants it without asking; GNOME asks the user once per session).
//
// The session is started at construction, in the background: starting takes three portal round
// trips (and, on GNOME, the user's answer), which a paste cannot wait for in the middle of a
// dictation. Until it has started, and after the desktop closes it,
// postPaste makes no event and says so; a closed session is started again.
class RemoteDesktopKeyEventPoster : public QObject, public KeyEventPoster {
    Q_OBJECT
public:
    explicit RemoteDesktopKeyEventPoster(QObject* parent = nullptr);
    ~RemoteDesktopKeyEventPoster() override;

    // Whether the portal runs here and offers RemoteDesktop. Waits for the
    // portal's answer (starting it if needed): for choosing a backend at start.
    static bool available();

    bool postPaste(PasteKeys keys) override;

    bool isStarting() const override { return starting; }
    bool isStarted() const { return !sessionHandle.isEmpty(); }

Q_SIGNALS:
    // The keyboard is ready for postPaste.
    void started();
    // The desktop ended the keyboard's session; a new one is being started.
    void stopped();
    // The portal refused the keyboard (the next postPaste tries again), or the
    // user did in the desktop's dialog (not asked again in this run).
    void startFailed(const QString& reason);

public Q_SLOTS:
    // Public: QtDBus delivers signals to public slots only.
    void sessionClosed(const QVariantMap& details);

private:
    void start();
    QCoro::Task<> startSession();
    void forgetSession();
    void sendNextKey();

    struct KeyEvent {
        std::uint32_t keysym;
        bool down;
    };

    MainThreadChecker checker;
    QString sessionHandle;
    // One key at a time: the portal handles each call on a thread of its own,
    // so keys sent together may reach the desktop in any order.
    QList<KeyEvent> keyQueue;
    bool sendingKey = false;
    bool starting = false;
    // The user said no in the desktop's dialog: asking again at each paste would nag.
    bool refused = false;
};

} // namespace quendra

#pragma once

#include "platform/DesktopSession.h"

#include <QObject>
#include <QString>

namespace quendra {

// Wayland compositors ignore a window's wish never to take the keyboard, so
// a panel shown while the user dictates would pull the field's focus away.
// sway and KWin keep a window unfocused by a rule of their own: this asks
// them for one matching the panels' titles, and says once it is in place.
class PanelFocusRules : public QObject {
    Q_OBJECT
public:
    PanelFocusRules(DesktopSession session, QString applicationId, QObject* parent = nullptr);

    // Asks the compositor; honouredChanged follows when it has answered.
    void apply();
    // Whether a panel can be shown without taking the keyboard. Always on X11.
    bool honoured() const { return isHonoured; }

    // The panels' window titles, as the rules match them.
    static QString titlePattern();

Q_SIGNALS:
    void honouredChanged(bool honoured);

private:
    void applySway();
    void applyKWin();
    void setHonoured(bool on);

    DesktopSession session;
    QString applicationId;
    bool isHonoured = false;
};

} // namespace quendra

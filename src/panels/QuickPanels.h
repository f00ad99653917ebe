#pragma once

#include "dictation/DictationPanels.h"
#include "insertion/OverlayGeometry.h"
#include "model/MainThreadChecker.h"

#include <QPointer>

#include <functional>
#include <memory>
#include <optional>

class QQmlEngine;
class QQmlPropertyMap;
class QQuickWindow;

namespace quendra {

// The dictation's floating windows as Qt Quick windows that the window
// manager never hands the keyboard focus: the user keeps typing in the field
// they are dictating into while the pill, the placement prompt, an alert or
// the field microphone is on screen. Main thread only.
class QuickPanels : public DictationPanels {
    Q_OBJECT
public:
    // Both or neither. Without them the pill and the prompt sit at the top
    // right of the primary screen and the field microphone stays hidden.
    // `engine` is the application's, shared so that the panels cost no
    // second QML engine; without one the panels make their own.
    QuickPanels(Accessibility* accessibility, Screens* screens, QQmlEngine* engine = nullptr,
                QObject* parent = nullptr);
    ~QuickPanels() override;

    // An object with an `elapsed` text and a `level` from 0 to 1, each with a
    // change signal (the application's AppModel); the pill's clock and meter
    // follow it. Null shows 0:00 and a silent meter.
    void setMeter(QObject* source);
    // Whether the pill may show: on Wayland only once the compositor keeps it
    // from taking the keyboard (see PanelFocusRules). On by default.
    void setPillAllowed(bool allowed);

    void showHud(const HudState& state, const std::optional<InsertionTarget>& near) override;
    void hideHud() override;
    void showPlacement(const QString& message) override;
    void hidePlacement() override;
    void showAlert(const DictationAlert& alert) override;
    void dismissAlert() override;
    void showFieldMicrophone(const InsertionTarget& target) override;
    void hideFieldMicrophone() override;

    // The button's words for an alert action.
    static QString title(AlertAction action);

private Q_SLOTS:
    // The QML panels' own signals, passed on with what they are about.
    void deliverAlertAction(int index);
    void deliverMicrophonePress();

private:
    bool pillAllowed = true;
    // Made on first use; `created` wires the new window's signals.
    QQuickWindow* window(QPointer<QQuickWindow>& slot, const QString& file,
                         const std::function<void(QQuickWindow*)>& created = {});
    // Where a panel of this size goes in the corner of the screen that holds
    // `near`, `below` pixels under the pill's place; Qt's top-left coordinates.
    QPoint cornerPosition(QSize size, const Element& near, int below = 0);
    QPoint qtPosition(QPointF bottomLeftOrigin, QSize size);
    void show(QQuickWindow* window, QPoint position);
    void hide(QQuickWindow* window);

    MainThreadChecker checker;
    Screens* screens = nullptr;
    std::optional<OverlayGeometry> geometry;
    std::unique_ptr<QQmlEngine> ownEngine;
    QQmlEngine* engine = nullptr;
    std::unique_ptr<QQmlPropertyMap> silentMeter;
    QPointer<QQuickWindow> hud;
    QPointer<QQuickWindow> placement;
    QPointer<QQuickWindow> alert;
    QPointer<QQuickWindow> microphone;
    std::optional<DictationAlert> shownAlert;
    std::optional<InsertionTarget> microphoneTarget;
};

} // namespace quendra

#include "QuickPanels.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlPropertyMap>
#include <QQuickWindow>
#include <QRegion>
#include <QScreen>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Frameless and above other windows, and never given the keyboard focus:
// neither when shown (the window manager is told the window takes no input and
// was not asked for by a user action) nor when clicked (Qt then does not ask
// for activation).
constexpr Qt::WindowFlags panelFlags =
    Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus;

// The corner margins when no screen geometry from the desktop is at hand.
constexpr int cornerRight = 18;
constexpr int cornerTop = 12;
constexpr int gapBelowPill = 8;

QString kindName(HudState::Kind kind) {
    switch (kind) {
    case HudState::Kind::recording:
        return u"recording"_s;
    case HudState::Kind::transcribing:
        return u"transcribing"_s;
    case HudState::Kind::copied:
        return u"copied"_s;
    case HudState::Kind::failed:
        return u"failed"_s;
    }
    return u"recording"_s;
}

// Without a compositor a window cannot be see-through: round panels are cut
// to shape instead.
void cutToRoundedShape(QQuickWindow* window, double radius) {
    QPainterPath path;
    path.addRoundedRect(QRectF(0, 0, window->width(), window->height()), radius, radius);
    window->setMask(QRegion(path.toFillPolygon().toPolygon()));
}

} // namespace

QuickPanels::QuickPanels(Accessibility* accessibility, Screens* screens, QQmlEngine* shared,
                         QObject* parent)
    : DictationPanels(parent)
    , screens(screens)
    , ownEngine(shared ? nullptr : std::make_unique<QQmlEngine>())
    , engine(shared ? shared : ownEngine.get())
    , silentMeter(std::make_unique<QQmlPropertyMap>()) {
    if (accessibility && screens)
        geometry.emplace(*accessibility, *screens);
    silentMeter->insert(u"elapsed"_s, u"0:00"_s);
    silentMeter->insert(u"level"_s, 0.0);
    engine->rootContext()->setContextProperty(u"meter"_s, silentMeter.get());
}

QuickPanels::~QuickPanels() {
    for (QQuickWindow* each : {hud.data(), placement.data(), alert.data(), microphone.data()})
        delete each;
}

void QuickPanels::setMeter(QObject* source) {
    QUENDRA_CHECK_THREAD(checker);
    engine->rootContext()->setContextProperty(u"meter"_s, source ? source : silentMeter.get());
}

QString QuickPanels::title(AlertAction action) {
    switch (action) {
    case AlertAction::retryAndCopy:
        return u"Retry & copy"_s;
    case AlertAction::openHistory:
        return u"Open History"_s;
    case AlertAction::openSettings:
        return u"Open Settings"_s;
    case AlertAction::dismiss:
        return u"OK"_s;
    }
    return u"OK"_s;
}

QQuickWindow* QuickPanels::window(QPointer<QQuickWindow>& slot, const QString& file,
                                  const std::function<void(QQuickWindow*)>& created) {
    if (slot)
        return slot;
    QQmlComponent component(engine, QUrl(u"qrc:/ui/"_s + file));
    QObject* object = component.create();
    auto* made = qobject_cast<QQuickWindow*>(object);
    if (!made) {
        qWarning("parlevo: the panel %s could not be made: %s", qUtf8Printable(file),
                 qUtf8Printable(component.errorString()));
        delete object;
        return nullptr;
    }
    made->setFlags(panelFlags);
    // Maps with a user time of zero, which window managers read as "do not focus".
    made->setProperty("_q_showWithoutActivating", true);
    slot = made;
    if (created)
        created(made);
    return made;
}

QPoint QuickPanels::qtPosition(QPointF bottomLeftOrigin, QSize size) {
    const QList<ScreenFrames> all = screens->screens();
    const double primaryTop = all.isEmpty() ? 0 : all.first().frame.bottom();
    return QPointF(bottomLeftOrigin.x(), primaryTop - bottomLeftOrigin.y() - size.height())
        .toPoint();
}

QPoint QuickPanels::cornerPosition(QSize size, const Element& near, int below) {
    if (geometry) {
        const QPoint corner = qtPosition(geometry->floatingOrigin(size, near), size);
        return corner + QPoint(0, below);
    }
    const QScreen* primary = QGuiApplication::primaryScreen();
    const QRect visible = primary ? primary->availableGeometry() : QRect();
    return {visible.right() + 1 - size.width() - cornerRight, visible.top() + cornerTop + below};
}

void QuickPanels::show(QQuickWindow* window, QPoint position) {
    window->setPosition(position);
    window->show();
    // Stays above windows raised since it was first shown.
    window->raise();
}

void QuickPanels::hide(QQuickWindow* window) {
    if (window && window->isVisible())
        window->hide();
}

void QuickPanels::setPillAllowed(bool allowed) {
    QUENDRA_CHECK_THREAD(checker);
    pillAllowed = allowed;
    if (!allowed)
        hideHud();
}

void QuickPanels::showHud(const HudState& state, const std::optional<InsertionTarget>& near) {
    QUENDRA_CHECK_THREAD(checker);
    // The tray's icon shows the same state where the pill would take the keyboard.
    if (!pillAllowed)
        return;
    QQuickWindow* pill = window(hud, u"HudPanel.qml"_s, [this](QQuickWindow* made) {
        connect(made, SIGNAL(cancelPressed()), this, SIGNAL(hudCancelPressed()));
    });
    if (!pill)
        return;
    pill->setProperty("kind", kindName(state.kind));
    pill->setProperty("styleTitle", state.styleTitle);
    pill->setProperty("shortcut", state.shortcut);
    pill->setProperty("destination", state.destination);
    pill->setProperty("message", state.message);
    pill->setProperty("finishedParts", state.finishedParts);
    pill->setProperty("totalParts", state.totalParts);
    cutToRoundedShape(pill, pill->height() / 2.0);
    show(pill, cornerPosition(pill->size(), near ? near.value().element : Element{}));
}

void QuickPanels::hideHud() {
    QUENDRA_CHECK_THREAD(checker);
    if (!hud || !hud->isVisible())
        return;
    hud->hide();
    // A paste follows at once: the server must have unmapped the pill before
    // the keys reach the field under it.
    QGuiApplication::sync();
}

void QuickPanels::showPlacement(const QString& message) {
    QUENDRA_CHECK_THREAD(checker);
    QQuickWindow* prompt = window(placement, u"PlacementPanel.qml"_s);
    if (!prompt)
        return;
    prompt->setProperty("message", message);
    show(prompt, cornerPosition(prompt->size(), {}));
}

void QuickPanels::hidePlacement() {
    QUENDRA_CHECK_THREAD(checker);
    hide(placement);
}

void QuickPanels::showAlert(const DictationAlert& shown) {
    QUENDRA_CHECK_THREAD(checker);
    QQuickWindow* box = window(alert, u"AlertPanel.qml"_s, [this](QQuickWindow* made) {
        connect(made, SIGNAL(actionChosen(int)), this, SLOT(deliverAlertAction(int)));
    });
    if (!box)
        return;
    shownAlert = shown;
    QStringList buttons;
    for (AlertAction action : shown.actions)
        buttons << title(action);
    if (buttons.isEmpty())
        buttons << title(AlertAction::dismiss);
    box->setProperty("heading", shown.title);
    box->setProperty("detail", shown.detail);
    box->setProperty("buttons", buttons);
    // Under the pill's place, so a pill shown meanwhile does not hide it.
    const int pillHeight = hud ? hud->height() : 0;
    show(box, cornerPosition(box->size(), {}, hud ? pillHeight + gapBelowPill : 0));
}

void QuickPanels::dismissAlert() {
    QUENDRA_CHECK_THREAD(checker);
    hide(alert);
    shownAlert.reset();
}

void QuickPanels::showFieldMicrophone(const InsertionTarget& target) {
    QUENDRA_CHECK_THREAD(checker);
    const auto origin = geometry ? geometry->fieldMicrophoneOrigin(target.element) : std::nullopt;
    if (!origin) {
        hideFieldMicrophone();
        return;
    }
    QQuickWindow* button = window(microphone, u"FieldMicrophone.qml"_s, [this](QQuickWindow* made) {
        connect(made, SIGNAL(pressed()), this, SLOT(deliverMicrophonePress()));
    });
    if (!button)
        return;
    microphoneTarget = target;
    cutToRoundedShape(button, button->width() / 2.0);
    show(button, qtPosition(*origin, button->size()));
}

void QuickPanels::hideFieldMicrophone() {
    QUENDRA_CHECK_THREAD(checker);
    hide(microphone);
    microphoneTarget.reset();
}

void QuickPanels::deliverAlertAction(int index) {
    if (!shownAlert)
        return;
    const DictationAlert chosen = *std::exchange(shownAlert, std::nullopt);
    hide(alert);
    const AlertAction action = chosen.actions.value(index, AlertAction::dismiss);
    Q_EMIT alertActionChosen(action, chosen.entryID);
}

void QuickPanels::deliverMicrophonePress() {
    if (microphoneTarget)
        Q_EMIT fieldMicrophonePressed(*microphoneTarget);
}

} // namespace quendra

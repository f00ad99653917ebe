#include "ShortcutRecorder.h"

#include "dictation/AppModel.h"
#include "session/ShortcutCapture.h"
#include "session/ShortcutSettings.h"

#include <QCoreApplication>
#include <QKeyEvent>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

ShortcutModifiers modifiersOf(int qt) {
    ShortcutModifiers m;
    if (qt & Qt::ControlModifier)
        m |= ShortcutModifier::ctrl;
    if (qt & Qt::AltModifier)
        m |= ShortcutModifier::alt;
    if (qt & Qt::ShiftModifier)
        m |= ShortcutModifier::shift;
    if (qt & Qt::MetaModifier)
        m |= ShortcutModifier::super;
    return m;
}

bool isModifierKey(int key) {
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
        return true;
    default:
        return false;
    }
}

} // namespace

ShortcutRecorder::ShortcutRecorder(ShortcutSettings& settings, AppModel& dictation, QObject* parent)
    : QObject(parent)
    , settings(settings)
    , dictation(dictation) {}

ShortcutRecorder::~ShortcutRecorder() {
    if (!purpose.isEmpty()) {
        qApp->removeEventFilter(this);
        settings.resume();
    }
}

QString ShortcutRecorder::dictationShortcut() const {
    return settings.shortcut().displayName();
}

QString ShortcutRecorder::notesShortcut() const {
    return settings.notesShortcut() ? settings.notesShortcut()->displayName() : QString();
}

QString ShortcutRecorder::dictationError() const {
    return settings.hotKeyError();
}

QString ShortcutRecorder::notesError() const {
    return settings.notesHotKeyError();
}

void ShortcutRecorder::start(const QString& which) {
    QUENDRA_CHECK_THREAD(checker);
    if (which != u"dictation"_s && which != u"notes"_s)
        return;
    if (purpose.isEmpty())
        qApp->installEventFilter(this);
    settings.suspend();
    purpose = which;
    message = u"Press shortcut…"_s;
    Q_EMIT changed();
}

void ShortcutRecorder::stop() {
    QUENDRA_CHECK_THREAD(checker);
    if (purpose.isEmpty())
        return;
    qApp->removeEventFilter(this);
    purpose.clear();
    message.clear();
    settings.resume();
    publishErrors();
    Q_EMIT changed();
}

bool ShortcutRecorder::press(std::uint32_t keysym, int qtModifiers, const QString& text) {
    QUENDRA_CHECK_THREAD(checker);
    if (purpose.isEmpty())
        return false;
    const CaptureResult result =
        captureShortcut(keysym, modifiersOf(qtModifiers),
                        text.isEmpty() ? std::nullopt : std::optional<QString>(text));
    if (result.kind != CaptureKind::accepted) {
        message = result.message().value_or(QString());
        Q_EMIT changed();
        return true;
    }
    const bool taken = purpose == u"dictation"_s ? settings.setShortcut(result.shortcut)
                                                 : settings.setNotesShortcut(result.shortcut);
    publishErrors();
    if (taken) {
        stop();
        return false;
    }
    // A refused shortcut put the previous one back; recording goes on without it.
    settings.suspend();
    message = u"Press another shortcut to try again."_s;
    Q_EMIT changed();
    return true;
}

void ShortcutRecorder::publishErrors() {
    const auto asOptional = [](const QString& s) {
        return s.isEmpty() ? std::nullopt : std::optional<QString>(s);
    };
    dictation.setHotKeyError(asOptional(settings.hotKeyError()));
    dictation.setNotesHotKeyError(asOptional(settings.notesHotKeyError()));
}

bool ShortcutRecorder::eventFilter(QObject* watched, QEvent* event) {
    if (purpose.isEmpty() ||
        (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease &&
         event->type() != QEvent::ShortcutOverride))
        return QObject::eventFilter(watched, event);
    // Only the window's own delivery counts; the same event also passes the items.
    if (!watched->isWindowType())
        return true;
    auto* key = static_cast<QKeyEvent*>(event);
    if (event->type() != QEvent::KeyPress || key->isAutoRepeat() || isModifierKey(key->key()))
        return true;
    if (key->key() == Qt::Key_Escape) {
        stop();
        return true;
    }
    // With Ctrl held the event's text is a control character, so a letter's
    // label comes from its keysym, which for Latin-1 is the character itself.
    const std::uint32_t keysym = key->nativeVirtualKey();
    QString text;
    if ((keysym > 0x20 && keysym < 0x7f) || (keysym > 0xa0 && keysym <= 0xff))
        text = QString(QChar(char16_t(keysym)));
    else if (!key->text().isEmpty() && key->text().at(0).isPrint())
        text = key->text().trimmed();
    press(keysym, key->modifiers(), text);
    return true;
}

} // namespace quendra

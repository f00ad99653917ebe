#include "InsertionService.h"

#include "InsertionGuard.h"
#include "InsertionLog.h"
#include "WritingDestinations.h"

#include <QCoroTimer>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <cstdio>
#include <memory>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quendra {

namespace {

QString flag(bool value) {
    return value ? u"true"_s : u"false"_s;
}

bool sameAddress(const std::optional<QString>& a, const std::optional<QString>& b) {
    return a == b;
}

} // namespace

InsertionService::InsertionService(Accessibility& accessibility, Workspace& workspace,
                                   Pasteboard& pasteboard, KeyEventPoster& keys, QObject* parent)
    : QObject(parent)
    , accessibility(accessibility)
    , workspace(workspace)
    , pasteboard(pasteboard)
    , keys(keys) {}

void InsertionService::setTargetLog(bool on) {
    QUENDRA_CHECK_THREAD(checker);
    targetLog = on;
}

void InsertionService::log(const QString& line) {
    qCInfo(cursorInsertionLog).noquote() << line;
    Q_EMIT diagnostic(line);
}

void InsertionService::setAccessibleTextFirst(bool on) {
    QUENDRA_CHECK_THREAD(checker);
    accessibleTextFirst = on;
}

Element InsertionService::focusedElement(const RunningApplication& application) {
    QUENDRA_CHECK_THREAD(checker);
    const Element app = accessibility.applicationElement(application.processId);
    if (!app)
        return {};
    return accessibility.elementAttribute(app, AccessibleElementAttribute::focusedElement);
}

std::optional<QString> InsertionService::webAddress(const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    Element current = element;
    for (int visited = 0; current && visited < 16; ++visited) {
        if (accessibility.role(current) == AccessibleRole::documentWeb) {
            const auto text =
                accessibility.stringAttribute(current, AccessibleStringAttribute::documentAddress);
            if (!text)
                return std::nullopt;
            const QUrl url(*text);
            if (!url.isValid() || url.isEmpty())
                return std::nullopt;
            return url.toString(QUrl::FullyEncoded);
        }
        current = accessibility.elementAttribute(current, AccessibleElementAttribute::parent);
    }
    return std::nullopt;
}

TargetCapture InsertionService::captureTarget(const std::optional<RunningApplication>& application,
                                              const Element& element) {
    QUENDRA_CHECK_THREAD(checker);
    if (!accessibility.isTrusted() || !application || !element)
        return {};
    const auto role = accessibility.role(element);
    if (InsertionGuard::isSecure(role))
        return {TargetCaptureKind::secureField, std::nullopt};
    const bool settable = accessibility.canSetSelectedText(element);
    if (targetLog)
        std::fprintf(stderr, "target role=%s selectedTextSettable=%s\n",
                     role ? qUtf8Printable(toString(*role)) : "-", settable ? "true" : "false");
    if (!InsertionGuard::isEditable(role, settable))
        return {};
    InsertionTarget target;
    target.application = *application;
    target.element = element;
    target.role = role;
    target.window = accessibility.elementAttribute(element, AccessibleElementAttribute::window);
    target.frame = accessibility.frame(element);
    target.webAddress = webAddress(element);
    return TargetCapture::ready(std::move(target));
}

std::optional<QString> InsertionService::writingApplication(const InsertionTarget& target) {
    QUENDRA_CHECK_THREAD(checker);
    const QString key = target.application.bundleIdentifier;
    if (WritingDestinations::detect(key))
        return key;
    if (const auto address = webAddress(target.element)) {
        const QUrl url(*address);
        if (url.scheme().compare(u"https"_s, Qt::CaseInsensitive) == 0 && !url.host().isEmpty()) {
            const QString webKey = u"web:"_s + url.host().toLower();
            if (WritingDestinations::detect(webKey))
                return webKey;
        }
    }
    if (key.isEmpty())
        return std::nullopt;
    return key;
}

std::optional<TextContext> InsertionService::textContext(const InsertionTarget& target) {
    QUENDRA_CHECK_THREAD(checker);
    if (InsertionGuard::isSecure(target.role))
        return std::nullopt;
    const auto text =
        accessibility.stringAttribute(target.element, AccessibleStringAttribute::value);
    const auto range = accessibility.selectedTextRange(target.element);
    if (!text || !range)
        return std::nullopt;
    const qsizetype length = text->size();
    const qsizetype start = std::clamp<qsizetype>(range->location, 0, length);
    const qsizetype end =
        std::clamp<qsizetype>(start + std::max<qsizetype>(range->length, 0), 0, length);
    return TextContext{text->left(start), text->mid(end)};
}

QCoro::Task<InsertionResult> InsertionService::insert(QString text, InsertionTarget target) {
    QUENDRA_CHECK_THREAD(checker);
    QPointer<InsertionService> self(this);
    if (!accessibility.isTrusted()) {
        log(u"blocked: Accessibility permission is unavailable"_s);
        co_return InsertionResult::failed;
    }
    const qint64 pid = target.application.processId;
    if (workspace.isTerminated(pid)) {
        log(u"blocked: target application terminated"_s);
        co_return InsertionResult::failed;
    }
    // A field can turn into a password field while the user speaks.
    const auto currentRole =
        accessibility.role(target.element).or_else([&] { return target.role; });
    if (InsertionGuard::isSecure(target.role) || InsertionGuard::isSecure(currentRole)) {
        log(u"blocked: original target is secure"_s);
        co_return InsertionResult::blockedSecureField;
    }
    const auto frontmost = workspace.frontmostApplication();
    if (!frontmost ||
        (frontmost->processId != pid && frontmost->processId != workspace.ownProcessId()))
        co_return InsertionResult::failed;
    // While a shortcut's key is down its grab holds the keyboard, and the
    // application reports nothing focused until the key is released.
    Element focusedNow = focusedElement(target.application);
    for (int sleeps = 0; !focusedNow && sleeps < 12; ++sleeps) {
        co_await QCoro::sleepFor(40ms);
        if (!self)
            co_return InsertionResult::failed;
        focusedNow = focusedElement(target.application);
    }
    if (!sameElement(focusedNow, target.element) || !target.element)
        co_return InsertionResult::failed;
    if (!sameAddress(webAddress(target.element), target.webAddress))
        co_return InsertionResult::failed;

    const QString bundle = target.application.bundleIdentifier;
    log(u"starting for app="_s + (bundle.isEmpty() ? u"unknown"_s : bundle));
    workspace.activate(pid);
    bool front = false;
    for (int sleeps = 0;; ++sleeps) {
        const auto now = workspace.frontmostApplication();
        if (now && now->processId == pid) {
            front = true;
            break;
        }
        if (sleeps == 24)
            break;
        co_await QCoro::sleepFor(50ms);
        if (!self)
            co_return InsertionResult::failed;
    }
    if (!front) {
        log(u"failed: target application did not become frontmost"_s);
        co_return InsertionResult::failed;
    }

    // Focusing a field that has the focus already is not harmless: a GTK
    // entry selects all its text, which the dictation would then replace.
    const bool stillFocused = sameElement(focusedElement(target.application), target.element);
    const auto focusResult =
        stillFocused ? std::expected<void, FocusError>() : accessibility.setFocused(target.element);
    bool confirmed = false;
    // Nothing moved when the field kept its window and its focus throughout.
    bool unmoved = frontmost->processId == pid;
    if (focusResult) {
        for (int sleeps = 0;; ++sleeps) {
            if (sameElement(focusedElement(target.application), target.element)) {
                confirmed = true;
                break;
            }
            unmoved = false;
            if (sleeps == 12)
                break;
            co_await QCoro::sleepFor(40ms);
            if (!self)
                co_return InsertionResult::failed;
        }
    }
    log(u"original focus status=%1 confirmed=%2"_s.arg(
        focusResult ? u"ok"_s : toString(focusResult.error()), flag(confirmed)));
    // A window just raised or a field just focused takes a moment to take keys.
    if (!unmoved || !confirmed) {
        co_await QCoro::sleepFor(60ms);
        if (!self)
            co_return InsertionResult::failed;
    }

    const TargetCapture capture =
        captureTarget(target.application, focusedElement(target.application));
    if (capture.kind == TargetCaptureKind::secureField) {
        log(u"blocked: focused target is secure"_s);
        co_return InsertionResult::blockedSecureField;
    }
    if (capture.kind == TargetCaptureKind::noEditableField) {
        log(u"failed: no editable target is focused after activation"_s);
        co_return InsertionResult::failed;
    }
    const InsertionTarget& current = *capture.target;
    const bool original = sameElement(current.element, target.element);
    const bool sameWindow =
        current.window && target.window && sameElement(current.window, target.window);
    const bool replacement =
        ReplacementTargetMatch::isSameField(target.frame, current.frame, sameWindow);
    log(u"using focused editable target original=%1 replacement=%2"_s.arg(flag(original),
                                                                          flag(replacement)));
    if (!original || !sameAddress(current.webAddress, target.webAddress)) {
        log(u"failed: focused target differs from the original field"_s);
        co_return InsertionResult::failed;
    }

    if (accessibleTextFirst) {
        const bool written = co_await writeAccessibleText(text, current);
        if (!self)
            co_return InsertionResult::failed;
        if (written) {
            log(u"inserted with Accessibility and read back"_s);
            co_return InsertionResult::inserted;
        }
        const QString before =
            accessibility.stringAttribute(current.element, AccessibleStringAttribute::value)
                .value_or(QString());
        const bool pasted = co_await paste(text, current);
        if (!self)
            co_return InsertionResult::failed;
        const bool confirmed = pasted && co_await readBack(text, current.element, before, 500);
        if (!self)
            co_return InsertionResult::failed;
        if (confirmed) {
            log(u"inserted with paste and read back"_s);
            co_return InsertionResult::inserted;
        }
        log(u"failed: the field did not show the text, written or pasted"_s);
        co_return InsertionResult::failed;
    }

    const bool pasted = co_await paste(text, current);
    if (!self)
        co_return InsertionResult::failed;
    if (pasted) {
        log(u"inserted with paste"_s);
        co_return InsertionResult::inserted;
    }
    if (accessibility.setSelectedText(target.element, text)) {
        log(u"inserted with Accessibility fallback"_s);
        co_return InsertionResult::inserted;
    }
    log(u"failed: both insertion methods were unavailable"_s);
    co_return InsertionResult::failed;
}

QCoro::Task<bool> InsertionService::writeAccessibleText(QString text, InsertionTarget target) {
    const auto before =
        accessibility.stringAttribute(target.element, AccessibleStringAttribute::value);
    if (!before || !accessibility.canSetSelectedText(target.element))
        co_return false;
    if (!accessibility.setSelectedText(target.element, text))
        co_return false;
    const bool landed = co_await readBack(text, target.element, *before, 300);
    co_return landed;
}

QCoro::Task<bool> InsertionService::readBack(QString text, Element element, QString before,
                                             int waitMs) {
    QPointer<InsertionService> self(this);
    const qsizetype copies = before.count(text);
    for (int waited = 0;; waited += 25) {
        const auto now = accessibility.stringAttribute(element, AccessibleStringAttribute::value);
        if (now && now->count(text) > copies)
            co_return true;
        if (waited >= waitMs)
            co_return false;
        co_await QCoro::sleepFor(25ms);
        if (!self)
            co_return false;
    }
}

QCoro::Task<bool> InsertionService::paste(QString text, InsertionTarget target) {
    QPointer<InsertionService> self(this);
    QList<PasteboardItem> snapshot;
    for (const PasteboardItem& item : pasteboard.items()) {
        PasteboardItem kept;
        for (const auto& [type, data] : item)
            if (!data.isNull())
                kept.append({type, data});
        snapshot.append(kept);
    }
    pasteboard.clearContents();
    pasteboard.setString(text);
    const int written = pasteboard.changeCount();

    // A paste the application ignores must not count as inserted: watch the
    // field change, without reading from it while it may be fetching the
    // clipboard from us.
    auto changed = std::make_shared<bool>(false);
    auto observer = accessibility.createObserver(
        target.application.processId,
        [changed, element = target.element](AccessibilityNotification notification,
                                            const Element& source) {
            if (notification == AccessibilityNotification::valueChanged &&
                sameElement(source, element))
                *changed = true;
        });
    const bool watching = observer && observer->addNotification(
                                          target.element, AccessibilityNotification::valueChanged);

    const PasteKeys keyChoice =
        target.role == AccessibleRole::terminal ? PasteKeys::controlShift : PasteKeys::control;
    // A dictation right after start, or a command, may come before the
    // desktop has given us its keyboard.
    for (int waited = 0; keys.isStarting() && waited < 3000; waited += 25) {
        co_await QCoro::sleepFor(25ms);
        if (!self)
            co_return false;
    }
    if (!keys.postPaste(keyChoice)) {
        settleClipboard(snapshot, written);
        co_return false;
    }
    ++pastesHoldingClipboard;
    QTimer::singleShot(restoreDelayMs, this, [this, snapshot, written] {
        --pastesHoldingClipboard;
        settleClipboard(snapshot, written);
    });
    if (!watching)
        co_return true;
    for (int waited = 0; waited < pasteConfirmationMs && !*changed; waited += 25) {
        co_await QCoro::sleepFor(25ms);
        if (!self)
            co_return false;
    }
    co_return *changed;
}

void InsertionService::settleClipboard(const QList<PasteboardItem>& snapshot, int written) {
    // A copy made meanwhile is the user's newer choice, and stays.
    const bool ours = pasteboard.changeCount() == written;
    if (ours) {
        pasteboard.clearContents();
        if (!snapshot.isEmpty())
            pasteboard.writeItems(snapshot);
    }
    Q_EMIT clipboardSettled(ours);
}

} // namespace quendra

#pragma once

#include "InsertionTarget.h"
#include "model/MainThreadChecker.h"
#include "platform/Accessibility.h"
#include "platform/KeyEventPoster.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

#include <QCoroTask>
#include <QObject>

#include <optional>

namespace quendra {

struct TextContext {
    QString before;
    QString after;
};

// Writes finished text into the remembered field of another application and
// answers questions about a target. Main thread only; one insertion at a time.
class InsertionService : public QObject {
    Q_OBJECT
public:
    InsertionService(Accessibility& accessibility, Workspace& workspace, Pasteboard& pasteboard,
                     KeyEventPoster& keys, QObject* parent = nullptr);

    // Each classified target written to standard error, for the tests that
    // drive the real desktop. Off by default.
    void setTargetLog(bool on);
    // Where synthetic keys may be dropped unseen (Wayland), the accessibility
    // layer writes first and a paste is only the fallback; either counts
    // only once the field is read back holding the text. Off by default.
    void setAccessibleTextFirst(bool on);

    QCoro::Task<InsertionResult> insert(QString text, InsertionTarget target);

    TargetCapture captureTarget(const std::optional<RunningApplication>& application,
                                const Element& focusedElement);
    Element focusedElement(const RunningApplication& application);
    std::optional<QString> writingApplication(const InsertionTarget& target);
    std::optional<TextContext> textContext(const InsertionTarget& target);
    std::optional<QString> webAddress(const Element& element);

    // How long a pasted text may take to show up in the field before the
    // accessibility fallback writes it instead.
    int pasteConfirmationMs = 750;
    int restoreDelayMs = 900;
    // Whether a pasted text still holds the clipboard (see clipboardSettled).
    bool clipboardInUse() const { return pastesHoldingClipboard > 0; }

Q_SIGNALS:
    // Each diagnostic line as it is logged.
    void diagnostic(const QString& line);
    // A paste is over for the clipboard: the user's contents were put back,
    // or left alone because something else was copied meanwhile. Until then
    // the process must stay to serve the pasted text.
    void clipboardSettled(bool restored);

private:
    QCoro::Task<bool> paste(QString text, InsertionTarget target);
    QCoro::Task<bool> writeAccessibleText(QString text, InsertionTarget target);
    // Polls the field until it holds one more copy of the text than before.
    QCoro::Task<bool> readBack(QString text, Element element, QString before, int waitMs);
    void settleClipboard(const QList<PasteboardItem>& snapshot, int written);
    void log(const QString& line);

    Accessibility& accessibility;
    Workspace& workspace;
    Pasteboard& pasteboard;
    KeyEventPoster& keys;
    MainThreadChecker checker;
    bool targetLog = false;
    bool accessibleTextFirst = false;
    int pastesHoldingClipboard = 0;
};

} // namespace quendra

#pragma once

#include "InsertionTarget.h"
#include "platform/Accessibility.h"
#include "platform/KeyEventPoster.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

#include <QCoroTask>
#include <QObject>
#include <QStringList>

#include <functional>
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
                     KeyEventPoster& keys, QStringList arguments = {}, QObject* parent = nullptr);

    QCoro::Task<InsertionResult> insert(QString text, InsertionTarget target);

    TargetCapture captureTarget(const std::optional<RunningApplication>& application,
                                const Element& focusedElement);
    Element focusedElement(const RunningApplication& application);
    std::optional<QString> writingApplication(const InsertionTarget& target);
    std::optional<TextContext> textContext(const InsertionTarget& target);
    std::optional<QString> attribute(const QString& name, const Element& element);
    std::optional<QString> webAddress(const Element& element);

    // Receives each diagnostic line as it is logged.
    std::function<void(const QString&)> onDiagnostic;

    // How long a pasted text may take to show up in the field before the
    // accessibility fallback writes it instead.
    int pasteConfirmationMs = 750;
    int restoreDelayMs = 900;

private:
    QCoro::Task<bool> paste(QString text, InsertionTarget target);
    void restore(const QList<PasteboardItem>& snapshot);
    void log(const QString& line);

    Accessibility& accessibility;
    Workspace& workspace;
    Pasteboard& pasteboard;
    KeyEventPoster& keys;
    bool qaTargetLog = false;
};

} // namespace quendra

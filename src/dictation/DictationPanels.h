#pragma once

#include "insertion/InsertionTarget.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>

#include <optional>

namespace quendra {

// What the heads-up pill shows.
struct HudState {
    enum class Kind { recording, transcribing, copied, failed };
    Kind kind = Kind::recording;
    QString styleTitle;  // "Clean"
    QString shortcut;    // "Ctrl+Alt+Space"
    QString destination; // "Inserts into Text Editor" or "Choose a field after dictation"
    QString message;     // the copied or failed sentence
    // "Part 2 of 5" while a long recording is transcribed; 0 of 0 otherwise.
    int finishedParts = 0;
    int totalParts = 0;

    friend bool operator==(const HudState&, const HudState&) = default;
};

// The buttons an alert may carry.
enum class AlertAction { retryAndCopy, openHistory, openSettings, dismiss };

struct DictationAlert {
    // recording: limit reached or capture stopped; recovery: a dictation
    // that was not transcribed; setup: something keeps dictation from starting.
    enum class Kind { recording, recovery, setup };
    Kind kind = Kind::recording;
    QString title;
    QString detail;
    QList<AlertAction> actions;
    // The history entry a recovery alert is about.
    std::optional<QUuid> entryID;

    friend bool operator==(const DictationAlert&, const DictationAlert&) = default;
};

// The floating windows of a dictation. None of them ever takes the keyboard
// focus from the field the user is writing in. Main thread only.
class DictationPanels : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // The pill, placed in the corner of the screen that holds `near`'s field.
    virtual void showHud(const HudState& state, const std::optional<InsertionTarget>& near) = 0;
    // Takes effect before it returns: nothing is pasted under the pill.
    virtual void hideHud() = 0;
    virtual void showPlacement(const QString& message) = 0;
    virtual void hidePlacement() = 0;
    virtual void showAlert(const DictationAlert& alert) = 0;
    virtual void dismissAlert() = 0;
    // The microphone beside the field, or nothing when no clear spot exists.
    virtual void showFieldMicrophone(const InsertionTarget& target) = 0;
    virtual void hideFieldMicrophone() = 0;

Q_SIGNALS:
    void alertActionChosen(quendra::AlertAction action, std::optional<QUuid> entryID);
    void hudCancelPressed();
    void fieldMicrophonePressed(const quendra::InsertionTarget& target);
};

} // namespace quendra

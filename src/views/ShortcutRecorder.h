#pragma once

#include "model/MainThreadChecker.h"

#include <QObject>
#include <QString>

namespace quendra {

class AppModel;
class ShortcutSettings;

// Records a new dictation or Notes shortcut from the keyboard: while it
// records, every key press in the application's windows is taken and read as
// a combination, which the shortcut settings then register and store. Main
// thread only.
class ShortcutRecorder : public QObject {
    Q_OBJECT
    // "dictation", "notes", or empty when not recording.
    Q_PROPERTY(QString recording READ recording NOTIFY changed)
    Q_PROPERTY(QString captureMessage READ captureMessage NOTIFY changed)
    Q_PROPERTY(QString dictationShortcut READ dictationShortcut NOTIFY changed)
    Q_PROPERTY(QString notesShortcut READ notesShortcut NOTIFY changed)
    Q_PROPERTY(QString dictationError READ dictationError NOTIFY changed)
    Q_PROPERTY(QString notesError READ notesError NOTIFY changed)

public:
    ShortcutRecorder(ShortcutSettings& settings, AppModel& dictation, QObject* parent = nullptr);
    ~ShortcutRecorder() override;

    QString recording() const { return purpose; }
    QString captureMessage() const { return message; }
    QString dictationShortcut() const;
    QString notesShortcut() const;
    QString dictationError() const;
    QString notesError() const;

    Q_INVOKABLE void start(const QString& which);
    Q_INVOKABLE void stop();

    // One key press, as the event filter reads it; the tests call it directly.
    // Returns whether recording goes on.
    bool press(std::uint32_t keysym, int qtModifiers, const QString& text);

Q_SIGNALS:
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void publishErrors();

    MainThreadChecker checker;
    ShortcutSettings& settings;
    AppModel& dictation;
    QString purpose;
    QString message;
};

} // namespace quendra

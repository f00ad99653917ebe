#pragma once

#include "model/MainThreadChecker.h"
#include "model/Note.h"
#include "notes/NoteExport.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QVariantList>

#include <expected>
#include <functional>
#include <optional>

namespace quendra {

class NoteProcessor;
class NotesModel;
class NotesStore;

// One note as its page shows it: the turns with their speakers' names and
// times, a picture of who spoke when, the names suggested for a call's two
// sides, the summary with each item's moment, questions, exports and the
// deletions. Reads the stored note again whenever processing changes it.
// Main thread only.
class NoteDetailModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString noteId READ noteId NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(QString stateText READ stateText NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(qint64 durationMs READ durationMs NOTIFY changed)
    Q_PROPERTY(QUrl audioUrl READ audioUrl NOTIFY changed)
    Q_PROPERTY(bool audioKept READ audioKept NOTIFY changed)
    Q_PROPERTY(QVariantList turns READ turns NOTIFY changed)
    Q_PROPERTY(QVariantList lanes READ lanes NOTIFY changed)
    Q_PROPERTY(QVariantList speakers READ speakers NOTIFY changed)
    Q_PROPERTY(QVariantMap summary READ summary NOTIFY changed)
    Q_PROPERTY(QString answer READ answer NOTIFY answerChanged)
    Q_PROPERTY(bool asking READ asking NOTIFY answerChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
    Q_PROPERTY(QString exportFolder READ exportFolder CONSTANT)

public:
    // Writes the note in a format to a file; the sentence says why not. Runs
    // on a thread of its own.
    using Exporter =
        std::function<std::expected<void, QString>(const Note&, NoteExportFormat, const QString&)>;

    NoteDetailModel(NotesStore& store, NoteProcessor& processor, NotesModel& notes,
                    Exporter exporter, QObject* parent = nullptr);

    QString noteId() const;
    QString title() const { return note ? note->title : QString(); }
    QString subtitle() const;
    QString stateText() const;
    QString message() const { return note ? note->message : QString(); }
    qint64 durationMs() const { return note ? note->durationMs : 0; }
    QUrl audioUrl() const;
    bool audioKept() const { return note && !note->audioRemoved; }
    QVariantList turns() const;
    QVariantList lanes() const;
    QVariantList speakers() const;
    QVariantMap summary() const;
    QString answer() const { return answerText; }
    bool asking() const { return askBusy; }
    QString status() const { return statusText; }
    // Where exports go unless the user names another folder.
    static QString exportFolder();

    Q_INVOKABLE void open(const QString& id);
    Q_INVOKABLE void close();
    // An empty name gives the label its standard name back.
    Q_INVOKABLE void rename(const QString& label, const QString& name);
    Q_INVOKABLE void dismissSuggestion(const QString& key);
    Q_INVOKABLE void renameNote(const QString& title);
    Q_INVOKABLE void summarize();
    Q_INVOKABLE void ask(const QString& question);
    // Saves into `folder` (a local path or file URL) a file named after the
    // note; `format` is "md", "srt", "vtt", "json" or "m4a".
    Q_INVOKABLE void exportTo(const QString& format, const QString& folder);
    Q_INVOKABLE void transcribeAgain();
    Q_INVOKABLE void deleteAudio();
    Q_INVOKABLE void deleteNote();
    // "1:02:03" or "2:03", as the page shows moments.
    Q_INVOKABLE static QString clock(qint64 ms);

Q_SIGNALS:
    void changed();
    void answerChanged();
    void statusChanged();
    // The note is gone; the page goes back to the list.
    void closed();

private:
    void reload();
    void setStatus(const QString& text);
    void change(const std::function<void(Note&)>& edit, const QString& done);

    MainThreadChecker checker;
    NotesStore& store;
    NoteProcessor& processor;
    NotesModel& notes;
    Exporter exporter;
    std::optional<Note> note;
    QString answerText;
    bool askBusy = false;
    bool exporting = false;
    QString statusText;
};

} // namespace quendra

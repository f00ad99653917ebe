#pragma once

#include "model/Note.h"
#include "notes/NoteRecorder.h"

#include <QObject>
#include <QString>
#include <QUuid>

#include <expected>
#include <optional>

namespace quendra {

class NotesStore;

// One note being recorded: creates its record, keeps the record in step with
// what the recorder reports, and hands it to processing when it stops. The
// application's Notes shortcut and tray and "parlevo notes record" all record
// through it. Main thread only.
class NoteSession : public QObject {
    Q_OBJECT
public:
    struct Started {
        QUuid id;
        // Why a call records the microphone alone.
        std::optional<QString> notice;
    };
    struct Finished {
        QUuid id;
        qint64 durationMs = 0;
        // Why the recording ended early, or why its record could not be kept.
        std::optional<QString> failure;
    };

    NoteSession(NotesStore& notes, NoteRecorder& recorder, QObject* parent = nullptr);
    ~NoteSession() override;

    // `sourceApp` names the call application detected, `language` the code
    // the sections are transcribed in ("auto" lets the engine find it).
    std::expected<Started, QString> start(NoteSource source,
                                          std::optional<QString> sourceApp = std::nullopt,
                                          QString language = QStringLiteral("auto"));
    // Nothing when no note is being recorded.
    std::optional<Finished> stop();

    bool isRecording() const { return current.has_value(); }
    // The note being recorded, or a null identifier.
    QUuid currentID() const { return current ? current->id : QUuid(); }
    NoteSource currentSource() const { return current ? current->source : NoteSource::room; }
    qint64 recordedMs() const { return recorded; }

Q_SIGNALS:
    // The recording cannot go on (the microphone, the disk, its record); the
    // owner stops it.
    void failed(const QString& message);
    // Something the user should know while recording goes on.
    void notice(const QString& message);
    // The recorded length reached the note's limit.
    void limitReached();

private:
    void follow(const NoteRecorder::Event& event);

    NotesStore& notes;
    NoteRecorder& recorder;
    std::optional<Note> current;
    std::optional<QString> failure;
    qint64 recorded = 0;
};

} // namespace quendra

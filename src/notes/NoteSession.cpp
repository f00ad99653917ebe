#include "NoteSession.h"

#include "notes/NotesStore.h"

#include <QDateTime>

namespace quendra {

NoteSession::NoteSession(NotesStore& notes, NoteRecorder& recorder, QObject* parent)
    : QObject(parent)
    , notes(notes)
    , recorder(recorder) {
    connect(&recorder, &NoteRecorder::reported, this, &NoteSession::follow);
}

NoteSession::~NoteSession() {
    stop();
}

std::expected<NoteSession::Started, QString>
NoteSession::start(NoteSource source, std::optional<QString> sourceApp, QString language) {
    if (current || recorder.isRecording())
        return std::unexpected(QStringLiteral("A note is already being recorded."));
    Note note;
    note.id = QUuid::createUuid();
    note.createdAt = QDateTime::currentDateTimeUtc();
    note.state = NoteState::recording;
    note.source = source;
    note.sourceApp = source == NoteSource::call ? sourceApp : std::nullopt;
    note.language = language.isEmpty() ? QStringLiteral("auto") : language;
    if (const auto created = notes.create(note); !created)
        return std::unexpected(created.error().message);
    current = note;
    failure.reset();
    recorded = 0;
    const auto started = recorder.start({note.id, notes.noteDirectory(note.id), note.source,
                                         SectionWriterConfiguration{}, notes.freeBytes()});
    if (!started) {
        current.reset();
        (void)notes.remove(note.id);
        return std::unexpected(started.error().message);
    }
    return Started{note.id, started->notice};
}

std::optional<NoteSession::Finished> NoteSession::stop() {
    if (!current)
        return std::nullopt;
    const QUuid id = current->id;
    const qint64 durationMs = recorder.stop();
    current.reset();
    const auto finished = notes.update(id, [&](Note& stored) {
        stored.durationMs = durationMs;
        // Processing picks the note up from here.
        stored.state = NoteState::finishing;
        if (failure)
            stored.message = *failure;
    });
    Finished result{id, durationMs, failure};
    if (!finished && !result.failure)
        result.failure = finished.error().message;
    return result;
}

void NoteSession::follow(const NoteRecorder::Event& event) {
    if (!current)
        return;
    const QUuid id = current->id;
    StoreResult<Note> stored = *current;
    if (const auto* opened = std::get_if<NoteRecorder::SectionOpened>(&event)) {
        stored = notes.update(id, [&](Note& note) {
            note.sections << NoteSection{
                .index = opened->index, .startMs = opened->startMs, .endMs = opened->startMs};
        });
    } else if (const auto* closed = std::get_if<NoteRecorder::RecordedSection>(&event)) {
        stored = notes.update(id, [&](Note& note) {
            for (NoteSection& section : note.sections)
                if (section.index == closed->index) {
                    section.startMs = closed->startMs;
                    section.endMs = closed->endMs;
                    section.closed = true;
                }
        });
    } else if (const auto* checkpoint = std::get_if<NoteRecorder::Checkpoint>(&event)) {
        recorded = checkpoint->durationMs;
        stored = notes.update(id, [&](Note& note) {
            note.durationMs = checkpoint->durationMs;
            for (NoteSection& section : note.sections)
                if (section.index == checkpoint->index)
                    section.endMs = checkpoint->durationMs;
        });
        if (stored && recorded >= current->limitMs)
            Q_EMIT limitReached();
    } else if (const auto* failed = std::get_if<NoteRecorder::Failure>(&event)) {
        if (!failure) {
            failure = failed->message;
            Q_EMIT this->failed(failed->message);
        }
    } else if (const auto* said = std::get_if<NoteRecorder::Notice>(&event)) {
        Q_EMIT notice(said->message);
    }
    // A note whose record stops following its audio is not recorded on.
    if (!stored && !failure) {
        failure = stored.error().message;
        Q_EMIT failed(*failure);
    }
}

} // namespace quendra

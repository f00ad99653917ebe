#include "CommandSupport.h"
#include "RecordingLoop.h"

#include "notes/NoteRecorder.h"
#include "notes/NotesStore.h"
#include "platform/AudioSource.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Keeps the stored note in step with what the recorder reports, as the notes
// screen does.
StoreResult<> store(NotesStore& notes, const QUuid& id, const NoteRecorder::Event& event) {
    StoreResult<Note> stored;
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
        stored = notes.update(id, [&](Note& note) {
            note.durationMs = checkpoint->durationMs;
            for (NoteSection& section : note.sections)
                if (section.index == checkpoint->index)
                    section.endMs = checkpoint->durationMs;
        });
    }
    if (!stored)
        return std::unexpected(stored.error());
    return {};
}

} // namespace

int recordNote(Invocation& in) {
    int status = 0;
    const auto limit = secondsOption(in, &status);
    if (!limit)
        return status;
    const bool call = in.flag(u"call"_s);

    NotesStore& notes = in.app.notes();
    Note note;
    note.id = QUuid::createUuid();
    note.createdAt = QDateTime::currentDateTimeUtc();
    note.state = NoteState::recording;
    note.source = call ? NoteSource::call : NoteSource::room;
    if (const auto created = notes.create(note); !created)
        return in.failure(created.error().message);

    NoteRecorder& recorder = in.app.noteRecorder();
    RecordingLoop loop;
    std::optional<QString> failure;
    qint64 recordedMs = 0;
    const auto onEvent = [&](const NoteRecorder::Event& event) {
        // A note whose record stops following its audio is not recorded on.
        if (auto stored = store(notes, note.id, event); !stored && !failure) {
            failure = stored.error().message;
            loop.finish();
        }
        if (const auto* failed = std::get_if<NoteRecorder::Failure>(&event)) {
            failure = failure.value_or(failed->message);
            loop.finish();
        } else if (const auto* notice = std::get_if<NoteRecorder::Notice>(&event)) {
            in.err << notice->message << Qt::endl;
        } else if (const auto* checkpoint = std::get_if<NoteRecorder::Checkpoint>(&event)) {
            recordedMs = checkpoint->durationMs;
            if (recordedMs >= note.limitMs)
                loop.finish();
        }
    };
    // The recorder is the owner's and outlives this command; the connection does not.
    QObject scope;
    QObject::connect(&recorder, &NoteRecorder::reported, &scope, onEvent);

    const auto started = recorder.start({note.id, notes.noteDirectory(note.id), note.source,
                                         SectionWriterConfiguration{}, notes.freeBytes()});
    if (!started) {
        (void)notes.remove(note.id);
        return in.failure(started.error().message);
    }
    if (started->notice)
        in.err << *started->notice << Qt::endl;
    in.err << u"Recording note %1; press Ctrl+C to stop."_s.arg(
                  note.id.toString(QUuid::WithoutBraces))
           << Qt::endl;

    const qint64 limitMs = qint64(*limit * 1000);
    loop.tick = [&] {
        if (limitMs > 0 && recordedMs >= limitMs)
            loop.finish();
    };
    loop.run();

    const qint64 durationMs = recorder.stop();
    const auto finished = notes.update(note.id, [&](Note& stored) {
        stored.durationMs = durationMs;
        // Transcription picks the note up from here.
        stored.state = NoteState::finishing;
        if (failure)
            stored.message = *failure;
    });
    in.out << note.id.toString(QUuid::WithoutBraces) << Qt::endl;
    if (failure)
        return in.failure(*failure);
    if (!finished)
        return in.failure(finished.error().message);
    return 0;
}

} // namespace quendra

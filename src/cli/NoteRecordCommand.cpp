#include "CommandSupport.h"
#include "RecordingLoop.h"

#include "notes/NoteRecorder.h"
#include "notes/NoteSession.h"
#include "notes/NotesStore.h"
#include "platform/AudioSource.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

int recordNote(Invocation& in) {
    int status = 0;
    const auto limit = secondsOption(in, &status);
    if (!limit)
        return status;
    const bool call = in.flag(u"call"_s);
    NoteSession session(in.app.notes(), in.app.noteRecorder());
    RecordingLoop loop;
    QObject::connect(&session, &NoteSession::failed, [&loop] { loop.finish(); });
    QObject::connect(&session, &NoteSession::limitReached, [&loop] { loop.finish(); });
    QObject::connect(&session, &NoteSession::notice,
                     [&in](const QString& message) { in.err << message << Qt::endl; });
    const auto started = session.start(call ? NoteSource::call : NoteSource::room);
    if (!started)
        return in.failure(started.error());
    if (started->notice)
        in.err << *started->notice << Qt::endl;
    in.err << u"Recording note %1; press Ctrl+C to stop."_s.arg(
                  started->id.toString(QUuid::WithoutBraces))
           << Qt::endl;
    const qint64 limitMs = qint64(*limit * 1000);
    loop.tick = [&] {
        if (limitMs > 0 && session.recordedMs() >= limitMs)
            loop.finish();
    };
    loop.run();
    const auto finished = session.stop();
    in.out << started->id.toString(QUuid::WithoutBraces) << Qt::endl;
    if (finished && finished->failure)
        return in.failure(*finished->failure);
    return 0;
}

} // namespace quendra

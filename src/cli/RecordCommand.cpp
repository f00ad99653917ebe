#include "CommandSupport.h"
#include "RecordingLoop.h"

#include "audio/AudioRecorder.h"
#include "platform/AudioSource.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const CommandHelp recordHelp{
    u"record OUT.wav [--seconds N]"_s,
    u"Records the microphone into OUT.wav (16 kHz mono) as a dictation would, until Ctrl+C\n"
    "or N seconds of audio; prints the duration and whether speech was heard."_s};

} // namespace

std::optional<double> secondsOption(Invocation& in, int* status) {
    const QStringList values = in.values(u"seconds"_s);
    if (values.isEmpty())
        return 0.0;
    const auto seconds = parseSeconds(values.last());
    if (!seconds || *seconds == 0) {
        *status = in.usageError(u"--seconds needs a positive number of seconds, at most a week"_s);
        return std::nullopt;
    }
    return seconds;
}

int runRecordCommand(AppContext& app, const QStringList& arguments, QTextStream& out,
                     QTextStream& err) {
    Invocation in(app, u"record"_s, arguments, out, err);
    if (!in.parse(recordHelp, 1, {}, {u"seconds"_s}))
        return int(ExitStatus::usage);
    if (in.helpRequested())
        return in.printHelp(recordHelp);
    int status = 0;
    const auto limit = secondsOption(in, &status);
    if (!limit)
        return status;

    AudioRecorder& recorder = in.app.dictationRecorder();
    const QString path = QFileInfo(in.positionals()[0]).absoluteFilePath();
    if (const auto started = recorder.start(path); !started)
        return in.failure(started.error().message());

    RecordingLoop loop;
    bool unexpected = false;
    // The recorder is the owner's and outlives this command; the connection does not.
    QObject scope;
    QObject::connect(&recorder, &AudioRecorder::unexpectedStop, &scope, [&] {
        unexpected = true;
        loop.finish();
    });
    loop.tick = [&] {
        if (*limit > 0 && recorder.elapsedSeconds() >= *limit)
            loop.finish();
    };
    err << u"Recording to %1; press Ctrl+C to stop."_s.arg(path) << Qt::endl;
    loop.run();

    const auto capture = recorder.stop();
    if (!capture)
        return in.failure(u"The recording could not be finished."_s);
    out << u"Recorded %1 seconds to %2; %3"_s.arg(capture->duration, 0, 'f', 2)
               .arg(capture->path)
               .arg(capture->hasSpeech ? u"speech was heard."_s : u"no speech was heard."_s)
        << Qt::endl;
    if (unexpected)
        return in.failure(
            u"Recording stopped unexpectedly. The audio captured so far is saved in %1."_s.arg(
                capture->path));
    return 0;
}

} // namespace quendra

// Makes a long note for the export benchmark: the LibriVox clips of
// pocketsphinx-testdata, one after the other and over again, recorded through
// SectionWriter into overlapping 30-s sections of a new note in NOTES-ROOT,
// as a call would leave it; and the same audio as one plain WAV file, the
// input a command-line encoder gets. Prints the note's identifier.
// With --call the clips take turns between the microphone and the computer's
// audio and the note is left as a stopped call leaves it, untranscribed, for
// the processing benchmark.
// Usage: long_note NOTES-ROOT SECONDS WAV [--call]

#include "audio/AudioDecoder.h"
#include "audio/SectionWriter.h"
#include "audio/WaveFileWriter.h"
#include "model/Note.h"
#include "notes/NotesStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

[[noreturn]] void fail(const QString& message) {
    QTextStream(stderr) << message << Qt::endl;
    std::exit(1);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const bool call = args.size() == 5 && args[4] == u"--call"_s;
    if (args.size() != 4 && !call)
        fail(u"Usage: long_note NOTES-ROOT SECONDS WAV [--call]"_s);
    const qint64 seconds = args[2].toLongLong();
    if (seconds <= 0)
        fail(u"SECONDS must be a positive number."_s);

    std::vector<qint16> speech;
    // Where each clip ends in `speech`, for a call's turns.
    std::vector<size_t> clipEnds;
    const QDir clips(u"/usr/share/pocketsphinx/test/data/librivox"_s);
    for (const QString& name : clips.entryList({u"*.wav"_s}, QDir::Files, QDir::Name)) {
        const auto decoded = AudioDecoder::decode(clips.filePath(name), [&](auto block) {
            speech.insert(speech.end(), block.begin(), block.end());
            return true;
        });
        if (!decoded)
            fail(u"Could not read %1."_s.arg(clips.filePath(name)));
        clipEnds.push_back(speech.size());
    }
    if (speech.empty())
        fail(u"No clips in %1; install pocketsphinx-testdata."_s.arg(clips.path()));

    const size_t total = size_t(seconds) * 16000;
    std::vector<float> microphone(total);
    std::vector<float> system(call ? total : 0);
    std::vector<qint16> plain(total);
    for (size_t i = 0; i < total; ++i) {
        plain[i] = speech[i % speech.size()];
        const size_t at = i % speech.size();
        const size_t clip = size_t(std::upper_bound(clipEnds.begin(), clipEnds.end(), at) -
                                   clipEnds.begin());
        // Each pass over the clips swaps the sides, so both hear every reader.
        const bool other = call && (clip + i / speech.size()) % 2 == 1;
        (other ? system : microphone)[i] = float(plain[i]) / 32768.0f;
    }

    auto wave = WaveFileWriter::create(args[3]);
    if (!wave || !wave->write(plain) || !wave->close())
        fail(u"Could not write %1."_s.arg(args[3]));

    NotesStore store(args[1]);
    Note note;
    note.id = QUuid::createUuid();
    note.title = u"One hour"_s;
    note.createdAt = QDateTime::currentDateTimeUtc();
    note.state = call ? NoteState::finishing : NoteState::ready;
    note.source = call ? NoteSource::call : NoteSource::room;
    if (auto created = store.create(note); !created)
        fail(created.error().message);
    SectionWriterConfiguration configuration;
    // The syncs only slow the making of the note; they do not change its files.
    configuration.sync = [](int) { return 0; };
    const auto sections =
        SectionWriter::record(store.noteDirectory(note.id), microphone, system, configuration, 16000);
    if (!sections)
        fail(sections.error());
    const auto updated = store.update(note.id, [&](Note& n) {
        for (const auto& s : *sections)
            n.sections.append({s.index, s.startMs, s.endMs, true, !call, {}, {}});
        n.durationMs = sections->last().endMs;
    });
    if (!updated)
        fail(updated.error().message);
    QTextStream(stdout) << uuidText(note.id) << Qt::endl;
    return 0;
}

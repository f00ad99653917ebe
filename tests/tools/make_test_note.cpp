// Test aid: records a note from two spoken sources into a notes folder, as a
// call would leave it after transcription. Each utterance of the fixture is
// spoken by espeak-ng with its own voice and placed on its source at its start
// time; its words are spread over the voiced part of the utterance. The
// sources go through SectionWriter, and each section is marked transcribed
// with the words that fall inside it, the way a transcriber would return them.
//
//   make_test_note FIXTURE.json NOTES-ROOT [--untranscribed]
//
// prints the new note's identifier. With --untranscribed the sections are
// left as a stopped recording leaves them, for processing to transcribe.

#include "audio/SectionWriter.h"
#include "model/Json.h"
#include "model/Note.h"
#include "notes/NotesStore.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include <cmath>
#include <cstdio>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

[[noreturn]] void fail(const QString& message) {
    QTextStream(stderr) << message << Qt::endl;
    std::exit(1);
}

// Speaks `text` and returns 16 kHz mono samples.
std::vector<float> speak(const QString& voice, const QString& text, const QTemporaryDir& dir) {
    const QString raw = dir.filePath(u"raw.wav"_s), pcm = dir.filePath(u"speech.raw"_s);
    if (QProcess::execute(u"espeak-ng"_s, {u"-v"_s, voice, u"-w"_s, raw, text}) != 0)
        fail(u"espeak-ng could not speak “%1”."_s.arg(text));
    if (QProcess::execute(u"sox"_s, {raw, u"-r"_s, u"16000"_s, u"-c"_s, u"1"_s, u"-b"_s, u"16"_s,
                                     u"-e"_s, u"signed-integer"_s, u"-t"_s, u"raw"_s, pcm}) != 0)
        fail(u"sox could not resample the speech."_s);
    QFile file(pcm);
    if (!file.open(QIODevice::ReadOnly))
        fail(u"The resampled speech could not be read."_s);
    const QByteArray bytes = file.readAll();
    std::vector<float> samples(static_cast<size_t>(bytes.size() / 2));
    for (size_t i = 0; i < samples.size(); ++i) {
        qint16 s;
        std::memcpy(&s, bytes.constData() + 2 * i, 2);
        samples[i] = static_cast<float>(s) / 32768.0f;
    }
    return samples;
}

// First and last sample louder than a whisper.
std::pair<size_t, size_t> voicedRange(const std::vector<float>& samples) {
    size_t first = 0, last = samples.size();
    while (first < samples.size() && std::fabs(samples[first]) < 0.02f)
        ++first;
    while (last > first && std::fabs(samples[last - 1]) < 0.02f)
        --last;
    return {first, last};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const bool untranscribed = args.size() == 4 && args[3] == u"--untranscribed"_s;
    if (args.size() != 3 && !untranscribed)
        fail(u"Usage: make_test_note FIXTURE.json NOTES-ROOT [--untranscribed]"_s);
    QFile fixtureFile(args[1]);
    if (!fixtureFile.open(QIODevice::ReadOnly))
        fail(u"The fixture %1 could not be read."_s.arg(args[1]));
    const auto fixture = parseJson(fixtureFile.readAll());
    if (!fixture || !fixture->contains("utterances"))
        fail(u"The fixture is not valid."_s);

    QTemporaryDir scratch;
    std::vector<float> microphone, system;
    QList<TimedWord> words;
    for (const Json& u : (*fixture)["utterances"]) {
        const QString text = requiredField<QString>(u, "text");
        const auto samples = speak(requiredField<QString>(u, "voice"), text, scratch);
        const qint64 startMs = requiredInteger(u, "startMs");
        auto& track = requiredField<QString>(u, "source") == u"system"_s ? system : microphone;
        const size_t at = static_cast<size_t>(startMs * 16);
        track.resize(std::max(track.size(), at + samples.size()), 0.0f);
        std::copy(samples.begin(), samples.end(), track.begin() + static_cast<qsizetype>(at));

        const auto [first, last] = voicedRange(samples);
        const QStringList spoken = text.split(u' ', Qt::SkipEmptyParts);
        const double perWordMs = (static_cast<double>(last - first) / 16.0) / spoken.size();
        for (qsizetype i = 0; i < spoken.size(); ++i) {
            const qint64 wordStart = startMs + static_cast<qint64>(first / 16 + i * perWordMs);
            words.append(
                {spoken[i], wordStart, wordStart + static_cast<qint64>(perWordMs * 0.85), 0});
        }
    }
    const size_t length = std::max(microphone.size(), system.size()) + 16000;
    microphone.resize(length, 0.0f);
    system.resize(length, 0.0f);

    NotesStore store(args[2]);
    Note note;
    note.id = QUuid::createUuid();
    note.title = fieldOr<QString>(*fixture, "title", Note::defaultTitle());
    note.createdAt = QDateTime::currentDateTimeUtc();
    note.source = NoteSource::call;
    note.sourceApp = field<QString>(*fixture, "sourceApp");
    note.state = NoteState::finishing;
    if (auto created = store.create(note); !created)
        fail(created.error().message);
    const auto sections = SectionWriter::record(store.noteDirectory(note.id), microphone, system);
    if (!sections)
        fail(sections.error());

    const auto updated = store.update(note.id, [&](Note& n) {
        for (const auto& s : *sections) {
            NoteSection section{s.index, s.startMs, s.endMs, true, !untranscribed, {}, {}};
            if (untranscribed) {
                n.sections.append(section);
                continue;
            }
            QStringList texts;
            for (TimedWord w : words) {
                const qint64 middle = (w.startMs + w.endMs) / 2;
                if (middle < s.startMs || middle >= s.endMs)
                    continue;
                w.section = s.index;
                section.words.append(w);
                texts << w.text;
            }
            section.transcript = texts.join(u' ');
            n.sections.append(section);
        }
        n.durationMs = sections->isEmpty() ? 0 : sections->last().endMs;
    });
    if (!updated)
        fail(updated.error().message);
    QTextStream(stdout) << uuidText(note.id) << Qt::endl;
    return 0;
}

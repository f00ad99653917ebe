// The audio export of a note: the section files laid on the note's timeline
// and encoded to M4A a block at a time, written whole or not at all.

#include "NoteExport.h"
#include "NotesStore.h"
#include "audio/AacEncoder.h"
#include "model/DurableFile.h"
#include "model/FileDescriptor.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

constexpr qint64 samplesPerMs = NoteExport::sampleRate / 1000;
// About a second of audio: the most read, converted or held at once.
constexpr qint64 blockSamples = 16384;

NoteExportError failure(NoteExportError::Kind kind, QString message) {
    return {kind, std::move(message)};
}

NoteExportError unwritable(const QString& path, int error) {
    return failure(NoteExportError::Kind::unwritable,
                   DurableFile::failureSentence(true, path, error));
}

// A new private file beside `path`, named so that no two exports meet.
struct TemporaryFile {
    QString path;
    bool kept = false;
    ~TemporaryFile() {
        if (!kept && !path.isEmpty())
            ::unlink(QFile::encodeName(path).constData());
    }
};

NoteExportResult<> reserve(TemporaryFile& temporary, const QString& path) {
    static std::atomic<unsigned> counter = 0;
    const QFileInfo target(path);
    const QString name = u"."_s + target.fileName() + u".export-"_s + QString::number(::getpid()) +
                         u'-' + QString::number(counter++);
    const QString candidate = target.absolutePath() + u'/' + name;
    FileDescriptor file(::open(QFile::encodeName(candidate).constData(),
                               O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                               DurableFile::privateMode));
    if (file.get() < 0)
        return std::unexpected(unwritable(path, errno));
    temporary.path = candidate;
    if (::fchmod(file.get(), DurableFile::privateMode) != 0)
        return std::unexpected(unwritable(path, errno));
    if (const int closed = file.close())
        return std::unexpected(unwritable(path, closed));
    return {};
}

// Syncs the finished temporary file, renames it over `path` and syncs the folder.
NoteExportResult<> commit(TemporaryFile& temporary, const QString& path) {
    const QByteArray from = QFile::encodeName(temporary.path);
    {
        FileDescriptor file(::open(from.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
        if (file.get() < 0 || ::fsync(file.get()) != 0)
            return std::unexpected(unwritable(path, errno));
    }
    if (::rename(from.constData(), QFile::encodeName(path).constData()) != 0)
        return std::unexpected(unwritable(path, errno));
    temporary.kept = true;
    const FileDescriptor folder(
        ::open(QFile::encodeName(QFileInfo(path).absolutePath()).constData(),
               O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.get() < 0)
        return std::unexpected(unwritable(path, errno));
    if (auto synced = DurableFile::syncFolder(folder.get(), path); !synced)
        return std::unexpected(failure(NoteExportError::Kind::unwritable, synced.error().message));
    return {};
}

// Reads `bytes` at `offset`, continuing short reads; the count read (less at
// the end of the file), or -errno.
qint64 readAt(int fd, char* data, qint64 bytes, qint64 offset) {
    qint64 done = 0;
    while (done < bytes) {
        const ssize_t n = ::pread(fd, data + done, size_t(bytes - done), off_t(offset + done));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return -errno;
        }
        if (n == 0)
            break;
        done += n;
    }
    return done;
}

// Where one section's samples lie in its file and on the note's timeline.
struct SectionAudio {
    int index = 0;
    qint64 firstSample = 0;
    qint64 dataOffset = 0;
    qint64 samples = 0;
};

NoteExportError unreadableSection(const QString& path, QString reason) {
    return failure(NoteExportError::Kind::unreadable,
                   u"Could not read %1: %2."_s.arg(path, std::move(reason)));
}

NoteExportResult<FileDescriptor> openSection(const NotesStore& store, const Note& note, int index) {
    auto file = store.openSectionAudio(note.id, index);
    if (file)
        return std::move(*file);
    if (file.error().kind == StoreError::Kind::missing)
        return std::unexpected(failure(
            NoteExportError::Kind::noAudio,
            u"Part of this note’s audio is missing (part-%1.wav), so it cannot be exported as audio."_s
                .arg(index)));
    return std::unexpected(failure(NoteExportError::Kind::unreadable, file.error().message));
}

// Finds the samples of a section file: RIFF chunks are walked rather than a
// 44-byte header assumed, and only 16 kHz mono 16-bit PCM is taken. A data
// size left stale by a crash is read as far as the file goes.
NoteExportResult<SectionAudio> inspect(const NotesStore& store, const Note& note,
                                       const NoteSection& section) {
    const auto file = openSection(store, note, section.index);
    if (!file)
        return std::unexpected(file.error());
    const QString shown = store.sectionAudioPath(note.id, section.index);
    struct stat status {};
    if (::fstat(file->get(), &status) != 0)
        return std::unexpected(unreadableSection(shown, QString::fromLocal8Bit(strerror(errno))));
    QByteArray head(4096, '\0');
    const qint64 got = readAt(file->get(), head.data(), head.size(), 0);
    if (got < 0)
        return std::unexpected(
            unreadableSection(shown, QString::fromLocal8Bit(strerror(int(-got)))));
    head.truncate(qsizetype(got));
    const auto u16 = [&](qsizetype at) {
        return qFromLittleEndian<quint16>(head.constData() + at);
    };
    const auto u32 = [&](qsizetype at) {
        return qFromLittleEndian<quint32>(head.constData() + at);
    };
    if (head.size() < 12 || !head.startsWith("RIFF") || head.mid(8, 4) != "WAVE")
        return std::unexpected(unreadableSection(shown, u"it is not a WAV file"_s));
    bool formatSeen = false;
    for (qsizetype at = 12; at + 8 <= head.size();) {
        const QByteArray id = head.mid(at, 4);
        const qint64 size = u32(at + 4);
        if (id == "fmt ") {
            if (at + 24 > head.size() || u16(at + 8) != 1 || u16(at + 10) != 1 ||
                u32(at + 12) != quint32(NoteExport::sampleRate) || u16(at + 22) != 16)
                return std::unexpected(
                    unreadableSection(shown, u"it is not 16 kHz mono 16-bit audio"_s));
            formatSeen = true;
        } else if (id == "data") {
            if (!formatSeen)
                break;
            const qint64 offset = at + 8;
            const qint64 onDisk = std::max<qint64>(0, qint64(status.st_size) - offset);
            const qint64 bytes = size > 0 && size <= onDisk ? size : onDisk;
            return SectionAudio{section.index, section.startMs * samplesPerMs, offset, bytes / 2};
        }
        at += 8 + size + (size & 1);
    }
    return std::unexpected(
        unreadableSection(shown, u"it holds no audio in the form Parlevo records"_s));
}

NoteExportError encoderFailure(const QString& path, const AacEncoderError& error) {
    if (!error.unwritable)
        return failure(NoteExportError::Kind::encoder, error.message);
    if (error.systemError)
        return unwritable(path, error.systemError);
    return failure(NoteExportError::Kind::unwritable,
                   u"Could not save %1. %2"_s.arg(path, error.message));
}

class AudioWriter {
public:
    AudioWriter(AacEncoder& encoder, const QString& path, qint64 totalSamples,
                const NoteExport::Progress& progress)
        : encoder(encoder)
        , path(path)
        , total(totalSamples)
        , progress(progress) {}

    qint64 position() const { return cursor; }

    NoteExportResult<> write(std::span<const qint16> samples) {
        if (auto written = encoder.write(samples); !written)
            return std::unexpected(encoderFailure(path, written.error()));
        cursor += qint64(samples.size());
        if (progress && !progress(cursor / samplesPerMs, total / samplesPerMs))
            return std::unexpected(failure(NoteExportError::Kind::stopped,
                                           u"The export was stopped; nothing was saved."_s));
        return {};
    }

    NoteExportResult<> silenceUntil(qint64 sample) {
        const std::vector<qint16> zeros(size_t(blockSamples), 0);
        while (cursor < std::min(sample, total)) {
            const qint64 n = std::min(blockSamples, std::min(sample, total) - cursor);
            if (auto written = write(std::span(zeros).first(size_t(n))); !written)
                return written;
        }
        return {};
    }

private:
    AacEncoder& encoder;
    const QString& path;
    const qint64 total;
    const NoteExport::Progress& progress;
    qint64 cursor = 0;
};

NoteExportResult<> layOut(const NotesStore& store, const Note& note,
                          const QList<SectionAudio>& sections, AudioWriter& out, qint64 total) {
    std::vector<char> bytes(static_cast<size_t>(blockSamples * 2));
    std::vector<qint16> samples(static_cast<size_t>(blockSamples));
    for (const SectionAudio& section : sections) {
        if (out.position() >= total)
            break;
        if (auto gap = out.silenceUntil(section.firstSample); !gap)
            return gap;
        // What an earlier section already gave (the carried overlap) is skipped.
        const qint64 skip = out.position() - section.firstSample;
        if (skip >= section.samples)
            continue;
        const auto file = openSection(store, note, section.index);
        if (!file)
            return std::unexpected(file.error());
        qint64 offset = section.dataOffset + skip * 2;
        qint64 remaining = std::min(section.samples - skip, total - out.position());
        while (remaining > 0) {
            const qint64 want = std::min(remaining, blockSamples);
            const qint64 got = readAt(file->get(), bytes.data(), want * 2, offset);
            if (got < 0)
                return std::unexpected(
                    unreadableSection(store.sectionAudioPath(note.id, section.index),
                                      QString::fromLocal8Bit(strerror(int(-got)))));
            const qint64 count = got / 2;
            if (count == 0)
                break; // the file shrank meanwhile; silence fills in
            qFromLittleEndian<qint16>(bytes.data(), count, samples.data());
            if (auto written = out.write(std::span(samples).first(size_t(count))); !written)
                return written;
            offset += count * 2;
            remaining -= count;
        }
    }
    return out.silenceUntil(total);
}

// A note whose section files are gone may still have its finished recording.
NoteExportResult<> copyFinished(const QString& source, const QString& path,
                                const NoteExport::Progress& progress, qint64 totalMs) {
    FileDescriptor in(
        ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (in.get() < 0)
        return std::unexpected(failure(NoteExportError::Kind::unreadable,
                                       DurableFile::failureSentence(false, source, errno)));
    TemporaryFile temporary;
    if (auto reserved = reserve(temporary, path); !reserved)
        return reserved;
    FileDescriptor out(::open(QFile::encodeName(temporary.path).constData(),
                              O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOFOLLOW));
    if (out.get() < 0)
        return std::unexpected(unwritable(path, errno));
    std::vector<char> buffer(size_t(blockSamples * 4));
    for (qint64 offset = 0;;) {
        const qint64 got = readAt(in.get(), buffer.data(), qint64(buffer.size()), offset);
        if (got < 0)
            return std::unexpected(failure(NoteExportError::Kind::unreadable,
                                           DurableFile::failureSentence(false, source, int(-got))));
        if (got == 0)
            break;
        if (const int error = writeAll(out.get(), buffer.data(), got))
            return std::unexpected(unwritable(path, error));
        offset += got;
        if (progress && !progress(totalMs, totalMs))
            return std::unexpected(failure(NoteExportError::Kind::stopped,
                                           u"The export was stopped; nothing was saved."_s));
    }
    if (const int closed = out.close())
        return std::unexpected(unwritable(path, closed));
    return commit(temporary, path);
}

} // namespace

NoteExportResult<> NoteExport::writeAudio(const NotesStore& store, const Note& note,
                                          const QString& path, const Progress& progress) {
    if (note.audioRemoved)
        return std::unexpected(
            failure(NoteExportError::Kind::noAudio,
                    u"This note’s audio was deleted, so it cannot be exported as audio."_s));
    if (note.sections.isEmpty())
        return std::unexpected(failure(NoteExportError::Kind::noAudio,
                                       u"This note has no recorded audio to export."_s));
    QList<NoteSection> ordered = note.sections;
    std::ranges::stable_sort(ordered, [](const NoteSection& a, const NoteSection& b) {
        return a.startMs != b.startMs ? a.startMs < b.startMs : a.index < b.index;
    });
    QList<SectionAudio> sections;
    qint64 end = 0;
    for (const NoteSection& section : ordered) {
        auto audio = inspect(store, note, section);
        if (!audio) {
            if (audio.error().kind != NoteExportError::Kind::noAudio)
                return std::unexpected(audio.error());
            if (const auto finished = store.playbackPath(note))
                return copyFinished(*finished, path, progress, note.durationMs);
            return std::unexpected(audio.error());
        }
        end = std::max(end, audio->firstSample + audio->samples);
        sections.append(*audio);
    }
    const qint64 total = note.durationMs > 0 ? note.durationMs * samplesPerMs : end;

    TemporaryFile temporary;
    if (auto reserved = reserve(temporary, path); !reserved)
        return reserved;
    auto encoder = AacEncoder::create(temporary.path);
    if (!encoder)
        return std::unexpected(encoderFailure(path, encoder.error()));
    AudioWriter out(*encoder, path, total, progress);
    if (auto laid = layOut(store, note, sections, out, total); !laid)
        return laid;
    if (auto finished = encoder->finish(); !finished)
        return std::unexpected(encoderFailure(path, finished.error()));
    return commit(temporary, path);
}

} // namespace quendra

#pragma once

// What a note can be saved as outside Parlevo: its transcript and summary as
// Markdown, subtitles (SRT, WebVTT), a JSON record, and its audio as M4A.

#include "model/Note.h"
#include "model/RawValueEnum.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <expected>
#include <functional>

namespace quendra {

class NotesStore;

enum class NoteExportFormat { markdown, srt, webVtt, json, m4a };

template <>
struct RawValueTable<NoteExportFormat> {
    static constexpr std::array<std::pair<NoteExportFormat, QStringView>, 5> entries{{
        {NoteExportFormat::markdown, u"md"},
        {NoteExportFormat::srt, u"srt"},
        {NoteExportFormat::webVtt, u"vtt"},
        {NoteExportFormat::json, u"json"},
        {NoteExportFormat::m4a, u"m4a"},
    }};
};

struct NoteExportError {
    enum class Kind {
        // The audio was deleted, never recorded, or a section file is gone.
        noAudio,
        unreadable,
        // The file could not be written: a full or read-only disk, a bad folder.
        unwritable,
        // The AAC encoder is missing or failed.
        encoder,
        stopped,
    };
    Kind kind;
    QString message;
};

template <typename T = void>
using NoteExportResult = std::expected<T, NoteExportError>;

// One subtitle: a stretch of one turn short enough to read at once.
struct NoteCue {
    qint64 startMs = 0;
    qint64 endMs = 0;
    // The speaker's display name; empty for a room recording.
    QString speaker;
    // At most `NoteExport::cueLines` lines of about `NoteExport::lineCharacters`.
    QStringList lines;
};

class NoteExport {
public:
    static constexpr int sampleRate = 16000;
    static constexpr int lineCharacters = 42;
    static constexpr int cueLines = 2;
    // A cue never flashes by shorter than this, even for a word without length.
    static constexpr qint64 shortestCueMs = 500;

    static QByteArray markdown(const Note& note);
    static QByteArray srt(const Note& note);
    static QByteArray webVtt(const Note& note);
    static QByteArray json(const Note& note);
    // Any of the text formats above; empty for m4a.
    static QByteArray text(const Note& note, NoteExportFormat format);

    // The cues both subtitle formats are written from, in time order.
    static QList<NoteCue> cues(const Note& note);

    // "<title>.<extension>", with what a file name cannot hold replaced.
    static QString fileName(const Note& note, NoteExportFormat format);

    // Called every few seconds of audio with how much is written; returning
    // false stops the export, which then leaves nothing behind.
    using Progress = std::function<bool(qint64 writtenMs, qint64 totalMs)>;

    // Writes `path` whole or not at all: a temporary file beside it, synced,
    // then renamed over it.
    static NoteExportResult<> write(const NotesStore& store, const Note& note,
                                    NoteExportFormat format, const QString& path,
                                    const Progress& progress = {});

    // 16 kHz mono AAC from the section files, each laid on the note's
    // timeline at its start, so the overlap of consecutive sections is heard
    // once and the file lasts `durationMs`. Read and encoded a block at a time.
    static NoteExportResult<> writeAudio(const NotesStore& store, const Note& note,
                                         const QString& path, const Progress& progress = {});
};

} // namespace quendra

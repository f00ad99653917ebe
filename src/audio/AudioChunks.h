#pragma once

#include <QList>
#include <QString>

#include <expected>

namespace quendra {

// One file to transcribe and where its audio starts in the recording.
struct AudioPart {
    QString path;
    qint64 startMs = 0;
    qint64 durationMs = 0;

    friend bool operator==(const AudioPart&, const AudioPart&) = default;
};

// A recording ready for transcription: the original file when it fits one
// upload, otherwise parts in a temporary folder of their own.
struct PreparedRecording {
    QList<AudioPart> parts;
    QString temporaryDirectory; // empty when no part was written
};

// cannotWriteParts: the temporary folder took no part (full, read-only).
enum class ChunkingError { recordingTooLarge, unsupportedRecording, cannotWriteParts };

class AudioChunks {
public:
    static constexpr qint64 singleUploadBytes = 3'000'000;
    // A 44-byte header and 115,520,000 bytes of samples: 3,610 seconds.
    static constexpr qint64 largestWaveBytes = 115'520'044;
    static constexpr qint64 largestDataBytes = largestWaveBytes - 44;
    static constexpr qint64 partDataBytes = 1'920'000;
    // Files this small hold at most a few milliseconds of sound.
    static constexpr qint64 tinyFileBytes = 1024;
    // A remainder shorter than this joins the part before it.
    static constexpr qint64 shortestLastPartBytes = 32'000;

    // WAV files (by extension) are cut by bytes; anything else is decoded and
    // written as ".m4a" parts.
    static std::expected<PreparedRecording, ChunkingError> prepare(const QString& path);
    static std::expected<PreparedRecording, ChunkingError> prepareWave(const QString& path);
    static std::expected<PreparedRecording, ChunkingError> prepareCompressed(const QString& path);
    // The first `count` whole parts of a WAV recording still being written,
    // cut as prepareWave will cut the finished file; unsupportedRecording
    // while fewer are on disk.
    static std::expected<PreparedRecording, ChunkingError> prepareWholeParts(const QString& path,
                                                                             int count);
    // Deletes the temporary folder, if any; errors are ignored.
    static void removeTemporaryFiles(const PreparedRecording& recording);

    // The sizes of consecutive parts for `dataBytes` of samples: whole
    // 1,920,000-byte parts, the remainder last, a short remainder merged.
    static QList<qint64> partSizes(qint64 dataBytes, qint64 blockAlign = 2);
};

} // namespace quendra

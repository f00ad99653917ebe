#pragma once

#include <QString>

#include <expected>
#include <functional>
#include <span>

namespace quendra {

// Decodes the first audio track of any file FFmpeg can read into 16 kHz mono
// signed 16-bit samples, handed over block by block.
class AudioDecoder {
public:
    enum class Failure { unreadable, stopped };

    // `sink` returns false to stop early; the decode then ends with `stopped`.
    using Sink = std::function<bool(std::span<const qint16>)>;
    static std::expected<void, Failure> decode(const QString& path, const Sink& sink);
};

} // namespace quendra

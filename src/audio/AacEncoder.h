#pragma once

#include <QString>

#include <expected>
#include <memory>
#include <span>

namespace quendra {

// Why an audio file could not be made: the encoder is missing or failed, or
// the file could not be written (a full or read-only folder).
struct AacEncoderError {
    bool unwritable = false;
    QString message;
    // The system's error number behind an unwritable file (ENOSPC, EROFS, ...)
    // when the writer reported one; 0 otherwise.
    int systemError = 0;
};

// Writes 16 kHz mono samples as AAC in an MPEG-4 audio file (".m4a").
class AacEncoder {
public:
    static constexpr int bitRate = 32000;

    static std::expected<AacEncoder, AacEncoderError> create(const QString& path);
    AacEncoder(AacEncoder&&) noexcept;
    AacEncoder& operator=(AacEncoder&&) noexcept;
    ~AacEncoder();

    std::expected<void, AacEncoderError> write(std::span<const qint16> samples);
    // Drains the encoder and writes the file's index; the file is complete,
    // and on disk as far as the system is concerned, after it.
    std::expected<void, AacEncoderError> finish();

private:
    struct State;
    explicit AacEncoder(std::unique_ptr<State> state);
    std::unique_ptr<State> state;
};

} // namespace quendra

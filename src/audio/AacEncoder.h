#pragma once

#include <QString>

#include <expected>
#include <memory>
#include <span>

namespace quendra {

// Writes 16 kHz mono samples as AAC in an MPEG-4 audio file (".m4a").
class AacEncoder {
public:
    static constexpr int bitRate = 32000;

    static std::expected<AacEncoder, QString> create(const QString& path);
    AacEncoder(AacEncoder&&) noexcept;
    AacEncoder& operator=(AacEncoder&&) noexcept;
    ~AacEncoder();

    std::expected<void, QString> write(std::span<const qint16> samples);
    // Drains the encoder and writes the file's index; the file is complete after it.
    std::expected<void, QString> finish();

private:
    struct State;
    explicit AacEncoder(std::unique_ptr<State> state);
    std::unique_ptr<State> state;
};

} // namespace quendra

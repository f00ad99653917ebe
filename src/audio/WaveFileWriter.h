#pragma once

#include <QByteArray>
#include <QString>

#include <expected>
#include <functional>
#include <optional>
#include <span>

namespace quendra {

// Makes a file's written data durable: 0, or the errno. Empty means
// fdatasync; tests put a slow or failing disk here.
using FileSync = std::function<int(int fd)>;

// 16 kHz mono signed 16-bit PCM WAV with a 44-byte header. The header's size
// fields are rewritten at each checkpoint, so after a crash the file is valid
// up to the last checkpoint and `repair` recovers everything on disk.
class WaveFileWriter {
public:
    static constexpr int headerBytes = 44;
    static constexpr int sampleRate = 16000;
    static constexpr int bytesPerSecond = 32000;

    // The length of a kept recording from its size; none when it cannot be read.
    static std::optional<qint64> durationMs(const QString& path);

    // Creates (or truncates) the file and writes a header for zero samples.
    static std::expected<WaveFileWriter, QString> create(const QString& path, FileSync sync = {});
    // The 44-byte header for that many bytes of samples.
    static QByteArray header(qint64 dataBytes);
    // Makes the header match the whole samples on disk (an odd trailing byte is
    // cut off); returns the repaired duration in milliseconds.
    static std::expected<qint64, QString> repair(const QString& path);
    // The same for the file `name` inside an open folder, never following a
    // symbolic link and refusing anything but a regular file. `shownPath`
    // names it in the sentence.
    static std::expected<qint64, QString> repairAt(int directory, const QByteArray& name,
                                                   const QString& shownPath);

    WaveFileWriter(WaveFileWriter&& other) noexcept;
    WaveFileWriter& operator=(WaveFileWriter&& other) noexcept;
    ~WaveFileWriter();

    std::expected<void, QString> write(std::span<const qint16> samples);
    // Rewrites the header in place and synchronises the file to disk.
    std::expected<void, QString> checkpoint();
    // Final header, then close. Further writes fail.
    std::expected<void, QString> close();
    // Test aid: drops the descriptor without a final header, as a crash would.
    void abandon();

    qint64 dataBytes() const { return bytes; }

private:
    WaveFileWriter(int fd, QString path, FileSync sync);

    int fd = -1;
    QString path;
    FileSync sync;
    qint64 bytes = 0;
};

} // namespace quendra

#pragma once

// Recordings of a chosen length whose minutes differ from each other.

#include <QFile>
#include <QtEndian>

#include <cstring>

namespace quendra::testing {

// A 16 kHz mono WAV of `dataBytes` whose every minute holds its own byte
// value (offset by `seed`), so each part has its own digest.
inline bool writeRecording(const QString& path, qint64 dataBytes, int seed = 0) {
    QByteArray header(44, '\0');
    char* h = header.data();
    std::memcpy(h, "RIFF", 4);
    qToLittleEndian(quint32(36 + dataBytes), h + 4);
    std::memcpy(h + 8, "WAVEfmt ", 8);
    qToLittleEndian(quint32(16), h + 16);
    qToLittleEndian(quint16(1), h + 20);
    qToLittleEndian(quint16(1), h + 22);
    qToLittleEndian(quint32(16000), h + 24);
    qToLittleEndian(quint32(32000), h + 28);
    qToLittleEndian(quint16(2), h + 32);
    qToLittleEndian(quint16(16), h + 34);
    std::memcpy(h + 36, "data", 4);
    qToLittleEndian(quint32(dataBytes), h + 40);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(header) != 44)
        return false;
    for (qint64 at = 0; at < dataBytes;) {
        const qint64 minute = at / 1'920'000;
        const qint64 size = std::min(dataBytes - at, (minute + 1) * 1'920'000 - at);
        if (file.write(QByteArray(size, char(minute + 1 + seed))) != size)
            return false;
        at += size;
    }
    return true;
}

} // namespace quendra::testing

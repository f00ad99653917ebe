#include "audio/AudioChunks.h"

#include "audio/AacEncoder.h"
#include "audio/AudioDecoder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <QtEndian>

#include <cstring>
#include <optional>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

constexpr qint64 bytesPerSecond = 32000;

struct WaveLayout {
    quint16 formatTag = 1;
    quint16 channels = 1;
    quint32 sampleRate = 16000;
    quint16 bitsPerSample = 16;
    qint64 dataOffset = 0;
    qint64 dataBytes = 0;

    quint16 blockAlign() const { return quint16(channels * ((bitsPerSample + 7) / 8)); }
    quint32 byteRate() const { return sampleRate * blockAlign(); }
};

// Walks the RIFF chunks for "fmt " and "data". A data size that runs past the
// end of the file (a recording cut short) is taken as what is on disk.
std::optional<WaveLayout> readLayout(QFile& file) {
    const QByteArray riff = file.read(12);
    if (riff.size() < 12 || !riff.startsWith("RIFF") || riff.mid(8, 4) != "WAVE")
        return std::nullopt;
    WaveLayout layout;
    bool sawFormat = false;
    qint64 position = 12;
    while (position + 8 <= file.size()) {
        file.seek(position);
        const QByteArray head = file.read(8);
        if (head.size() < 8)
            return std::nullopt;
        const QByteArray id = head.left(4);
        const qint64 size = qFromLittleEndian<quint32>(head.constData() + 4);
        const qint64 body = position + 8;
        if (id == "fmt ") {
            const QByteArray format = file.read(16);
            if (format.size() < 16)
                return std::nullopt;
            layout.formatTag = qFromLittleEndian<quint16>(format.constData());
            layout.channels = qFromLittleEndian<quint16>(format.constData() + 2);
            layout.sampleRate = qFromLittleEndian<quint32>(format.constData() + 4);
            layout.bitsPerSample = qFromLittleEndian<quint16>(format.constData() + 14);
            sawFormat = layout.channels > 0 && layout.sampleRate > 0 && layout.bitsPerSample > 0;
        } else if (id == "data") {
            if (!sawFormat)
                return std::nullopt;
            layout.dataOffset = body;
            layout.dataBytes = std::min(size, file.size() - body);
            if (size == 0)
                layout.dataBytes = file.size() - body;
            layout.dataBytes -= layout.dataBytes % layout.blockAlign();
            return layout;
        }
        position = body + size + (size & 1);
    }
    return std::nullopt;
}

QByteArray waveHeader(const WaveLayout& layout, qint64 dataBytes) {
    QByteArray header(44, '\0');
    char* h = header.data();
    auto put32 = [h](int at, quint32 v) { qToLittleEndian(v, h + at); };
    auto put16 = [h](int at, quint16 v) { qToLittleEndian(v, h + at); };
    std::memcpy(h, "RIFF", 4);
    put32(4, quint32(36 + dataBytes));
    std::memcpy(h + 8, "WAVEfmt ", 8);
    put32(16, 16);
    // The extensible form does not fit a 44-byte header; its samples are plain.
    put16(20, layout.formatTag == 0xFFFE ? 1 : layout.formatTag);
    put16(22, layout.channels);
    put32(24, layout.sampleRate);
    put32(28, layout.byteRate());
    put16(32, layout.blockAlign());
    put16(34, layout.bitsPerSample);
    std::memcpy(h + 36, "data", 4);
    put32(40, quint32(dataBytes));
    return header;
}

std::optional<QString> makePartsFolder() {
    const QString path =
        QDir(QDir::tempPath())
            .filePath(u"quendra-parts-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces));
    if (!QDir().mkpath(path))
        return std::nullopt;
    QFile::setPermissions(path,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return path;
}

QString partName(qsizetype index, const QString& extension) {
    return u"part-%1.%2"_s.arg(index + 1, 3, 10, QChar(u'0')).arg(extension);
}

// False when a byte could not be moved; `*unreadable` then says whether the
// recording or the part was at fault.
bool copyRange(QFile& from, qint64 offset, qint64 size, QFile& to, bool* unreadable) {
    *unreadable = true;
    if (!from.seek(offset))
        return false;
    constexpr qint64 block = 1 << 16;
    while (size > 0) {
        const QByteArray bytes = from.read(std::min(size, block));
        if (bytes.isEmpty())
            return false;
        if (to.write(bytes) != bytes.size()) {
            *unreadable = false;
            return false;
        }
        size -= bytes.size();
    }
    return true;
}

bool isWave(const QString& path) {
    return QFileInfo(path).suffix().compare(u"wav"_s, Qt::CaseInsensitive) == 0;
}

std::expected<PreparedRecording, ChunkingError>
writeWaveParts(QFile& file, const WaveLayout& layout, const QList<qint64>& sizes) {
    const auto folder = makePartsFolder();
    if (!folder)
        return std::unexpected(ChunkingError::cannotWriteParts);
    PreparedRecording prepared{{}, *folder};
    qint64 offset = 0;
    for (const qint64 partBytes : sizes) {
        QFile part(QDir(*folder).filePath(partName(prepared.parts.size(), u"wav"_s)));
        bool unreadable = false;
        if (!part.open(QIODevice::WriteOnly) || part.write(waveHeader(layout, partBytes)) != 44 ||
            !copyRange(file, layout.dataOffset + offset, partBytes, part, &unreadable) ||
            !part.flush()) {
            AudioChunks::removeTemporaryFiles(prepared);
            return std::unexpected(unreadable ? ChunkingError::unsupportedRecording
                                              : ChunkingError::cannotWriteParts);
        }
        prepared.parts.append(AudioPart{part.fileName(), offset * 1000 / layout.byteRate(),
                                        partBytes * 1000 / layout.byteRate()});
        offset += partBytes;
    }
    return prepared;
}

} // namespace

QList<qint64> AudioChunks::partSizes(qint64 dataBytes, qint64 blockAlign) {
    QList<qint64> sizes;
    qint64 step = partDataBytes - partDataBytes % std::max<qint64>(1, blockAlign);
    qint64 left = dataBytes;
    while (left > 0) {
        sizes.append(std::min(step, left));
        left -= sizes.last();
    }
    // A fraction of a second alone makes a poor upload and a likely made-up
    // sentence; it rides along with the part before it, which still fits.
    if (sizes.size() > 1 && sizes.last() < shortestLastPartBytes) {
        const qint64 tail = sizes.takeLast();
        sizes.last() += tail;
    }
    return sizes;
}

std::expected<PreparedRecording, ChunkingError> AudioChunks::prepare(const QString& path) {
    return isWave(path) ? prepareWave(path) : prepareCompressed(path);
}

std::expected<PreparedRecording, ChunkingError> AudioChunks::prepareWave(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() <= tinyFileBytes)
        return std::unexpected(ChunkingError::unsupportedRecording);
    const qint64 size = file.size();
    if (size <= singleUploadBytes) {
        const auto layout = readLayout(file);
        const qint64 rate = layout ? layout->byteRate() : bytesPerSecond;
        const qint64 data = layout ? layout->dataBytes : size - 44;
        return PreparedRecording{{AudioPart{path, 0, rate > 0 ? data * 1000 / rate : 0}}, {}};
    }
    if (size > largestWaveBytes)
        return std::unexpected(ChunkingError::recordingTooLarge);
    const auto layout = readLayout(file);
    if (!layout || layout->byteRate() == 0)
        return std::unexpected(ChunkingError::unsupportedRecording);

    return writeWaveParts(file, *layout, partSizes(layout->dataBytes, layout->blockAlign()));
}

std::expected<PreparedRecording, ChunkingError> AudioChunks::prepareWholeParts(const QString& path,
                                                                               int count) {
    QFile file(path);
    if (count <= 0 || !file.open(QIODevice::ReadOnly))
        return std::unexpected(ChunkingError::unsupportedRecording);
    // The header counts only what the recorder last made durable, so these
    // parts are already final.
    const auto layout = readLayout(file);
    if (!layout || layout->byteRate() == 0 || layout->dataBytes < count * partDataBytes)
        return std::unexpected(ChunkingError::unsupportedRecording);
    return writeWaveParts(file, *layout, QList<qint64>(count, partDataBytes));
}

std::expected<PreparedRecording, ChunkingError>
AudioChunks::prepareCompressed(const QString& path) {
    if (QFileInfo(path).size() <= tinyFileBytes)
        return std::unexpected(ChunkingError::unsupportedRecording);
    const auto folder = makePartsFolder();
    if (!folder)
        return std::unexpected(ChunkingError::cannotWriteParts);
    PreparedRecording prepared{{}, *folder};

    constexpr qint64 partSamples = partDataBytes / 2;
    constexpr qint64 shortestSamples = shortestLastPartBytes / 2;
    constexpr qint64 largestSamples = largestDataBytes / 2;
    // Samples are held back until the next part is certain to be long enough,
    // so a short remainder can still join the part before it.
    std::vector<qint16> held;
    qint64 total = 0;
    std::optional<ChunkingError> partFailure;

    auto writePart = [&](std::span<const qint16> samples) {
        const QString file = QDir(*folder).filePath(partName(prepared.parts.size(), u"m4a"_s));
        auto encoder = AacEncoder::create(file);
        auto written = encoder ? encoder->write(samples) : std::unexpected(encoder.error());
        if (written)
            written = encoder->finish();
        if (!written || QFileInfo(file).size() > singleUploadBytes) {
            partFailure = !written && written.error().unwritable
                              ? ChunkingError::cannotWriteParts
                              : ChunkingError::unsupportedRecording;
            return false;
        }
        const qint64 start = prepared.parts.isEmpty()
                                 ? 0
                                 : prepared.parts.last().startMs + prepared.parts.last().durationMs;
        prepared.parts.append(AudioPart{file, start, qint64(samples.size()) * 1000 / 16000});
        return true;
    };

    const auto decoded = AudioDecoder::decode(path, [&](std::span<const qint16> block) {
        total += qint64(block.size());
        if (total > largestSamples)
            return false;
        held.insert(held.end(), block.begin(), block.end());
        while (qint64(held.size()) >= partSamples + shortestSamples) {
            if (!writePart(std::span<const qint16>(held.data(), size_t(partSamples))))
                return false;
            held.erase(held.begin(), held.begin() + partSamples);
        }
        return true;
    });
    if (decoded && !held.empty()) {
        // What is left is at most one part and a short remainder: one upload.
        writePart(held);
    }
    if (!decoded || partFailure || prepared.parts.isEmpty()) {
        removeTemporaryFiles(prepared);
        if (total > largestSamples)
            return std::unexpected(ChunkingError::recordingTooLarge);
        return std::unexpected(partFailure.value_or(ChunkingError::unsupportedRecording));
    }
    return prepared;
}

void AudioChunks::removeTemporaryFiles(const PreparedRecording& recording) {
    if (!recording.temporaryDirectory.isEmpty())
        QDir(recording.temporaryDirectory).removeRecursively();
}

} // namespace quendra

#include "audio/DictationPCMWriter.h"

#include "model/ApplicationId.h"

#include <QLoggingCategory>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {
Q_LOGGING_CATEGORY(writerLog, QUENDRA_APPLICATION_ID ".audio")
}

QString DictationPCMWriter::queueLabel() {
    return QStringLiteral(QUENDRA_APPLICATION_ID ".dictation-audio");
}

std::expected<std::unique_ptr<DictationPCMWriter>, QString>
DictationPCMWriter::create(const QString& path, FreeSpaceProbe freeSpace) {
    auto wave = WaveFileWriter::create(path);
    if (!wave)
        return std::unexpected(wave.error());
    return std::unique_ptr<DictationPCMWriter>(
        new DictationPCMWriter(std::move(*wave), path, std::move(freeSpace)));
}

DictationPCMWriter::DictationPCMWriter(WaveFileWriter wave, QString path, FreeSpaceProbe freeSpace)
    : path(std::move(path))
    , freeSpace(std::move(freeSpace))
    , writer(std::move(wave))
    , queue(queueLabel()) {}

DictationPCMWriter::~DictationPCMWriter() {
    stop();
}

qint16 DictationPCMWriter::convert(float sample) {
    const double scaled = std::clamp(double(sample) * 32767.0, -32768.0, 32767.0);
    return qint16(scaled); // the conversion truncates toward zero
}

void DictationPCMWriter::append(std::span<const float> samples) {
    // The audio thread only copies; everything else happens on the queue.
    queue.async(
        [this, block = std::vector<float>(samples.begin(), samples.end())] { process(block); });
}

void DictationPCMWriter::process(const std::vector<float>& samples) {
    if (!writer || failed)
        return;
    converted.resize(samples.size());
    std::transform(samples.begin(), samples.end(), converted.begin(), convert);
    if (const auto written = writer->write(converted); !written) {
        qCWarning(writerLog) << "dictation write failed:" << written.error();
        fail();
        return;
    }
    bytes = writer->dataBytes();

    const double rms = PCMLevel::rms(samples);
    speech.add(PCMLevel::decibels(rms));
    shownBytes = bytes;
    shownLevel = PCMLevel::meter(rms);
    shownSpeech = speech.hasSpeech();

    if (bytes - checkpointBytes >= checkpointInterval) {
        if (const auto saved = writer->checkpoint(); !saved) {
            qCWarning(writerLog) << "dictation checkpoint failed:" << saved.error();
            fail();
            return;
        }
        checkpointBytes = bytes;
        const auto free = freeSpace ? freeSpace(path) : std::nullopt;
        if (free && *free < minimumFreeBytes) {
            qCWarning(writerLog) << "dictation stopped: only" << *free << "bytes free";
            fail();
        }
    }
}

void DictationPCMWriter::fail() {
    failed = true;
    if (onFailure)
        onFailure();
}

DictationPCMWriter::Snapshot DictationPCMWriter::snapshot() const {
    return {double(shownBytes.load()) / double(WaveFileWriter::bytesPerSecond), shownLevel.load(),
            shownSpeech.load()};
}

void DictationPCMWriter::settle() {
    queue.sync([] {});
}

void DictationPCMWriter::stop() {
    queue.sync([this] {
        if (writer)
            (void)writer->close(); // the audio up to the last checkpoint is safe already
        writer.reset();
    });
}

} // namespace quendra

#include "audio/SectionWriter.h"

#include "model/ApplicationId.h"

#include <QDir>
#include <QLoggingCategory>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <future>

#include <pthread.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

Q_LOGGING_CATEGORY(lcNoteCapture, QUENDRA_APPLICATION_ID ".note-capture")

quint16 level(double squares, qint64 count) {
    const double rms = count > 0 ? std::sqrt(squares / double(count)) : 0.0;
    return quint16(std::clamp(rms, 0.0, 1.0) * 65535.0);
}

} // namespace

void SectionWriter::SampleQueue::append(std::span<const float> block) {
    // Reclaim the consumed front only once it dominates, so appends stay cheap.
    if (head > 0 && head >= samples.size() / 2) {
        samples.erase(samples.begin(), samples.begin() + std::ptrdiff_t(head));
        head = 0;
    }
    samples.insert(samples.end(), block.begin(), block.end());
}

void SectionWriter::SampleQueue::consume(qint64 count) {
    head += std::size_t(count);
    if (head >= samples.size())
        clear();
}

void SectionWriter::SampleQueue::clear() {
    samples.clear();
    head = 0;
}

QString SectionWriter::writeFailureMessage() {
    return u"The recording could not be written to disk. The audio captured so far is saved."_s;
}

QString SectionWriter::audioPath(const QString& directory, int index) {
    return QDir(directory).filePath(u"part-%1.wav"_s.arg(index));
}

QString SectionWriter::envelopePath(const QString& directory, int index) {
    return QDir(directory).filePath(u"part-%1.env"_s.arg(index));
}

SectionWriter::SectionWriter(QString directory, bool hasSystemSource,
                             SectionWriterConfiguration configuration)
    : directory(std::move(directory))
    , configuration(std::move(configuration))
    , systemSourceActive(hasSystemSource) {
    // The carried stretch must leave room for new audio in every section.
    tail.resize(std::size_t(
        std::min(this->configuration.overlapSamples(), this->configuration.sectionSamples() / 2)));
    writerThread = std::thread([this] { work(); });
    ::pthread_setname_np(writerThread.native_handle(), "note-sections");
}

SectionWriter::~SectionWriter() {
    // Whatever was handed over is written before the files close.
    wait([this] {
        onSectionOpened = nullptr;
        onSectionClosed = nullptr;
        onCheckpoint = nullptr;
        onFailure = nullptr;
        closeHere();
    });
    {
        const std::lock_guard guard(jobsLock);
        quitting = true;
    }
    jobsReady.notify_one();
    writerThread.join();
}

void SectionWriter::work() {
    for (;;) {
        Job job;
        {
            std::unique_lock guard(jobsLock);
            jobsReady.wait(guard, [this] { return quitting || !jobs.empty(); });
            if (jobs.empty())
                return;
            job = std::move(jobs.front());
            jobs.pop_front();
        }
        job();
        publish();
    }
}

void SectionWriter::post(Job job) {
    {
        const std::lock_guard guard(jobsLock);
        jobs.push_back(std::move(job));
    }
    jobsReady.notify_one();
}

void SectionWriter::wait(Job job) {
    if (std::this_thread::get_id() == writerThread.get_id()) {
        job();
        publish();
        return;
    }
    auto done = std::make_shared<std::promise<void>>();
    auto ready = done->get_future();
    post([this, &job, done] {
        job();
        publish();
        done->set_value();
    });
    ready.wait();
}

void SectionWriter::publish() {
    shownIndex = index;
    shownWritten = written;
    shownFailed = didFail;
}

std::expected<void, QString> SectionWriter::start() {
    Step result;
    wait([&] {
        if (started)
            return;
        if (auto opened = openSection(); !opened) {
            dropFiles();
            finished = true;
            accepting = false;
            result = opened;
            return;
        }
        started = true;
        drainQueued(false);
    });
    return result;
}

void SectionWriter::appendMicrophone(std::span<const float> samples) {
    if (!accepting)
        return;
    post([this, block = std::vector<float>(samples.begin(), samples.end())] {
        if (finished || didFail)
            return;
        microphoneQueue.append(block);
        drainQueued(false);
    });
}

void SectionWriter::appendSystem(std::span<const float> samples) {
    if (!accepting)
        return;
    post([this, block = std::vector<float>(samples.begin(), samples.end())] {
        if (finished || didFail || !systemSourceActive)
            return;
        systemQueue.append(block);
        drainQueued(false);
    });
}

void SectionWriter::drain(bool flush) {
    post([this, flush] { drainQueued(flush); });
}

void SectionWriter::setSystemSourceActive(bool active) {
    post([this, active] {
        if (systemSourceActive && !active) {
            drainQueued(true);
            systemQueue.clear();
        }
        systemSourceActive = active;
    });
}

void SectionWriter::settle() {
    wait([] {});
}

void SectionWriter::drainQueued(bool flush) {
    if (!started || finished || didFail)
        return;
    if (!systemSourceActive) {
        const qint64 count = microphoneQueue.size();
        emitSamples(microphoneQueue.front(count), {}, count);
        microphoneQueue.consume(count);
        return;
    }
    // Sample n of one source is mixed with sample n of the other.
    const qint64 paired = std::min(microphoneQueue.size(), systemQueue.size());
    emitSamples(microphoneQueue.front(paired), systemQueue.front(paired), paired);
    microphoneQueue.consume(paired);
    systemQueue.consume(paired);
    // A source that stops delivering must not hold the recording back.
    const qint64 allowedLag = flush ? 0 : configuration.maximumLagSamples();
    if (const qint64 excess = microphoneQueue.size() - allowedLag; excess > 0) {
        emitSamples(microphoneQueue.front(excess), {}, excess);
        microphoneQueue.consume(excess);
    }
    if (const qint64 excess = systemQueue.size() - allowedLag; excess > 0) {
        emitSamples({}, systemQueue.front(excess), excess);
        systemQueue.consume(excess);
    }
    if (didFail) {
        microphoneQueue.clear();
        systemQueue.clear();
    }
}

void SectionWriter::emitSamples(std::span<const float> microphone, std::span<const float> system,
                                qint64 count) {
    const qint64 frameSamples = std::max<qint64>(1, configuration.frameSamples());
    const qint64 checkpointSamples = std::max<qint64>(1, configuration.checkpointSamples());
    qint64 position = 0;
    while (position < count && !didFail) {
        if (sectionLength >= configuration.sectionSamples()) {
            if (auto step = closeSection(); !step)
                return fail(step.error());
            ++index;
            if (auto step = openSection(); !step)
                return fail(step.error());
        }
        const qint64 run = std::min({count - position, frameSamples - frameCount,
                                     configuration.sectionSamples() - sectionLength,
                                     checkpointSamples - samplesSinceCheckpoint});
        const std::size_t first = pendingSamples.size();
        pendingSamples.resize(first + std::size_t(run));
        qint16* out = pendingSamples.data() + first;
        // One pass: mix, convert and sum the squares of both sources.
        double micSquares = 0;
        double sysSquares = 0;
        for (qint64 i = 0; i < run; ++i) {
            const float m = microphone.empty() ? 0.0f : microphone[std::size_t(position + i)];
            const float s = system.empty() ? 0.0f : system[std::size_t(position + i)];
            out[i] = qint16(std::clamp(m + s, -1.0f, 1.0f) * 32767.0f);
            micSquares += double(m) * m;
            sysSquares += double(s) * s;
        }
        microphoneSquares += micSquares;
        systemSquares += sysSquares;

        // Keep the last overlap in the ring, copying at most the ring's size.
        if (!tail.empty()) {
            const std::size_t capacity = tail.size();
            const std::size_t keep = std::min<std::size_t>(std::size_t(run), capacity);
            const qint16* source = out + (run - qint64(keep));
            const std::size_t firstPart = std::min(keep, capacity - tailEnd);
            std::memcpy(tail.data() + tailEnd, source, firstPart * sizeof(qint16));
            std::memcpy(tail.data(), source + firstPart, (keep - firstPart) * sizeof(qint16));
            tailEnd = (tailEnd + keep) % capacity;
            tailCount = std::min<qint64>(tailCount + qint64(keep), qint64(capacity));
        }

        position += run;
        frameCount += run;
        sectionLength += run;
        written += run;
        samplesSinceCheckpoint += run;
        if (frameCount >= frameSamples)
            finishFrame();
        if (samplesSinceCheckpoint >= checkpointSamples) {
            samplesSinceCheckpoint = 0;
            if (auto step = checkpoint(); !step)
                return fail(step.error());
        }
    }
    if (!didFail) {
        if (auto step = flushPending(); !step)
            fail(step.error());
    }
}

void SectionWriter::finishFrame() {
    char record[4];
    qToLittleEndian<quint16>(level(microphoneSquares, frameCount), record);
    qToLittleEndian<quint16>(level(systemSquares, frameCount), record + 2);
    pendingRecords.append(record, 4);
    tailFrames.append(record, 4);
    const qsizetype keep = qsizetype(configuration.overlapFrames()) * 4;
    if (tailFrames.size() > keep)
        tailFrames.remove(0, tailFrames.size() - keep);
    frameCount = 0;
    microphoneSquares = 0;
    systemSquares = 0;
}

SectionWriter::Step SectionWriter::flushPending() {
    if (!pendingSamples.empty()) {
        auto result = wave->write(pendingSamples);
        pendingSamples.clear();
        if (!result)
            return result;
    }
    if (!pendingRecords.isEmpty()) {
        const qint64 size = pendingRecords.size();
        const bool ok = envelope->write(pendingRecords) == size;
        pendingRecords.clear();
        if (!ok)
            return std::unexpected(
                u"Could not write %1: %2"_s.arg(envelope->fileName(), envelope->errorString()));
    }
    return {};
}

SectionWriter::Step SectionWriter::checkpoint() {
    if (auto step = flushPending(); !step)
        return step;
    if (auto step = wave->checkpoint(); !step)
        return step;
    if (const int error = syncFile(envelope->handle()))
        return std::unexpected(u"Could not save %1: %2"_s.arg(
            envelope->fileName(), QString::fromLocal8Bit(std::strerror(error))));
    durableSamples = written;
    if (onCheckpoint)
        onCheckpoint(index, configuration.milliseconds(written));
    return {};
}

SectionWriter::Step SectionWriter::openSection() {
    auto created = WaveFileWriter::create(audioPath(directory, index), configuration.sync);
    if (!created)
        return std::unexpected(created.error());
    wave.emplace(std::move(*created));
    envelope = std::make_unique<QFile>(envelopePath(directory, index));
    if (!envelope->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered,
                        QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        return std::unexpected(
            u"Could not create %1: %2"_s.arg(envelope->fileName(), envelope->errorString()));

    // Each section after the first repeats the end of its predecessor, so a
    // word cut at the boundary is whole in one of them.
    const qint64 carried = index > 0 ? tailCount : 0;
    if (carried > 0) {
        const std::size_t capacity = tail.size();
        const std::size_t begin = (tailEnd + capacity - std::size_t(carried)) % capacity;
        const std::size_t firstPart = std::min(std::size_t(carried), capacity - begin);
        pendingSamples.assign(tail.begin() + std::ptrdiff_t(begin),
                              tail.begin() + std::ptrdiff_t(begin + firstPart));
        pendingSamples.insert(pendingSamples.end(), tail.begin(),
                              tail.begin() + std::ptrdiff_t(std::size_t(carried) - firstPart));
        pendingRecords = tailFrames;
        if (auto step = flushPending(); !step)
            return step;
    }
    sectionLength = carried;
    sectionStartMs = configuration.milliseconds(written - carried);
    if (onSectionOpened)
        onSectionOpened(index, sectionStartMs);
    return {};
}

SectionWriter::Step SectionWriter::closeSection() {
    if (frameCount > 0)
        finishFrame();
    if (auto step = flushPending(); !step)
        return step;
    if (auto step = wave->close(); !step)
        return step;
    wave.reset();
    const int error = syncFile(envelope->handle());
    envelope->close();
    envelope.reset();
    if (error)
        return std::unexpected(u"Could not save %1: %2"_s.arg(
            envelopePath(directory, index), QString::fromLocal8Bit(std::strerror(error))));
    durableSamples = written;
    if (onSectionClosed)
        onSectionClosed(index, sectionStartMs, configuration.milliseconds(written));
    return {};
}

int SectionWriter::syncFile(int fd) const {
    if (configuration.sync)
        return configuration.sync(fd);
    return ::fdatasync(fd) == 0 ? 0 : errno;
}

void SectionWriter::fail(const QString& detail) {
    if (didFail)
        return;
    didFail = true;
    accepting = false;
    qCWarning(lcNoteCapture).noquote() << detail;
    // The open section keeps the header of its last checkpoint.
    dropFiles();
    pendingSamples.clear();
    pendingRecords.clear();
    if (onFailure)
        onFailure(writeFailureMessage());
}

void SectionWriter::dropFiles() {
    if (wave)
        wave->abandon();
    wave.reset();
    envelope.reset();
}

qint64 SectionWriter::close() {
    qint64 result = 0;
    wait([&] { result = closeHere(); });
    return result;
}

qint64 SectionWriter::closeHere() {
    accepting = false;
    if (!finished) {
        drainQueued(true);
        if (started && !didFail && wave) {
            if (auto step = closeSection(); !step)
                fail(step.error());
        }
        finished = true;
    }
    return configuration.milliseconds(didFail ? durableSamples : written);
}

void SectionWriter::abandon() {
    wait([this] {
        accepting = false;
        dropFiles();
        finished = true;
    });
}

void SectionWriter::feed(std::span<const float> microphone, std::span<const float> system,
                         qsizetype blockSamples) {
    const auto block = std::size_t(std::max<qsizetype>(1, blockSamples));
    for (std::size_t offset = 0; offset < std::max(microphone.size(), system.size());
         offset += block) {
        if (offset < microphone.size())
            appendMicrophone(
                microphone.subspan(offset, std::min(block, microphone.size() - offset)));
        if (offset < system.size())
            appendSystem(system.subspan(offset, std::min(block, system.size() - offset)));
    }
}

std::expected<QList<SectionWriter::Section>, QString>
SectionWriter::record(const QString& directory, std::span<const float> microphone,
                      std::span<const float> system, SectionWriterConfiguration configuration,
                      qsizetype blockSamples) {
    QList<Section> sections;
    std::optional<QString> failure;
    SectionWriter writer(directory, !system.empty(), configuration);
    writer.onSectionClosed = [&](int index, qint64 startMs, qint64 endMs) {
        sections.append({index, startMs, endMs});
    };
    writer.onFailure = [&](const QString& message) { failure = message; };
    if (auto started = writer.start(); !started)
        return std::unexpected(started.error());
    writer.feed(microphone, system, blockSamples);
    writer.close();
    if (failure)
        return std::unexpected(*failure);
    return sections;
}

} // namespace quendra

#include "audio/SectionWriter.h"

#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <random>
#include <thread>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

using Section = SectionWriter::Section;
using Level = std::pair<quint16, quint16>;

constexpr qint64 rate = 16000;

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The samples of a well-formed section file; fails the test otherwise.
std::vector<qint16> samplesOf(const QString& path) {
    const QByteArray bytes = contents(path);
    const qint64 dataBytes = bytes.size() - 44;
    EXPECT_GE(dataBytes, 0) << path.toStdString();
    EXPECT_EQ(bytes.left(44), WaveFileWriter::header(dataBytes)) << path.toStdString();
    std::vector<qint16> samples(static_cast<std::size_t>(std::max<qint64>(0, dataBytes / 2)));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = qFromLittleEndian<qint16>(bytes.constData() + 44 + 2 * i);
    return samples;
}

std::vector<Level> levelsOf(const QString& path) {
    const QByteArray bytes = contents(path);
    EXPECT_EQ(bytes.size() % 4, 0);
    std::vector<Level> levels;
    for (qsizetype i = 0; i + 4 <= bytes.size(); i += 4)
        levels.emplace_back(qFromLittleEndian<quint16>(bytes.constData() + i),
                            qFromLittleEndian<quint16>(bytes.constData() + i + 2));
    return levels;
}

struct Events {
    QList<std::pair<int, qint64>> opened;
    QList<Section> closed;
    QList<std::pair<int, qint64>> checkpoints;
    QStringList failures;

    void attach(SectionWriter& writer) {
        writer.onSectionOpened = [this](int index, qint64 startMs) {
            opened.append({index, startMs});
        };
        writer.onSectionClosed = [this](int index, qint64 startMs, qint64 endMs) {
            closed.append({index, startMs, endMs});
        };
        writer.onCheckpoint = [this](int index, qint64 durationMs) {
            checkpoints.append({index, durationMs});
        };
        writer.onFailure = [this](const QString& message) { failures.append(message); };
    }
};

// Sources whose sum converts exactly: n/256 times 32767 stays an integer in a
// float, so the written sample is that product truncated toward zero.
int microphoneStep(qint64 i) {
    return int((i * 37) % 201) - 100;
}
int systemStep(qint64 i) {
    return int((i * 11) % 65) - 32;
}
qint16 expectedMix(qint64 i) {
    return qint16((microphoneStep(i) + systemStep(i)) * 32767 / 256);
}

std::vector<float> signal(qint64 count, int (*step)(qint64)) {
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (qint64 i = 0; i < count; ++i)
        samples[std::size_t(i)] = float(step(i)) / 256.0f;
    return samples;
}

std::vector<float> constant(qint64 count, float value) {
    return std::vector<float>(std::size_t(count), value);
}

} // namespace

TEST(SectionWriter, sectionsOverlapByTwoSecondsAndCheckpointEverySecond) {
    QTemporaryDir dir;
    const qint64 total = 70 * rate;
    const auto microphone = signal(total, microphoneStep);
    const auto system = signal(total, systemStep);

    SectionWriter writer(dir.path(), true);
    Events events;
    events.attach(writer);
    // Between checkpoints the header on disk must claim exactly the checkpointed samples.
    int staleHeaders = 0;
    writer.onCheckpoint = [&](int index, qint64 durationMs) {
        events.checkpoints.append({index, durationMs});
        const qint64 sectionStartMs = events.opened.last().second;
        const QByteArray header = contents(SectionWriter::audioPath(dir.path(), index)).left(44);
        if (header != WaveFileWriter::header((durationMs - sectionStartMs) * 32))
            ++staleHeaders;
    };
    ASSERT_TRUE(writer.start());
    writer.feed(microphone, system, 320);
    EXPECT_EQ(writer.close(), 70000);

    EXPECT_EQ(events.opened, (QList<std::pair<int, qint64>>{{0, 0}, {1, 28000}, {2, 56000}}));
    EXPECT_EQ(events.closed, (QList<Section>{{0, 0, 30000}, {1, 28000, 58000}, {2, 56000, 70000}}));
    EXPECT_TRUE(events.failures.isEmpty());
    ASSERT_EQ(events.checkpoints.size(), 70);
    for (qsizetype k = 0; k < events.checkpoints.size(); ++k) {
        const auto [index, durationMs] = events.checkpoints[k];
        EXPECT_EQ(durationMs, (k + 1) * 1000);
        EXPECT_EQ(index, durationMs <= 30000 ? 0 : durationMs <= 58000 ? 1 : 2) << durationMs;
    }
    EXPECT_EQ(staleHeaders, 0);

    std::vector<std::vector<qint16>> waves;
    std::vector<std::vector<Level>> envelopes;
    for (int index = 0; index < 3; ++index) {
        waves.push_back(samplesOf(SectionWriter::audioPath(dir.path(), index)));
        envelopes.push_back(levelsOf(SectionWriter::envelopePath(dir.path(), index)));
    }
    EXPECT_EQ(waves[0].size(), 480000u);
    EXPECT_EQ(waves[1].size(), 480000u);
    EXPECT_EQ(waves[2].size(), 224000u);
    EXPECT_EQ(envelopes[0].size(), 600u);
    EXPECT_EQ(envelopes[1].size(), 600u);
    EXPECT_EQ(envelopes[2].size(), 280u);
    for (int index = 1; index < 3; ++index) {
        const auto& before = waves[std::size_t(index - 1)];
        const auto& levelsBefore = envelopes[std::size_t(index - 1)];
        EXPECT_TRUE(
            std::equal(before.end() - 32000, before.end(), waves[std::size_t(index)].begin()));
        EXPECT_TRUE(std::equal(levelsBefore.end() - 40, levelsBefore.end(),
                               envelopes[std::size_t(index)].begin()));
    }
    // Every sample of the note is in its place in the section covering it.
    qint64 mismatches = 0;
    for (qint64 i = 0; i < total; ++i) {
        const int index = i < 480000 ? 0 : i < 928000 ? 1 : 2;
        const qint64 start = std::array<qint64, 3>{0, 448000, 896000}[std::size_t(index)];
        mismatches += waves[std::size_t(index)][std::size_t(i - start)] != expectedMix(i);
    }
    EXPECT_EQ(mismatches, 0);
}

TEST(SectionWriter, mixesWithoutWrappingAndRecordsEachSourceLevel) {
    QTemporaryDir dir;
    SectionWriter writer(dir.path(), true);
    ASSERT_TRUE(writer.start());
    std::vector<float> microphone;
    std::vector<float> system;
    auto add = [](std::vector<float>& to, qint64 count, float value) {
        to.insert(to.end(), std::size_t(count), value);
    };
    add(microphone, 800, 1.0f), add(system, 800, 0.5f);
    add(microphone, 800, -1.0f), add(system, 800, -0.5f);
    add(microphone, 800, 0.5f), add(system, 800, 0.25f);
    for (int i = 0; i < 800; ++i)
        microphone.push_back(i % 2 ? 0.5f : -0.5f);
    add(system, 800, 0.0f);
    // A partial last frame is measured over its own samples.
    add(microphone, 400, 0.25f), add(system, 400, 0.0f);
    writer.feed(microphone, system, 160);
    EXPECT_EQ(writer.close(), 3600 * 1000 / rate);

    const auto samples = samplesOf(SectionWriter::audioPath(dir.path(), 0));
    ASSERT_EQ(samples.size(), 3600u);
    EXPECT_EQ(samples[0], 32767);
    EXPECT_EQ(samples[799], 32767);
    EXPECT_EQ(samples[800], -32767);
    EXPECT_EQ(samples[1600], 24575);
    EXPECT_EQ(samples[2400], -16383);
    EXPECT_EQ(samples[2401], 16383);
    EXPECT_EQ(samples[3200], 8191);
    EXPECT_EQ(levelsOf(SectionWriter::envelopePath(dir.path(), 0)),
              (std::vector<Level>{
                  {65535, 32767}, {65535, 32767}, {32767, 16383}, {32767, 0}, {16383, 0}}));
}

TEST(SectionWriter, aSourceThatFallsSilentHoldsTheRecordingBackAtMostTheLag) {
    QTemporaryDir dir;
    SectionWriter writer(dir.path(), true);
    ASSERT_TRUE(writer.start());
    const auto microphone = constant(16000, 0.5f);
    writer.feed(microphone, {}, 320);
    writer.settle();
    EXPECT_EQ(writer.writtenSamples(), 16000 - 4800);
    // A late system block pairs with the oldest microphone samples still queued.
    writer.appendSystem(constant(320, 0.25f));
    writer.settle();
    EXPECT_EQ(writer.writtenSamples(), 16000 - 4800 + 320);
    writer.close();

    const auto samples = samplesOf(SectionWriter::audioPath(dir.path(), 0));
    ASSERT_EQ(samples.size(), 16000u);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const bool paired = i >= 11200 && i < 11520;
        ASSERT_EQ(samples[i], paired ? 24575 : 16383) << i;
    }
    const auto levels = levelsOf(SectionWriter::envelopePath(dir.path(), 0));
    ASSERT_EQ(levels.size(), 20u);
    for (std::size_t frame = 0; frame < levels.size(); ++frame) {
        // 320 samples at 0.25 in a frame of 800: sqrt(0.025) * 65535.
        EXPECT_EQ(levels[frame], Level(32767, frame == 14 ? 10361 : 0)) << frame;
    }

    // The other way round: the microphone is the side counted as silent.
    QTemporaryDir other;
    SectionWriter systemAhead(other.path(), true);
    ASSERT_TRUE(systemAhead.start());
    systemAhead.feed({}, constant(6000, 0.5f), 500);
    systemAhead.settle();
    EXPECT_EQ(systemAhead.writtenSamples(), 1200);
    systemAhead.close();
    // 6000 samples: seven whole frames and a partial one.
    EXPECT_EQ(levelsOf(SectionWriter::envelopePath(other.path(), 0)),
              (std::vector<Level>(8, {0, 32767})));
}

TEST(SectionWriter, flushAndSwitchingTheSystemSourceOffEmitEverythingQueued) {
    QTemporaryDir dir;
    SectionWriter writer(dir.path(), true);
    Events events;
    events.attach(writer);
    writer.appendMicrophone(constant(3000, 0.1f));
    writer.settle();
    EXPECT_EQ(writer.writtenSamples(), 0) << "nothing is written before start";
    ASSERT_TRUE(writer.start());
    writer.drain(false);
    writer.settle();
    EXPECT_EQ(writer.writtenSamples(), 0);
    writer.appendSystem(constant(1000, 0.1f));
    writer.settle();
    EXPECT_EQ(writer.writtenSamples(), 1000);
    writer.drain(true);
    writer.settle();
    EXPECT_EQ(writer.writtenSamples(), 3000);

    writer.appendSystem(constant(700, 0.2f));
    writer.setSystemSourceActive(false);
    writer.settle();
    EXPECT_EQ(writer.writtenSamples(), 3700);
    writer.appendSystem(constant(500, 0.2f));
    writer.appendMicrophone(constant(100, 0.1f));
    writer.settle();
    EXPECT_EQ(writer.writtenSamples(), 3800);
    EXPECT_EQ(writer.close(), 3800 * 1000 / rate);
    EXPECT_EQ(writer.close(), 3800 * 1000 / rate);
    EXPECT_EQ(events.closed, (QList<Section>{{0, 0, 237}}));
    EXPECT_EQ(samplesOf(SectionWriter::audioPath(dir.path(), 0)).size(), 3800u);
}

TEST(SectionWriter, appendsFromTwoThreadsLoseAndRepeatNothing) {
    QTemporaryDir dir;
    SectionWriter writer(dir.path(), true);
    ASSERT_TRUE(writer.start());
    const auto block = constant(160, 0.25f);
    // 10 s from each side fits in one section even if nothing pairs.
    auto run = [&](bool microphone) {
        for (int i = 0; i < 1000; ++i)
            microphone ? writer.appendMicrophone(block) : writer.appendSystem(block);
    };
    std::thread first(run, true);
    std::thread second(run, false);
    first.join();
    second.join();
    writer.close();
    // Paired samples sum to 0.5; any emitted alone because of lag stay at 0.25.
    const auto samples = samplesOf(SectionWriter::audioPath(dir.path(), 0));
    qint64 paired = 0;
    qint64 alone = 0;
    for (qint16 sample : samples) {
        paired += sample == 16383;
        alone += sample == 8191;
    }
    EXPECT_EQ(paired + alone / 2, 160000);
    EXPECT_EQ(qint64(samples.size()), paired + alone);
}

TEST(SectionWriter, aWriteFailureIsReportedOnceAndKeepsEarlierSections) {
    QTemporaryDir dir;
    // The second section's audio lands on a device that is always full.
    ASSERT_TRUE(QFile::link(u"/dev/full"_s, SectionWriter::audioPath(dir.path(), 1)));
    const qint64 total = 40 * rate;
    const auto microphone = signal(total, microphoneStep);
    const auto system = signal(total, systemStep);
    SectionWriter writer(dir.path(), true);
    Events events;
    events.attach(writer);
    ASSERT_TRUE(writer.start());
    writer.feed(microphone, system, 320);
    writer.settle();
    EXPECT_EQ(events.failures, QStringList{SectionWriter::writeFailureMessage()});
    EXPECT_EQ(SectionWriter::writeFailureMessage(),
              u"The recording could not be written to disk. The audio captured so far is saved."_s);
    EXPECT_TRUE(writer.failed());
    EXPECT_EQ(events.closed, (QList<Section>{{0, 0, 30000}}));
    EXPECT_EQ(events.checkpoints.last(), std::make_pair(0, qint64(30000)));
    EXPECT_EQ(writer.close(), 30000);
    EXPECT_EQ(events.failures.size(), 1);
    const auto samples = samplesOf(SectionWriter::audioPath(dir.path(), 0));
    ASSERT_EQ(samples.size(), 480000u);
    EXPECT_EQ(samples.back(), expectedMix(479999));
    EXPECT_EQ(levelsOf(SectionWriter::envelopePath(dir.path(), 0)).size(), 600u);

    // An envelope that cannot be written stops the recording the same way.
    QTemporaryDir second;
    ASSERT_TRUE(QFile::link(u"/dev/full"_s, SectionWriter::envelopePath(second.path(), 0)));
    SectionWriter envelopeFull(second.path(), false);
    Events envelopeEvents;
    envelopeEvents.attach(envelopeFull);
    ASSERT_TRUE(envelopeFull.start());
    envelopeFull.feed(constant(4000, 0.3f), {}, 320);
    envelopeFull.settle();
    EXPECT_EQ(envelopeEvents.failures.size(), 1);
    EXPECT_TRUE(envelopeEvents.checkpoints.isEmpty());
    EXPECT_TRUE(envelopeEvents.closed.isEmpty());
    // No checkpoint was reached, so the header still claims nothing.
    EXPECT_EQ(contents(SectionWriter::audioPath(second.path(), 0)).left(44),
              WaveFileWriter::header(0));

    // A folder that cannot take files fails the start itself, before any event.
    SectionWriter nowhere(dir.filePath(u"missing"_s), false);
    Events nowhereEvents;
    nowhereEvents.attach(nowhere);
    auto started = nowhere.start();
    ASSERT_FALSE(started.has_value());
    EXPECT_TRUE(started.error().contains(u"missing"_s));
    EXPECT_TRUE(nowhereEvents.opened.isEmpty());
    EXPECT_TRUE(nowhereEvents.failures.isEmpty());
}

#include "audio/SectionWriter.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include <unistd.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::vector<float> ramp(qint64 count, int period, float scale) {
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (qint64 i = 0; i < count; ++i)
        samples[std::size_t(i)] = scale * float(int(i % period) - period / 2) / float(period);
    return samples;
}

// A disk whose syncs hang until the test lets them through.
class HeldDisk {
public:
    FileSync sync() {
        return [this](int fd) {
            std::unique_lock guard(lock);
            ++entered;
            changed.notify_all();
            changed.wait(guard, [this] { return released; });
            if (full)
                return ENOSPC;
            return ::fdatasync(fd) == 0 ? 0 : errno;
        };
    }
    bool waitUntilEntered(std::chrono::seconds timeout) {
        std::unique_lock guard(lock);
        return changed.wait_for(guard, timeout, [this] { return entered > 0; });
    }
    void release() {
        const std::lock_guard guard(lock);
        released = true;
        changed.notify_all();
    }

    bool full = false;

private:
    std::mutex lock;
    std::condition_variable changed;
    int entered = 0;
    bool released = false;
};

SectionWriterConfiguration shortSections(FileSync sync = {}) {
    SectionWriterConfiguration configuration;
    configuration.sectionSeconds = 4;
    configuration.overlapSeconds = 1;
    configuration.sync = std::move(sync);
    return configuration;
}

// Plays both sources from `from` on from one thread, as a sound server's
// callback thread does; the future is ready once every callback has returned.
std::future<void> playOnSoundThread(SectionWriter& writer, std::span<const float> microphone,
                                    std::span<const float> system, std::size_t from = 0,
                                    std::size_t to = std::size_t(-1)) {
    const auto part = [&](std::span<const float> samples) {
        return samples.empty() ? samples
                               : samples.subspan(from, std::min(to, samples.size()) - from);
    };
    return std::async(std::launch::async,
                      [&writer, microphone = part(microphone), system = part(system)] {
                          writer.feed(microphone, system, 320);
                      });
}

} // namespace

TEST(SectionWriterOnASlowDisk, callbacksNeverWaitForTheDiskAndEverySectionIsWritten) {
    const qint64 total = 10 * 16000;
    const auto microphone = ramp(total, 97, 0.4f);
    const auto system = ramp(total, 61, 0.3f);

    QTemporaryDir expectedDir;
    const auto expected =
        SectionWriter::record(expectedDir.path(), microphone, system, shortSections());
    ASSERT_TRUE(expected.has_value());
    ASSERT_EQ(expected->size(), 3);

    QTemporaryDir dir;
    HeldDisk disk;
    QList<SectionWriter::Section> closed;
    SectionWriter writer(dir.path(), true, shortSections(disk.sync()));
    writer.onSectionClosed = [&](int index, qint64 startMs, qint64 endMs) {
        closed.append({index, startMs, endMs});
    };
    ASSERT_TRUE(writer.start());
    // Past the first checkpoint, whose sync then hangs.
    const std::size_t split = 24000;
    ASSERT_EQ(playOnSoundThread(writer, microphone, system, 0, split).wait_for(30s),
              std::future_status::ready);
    ASSERT_TRUE(disk.waitUntilEntered(30s));
    // The rest is played while the disk hangs; every callback returns, so
    // none waits for the disk or for a lock held across it.
    ASSERT_EQ(playOnSoundThread(writer, microphone, system, split).wait_for(30s),
              std::future_status::ready)
        << "a sound callback waited for the disk";
    EXPECT_FALSE(writer.failed());

    disk.release();
    EXPECT_EQ(writer.close(), total * 1000 / 16000);
    EXPECT_EQ(closed, *expected);
    for (const auto& section : *expected) {
        EXPECT_EQ(contents(SectionWriter::audioPath(dir.path(), section.index)),
                  contents(SectionWriter::audioPath(expectedDir.path(), section.index)))
            << section.index;
        EXPECT_EQ(contents(SectionWriter::envelopePath(dir.path(), section.index)),
                  contents(SectionWriter::envelopePath(expectedDir.path(), section.index)))
            << section.index;
    }
}

TEST(SectionWriterOnASlowDisk, aDiskThatFillsUpIsReportedFromTheWritersThreadWithItsSentence) {
    const auto microphone = ramp(3 * 16000, 89, 0.5f);
    QTemporaryDir dir;
    HeldDisk disk;
    disk.full = true;
    std::mutex lock;
    QStringList failures;
    std::thread::id reportedOn;
    SectionWriter writer(dir.path(), false, shortSections(disk.sync()));
    writer.onFailure = [&](const QString& message) {
        const std::lock_guard guard(lock);
        failures.append(message);
        reportedOn = std::this_thread::get_id();
    };
    ASSERT_TRUE(writer.start());
    ASSERT_EQ(playOnSoundThread(writer, microphone, {}, 0, 24000).wait_for(30s),
              std::future_status::ready);
    ASSERT_TRUE(disk.waitUntilEntered(30s));
    ASSERT_EQ(playOnSoundThread(writer, microphone, {}, 24000).wait_for(30s),
              std::future_status::ready);

    disk.release();
    writer.settle();
    EXPECT_TRUE(writer.failed());
    // Nothing reached the disk durably, so nothing is claimed as recorded.
    EXPECT_EQ(writer.close(), 0);
    const std::lock_guard guard(lock);
    EXPECT_EQ(failures, QStringList{SectionWriter::writeFailureMessage()});
    EXPECT_NE(reportedOn, std::this_thread::get_id());
}

#include "platform/linux/PipeTransfer.h"
#include "support/CoreApplication.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <thread>

using namespace quendra;
using namespace std::chrono_literals;

namespace {

struct Pipe {
    Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~Pipe() {
        for (int fd : ends)
            if (fd >= 0)
                close(fd);
    }
    // Hands the end over to code that closes it.
    int take(int which) { return std::exchange(ends[which], -1); }
    int ends[2] = {-1, -1};
};

QByteArray payload(qsizetype size) {
    QByteArray data(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        data[i] = char((i * 7 + i / 4096) & 0xff);
    return data;
}

struct Outcome {
    bool done = false;
    bool complete = false;
};

void watch(PipeWriter* writer, Outcome& outcome) {
    QObject::connect(writer, &PipeWriter::finished, [&outcome](bool complete) {
        outcome.done = true;
        outcome.complete = complete;
    });
}

} // namespace

TEST(PipeTransferTest, DataLargerThanThePipeReachesASlowReaderWhole) {
    ensureCoreApplication();
    Pipe pipe;
    const QByteArray sent = payload(3 * 1024 * 1024 + 17);
    QByteArray received;
    std::thread reader([fd = pipe.take(0), &received] {
        char buffer[8192];
        ssize_t n;
        while ((n = read(fd, buffer, sizeof buffer)) > 0) {
            received.append(buffer, n);
            if (received.size() < 256 * 1024)
                std::this_thread::sleep_for(1ms);
        }
        close(fd);
    });
    Outcome outcome;
    watch(PipeWriter::start(pipe.take(1), sent, 5s), outcome);
    const bool finished = processEventsUntil([&] { return outcome.done; }, 20000);
    reader.join();
    ASSERT_TRUE(finished);
    EXPECT_TRUE(outcome.complete);
    EXPECT_EQ(received, sent);
}

TEST(PipeTransferTest, AReaderThatLeavesEarlyEndsTheWriteWithoutEndingUs) {
    ensureCoreApplication();
    // As in an application that left SIGPIPE as it comes, whatever ran this test.
    struct sigaction ending {
    }, previous{};
    ending.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &ending, &previous);
    Pipe pipe;
    std::thread reader([fd = pipe.take(0)] {
        char buffer[1000];
        (void)!read(fd, buffer, sizeof buffer);
        close(fd);
    });
    Outcome outcome;
    watch(PipeWriter::start(pipe.take(1), payload(2 * 1024 * 1024), 5s), outcome);
    const bool finished = processEventsUntil([&] { return outcome.done; }, 20000);
    reader.join();
    sigaction(SIGPIPE, &previous, nullptr);
    ASSERT_TRUE(finished);
    EXPECT_FALSE(outcome.complete);
}

TEST(PipeTransferTest, AReaderThatNeverReadsIsGivenUpOn) {
    ensureCoreApplication();
    Pipe pipe;
    Outcome outcome;
    watch(PipeWriter::start(pipe.take(1), payload(1024 * 1024), 100ms), outcome);
    ASSERT_TRUE(processEventsUntil([&] { return outcome.done; }, 10000));
    EXPECT_FALSE(outcome.complete);
    // Closed on our side: the reader finds the end of what was written.
    char buffer[65536];
    ssize_t n;
    while ((n = read(pipe.ends[0], buffer, sizeof buffer)) > 0) {
    }
    EXPECT_EQ(n, 0);
}

TEST(PipeTransferTest, AReadGetsEverythingUpToTheWritersEnd) {
    Pipe pipe;
    const QByteArray sent = payload(300 * 1024);
    std::thread writer([fd = pipe.take(1), &sent] {
        for (qsizetype at = 0; at < sent.size(); at += 50000) {
            const auto part = sent.mid(at, 50000);
            EXPECT_EQ(write(fd, part.constData(), size_t(part.size())), part.size());
            std::this_thread::sleep_for(2ms);
        }
        close(fd);
    });
    const auto received = readPipeUntilClosed(pipe.take(0), std::chrono::steady_clock::now() + 10s);
    writer.join();
    ASSERT_TRUE(received);
    EXPECT_EQ(*received, sent);
}

TEST(PipeTransferTest, AWriterThatNeverEndsReadsAsNothing) {
    Pipe pipe;
    ASSERT_EQ(write(pipe.ends[1], "partial", 7), 7);
    const auto received =
        readPipeUntilClosed(pipe.take(0), std::chrono::steady_clock::now() + 50ms);
    EXPECT_FALSE(received);
}

TEST(PipeTransferTest, AnEmptyAnswerIsEmptyDataNotNothing) {
    Pipe pipe;
    close(pipe.take(1));
    const auto received = readPipeUntilClosed(pipe.take(0), std::chrono::steady_clock::now() + 5s);
    ASSERT_TRUE(received);
    EXPECT_TRUE(received->isEmpty());
}

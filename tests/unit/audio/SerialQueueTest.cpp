#include "audio/SerialQueue.h"

#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QSet>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include <pthread.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// The queue's thread runs a Qt event loop, which needs the application object.
class SerialQueueTest : public ::testing::Test {
protected:
    SerialQueueTest() { ensureCoreApplication(); }
};

TEST_F(SerialQueueTest, RunsWorkInOrderOnOneNamedThread) {
    SerialQueue queue(u"quendra.qwen.worker"_s);
    std::vector<int> order;
    QSet<Qt::HANDLE> threads;
    char name[32] = {};
    for (int i = 0; i < 50; ++i)
        queue.async([&, i] {
            order.push_back(i);
            threads.insert(QThread::currentThreadId());
        });
    queue.sync([&] {
        EXPECT_TRUE(queue.isCurrent());
        pthread_getname_np(pthread_self(), name, sizeof name);
    });
    ASSERT_EQ(order.size(), 50u);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(order[std::size_t(i)], i);
    EXPECT_EQ(threads.size(), 1);
    EXPECT_FALSE(threads.contains(QThread::currentThreadId()));
    EXPECT_STREQ(name, "worker");
    EXPECT_EQ(queue.label(), u"quendra.qwen.worker"_s);
    EXPECT_FALSE(queue.isCurrent());
}

TEST_F(SerialQueueTest, SyncFromTheQueueItselfDoesNotDeadlock) {
    SerialQueue queue(u"test.queue"_s);
    bool inner = false;
    queue.sync([&] { queue.sync([&] { inner = queue.isCurrent(); }); });
    EXPECT_TRUE(inner);
}

TEST_F(SerialQueueTest, SubmittedWorkHandsBackItsResult) {
    SerialQueue queue(u"test.submit"_s);
    QFuture<int> future = queue.submit([] { return 6 * 7; });
    future.waitForFinished();
    EXPECT_EQ(future.result(), 42);
}

TEST_F(SerialQueueTest, DelayedWorkWaitsItsTurn) {
    SerialQueue queue(u"test.delay"_s);
    std::mutex lock;
    std::vector<QString> events;
    const auto note = [&](QString what) {
        std::lock_guard guard(lock);
        events.push_back(std::move(what));
    };
    queue.asyncAfter(150ms, [&] { note(u"late"_s); });
    queue.async([&] { note(u"now"_s); });
    EXPECT_TRUE(processEventsUntil([&] {
        std::lock_guard guard(lock);
        return events.size() == 2;
    }));
    std::lock_guard guard(lock);
    EXPECT_EQ(events, (std::vector<QString>{u"now"_s, u"late"_s}));
}

TEST_F(SerialQueueTest, QueuedWorkRunsBeforeTheQueueGoes) {
    std::atomic<int> ran = 0;
    {
        SerialQueue queue(u"test.drain"_s);
        for (int i = 0; i < 20; ++i)
            queue.async([&] {
                std::this_thread::sleep_for(1ms);
                ++ran;
            });
    }
    EXPECT_EQ(ran, 20);
}

} // namespace

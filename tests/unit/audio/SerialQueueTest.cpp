#include "audio/SerialQueue.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

TEST(SerialQueueTest, RunsWorkInOrderOnOneNamedThread) {
    SerialQueue queue(u"com.orvane.parlevo.dictation-audio"_s);
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    for (int i = 0; i < 100; ++i)
        queue.async([&, i] {
            order.push_back(i);
            threads.push_back(std::this_thread::get_id());
        });
    char name[16] = {};
    queue.sync([&] { pthread_getname_np(pthread_self(), name, sizeof name); });

    ASSERT_EQ(order.size(), 100u);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order[std::size_t(i)], i);
    EXPECT_NE(threads.front(), std::this_thread::get_id());
    EXPECT_EQ(std::count(threads.begin(), threads.end(), threads.front()), 100);
    EXPECT_STREQ(name, "dictation-audio");
    EXPECT_EQ(queue.label(), u"com.orvane.parlevo.dictation-audio"_s);
}

TEST(SerialQueueTest, SyncFromTheQueueItselfDoesNotDeadlock) {
    SerialQueue queue(u"test.queue"_s);
    bool inner = false;
    queue.sync([&] { queue.sync([&] { inner = queue.isCurrent(); }); });
    EXPECT_TRUE(inner);
}

TEST(SerialQueueTest, DestructionFinishesTheWorkAlreadyGiven) {
    int done = 0;
    {
        SerialQueue queue(u"test.queue"_s);
        for (int i = 0; i < 50; ++i)
            queue.async([&] { ++done; });
    }
    EXPECT_EQ(done, 50);
}

} // namespace

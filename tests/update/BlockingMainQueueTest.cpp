// The real main queue used on the command line and in the network tests.
#if !defined(__APPLE__)

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/linux/BlockingMainQueue.h"

namespace quelto {
namespace {

TEST(BlockingMainQueue, RunsWorkInDueOrderOnTheCallingThread) {
    BlockingMainQueue queue;
    std::vector<int> order;
    auto self = std::this_thread::get_id();
    bool sameThread = true;
    queue.asyncAfter(0.05, [&] { order.push_back(3); });
    queue.async([&] { order.push_back(1); });
    queue.async([&] {
        order.push_back(2);
        sameThread = sameThread && std::this_thread::get_id() == self;
        queue.async([&] { order.push_back(4); });  // queued by queued work: runs too
    });
    EXPECT_EQ(queue.pendingCount(), 3u);
    EXPECT_TRUE(queue.run(10));
    EXPECT_EQ(order, (std::vector<int>{1, 2, 4, 3}));
    EXPECT_TRUE(sameThread);
    EXPECT_EQ(queue.pendingCount(), 0u);
}

TEST(BlockingMainQueue, WaitsWhileHeldForWorkFromAnotherThread) {
    BlockingMainQueue queue;
    bool ran = false;
    queue.hold();
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        queue.async([&] { ran = true; });
        queue.release();
    });
    EXPECT_TRUE(queue.run(10));
    other.join();
    EXPECT_TRUE(ran);
}

TEST(BlockingMainQueue, GivesUpAtTheLimitWhileHeld) {
    BlockingMainQueue queue;
    queue.hold();
    EXPECT_FALSE(queue.run(0.05));
    queue.release();
    EXPECT_TRUE(queue.run(0.05));
}

TEST(BlockingMainQueue, RepeatingTimerTicksUntilCancelledWithoutKeepingTheQueueAlive) {
    BlockingMainQueue queue;
    int ticks = 0;
    Subscription timer = queue.scheduleRepeating(0.01, [&] {
        if (++ticks == 3) timer.cancel();
    });
    queue.hold();
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        queue.release();
    });
    EXPECT_TRUE(queue.run(10));
    other.join();
    EXPECT_EQ(ticks, 3);
    EXPECT_TRUE(queue.run(1));  // nothing left but the cancelled timer
}

}  // namespace
}  // namespace quelto

#endif  // !defined(__APPLE__)

// The main thread's delayed work on the real main dispatch queue and run loop, and the wall
// clock in the user's time zone.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <ctime>
#include <vector>

#include "platform/macos/MacMainQueue.h"
#include "tests/macos/MacTestSupport.h"

namespace quelto::mac {
namespace {

using mactest::runMainLoopFor;
using mactest::runMainLoopUntil;
using Steady = std::chrono::steady_clock;

double secondsSince(Steady::time_point start) {
    return std::chrono::duration<double>(Steady::now() - start).count();
}

TEST(MacMainQueueTest, WorkSubmittedNowRunsInSubmissionOrder) {
    MacMainQueue queue;
    std::vector<int> ran;
    for (int i = 0; i < 50; ++i) queue.asyncAfter(0, [&ran, i] { ran.push_back(i); });
    EXPECT_TRUE(ran.empty());  // nothing runs before the main loop turns
    ASSERT_TRUE(runMainLoopUntil([&] { return ran.size() == 50; }));
    for (int i = 0; i < 50; ++i) EXPECT_EQ(ran[static_cast<std::size_t>(i)], i);
}

TEST(MacMainQueueTest, NegativeDelaysCountAsNow) {
    MacMainQueue queue;
    std::vector<int> ran;
    queue.asyncAfter(0, [&] { ran.push_back(1); });
    queue.asyncAfter(-3, [&] { ran.push_back(2); });
    ASSERT_TRUE(runMainLoopUntil([&] { return ran.size() == 2; }));
    EXPECT_EQ(ran, (std::vector<int>{1, 2}));
}

TEST(MacMainQueueTest, DelayedWorkNeverRunsEarly) {
    MacMainQueue queue;
    const auto start = Steady::now();
    double ranAfter = -1;
    std::vector<int> order;
    queue.asyncAfter(0.3, [&] {
        ranAfter = secondsSince(start);
        order.push_back(2);
    });
    queue.asyncAfter(0, [&] { order.push_back(1); });
    ASSERT_TRUE(runMainLoopUntil([&] { return ranAfter >= 0; }));
    EXPECT_GE(ranAfter, 0.3);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(MacMainQueueTest, ShorterDelaysRunFirst) {
    MacMainQueue queue;
    std::vector<int> order;
    queue.asyncAfter(0.2, [&] { order.push_back(2); });
    queue.asyncAfter(0.05, [&] { order.push_back(1); });
    ASSERT_TRUE(runMainLoopUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(MacMainQueueTest, ARepeatingTimerTicksUntilCancelled) {
    MacMainQueue queue;
    int ticks = 0;
    const auto start = Steady::now();
    double firstTick = -1;
    Subscription timer = queue.scheduleRepeating(0.05, [&] {
        if (ticks++ == 0) firstTick = secondsSince(start);
    });
    ASSERT_TRUE(runMainLoopUntil([&] { return ticks >= 3; }));
    EXPECT_GE(firstTick, 0.05);
    timer.cancel();
    const int atCancel = ticks;
    runMainLoopFor(0.2);
    EXPECT_EQ(ticks, atCancel);
}

TEST(MacClockTest, NowIsTheWallClock) {
    MacClock clock;
    const double before = static_cast<double>(std::time(nullptr));
    const double now = clock.now().seconds;
    const double after = static_cast<double>(std::time(nullptr));
    EXPECT_GE(now, before);
    EXPECT_LT(now, after + 1);
}

TEST(MacClockTest, LocalTimeMatchesTheCLibraryInTheUsersTimeZone) {
    MacClock clock;
    // 2026-07-04 15:30:45 UTC and a winter moment, so both sides of daylight saving are seen.
    for (std::time_t seconds : {std::time_t{1783179045}, std::time_t{1767225600}}) {
        std::tm expected{};
        localtime_r(&seconds, &expected);
        LocalTime local = clock.localTime(Date{static_cast<double>(seconds) + 0.5});
        EXPECT_EQ(local.year, expected.tm_year + 1900);
        EXPECT_EQ(local.month, expected.tm_mon + 1);
        EXPECT_EQ(local.day, expected.tm_mday);
        EXPECT_EQ(local.hour, expected.tm_hour);
        EXPECT_EQ(local.minute, expected.tm_min);
        EXPECT_EQ(local.second, expected.tm_sec);
        EXPECT_EQ(local.millisecond, 500);
    }
}

TEST(MacClockTest, MillisecondsAreTruncatedNeverRoundedIntoTheNextSecond) {
    MacClock clock;
    const double whole = 1767225600;
    EXPECT_EQ(clock.localTime(Date{whole}).millisecond, 0);
    EXPECT_EQ(clock.localTime(Date{whole + 0.25}).millisecond, 250);
    EXPECT_EQ(clock.localTime(Date{whole + 0.125}).millisecond, 125);
    LocalTime late = clock.localTime(Date{whole + 0.9999});
    EXPECT_EQ(late.millisecond, 999);
    EXPECT_EQ(late.second, clock.localTime(Date{whole}).second);
}

}  // namespace
}  // namespace quelto::mac

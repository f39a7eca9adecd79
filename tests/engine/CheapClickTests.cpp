// Every left click anywhere on screen passes through the engine: one that hits nothing must
// cost next to nothing — no allocation, no log line, no Accessibility call.

#include <cstdlib>
#include <new>

#include "tests/engine/EngineFixture.h"

namespace {

// Counts the allocations made on this thread while `countingHere` is set; the log's writer
// thread is not counted.
thread_local bool countingHere = false;
thread_local long allocationsHere = 0;

}  // namespace

void* operator new(std::size_t size) {
    if (countingHere) ++allocationsHere;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace quelto::enginetest {
namespace {

class CheapClickTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        for (Pid pid = 101; pid <= 103; ++pid) {
            desktop.addApp(appDescription(pid, "com.example.App" + std::to_string(pid), "App"));
            sim::WindowDescription slow;
            slow.closeDelay = 60;
            slow.title = "First";
            windows.push_back(addWindow(pid, slow));
            slow.title = "Second";
            windows.push_back(addWindow(pid, slow));
        }
        startEngine();
        desktop.advance(10);
    }

    // Allocations made by one click that hits nothing.
    long allocationsOf(Point at) {
        allocationsHere = 0;
        countingHere = true;
        engine->handleClick(at, modifier::shift);
        countingHere = false;
        return allocationsHere;
    }

    std::vector<sim::ElementId> windows;
};

TEST_F(CheapClickTest, TheCountIsLive) {
    // A new/delete pair whose pointer nothing reads may be removed by the optimiser; kept in a
    // volatile, the allocation is observable and must really happen (and be counted).
    allocationsHere = 0;
    countingHere = true;
    int* volatile kept = new int(3);
    countingHere = false;
    delete kept;
    EXPECT_EQ(allocationsHere, 1);
}

TEST_F(CheapClickTest, AClickOnNothingAllocatesNothingReadsNothingAndLogsNothing) {
    desktop.setFrontmost(std::nullopt);
    desktop.resetCounters();
    EXPECT_EQ(allocationsOf({50, 5000}), 0);
    EXPECT_EQ(allocationsOf({-300, -20}), 0);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(CheapClickTest, PruningExpiredClicksAllocatesNothing) {
    desktop.setFrontmost(std::nullopt);
    clickClose(windows[0]);
    clickClose(windows[2]);
    desktop.advance(1.5);
    clickClose(windows[4]);
    desktop.advance(1.0);  // the first two have expired, the third has not
    ASSERT_EQ(engine->clicks().size(), 3u);
    takeLog();
    desktop.resetCounters();

    EXPECT_EQ(allocationsOf({50, 5000}), 0);

    EXPECT_EQ(engine->clicks().size(), 1u);
    EXPECT_TRUE(engine->clicks().recordOf(refOf(windows[4])));
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(CheapClickTest, AClickOnNothingWithACachedFrontmostAppMakesNoAccessibilityCall) {
    desktop.setFrontmost(102);
    desktop.resetCounters();
    engine->handleClick({50, 5000}, 0);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_TRUE(engine->clicks().empty());
    EXPECT_TRUE(takeLog().empty());
}

TEST_F(CheapClickTest, AClickOnNothingNeverReadsTheWindowServer) {
    // Only a hit in the cached frames is confirmed with the window server's list.
    desktop.setFrontmost(102);
    desktop.resetCounters();
    EXPECT_EQ(allocationsOf({50, 5000}), 0);
    EXPECT_EQ(desktop.windowListReadCount(), 0u);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

}  // namespace
}  // namespace quelto::enginetest

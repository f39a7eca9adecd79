#pragma once
// A watched application on the simulated desktop, a sink that records the watcher's reports,
// and a capture of the log's lines.

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "accessibility/AppWatcher.h"
#include "settings/Log.h"
#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"
#include "tests/support/LogCapture.h"

namespace quelto::testing {

struct DestroyedReport {
    WindowRef ref;
    std::shared_ptr<AppWatcher> watcher;
    bool hadCloseButton = false;
    std::optional<CloseButtonMiss> miss;
};

class RecordingSink final : public DestroyedWindowSink {
  public:
    void windowDestroyed(const WindowRef& ref, const std::shared_ptr<AppWatcher>& watcher,
                         bool hadCloseButton, std::optional<CloseButtonMiss> miss) override {
        reports.push_back(DestroyedReport{ref, watcher, hadCloseButton, miss});
    }
    std::vector<DestroyedReport> reports;
};

using LogCapture = test::LogCapture;

class WatcherTest : public ::testing::Test {
  protected:
    static constexpr Pid pid = 42;

    WatcherTest() {
        desktop.clockTheLog();
        desktop.addApp(sim::testing::app(pid, "Notes", "com.apple.Notes"));
    }

    std::shared_ptr<AppWatcher> makeWatcher() {
        return AppWatcher::create(desktop.runningApplication(pid), sink,
                                  desktop.context().watcherContext());
    }

    sim::ElementId addWindow(const std::string& title, Rect frame = Rect{{100, 100}, {800, 600}},
                             bool notify = true) {
        return desktop.addWindow(pid, sim::testing::window(title, frame), notify);
    }

    WindowRef ref(sim::ElementId id) const { return WindowRef{desktop.element(id)}; }

    // Exactly one of a cached frame and a recorded miss, for every watched window.
    void expectFrameOrMiss(const AppWatcher& watcher, sim::ElementId id) {
        WindowRef r = ref(id);
        ASSERT_TRUE(watcher.isWatched(r));
        bool framed = watcher.closeButtonFrames().count(r) != 0;
        bool missed = watcher.closeButtonMisses().count(r) != 0;
        EXPECT_NE(framed, missed) << "framed " << framed << ", missed " << missed;
    }

    sim::SimDesktop desktop{Date{1767225600.0}};
    RecordingSink sink;
};

}  // namespace quelto::testing

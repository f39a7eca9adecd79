#pragma once
// The engine on the simulated desktop, in virtual time: a fresh desktop per test, the
// configuration file written with the exact text a test needs, the log captured line by line
// and the journal emptied.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/Engine.h"
#include "settings/Activity.h"
#include "settings/ActivityTestSeam.h"
#include "settings/Config.h"
#include "settings/Log.h"
#include "sim/SimDesktop.h"
#include "tests/support/ConfigFiles.h"
#include "tests/support/LogCapture.h"

namespace quelto::enginetest {

using Lines = std::vector<std::string>;

using LogCapture = test::LogCapture;

// The configuration most tests start from: quitting on, every app armed, last-window mode.
inline const char* const liveAllLastWindow = "live = true\nmode = last-window\narm = *\n";

using test::removeConfig;
using test::writeConfig;

// The desktop's context with another workspace in front of the desktop's.
inline EngineContext withWorkspace(const EngineContext& context, Workspace& workspace) {
    return EngineContext{.clock = context.clock,
                         .mainQueue = context.mainQueue,
                         .workspace = workspace,
                         .accessibility = context.accessibility,
                         .mouse = context.mouse,
                         .windowServer = context.windowServer,
                         .spaces = context.spaces,
                         .loginItem = context.loginItem,
                         .collation = context.collation,
                         .config = context.config,
                         .journal = context.journal};
}

inline sim::AppDescription appDescription(Pid pid, std::optional<std::string> bundleID,
                                          std::optional<std::string> name) {
    sim::AppDescription desc;
    desc.pid = pid;
    desc.bundleID = std::move(bundleID);
    desc.name = std::move(name);
    return desc;
}

class EngineTest : public ::testing::Test {
  protected:
    static constexpr Pid ownPid = 500;

    EngineTest() : sim_(std::make_unique<sim::SimDesktop>()), desktop(*sim_) {}

    void SetUp() override {
        desktop.clockTheLog();
        desktop.setOwnPid(ownPid);
        // The engine's decisions at the moments the design gives them: reads take no time
        // here (what they cost the main thread is the scenarios' and the desktop's tests').
        desktop.setReadCost(0);
        ActivityTestSeam::startEmpty();
        LogCapture::shared().attach();
        LogCapture::shared().take();
        writeConfig(liveAllLastWindow);
    }

    void TearDown() override {
        // Quit checks hold the engine until they have run; let them finish first.
        engine.reset();
        desktop.advance(60);
        LogCapture::shared().take();
        ActivityTestSeam::startEmpty();
        sim_.reset();
    }

    // Creates and starts the engine on the desktop's context (or `context`); the start-up
    // report is dropped unless `keepLog`.
    void startEngine(bool keepLog = false) { startEngine(desktop.context(), keepLog); }
    void startEngine(const EngineContext& context, bool keepLog = false) {
        engine = Engine::create(context);
        engine->start();
        desktop.runDue();
        if (!keepLog) LogCapture::shared().take();
    }

    Lines takeLog() { return LogCapture::shared().take(); }

    // Windows are laid out side by side so that no window covers another's close button.
    sim::ElementId addWindow(Pid pid, const std::string& title, bool notify = true) {
        sim::WindowDescription desc;
        desc.title = title;
        return addWindow(pid, desc, notify);
    }

    sim::ElementId addWindow(Pid pid, sim::WindowDescription desc, bool notify = true) {
        const int column = placed_ % 8;
        const int row = placed_ / 8;  // eight windows a row
        desc.frame.origin = {100.0 + 1000.0 * column, 100.0 + 800.0 * row};
        ++placed_;
        auto id = desktop.addWindow(pid, desc, notify);
        desktop.runDue();
        return id;
    }

    Point closeButtonCentre(sim::ElementId window) const {
        auto frame = desktop.closeButtonFrame(window);
        EXPECT_TRUE(frame.has_value());
        Rect r = frame.value_or(Rect{});
        return {r.origin.x + r.size.width / 2, r.origin.y + r.size.height / 2};
    }

    void clickClose(sim::ElementId window, ModifierFlags modifiers = 0) {
        desktop.click(closeButtonCentre(window), modifiers);
    }

    // The watcher of a tracked application (nullptr when there is none).
    std::shared_ptr<AppWatcher> watcherOf(Pid pid) const { return engine->apps().watcherOf(pid); }

    WindowRef refOf(sim::ElementId window) const { return WindowRef{desktop.element(window)}; }

    // The engine's click record of a window, as it stands (the test fails without one).
    const ClickRecord& clickOf(sim::ElementId window) const {
        static const ClickRecord none{};
        const ClickRecord* click = engine->clicks().recordOf(refOf(window));
        EXPECT_TRUE(click) << "no click record for window " << window;
        return click ? *click : none;
    }

    // The report the engine is gathering for an application (the test fails without one).
    const PendingReport& gatheringOf(Pid pid) const {
        static const PendingReport none{};
        const PendingReport* report = engine->closes().gathering(pid);
        EXPECT_TRUE(report) << "no report gathering for pid " << pid;
        return report ? *report : none;
    }

    const Activity::Entries& journal() const { return Activity::shared().entries(); }

    std::unique_ptr<sim::SimDesktop> sim_;
    sim::SimDesktop& desktop;
    std::shared_ptr<Engine> engine;

  private:
    int placed_ = 0;
};

// The application most tests use.
inline constexpr Pid textEdit = 101;

}  // namespace quelto::enginetest

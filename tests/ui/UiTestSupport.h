#pragma once
// The interface models on the simulated desktop: a fresh desktop per test, the configuration
// file written as a test needs it, the journal emptied, the log captured line by line, the
// posts of "QueltoConfigChanged" counted. Shared by the app and ui tests.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/NotificationCenter.h"
#include "settings/Activity.h"
#include "settings/ActivityTestSeam.h"
#include "settings/Config.h"
#include "settings/Log.h"
#include "sim/SimDesktop.h"
#include "tests/support/ConfigFiles.h"
#include "tests/support/LogCapture.h"

namespace quelto::uitest {

using Lines = std::vector<std::string>;

// The process-wide log capture, headlines without their timestamp (detail lines keep their
// fourteen spaces) unless taken raw.
class LogLines {
  public:
    static LogLines& shared() {
        static LogLines lines;
        return lines;
    }

    void attach() { test::LogCapture::shared().attach(); }

    Lines take() { return test::LogCapture::withoutTimestamps(takeRaw()); }

    // The lines since the last take, exactly as written.
    Lines takeRaw() { return test::LogCapture::shared().take(); }

    static bool isHeadline(const std::string& s) { return test::LogCapture::isHeadline(s); }
};

using test::readConfig;
using test::removeConfig;
using test::writeConfig;

inline bool contains(const Lines& lines, const std::string& line) {
    for (const auto& l : lines)
        if (l == line) return true;
    return false;
}

inline sim::AppDescription app(Pid pid, std::optional<std::string> bundleID,
                               std::optional<std::string> name,
                               ActivationPolicy policy = ActivationPolicy::regular) {
    sim::AppDescription desc;
    desc.pid = pid;
    desc.bundleID = std::move(bundleID);
    desc.name = std::move(name);
    desc.policy = policy;
    return desc;
}

inline Activity::Entry entry(Date at, std::string app, std::string cause, std::string outcome,
                             bool quit) {
    std::string bundleID = "com.example." + app;
    return Activity::Entry{
        at, std::move(app), std::move(bundleID), std::move(cause), 0, std::move(outcome), quit};
}

// 2026-01-01 00:00:00 UTC, the desktop's start; local time is one hour ahead.
inline constexpr double startSeconds = 1767225600.0;
inline constexpr int utcOffset = 3600;

class UiTest : public ::testing::Test {
  protected:
    static constexpr Pid ownPid = 1;

    UiTest()
        : sim_(std::make_unique<sim::SimDesktop>(Date{startSeconds}, utcOffset)), desktop(*sim_) {}

    void SetUp() override {
        desktop.clockTheLog();
        desktop.setOwnPid(ownPid);
        ActivityTestSeam::startEmpty();
        removeConfig();
        LogLines::shared().attach();
        LogLines::shared().take();
        configPosts_ = NotificationCenter::defaultCenter().addObserver(
            queltoConfigChanged, [this] { ++configChangedPosts; });
    }

    void TearDown() override {
        configPosts_.cancel();
        LogLines::shared().take();
        ActivityTestSeam::startEmpty();
        removeConfig();
        sim_.reset();
    }

    Lines takeLog() { return LogLines::shared().take(); }

    std::unique_ptr<sim::SimDesktop> sim_;
    sim::SimDesktop& desktop;
    int configChangedPosts = 0;

  private:
    Subscription configPosts_;
};

}  // namespace quelto::uitest

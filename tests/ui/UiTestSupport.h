#pragma once
// The interface models on the simulated desktop: a fresh desktop per test, the configuration
// file written as a test needs it, the journal emptied, the log captured line by line, the
// posts of "QueltoConfigChanged" counted. Shared by the app and ui tests.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "platform/NotificationCenter.h"
#include "platform/Platform.h"
#include "settings/Activity.h"
#include "settings/Config.h"
#include "settings/Log.h"
#include "sim/SimDesktop.h"

namespace quelto::uitest {

using Lines = std::vector<std::string>;

// Every line the log writes, newline removed, headlines without their timestamp (detail
// lines keep their fourteen spaces).
class LogLines {
  public:
    static LogLines& shared() {
        static LogLines* lines = new LogLines();
        return *lines;
    }

    void attach() {
        Log::shared().setMirror([this](const std::string& line) {
            std::lock_guard lock(mutex_);
            std::string text = line;
            if (!text.empty() && text.back() == '\n') text.pop_back();
            raw_.push_back(text);
            if (isHeadline(text)) text = text.substr(14);
            lines_.push_back(std::move(text));
        });
    }

    Lines take() {
        Log::shared().drain();
        std::lock_guard lock(mutex_);
        Lines out;
        out.swap(lines_);
        raw_.clear();
        return out;
    }

    // The lines since the last take, exactly as written.
    Lines takeRaw() {
        Log::shared().drain();
        std::lock_guard lock(mutex_);
        Lines out;
        out.swap(raw_);
        lines_.clear();
        return out;
    }

    static bool isHeadline(const std::string& s) {
        if (s.size() < 14) return false;
        const char* shape = "00:00:00.000  ";
        for (int i = 0; i < 14; ++i) {
            bool digit = shape[i] == '0';
            if (digit ? !(s[i] >= '0' && s[i] <= '9') : s[i] != shape[i]) return false;
        }
        return true;
    }

  private:
    std::mutex mutex_;
    Lines lines_;
    Lines raw_;
};

inline void writeConfig(const std::string& text) {
    std::filesystem::create_directories(Config::directory());
    std::ofstream out(Config::path(), std::ios::binary | std::ios::trunc);
    out << text;
}

inline void removeConfig() {
    std::error_code ec;
    std::filesystem::remove(Config::path(), ec);
}

inline std::string readConfig() {
    std::ifstream in(Config::path(), std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline bool contains(const Lines& lines, const std::string& line) {
    for (const auto& l : lines)
        if (l == line) return true;
    return false;
}

inline sim::AppSpec app(Pid pid, std::optional<std::string> bundleID,
                        std::optional<std::string> name,
                        ActivationPolicy policy = ActivationPolicy::regular) {
    sim::AppSpec desc;
    desc.pid = pid;
    desc.bundleID = std::move(bundleID);
    desc.name = std::move(name);
    desc.policy = policy;
    return desc;
}

inline Activity::Entry entry(Date at, std::string app, std::string cause, std::string outcome,
                             bool quit) {
    Activity::Entry e;
    e.at = at;
    e.app = std::move(app);
    e.bundleID = "com.example." + e.app;
    e.cause = std::move(cause);
    e.windowsLeft = 0;
    e.outcome = std::move(outcome);
    e.quit = quit;
    return e;
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
        desktop.install();
        desktop.setOwnPid(ownPid);
        Activity::shared().reset();
        removeConfig();
        LogLines::shared().attach();
        LogLines::shared().take();
        configPosts_ = NotificationCenter::defaultCenter().addObserver(
            queltoConfigChanged, [this] { ++configChangedPosts; });
    }

    void TearDown() override {
        configPosts_.cancel();
        LogLines::shared().take();
        Activity::shared().reset();
        removeConfig();
        sim_.reset();
        installPlatform(Platform{});
    }

    Lines takeLog() { return LogLines::shared().take(); }

    std::unique_ptr<sim::SimDesktop> sim_;
    sim::SimDesktop& desktop;
    int configChangedPosts = 0;

  private:
    Subscription configPosts_;
};

}  // namespace quelto::uitest

// The narrative log: line shapes, timestamps from the injected clock, order across threads
// and a file deleted while the program runs.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/MainQueue.h"
#include "settings/Log.h"

namespace quelto {
namespace {

namespace fs = std::filesystem;

// A clock that always reads one fixed local time.
class FixedClock final : public Clock {
  public:
    explicit FixedClock(LocalTime t) : time_(t) {}
    Date now() override { return Date{1234.5}; }
    LocalTime localTime(Date) override { return time_; }
    LocalTime time_;
};

// Captures every line the log mirrors, and restores a silent mirror afterwards.
class LogTest : public ::testing::Test {
  protected:
    void SetUp() override {
        Log::shared().drain();
        Log::shared().setMirror([this](const std::string& line) {
            std::lock_guard lock(mutex_);
            mirrored_.push_back(line);
        });
    }
    void TearDown() override {
        Log::shared().setClock(nullptr);
        Log::shared().setMirror([](const std::string&) {});
        Log::shared().drain();
    }
    std::vector<std::string> mirrored() {
        Log::shared().drain();
        std::lock_guard lock(mutex_);
        return mirrored_;
    }
    static std::string fileText() {
        Log::shared().drain();
        std::ifstream in(Log::path(), std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }

    std::mutex mutex_;
    std::vector<std::string> mirrored_;
};

TEST_F(LogTest, PathIsInTheHomeLibraryLogsFolder) {
    const char* home = std::getenv("HOME");
    ASSERT_NE(home, nullptr);
    EXPECT_EQ(Log::path(), std::string(home) + "/Library/Logs/Quelto.log");
}

TEST_F(LogTest, HeadlineCarriesTheCallsLocalTime) {
    FixedClock clock(LocalTime{2024, 5, 6, 14, 3, 7, 415});
    Log::shared().setClock(&clock);
    log("hello");
    EXPECT_EQ(mirrored(), std::vector<std::string>{"14:03:07.415  hello\n"});
}

TEST_F(LogTest, DetailLineHasFourteenSpacesAndNoTimestamp) {
    detail("window gone");
    EXPECT_EQ(mirrored(), std::vector<std::string>{"              window gone\n"});
}

TEST_F(LogTest, EmptyUntimestampedMessageIsAnEmptyLine) {
    Log::shared().write("", false);
    EXPECT_EQ(mirrored(), std::vector<std::string>{"\n"});
}

TEST_F(LogTest, LinesReachTheFile) {
    Log::shared().write("marker-lines-reach-the-file", false);
    EXPECT_NE(fileText().find("marker-lines-reach-the-file\n"), std::string::npos);
}

TEST_F(LogTest, DeletedFileIsRecreatedWithTheNextLineFirst) {
    Log::shared().write("before deletion", false);
    Log::shared().drain();
    fs::remove(Log::path());
    Log::shared().write("first after deletion", false);
    EXPECT_EQ(fileText(), "first after deletion\n");
}

}  // namespace
}  // namespace quelto

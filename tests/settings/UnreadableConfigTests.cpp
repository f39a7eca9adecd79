// A configuration file that is there but cannot be read reads as the defaults, and is never
// written over: the first save moves it aside, whole, and the log says where. A path that is
// no regular file (a FIFO, a directory, a link to nowhere) is never opened in a way that can
// block.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <string>
#include <vector>

#include "platform/MainQueue.h"
#include "settings/Config.h"
#include "settings/ConfigFile.h"
#include "settings/ConfigStore.h"
#include "tests/support/ConfigFiles.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PlainUser.h"

namespace quelto {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// A clock fixed at 2026-03-02 09:15:07.250, local time.
class FixedClock final : public Clock {
  public:
    Date now() override { return Date{1772442907.25}; }
    LocalTime localTime(Date) override { return LocalTime{2026, 3, 2, 9, 15, 7, 250}; }
};

const char* const stamp = "20260302-091507";

// The user's file: their arming and exclusions, and one Latin-1 "é" in a comment.
const std::string latin1File =
    "# R\xE9glages de Quelto\nlive = true\nmode = red-dot\narm = com.apple.TextEdit\n"
    "exclude = com.apple.Music\n";

using test::readFileBytes;
using test::writeFileBytes;

class UnreadableConfig : public ::testing::Test {
  protected:
    void SetUp() override {
        clean();
        Log::shared().setClock(&clock_);
        test::LogCapture::shared().attach();
        test::LogCapture::shared().take();
        fs::create_directories(ConfigStore::directory());
    }
    void TearDown() override {
        test::LogCapture::shared().take();
        Log::shared().clearClock(&clock_);
        clean();
    }
    static void clean() {
        std::error_code ec;
        fs::remove_all(fs::path(ConfigStore::directory()).parent_path(), ec);
    }
    static std::vector<std::string> entries() {
        std::vector<std::string> names;
        std::error_code ec;
        for (auto& e : fs::directory_iterator(ConfigStore::directory(), ec))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    static std::string aside() { return ConfigStore::path() + ".unreadable-" + stamp; }
    static Lines logTexts() { return test::LogCapture::shared().take(); }

    // The menu's on/off toggle: load, flip the switch, save.
    void toggleLive() {
        Config config = store().load();
        config.live = !config.live;
        store().save(config);
    }

    // The file as a program sees it whose clock is fixed.
    const ConfigStore& store() const { return store_; }

  private:
    FixedClock clock_;
    ConfigStore store_{clock_};
};

TEST_F(UnreadableConfig, ALatin1ByteInACommentReadsAsTheDefaults) {
    writeFileBytes(ConfigStore::path(), latin1File);
    EXPECT_EQ(store().load(), Config());
    EXPECT_EQ(store().fileProblem(), "is not valid UTF-8");
}

TEST_F(UnreadableConfig, TheFirstSaveMovesTheFileAsideWholeAndLogsWhere) {
    writeFileBytes(ConfigStore::path(), latin1File);
    toggleLive();

    EXPECT_EQ(logTexts(),
              (Lines{"09:15:07.250  config.txt is not valid UTF-8 — moved it aside to " + aside() +
                     " before saving"}));
    EXPECT_EQ(entries(), (std::vector<std::string>{"config.txt",
                                                   std::string("config.txt.unreadable-") + stamp}));
    // Kept byte for byte: the user's arming and exclusions are all still there.
    EXPECT_EQ(readFileBytes(aside()), latin1File);
    // The new file is the toggled defaults, whole.
    Config expected;
    expected.live = false;
    EXPECT_EQ(readFileBytes(ConfigStore::path()), expected.canonicalText());
    EXPECT_EQ(store().load(), expected);
    EXPECT_EQ(store().fileProblem(), std::nullopt);
}

TEST_F(UnreadableConfig, OnlyTheFirstSaveMovesAnythingAside) {
    writeFileBytes(ConfigStore::path(), latin1File);
    toggleLive();
    logTexts();
    toggleLive();
    toggleLive();
    EXPECT_TRUE(logTexts().empty());
    EXPECT_EQ(entries().size(), 2u);
    EXPECT_EQ(readFileBytes(aside()), latin1File);
}

TEST_F(UnreadableConfig, AReadableOrMissingFileIsSavedOverWithoutAWord) {
    toggleLive();  // missing
    writeFileBytes(ConfigStore::path(), "live = true\n# Réglages, in UTF-8\n");
    EXPECT_EQ(store().fileProblem(), std::nullopt);
    toggleLive();  // readable
    EXPECT_TRUE(logTexts().empty());
    EXPECT_EQ(entries(), std::vector<std::string>{"config.txt"});
}

TEST_F(UnreadableConfig, AnotherFileKeptAsideInTheSameSecondKeepsItsName) {
    writeFileBytes(aside(), "kept earlier");
    writeFileBytes(ConfigStore::path(), latin1File);
    toggleLive();
    EXPECT_EQ(readFileBytes(aside()), "kept earlier");
    EXPECT_EQ(readFileBytes(aside() + "-2"), latin1File);
    EXPECT_EQ(logTexts(),
              (Lines{"09:15:07.250  config.txt is not valid UTF-8 — moved it aside to " + aside() +
                     "-2 before saving"}));
}

TEST_F(UnreadableConfig, WhenItCannotBeMovedAsideNothingIsSaved) {
    // Every name it could be kept under is taken.
    writeFileBytes(aside(), "taken");
    for (int n = 2; n <= 99; ++n) writeFileBytes(aside() + "-" + std::to_string(n), "taken");
    writeFileBytes(ConfigStore::path(), latin1File);
    toggleLive();
    EXPECT_EQ(logTexts(), (Lines{"09:15:07.250  config.txt is not valid UTF-8 — could not move it "
                                 "aside (File exists), so the settings were not saved"}));
    EXPECT_EQ(readFileBytes(ConfigStore::path()), latin1File);
}

TEST_F(UnreadableConfig, AFifoReadsAsTheDefaultsAtOnce) {
    ASSERT_EQ(::mkfifo(ConfigStore::path().c_str(), 0600), 0);
    auto load = std::async(std::launch::async, [this] { return store().load(); });
    if (load.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
        // Unblock the reader, so that the failure is reported rather than hung.
        int fd = ::open(ConfigStore::path().c_str(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0) ::close(fd);
        FAIL() << "loading a FIFO blocked";
    }
    EXPECT_EQ(load.get(), Config());
    EXPECT_EQ(store().fileProblem(), "is not a regular file");
    EXPECT_FALSE(store().writeTemplateIfMissing());
}

TEST_F(UnreadableConfig, ASaveOverAFifoMovesItAsideUnopened) {
    ASSERT_EQ(::mkfifo(ConfigStore::path().c_str(), 0600), 0);
    toggleLive();
    EXPECT_EQ(logTexts(), (Lines{"09:15:07.250  config.txt is not a regular file — moved it aside "
                                 "to " +
                                 aside() + " before saving"}));
    EXPECT_TRUE(fs::is_fifo(aside()));
    EXPECT_TRUE(fs::is_regular_file(ConfigStore::path()));
    EXPECT_FALSE(store().load().live);
}

TEST_F(UnreadableConfig, ASaveOverADirectoryMovesItAsideWithEverythingInIt) {
    fs::create_directories(fs::path(ConfigStore::path()) / "inside");
    writeFileBytes((fs::path(ConfigStore::path()) / "inside" / "notes.txt").string(), "mine");
    EXPECT_EQ(store().load(), Config());
    EXPECT_EQ(store().fileProblem(), "is not a regular file");
    toggleLive();
    EXPECT_EQ(logTexts(), (Lines{"09:15:07.250  config.txt is not a regular file — moved it aside "
                                 "to " +
                                 aside() + " before saving"}));
    EXPECT_EQ(readFileBytes((fs::path(aside()) / "inside" / "notes.txt").string()), "mine");
    EXPECT_TRUE(fs::is_regular_file(ConfigStore::path()));
    EXPECT_FALSE(store().load().live);
}

TEST_F(UnreadableConfig, ALinkToNowhereIsKeptAsideAsALink) {
    fs::create_symlink("/Volumes/Dotfiles/quelto.txt", ConfigStore::path());
    EXPECT_EQ(store().load(), Config());
    EXPECT_EQ(store().fileProblem(), "could not be read (No such file or directory)");
    EXPECT_FALSE(store().writeTemplateIfMissing());
    toggleLive();
    EXPECT_TRUE(fs::is_symlink(aside()));
    EXPECT_EQ(fs::read_symlink(aside()), "/Volumes/Dotfiles/quelto.txt");
    EXPECT_FALSE(store().load().live);
}

TEST_F(UnreadableConfig, ALinkToARegularFileReadsThroughIt) {
    std::string target = (fs::path(ConfigStore::directory()) / "real.txt").string();
    writeFileBytes(target, "live = false\n");
    fs::create_symlink(target, ConfigStore::path());
    EXPECT_FALSE(store().load().live);
    EXPECT_EQ(store().fileProblem(), std::nullopt);
}

TEST_F(UnreadableConfig, AFileWithoutReadPermissionIsUnreadable) {
    // Permissions do not bind the superuser: as root the test runs again as a plain user.
    if (test::runAsPlainUser()) return;
    writeFileBytes(ConfigStore::path(), "live = false\n");
    fs::permissions(ConfigStore::path(), fs::perms::none);
    EXPECT_EQ(store().load(), Config());
    EXPECT_EQ(store().fileProblem(), "could not be read (Permission denied)");
    toggleLive();
    fs::permissions(aside(), fs::perms::owner_read);
    EXPECT_EQ(readFileBytes(aside()), "live = false\n");
}

TEST_F(UnreadableConfig, TheReaderTellsMissingReadableAndUnreadableApart) {
    EXPECT_EQ(readConfigFile(ConfigStore::path()).state, ConfigFileRead::State::missing);
    writeFileBytes(ConfigStore::path(), "live = false\n");
    ConfigFileRead read = readConfigFile(ConfigStore::path());
    EXPECT_EQ(read.state, ConfigFileRead::State::readable);
    EXPECT_EQ(read.text, "live = false\n");
    EXPECT_TRUE(read.problem.empty());
    writeFileBytes(ConfigStore::path(), "\xE9");
    read = readConfigFile(ConfigStore::path());
    EXPECT_EQ(read.state, ConfigFileRead::State::unreadable);
    EXPECT_TRUE(read.text.empty() || read.text == "\xE9");
    EXPECT_EQ(read.problem, "is not valid UTF-8");
    // A path under a plain file has nothing at it.
    EXPECT_EQ(readConfigFile(ConfigStore::path() + "/below").state, ConfigFileRead::State::missing);
}

TEST_F(UnreadableConfig, TheAsideNameIsTheLocalTimeToTheSecond) {
    EXPECT_EQ(unreadableAsideName("/x/config.txt", LocalTime{2026, 12, 31, 23, 59, 58, 999}),
              "/x/config.txt.unreadable-20261231-235958");
    EXPECT_EQ(unreadableAsideName("/x/config.txt", LocalTime{2027, 1, 2, 3, 4, 5, 0}),
              "/x/config.txt.unreadable-20270102-030405");
}

}  // namespace
}  // namespace quelto

// The configuration file on disk: where it lives, loading, the canonical text written by
// save(), the first-run template, atomic replacement and swallowed failures.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "settings/AtomicFile.h"
#include "settings/Config.h"
#include "settings/ConfigStore.h"
#include "tests/support/ConfigFiles.h"
#include "tests/support/PlainUser.h"

namespace quelto {
namespace {

namespace fs = std::filesystem;

// The file helpers, under the names these tests have always used.
std::string readAll(const std::string& path) {
    return test::readFileBytes(path);
}

void writeRaw(const std::string& path, const std::string& bytes) {
    test::writeFileBytes(path, bytes);
}

// Every test starts without the Application Support folder and leaves none behind.
class ConfigFile : public ::testing::Test {
  protected:
    void SetUp() override { clean(); }
    void TearDown() override { clean(); }
    static void clean() {
        std::error_code ec;
        fs::permissions(ConfigStore::directory(), fs::perms::owner_all, ec);
        fs::remove_all(fs::path(ConfigStore::directory()).parent_path(), ec);
    }
    static std::vector<std::string> directoryEntries() {
        std::vector<std::string> names;
        std::error_code ec;
        for (auto& e : fs::directory_iterator(ConfigStore::directory(), ec))
            names.push_back(e.path().filename().string());
        return names;
    }
};

TEST_F(ConfigFile, PathsAreUnderTheHomeDirectory) {
    std::string home = std::getenv("HOME");
    EXPECT_EQ(ConfigStore::directory(), home + "/Library/Application Support/Quelto");
    EXPECT_EQ(ConfigStore::path(), home + "/Library/Application Support/Quelto/config.txt");
}

TEST_F(ConfigFile, MissingFileLoadsAsTheDefaults) {
    EXPECT_EQ(ConfigStore().load(), Config());
}

TEST_F(ConfigFile, EmptyFileLoadsAsTheDefaults) {
    writeRaw(ConfigStore::path(), "");
    EXPECT_EQ(ConfigStore().load(), Config());
}

TEST_F(ConfigFile, CommentOnlyFileLoadsAsTheDefaults) {
    writeRaw(ConfigStore::path(), "# live = false\n# arm = *\n\n#\n");
    EXPECT_EQ(ConfigStore().load(), Config());
}

TEST_F(ConfigFile, InvalidUtf8LoadsAsTheDefaults) {
    for (std::string bad : {std::string("live = false\n\xFF\n"), std::string("live = false\xC3"),
                            std::string("arm = a\xC0\xAF"), std::string("arm = \xED\xA0\x80"),
                            std::string("live = false\n\xF4\x90\x80\x80")}) {
        writeRaw(ConfigStore::path(), bad);
        EXPECT_EQ(ConfigStore().load(), Config()) << bad;
    }
}

TEST_F(ConfigFile, ValidMultibyteTextLoads) {
    writeRaw(ConfigStore::path(), "live = false\nexclude = 𝒳.日本\n");
    Config c = ConfigStore().load();
    EXPECT_FALSE(c.live);
    EXPECT_EQ(c.excluded, std::set<std::string>{"𝒳.日本"});
}

TEST_F(ConfigFile, DirectoryInPlaceOfTheFileLoadsAsTheDefaults) {
    fs::create_directories(ConfigStore::path());
    EXPECT_EQ(ConfigStore().load(), Config());
}

TEST_F(ConfigFile, CarriageReturnFileLoadsLikeLineFeedFile) {
    writeRaw(ConfigStore::path(), "live = false\rmode = red-dot\rarm = a.b\rescape = option\r");
    Config cr = ConfigStore().load();
    writeRaw(ConfigStore::path(), "live = false\nmode = red-dot\narm = a.b\nescape = option\n");
    EXPECT_EQ(cr, ConfigStore().load());
    writeRaw(ConfigStore::path(),
             "live = false\r\nmode = red-dot\r\narm = a.b\r\nescape = option\r\n");
    EXPECT_EQ(cr, ConfigStore().load());
    writeRaw(ConfigStore::path(),
             "live = false\u2028mode = red-dot\u0085arm = a.b\u2029escape = option");
    EXPECT_EQ(cr, ConfigStore().load());
    EXPECT_FALSE(cr.live);
    EXPECT_EQ(cr.escape, Config::Escape::option);
}

TEST_F(ConfigFile, NoBreakAndIdeographicSpacesAroundKeys) {
    writeRaw(ConfigStore::path(), "\u00A0live\u00A0= false\n\u3000exclude\u3000=\u3000a.b\u3000\n");
    Config c = ConfigStore().load();
    EXPECT_FALSE(c.live);
    EXPECT_EQ(c.excluded, std::set<std::string>{"a.b"});
}

TEST_F(ConfigFile, ValueWithEqualsAndHash) {
    writeRaw(ConfigStore::path(), "exclude = a=b # c=d\narm = k = v#x\n");
    Config c = ConfigStore().load();
    EXPECT_EQ(c.excluded, std::set<std::string>{"a=b"});
    EXPECT_EQ(c.armed, std::set<std::string>{"k = v"});
}

TEST_F(ConfigFile, OneMegabyteFileLoads) {
    std::string text;
    int n = 0;
    while (text.size() < 1024 * 1024) {
        text += "exclude = com.example.app" + std::to_string(n++) + "   # padding comment\n";
        text += "unknown = line\n";
    }
    text += "live = false\n";
    writeRaw(ConfigStore::path(), text);
    Config c = ConfigStore().load();
    EXPECT_FALSE(c.live);
    EXPECT_EQ(c.excluded.size(), static_cast<std::size_t>(n));
    EXPECT_TRUE(c.excluded.count("com.example.app0"));
}

TEST_F(ConfigFile, CanonicalTextOfTheDefaults) {
    EXPECT_EQ(Config().canonicalText(),
              "# Quelto configuration\n"
              "#\n"
              "# Edited by the app, and safe to edit by hand.\n"
              "# Changes take effect immediately; no restart needed.\n"
              "\n"
              "# Master switch. Nothing is ever quit while this is false.\n"
              "live = true\n"
              "\n"
              "# last-window : quit an app when its last window closes\n"
              "# red-dot     : quit an app whenever its red dot is clicked\n"
              "mode = last-window\n"
              "\n"
              "# Which modifier closes a window without quitting: shift, option, none.\n"
              "escape = shift\n"
              "\n"
              "# Nothing armed — add `arm = <bundle id>` or `arm = *`.\n"
              "\n"
              "# Apps to leave alone, on top of the built-in list.\n");
}

TEST_F(ConfigFile, CanonicalTextWithArmedAppsAndExclusions) {
    Config c;
    c.live = false;
    c.mode = Config::Mode::redDot;
    c.escape = Config::Escape::none;
    c.armed = {"com.b", "com.a", "Com.Z", "com.é"};
    c.excluded = {"org.y", "org.x"};
    EXPECT_EQ(c.canonicalText(),
              "# Quelto configuration\n"
              "#\n"
              "# Edited by the app, and safe to edit by hand.\n"
              "# Changes take effect immediately; no restart needed.\n"
              "\n"
              "# Master switch. Nothing is ever quit while this is false.\n"
              "live = false\n"
              "\n"
              "# last-window : quit an app when its last window closes\n"
              "# red-dot     : quit an app whenever its red dot is clicked\n"
              "mode = red-dot\n"
              "\n"
              "# Which modifier closes a window without quitting: shift, option, none.\n"
              "escape = none\n"
              "\n"
              "# Only these apps may be quit.\n"
              "arm = Com.Z\n"
              "arm = com.a\n"
              "arm = com.b\n"
              "arm = com.é\n"
              "\n"
              "# Apps to leave alone, on top of the built-in list.\n"
              "exclude = org.x\n"
              "exclude = org.y\n");
}

TEST_F(ConfigFile, CanonicalTextWithArmAllDropsTheArmedList) {
    Config c;
    c.escape = Config::Escape::option;
    c.armAll = true;
    c.armed = {"com.example.App"};
    c.excluded = {"com.spotify.client"};
    EXPECT_EQ(c.canonicalText(),
              "# Quelto configuration\n"
              "#\n"
              "# Edited by the app, and safe to edit by hand.\n"
              "# Changes take effect immediately; no restart needed.\n"
              "\n"
              "# Master switch. Nothing is ever quit while this is false.\n"
              "live = true\n"
              "\n"
              "# last-window : quit an app when its last window closes\n"
              "# red-dot     : quit an app whenever its red dot is clicked\n"
              "mode = last-window\n"
              "\n"
              "# Which modifier closes a window without quitting: shift, option, none.\n"
              "escape = option\n"
              "\n"
              "# Every app, except the exclusions below.\n"
              "arm = *\n"
              "\n"
              "# Apps to leave alone, on top of the built-in list.\n"
              "exclude = com.spotify.client\n");
}

TEST_F(ConfigFile, SaveWritesTheCanonicalTextEndingInOneLineFeed) {
    Config c;
    c.armed = {"a.b"};
    ConfigStore().save(c);
    std::string text = readAll(ConfigStore::path());
    EXPECT_EQ(text, c.canonicalText());
    ASSERT_GE(text.size(), 2u);
    EXPECT_EQ(text.back(), '\n');
    EXPECT_NE(text[text.size() - 2], '\n');
}

TEST_F(ConfigFile, NothingArmedSavesTheNoticeAndNoArmLine) {
    Config c;
    c.excluded = {"x.y"};
    ConfigStore().save(c);
    std::string text = readAll(ConfigStore::path());
    EXPECT_NE(text.find("\n# Nothing armed — add `arm = <bundle id>` or `arm = *`.\n"),
              std::string::npos);
    EXPECT_EQ(text.find("\narm"), std::string::npos);
    EXPECT_EQ(ConfigStore().load(), c);
}

TEST_F(ConfigFile, ArmAllWithArmedEntriesLosesThemOnSave) {
    writeRaw(ConfigStore::path(), "arm = *\narm = com.example.App\n");
    Config c = ConfigStore().load();
    EXPECT_TRUE(c.armAll);
    EXPECT_EQ(c.armed.size(), 1u);
    ConfigStore().save(c);
    Config again = ConfigStore().load();
    EXPECT_TRUE(again.armAll);
    EXPECT_TRUE(again.armed.empty());
}

TEST_F(ConfigFile, SaveReplacesCommentsAndUnknownLines) {
    writeRaw(ConfigStore::path(), "# mine\nfoo = bar\nlive = false\n");
    ConfigStore().save(ConfigStore().load());
    std::string text = readAll(ConfigStore::path());
    EXPECT_EQ(text.find("# mine"), std::string::npos);
    EXPECT_EQ(text.find("foo"), std::string::npos);
    EXPECT_NE(text.find("\nlive = false\n"), std::string::npos);
}

TEST_F(ConfigFile, SaveCreatesTheMissingDirectories) {
    ASSERT_FALSE(fs::exists(fs::path(ConfigStore::directory()).parent_path()));
    Config c;
    c.live = false;
    ConfigStore().save(c);
    EXPECT_TRUE(fs::is_regular_file(ConfigStore::path()));
    EXPECT_EQ(ConfigStore().load(), c);
}

TEST_F(ConfigFile, SaveLeavesNoTemporaryFileBehind) {
    Config c;
    ConfigStore().save(c);
    c.live = false;
    ConfigStore().save(c);
    EXPECT_EQ(directoryEntries(), std::vector<std::string>{"config.txt"});
}

TEST_F(ConfigFile, FailedAtomicWriteRemovesItsTemporary) {
    // A non-empty directory where the file should be: the rename cannot replace it. (A save
    // moves such a directory aside first; the write beneath it must fail cleanly anyway.)
    fs::create_directories(fs::path(ConfigStore::path()) / "inside");
    EXPECT_FALSE(writeFileAtomically(ConfigStore::path(), Config().canonicalText()));
    EXPECT_TRUE(fs::is_directory(ConfigStore::path()));
    EXPECT_EQ(directoryEntries(), std::vector<std::string>{"config.txt"});
    EXPECT_EQ(ConfigStore().load(), Config());
}

TEST_F(ConfigFile, SaveIntoAnUncreatableDirectoryIsSwallowed) {
    // A plain file where the Application Support folder should be.
    writeRaw(fs::path(ConfigStore::directory()).parent_path().string(), "not a folder");
    Config c;
    c.live = false;
    ConfigStore().save(c);
    EXPECT_FALSE(fs::exists(ConfigStore::path()));
    EXPECT_EQ(ConfigStore().load(), Config());
}

TEST_F(ConfigFile, SaveIntoAReadOnlyDirectoryIsSwallowed) {
    // Permissions do not bind the superuser: as root, this runs as a plain user instead.
    if (test::runAsPlainUser()) return;
    Config before;
    before.live = false;
    ConfigStore().save(before);
    fs::permissions(ConfigStore::directory(), fs::perms::owner_read | fs::perms::owner_exec);
    Config after = before;
    after.live = true;
    ConfigStore().save(after);
    fs::permissions(ConfigStore::directory(), fs::perms::owner_all);
    EXPECT_EQ(ConfigStore().load(), before);
    EXPECT_EQ(directoryEntries(), std::vector<std::string>{"config.txt"});
}

TEST_F(ConfigFile, ReadersNeverSeeAHalfWrittenFile) {
    Config a;
    a.excluded = {"x"};
    Config b;
    b.live = false;
    b.armAll = true;
    for (int i = 0; i < 2000; ++i)
        b.excluded.insert("com.example.long.identifier." + std::to_string(i));
    ConfigStore().save(a);
    std::atomic<bool> done{false};
    std::atomic<int> torn{0}, reads{0};
    std::thread reader([&] {
        while (!done.load()) {
            Config seen = ConfigStore().load();
            if (!(seen == a) && !(seen == b)) ++torn;
            ++reads;
        }
    });
    for (int i = 0; i < 200; ++i) ConfigStore().save(i % 2 ? a : b);
    while (reads.load() < 50) std::this_thread::yield();
    done = true;
    reader.join();
    EXPECT_EQ(torn.load(), 0);
}

TEST_F(ConfigFile, TemplateTextByteForByte) {
    EXPECT_EQ(Config::templateText(),
              "# Quelto configuration\n"
              "#\n"
              "# Changes take effect immediately; no restart needed.\n"
              "\n"
              "# Master switch. Nothing is ever quit while this is false.\n"
              "live = true\n"
              "\n"
              "# last-window : quit an app when its last window closes\n"
              "# red-dot     : quit an app whenever its red dot is clicked\n"
              "mode = last-window\n"
              "\n"
              "# What may be quit.\n"
              "#   arm = *                  every app, except the exclusions below\n"
              "#   arm = com.apple.Maps     just that one (repeatable) — use for testing\n"
              "arm = *\n"
              "\n"
              "# Apps to leave alone, on top of the built-in list (Finder, Dock,\n"
              "# System Settings, Control Center and the like are never quit).\n"
              "# Good candidates are apps that keep working with no window open.\n"
              "# exclude = com.apple.mail\n"
              "# exclude = com.apple.Music\n"
              "# exclude = com.spotify.client\n"
              "\n"
              "# Which modifier closes a window without quitting: shift, option, none.\n"
              "# Not option by default — macOS already uses option-click on the red dot\n"
              "# to close every window of an app, so combining the two leaves the app\n"
              "# running with nothing open.\n"
              "escape = shift");
}

TEST_F(ConfigFile, TemplateWrittenWhenMissingArmsEverything) {
    EXPECT_TRUE(ConfigStore().writeTemplateIfMissing());
    EXPECT_EQ(readAll(ConfigStore::path()), Config::templateText());
    Config c = ConfigStore().load();
    Config expected;
    expected.armAll = true;
    EXPECT_EQ(c, expected);
    EXPECT_EQ(directoryEntries(), std::vector<std::string>{"config.txt"});
}

TEST_F(ConfigFile, TemplateLeavesAnExistingFileUntouched) {
    writeRaw(ConfigStore::path(), "live = false\n");
    EXPECT_FALSE(ConfigStore().writeTemplateIfMissing());
    EXPECT_EQ(readAll(ConfigStore::path()), "live = false\n");
}

TEST_F(ConfigFile, TemplateLeavesAnExistingEmptyFileUntouched) {
    writeRaw(ConfigStore::path(), "");
    EXPECT_FALSE(ConfigStore().writeTemplateIfMissing());
    EXPECT_TRUE(fs::exists(ConfigStore::path()));
    EXPECT_EQ(fs::file_size(ConfigStore::path()), 0u);
    EXPECT_EQ(ConfigStore().load(), Config());
}

TEST_F(ConfigFile, TemplateWriteOnlyOnce) {
    EXPECT_TRUE(ConfigStore().writeTemplateIfMissing());
    EXPECT_FALSE(ConfigStore().writeTemplateIfMissing());
}

TEST_F(ConfigFile, TemplateReportsTrueEvenWhenItsWriteFails) {
    writeRaw(fs::path(ConfigStore::directory()).parent_path().string(), "not a folder");
    EXPECT_TRUE(ConfigStore().writeTemplateIfMissing());
    EXPECT_FALSE(fs::exists(ConfigStore::path()));
}

// Identifiers that survive a round trip: non-empty, no comment sign or line break, no
// white space at either end; anything else is fair game.
std::string randomIdentifier(std::mt19937& rng) {
    static const std::vector<std::string> pieces = {
        "a", "b", "Z", "q", "0", "9", ".", "-", "_", "=", "*", "é", "日", "𝒳", " ", "\u00A0", "\t"};
    std::uniform_int_distribution<std::size_t> len(1, 12), pick(0, pieces.size() - 1);
    std::string id;
    std::size_t n = len(rng);
    for (std::size_t i = 0; i < n; ++i) id += pieces[pick(rng)];
    auto edge = [](const std::string& s, bool front) {
        for (const char* sp : {" ", "\t", "\u00A0"}) {
            std::string p = sp;
            if (s.size() >= p.size() && (front ? s.compare(0, p.size(), p) == 0
                                               : s.compare(s.size() - p.size(), p.size(), p) == 0))
                return true;
        }
        return false;
    };
    if (edge(id, true) || edge(id, false) || id == "*") id = "x" + id + "x";
    return id;
}

Config randomConfig(std::mt19937& rng) {
    std::uniform_int_distribution<int> coin(0, 1), three(0, 2), count(0, 6);
    Config c;
    c.live = coin(rng);
    c.mode = coin(rng) ? Config::Mode::redDot : Config::Mode::lastWindow;
    c.escape = static_cast<Config::Escape>(three(rng));
    c.armAll = three(rng) == 0;
    for (int i = count(rng); i > 0; --i) c.armed.insert(randomIdentifier(rng));
    for (int i = count(rng); i > 0; --i) c.excluded.insert(randomIdentifier(rng));
    return c;
}

TEST_F(ConfigFile, SaveThenLoadRoundTripsManyConfigs) {
    std::mt19937 rng(20240506);
    for (int i = 0; i < 300; ++i) {
        Config c = randomConfig(rng);
        ConfigStore().save(c);
        Config expected = c;
        if (expected.armAll) expected.armed.clear();
        ASSERT_EQ(ConfigStore().load(), expected) << c.canonicalText();
    }
}

TEST_F(ConfigFile, CanonicalTextRoundTripsAndIsStable) {
    std::mt19937 rng(7);
    for (int i = 0; i < 5000; ++i) {
        Config c = randomConfig(rng);
        Config back = Config::parse(c.canonicalText());
        Config expected = c;
        if (expected.armAll) expected.armed.clear();
        ASSERT_EQ(back, expected) << c.canonicalText();
        ASSERT_EQ(back.canonicalText(), c.canonicalText());
    }
}

}  // namespace
}  // namespace quelto

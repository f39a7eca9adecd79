// scripts/release-cask: the Homebrew cask, field by field, for the app the build makes.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "ReleaseTestSupport.h"
#include "platform/BuildSettings.h"

namespace quelto {
namespace {

using releasetest::readFile;
using releasetest::runScript;
using releasetest::scratchPath;
using releasetest::ScriptRun;
using releasetest::writeFile;

const std::string kSha = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

TEST(ReleaseCask, WritesEveryFieldExactly) {
    const std::string output = scratchPath("Casks/quelto.rb");
    std::filesystem::remove(output);
    ScriptRun run =
        runScript("scripts/release-cask", {"--output", output, "1.2.0", kSha, "quelto/quelto"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    const std::string bundleID = build::bundleID;
    EXPECT_EQ(readFile(output),
              "cask \"quelto\" do\n"
              "  version \"1.2.0\"\n"
              "  sha256 \"" +
                  kSha +
                  "\"\n"
                  "\n"
                  "  url \"https://github.com/quelto/quelto/releases/download/v#{version}/"
                  "Quelto-#{version}.dmg\",\n"
                  "      verified: \"github.com/quelto/quelto/\"\n"
                  "  name \"Quelto\"\n"
                  "  desc \"Quits an app when you close its last window\"\n"
                  "  homepage \"" +
                  std::string(build::siteURL) +
                  "/\"\n"
                  "\n"
                  "  livecheck do\n"
                  "    url :url\n"
                  "    strategy :github_latest\n"
                  "  end\n"
                  "\n"
                  "  depends_on macos: \">= :ventura\"\n"
                  "\n"
                  "  app \"Quelto.app\"\n"
                  "\n"
                  "  uninstall launchctl:  \"" +
                  bundleID +
                  "\",\n"
                  "            quit:       \"" +
                  bundleID +
                  "\",\n"
                  "            login_item: \"Quelto\"\n"
                  "\n"
                  "  zap trash: [\n"
                  "    \"~/Library/Application Support/Quelto\",\n"
                  "    \"~/Library/Caches/" +
                  bundleID +
                  "\",\n"
                  "    \"~/Library/HTTPStorages/" +
                  bundleID +
                  "\",\n"
                  "    \"~/Library/HTTPStorages/" +
                  bundleID +
                  ".binarycookies\",\n"
                  "    \"~/Library/Logs/Quelto.log\",\n"
                  "    \"~/Library/Preferences/" +
                  bundleID +
                  ".plist\",\n"
                  "  ]\n"
                  "end\n");
}

// brew style wants the zap list in alphabetical order and the uninstall stanza's values in
// one column; every folder the app or the system makes for it is in the list.
TEST(ReleaseCask, ZapAndUninstallAreAsBrewStyleWantsThem) {
    const std::string output = scratchPath("style/quelto.rb");
    ScriptRun run =
        runScript("scripts/release-cask", {"--output", output, "1.2.0", kSha, "quelto/quelto"});
    ASSERT_EQ(run.status, 0) << run.err;
    std::istringstream text(readFile(output));
    std::vector<std::string> zap;
    std::vector<std::size_t> valueColumns;
    bool inZap = false;
    for (std::string line; std::getline(text, line);) {
        if (line == "  zap trash: [") {
            inZap = true;
        } else if (inZap && line == "  ]") {
            inZap = false;
        } else if (inZap) {
            zap.push_back(line);
        } else if (line.find("uninstall ") != std::string::npos ||
                   line.rfind("            ", 0) == 0) {
            valueColumns.push_back(line.find('"'));
        }
    }
    std::vector<std::string> sorted = zap;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(zap, sorted);
    const std::string id = build::bundleID;
    for (const std::string& folder : std::vector<std::string>{
             "~/Library/Caches/" + id, "~/Library/HTTPStorages/" + id,
             "~/Library/Application Support/Quelto", "~/Library/Logs/Quelto.log"})
        EXPECT_NE(std::find(zap.begin(), zap.end(), "    \"" + folder + "\","), zap.end())
            << folder;
    ASSERT_EQ(valueColumns.size(), 3u);
    EXPECT_EQ(valueColumns[0], valueColumns[1]);
    EXPECT_EQ(valueColumns[1], valueColumns[2]);
}

TEST(ReleaseCask, BadInputLeavesTheOldCaskAsItWas) {
    const std::string output = scratchPath("Casks/kept.rb");
    writeFile(output, "the cask of the last release\n");
    struct Case {
        std::string version, sha, repository, message;
    };
    const Case cases[] = {
        {"1.2.0", "0123", "quelto/quelto",
         "release-cask: \"0123\" is not a SHA-256 (64 lower-case hexadecimal digits)\n"},
        {"1.2.0", std::string(64, 'A'), "quelto/quelto",
         "release-cask: \"" + std::string(64, 'A') +
             "\" is not a SHA-256 (64 lower-case hexadecimal digits)\n"},
        {"1.2", kSha, "quelto",
         "release-cask: \"quelto\" is not a GitHub repository written as "
         "owner/name\n"},
        {"v1.2.0", kSha, "quelto/quelto",
         "release-cask: the version \"v1.2.0\" is not one to three whole numbers separated by "
         "dots, such as 1.2.0\n"},
    };
    for (const Case& c : cases) {
        ScriptRun run =
            runScript("scripts/release-cask", {"--output", output, c.version, c.sha, c.repository});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, c.message);
        EXPECT_EQ(readFile(output), "the cask of the last release\n");
    }
    // Nothing half written beside it either.
    std::size_t files = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(output).parent_path())) {
        (void)entry;
        ++files;
    }
    EXPECT_EQ(files, 1u + std::filesystem::exists(scratchPath("Casks/quelto.rb")));
}

}  // namespace
}  // namespace quelto

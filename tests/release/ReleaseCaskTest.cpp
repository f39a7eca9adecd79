// scripts/release-cask: the Homebrew cask, field by field, for the app the build makes.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

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
                  "  uninstall quit: \"" +
                  bundleID +
                  "\"\n"
                  "\n"
                  "  zap trash: [\n"
                  "    \"~/Library/Application Support/Quelto\",\n"
                  "    \"~/Library/Logs/Quelto.log\",\n"
                  "    \"~/Library/Preferences/" +
                  bundleID +
                  ".plist\",\n"
                  "  ]\n"
                  "end\n");
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

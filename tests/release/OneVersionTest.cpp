// One version everywhere: the bundle's Info.plist, the build settings and, through the bundle
// information, the About tab, the diagnostics text and the update check all show the same
// version and build number, the ones the build was configured with.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "ReleaseTestSupport.h"
#include "platform/BuildSettings.h"
#include "platform/SystemClock.h"
#include "sim/SimDesktop.h"
#include "tests/support/LogCapture.h"
#include "ui/MainWindowModel.h"
#include "update/UpdateChecker.h"

namespace quelto {
namespace {

// The string under `key` in a property list written the way Info.plist.in writes it.
std::optional<std::string> plistString(const std::string& plist, const std::string& key) {
    const std::string keyTag = "<key>" + key + "</key>";
    std::size_t at = plist.find(keyTag);
    if (at == std::string::npos) return std::nullopt;
    std::size_t open = plist.find("<string>", at + keyTag.size());
    std::size_t next = plist.find("<key>", at + keyTag.size());
    if (open == std::string::npos || (next != std::string::npos && next < open))
        return std::nullopt;
    open += std::string("<string>").size();
    std::size_t close = plist.find("</string>", open);
    if (close == std::string::npos) return std::nullopt;
    return plist.substr(open, close - open);
}

TEST(OneVersion, InfoPlistCarriesTheBuildSettings) {
    const std::string plist = releasetest::readFile(QUELTO_TEST_INFO_PLIST);
    ASSERT_FALSE(plist.empty()) << QUELTO_TEST_INFO_PLIST;
    EXPECT_EQ(plistString(plist, "CFBundleShortVersionString"), std::string(build::version));
    EXPECT_EQ(plistString(plist, "CFBundleVersion"), std::string(build::buildNumber));
    EXPECT_EQ(plistString(plist, "CFBundleIdentifier"), std::string(build::bundleID));
}

TEST(OneVersion, TheBuildNumberIsOneTheUpdateCheckCanCompare) {
    std::int64_t build = UpdateChecker::parseBuildNumber(std::string(build::buildNumber));
    EXPECT_GT(build, 0);
    EXPECT_EQ(std::to_string(build), build::buildNumber);
}

TEST(OneVersion, AboutDiagnosticsAndUpdateCheckShowTheSameValues) {
    test::LogCapture logged;
    sim::SimDesktop desktop;  // its bundle information is the build's, as a built app's is
    desktop.clockTheLog();
    UpdateChecker::setSite(std::nullopt);
    const std::string version = build::version;
    const std::string number = build::buildNumber;

    EXPECT_EQ(MainWindowModel::aboutLines(desktop.shellContext()).versionLine,
              "Version " + version + " (build " + number + ")");
    const std::string diagnostics = MainWindowModel::diagnosticsText(desktop.shellContext());
    EXPECT_EQ(diagnostics.substr(0, diagnostics.find('\n')),
              "Quelto " + version + "         (build " + number + ")");

    UpdateChecker::check(desktop.shellContext().updateContext());
    desktop.advance(1);
    ASSERT_FALSE(logged.messages().empty());
    EXPECT_EQ(logged.messages().front(),
              "checking for updates (this build is " + version + ", build " + number + ")");
}

}  // namespace
}  // namespace quelto

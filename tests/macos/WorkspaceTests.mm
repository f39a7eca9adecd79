// The workspace seam on a real Mac: this process, the running applications as NSWorkspace
// lists them, and the bundle look-ups the Apps tab makes.

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/macos/MacWorkspace.h"
#include "platform/macos/NSStrings.h"
#include "tests/macos/MacTestSupport.h"

namespace quelto::mac {
namespace {

const std::string finderID = "com.apple.finder";
const std::string finderPath = "/System/Library/CoreServices/Finder.app";

TEST(MacWorkspaceTest, OwnProcessIdentifierIsThisProcess) {
    MacWorkspace workspace;
    EXPECT_EQ(workspace.ownProcessIdentifier(), getpid());
}

TEST(MacWorkspaceTest, RunningApplicationsAreNSWorkspacesInItsOrder) {
    MacWorkspace workspace;
    NSArray<NSRunningApplication*>* expected = NSWorkspace.sharedWorkspace.runningApplications;
    std::vector<RunningApplicationRef> apps = workspace.runningApplications();
    ASSERT_FALSE(apps.empty());
    ASSERT_EQ(apps.size(), expected.count);
    for (std::size_t i = 0; i < apps.size(); ++i) {
        NSRunningApplication* app = expected[i];
        ASSERT_NE(apps[i], nullptr);
        EXPECT_EQ(apps[i]->processIdentifier(), app.processIdentifier);
        EXPECT_EQ(apps[i]->bundleIdentifier(), toOptionalString(app.bundleIdentifier));
        EXPECT_EQ(apps[i]->localizedName(), toOptionalString(app.localizedName));
        EXPECT_EQ(static_cast<int>(apps[i]->activationPolicy()),
                  static_cast<int>(app.activationPolicy));
        EXPECT_FALSE(apps[i]->isTerminated());
    }
}

TEST(MacWorkspaceTest, ARunningApplicationIsFoundByItsProcessIdentifier) {
    MacWorkspace workspace;
    std::vector<RunningApplicationRef> apps = workspace.runningApplications();
    ASSERT_FALSE(apps.empty());
    RunningApplicationRef found = workspace.runningApplication(apps.front()->processIdentifier());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->processIdentifier(), apps.front()->processIdentifier());
    EXPECT_EQ(found->bundleIdentifier(), apps.front()->bundleIdentifier());
}

TEST(MacWorkspaceTest, AnInstalledApplicationIsFoundByItsBundleIdentifier) {
    MacWorkspace workspace;
    EXPECT_EQ(workspace.pathForApplication(finderID), finderPath);
    EXPECT_EQ(workspace.bundleIdentifierAtPath(finderPath), finderID);
    EXPECT_EQ(workspace.displayName(finderPath), "Finder");
}

TEST(MacWorkspaceTest, UnknownApplicationsAndPathsAreAbsent) {
    MacWorkspace workspace;
    EXPECT_EQ(workspace.pathForApplication("com.example.no-such-app.quelto-test"), std::nullopt);
    EXPECT_EQ(workspace.bundleIdentifierAtPath(""), std::nullopt);
    EXPECT_EQ(workspace.bundleIdentifierAtPath("/no/such/place/Nothing.app"), std::nullopt);
}

}  // namespace
}  // namespace quelto::mac

// The policy questions asked of a configuration: may this app be quit, and the one-line
// summary; and the built-in list of apps that are never quit.

#include <gtest/gtest.h>

#include "settings/Config.h"

namespace quelto {
namespace {

TEST(ConfigPolicy, DefaultsQuitNothing) {
    Config c;
    EXPECT_FALSE(c.mayQuit("com.example.App"));
    EXPECT_FALSE(c.mayQuit(""));
}

TEST(ConfigPolicy, ArmedIdentifierMayBeQuit) {
    Config c;
    c.armed = {"com.example.App"};
    EXPECT_TRUE(c.mayQuit("com.example.App"));
    EXPECT_FALSE(c.mayQuit("com.example.Other"));
}

TEST(ConfigPolicy, MatchingIsExactAndCaseSensitive) {
    Config c;
    c.armed = {"com.example.App"};
    EXPECT_FALSE(c.mayQuit("Com.Example.App"));
    EXPECT_FALSE(c.mayQuit("com.example.app"));
    EXPECT_FALSE(c.mayQuit("com.example.App "));
    EXPECT_FALSE(c.mayQuit("com.example"));
}

TEST(ConfigPolicy, ArmAllQuitsEverythingButTheExclusions) {
    Config c;
    c.armAll = true;
    c.excluded = {"com.spotify.client"};
    EXPECT_TRUE(c.mayQuit("com.example.App"));
    EXPECT_FALSE(c.mayQuit("com.spotify.client"));
    EXPECT_TRUE(c.mayQuit("com.Spotify.client"));
}

TEST(ConfigPolicy, ExclusionBeatsArming) {
    Config c;
    c.armed = {"a.b"};
    c.excluded = {"a.b"};
    EXPECT_FALSE(c.mayQuit("a.b"));
}

TEST(ConfigPolicy, DryRunQuitsNothing) {
    Config c;
    c.live = false;
    c.armAll = true;
    c.armed = {"a.b"};
    EXPECT_FALSE(c.mayQuit("a.b"));
    EXPECT_FALSE(c.mayQuit("c.d"));
}

TEST(ConfigPolicy, BuiltInListIsNotPartOfTheTest) {
    Config c;
    c.armAll = true;
    EXPECT_TRUE(c.mayQuit("com.apple.finder"));
}

TEST(ConfigPolicy, SummaryDryRun) {
    Config c;
    c.live = false;
    c.armAll = true;
    EXPECT_EQ(c.summary(), "DRY RUN — nothing will be quit");
}

TEST(ConfigPolicy, SummaryNothingArmed) {
    Config c;
    c.excluded = {"x"};
    EXPECT_EQ(c.summary(), "LIVE but nothing armed — nothing will be quit");
}

TEST(ConfigPolicy, SummaryArmedListInAscendingOrderWithoutExclusions) {
    Config c;
    c.mode = Config::Mode::redDot;
    c.armed = {"com.b", "com.a", "Com.C"};
    c.excluded = {"com.x"};
    EXPECT_EQ(c.summary(), "LIVE — mode red-dot — armed: Com.C, com.a, com.b");
}

TEST(ConfigPolicy, SummarySingleArmed) {
    Config c;
    c.armed = {"com.apple.Maps"};
    EXPECT_EQ(c.summary(), "LIVE — mode last-window — armed: com.apple.Maps");
}

TEST(ConfigPolicy, SummaryAllApps) {
    Config c;
    c.armAll = true;
    c.armed = {"ignored"};
    EXPECT_EQ(c.summary(), "LIVE — mode last-window — all apps");
}

TEST(ConfigPolicy, SummaryAllAppsWithExclusions) {
    Config c;
    c.mode = Config::Mode::redDot;
    c.armAll = true;
    c.excluded = {"com.spotify.client", "com.apple.mail", "com.apple.Music"};
    EXPECT_EQ(c.summary(),
              "LIVE — mode red-dot — all apps — also excluding: com.apple.Music, com.apple.mail, "
              "com.spotify.client");
}

TEST(ConfigPolicy, NeverQuitListHoldsTheEightSystemApps) {
    EXPECT_EQ(neverQuitBundleIDs(),
              (std::set<std::string>{"com.apple.finder", "com.apple.mobilephone",
                                     "com.apple.FaceTime", "com.apple.systempreferences",
                                     "com.apple.dock", "com.apple.systemuiserver",
                                     "com.apple.controlcenter", "com.apple.notificationcenterui"}));
    EXPECT_EQ(&neverQuitBundleIDs(), &neverQuitBundleIDs());
}

}  // namespace
}  // namespace quelto

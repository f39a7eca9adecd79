// The settings window's Activity, Help and About tabs, the diagnostics text and the links.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/BuildSettings.h"
#include "tests/ui/UiTestSupport.h"
#include "ui/MainWindowModel.h"
#include "ui/TabRendering.h"

namespace quelto {
namespace {

using uitest::entry;
using uitest::Lines;
using uitest::writeConfig;

class InfoTabsTest : public uitest::UiTest {
  protected:
    // Entry i happened i minutes after 09:00 UTC (10:00 local).
    void recordEntries(int count) {
        for (int i = 0; i < count; ++i)
            Activity::shared().record(
                entry(Date{uitest::startSeconds + 9 * 3600 + i * 60 + 7}, "App" + std::to_string(i),
                      "red dot", i % 3 == 0 ? "quit" : "dry run — would quit", i % 3 == 0));
    }
};

TEST_F(InfoTabsTest, ActivityRowsShowTheJournalNewestFirst) {
    recordEntries(3);
    MainWindowModel model(desktop.shellContext());
    auto rows = model.activityRows();
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(model.activityRowCount(), 3u);
    EXPECT_EQ(rows[0].time, "10:02:07");
    EXPECT_EQ(rows[0].app, "App2");
    EXPECT_EQ(rows[0].cause, "red dot");
    EXPECT_EQ(rows[0].outcome, "dry run — would quit");
    EXPECT_FALSE(rows[0].emphasised);
    EXPECT_EQ(rows[0].color, TextColor::secondary);
    EXPECT_EQ(rows[2].time, "10:00:07");
    EXPECT_TRUE(rows[2].emphasised);
    EXPECT_EQ(rows[2].color, TextColor::primary);
}

TEST_F(InfoTabsTest, ActivityColumns) {
    std::vector<std::string> described;
    for (const auto& c : MainWindowModel::activityColumns())
        described.push_back(c.identifier + "|" + c.title + "|" + std::to_string(int(c.width)));
    EXPECT_EQ(described, (std::vector<std::string>{"time|Time|70", "app|Application|170",
                                                   "cause|Closed by|150", "outcome|Result|170"}));
    EXPECT_EQ(MainWindowModel::activityRowHeight, 24);
}

TEST_F(InfoTabsTest, ActivityTableFollowsTheJournalLive) {
    MainWindowModel model(desktop.shellContext());
    int reloads = 0;
    model.onChange = [&](MainWindowModel::Change c) {
        if (c == MainWindowModel::Change::activity) ++reloads;
    };
    recordEntries(2);
    EXPECT_EQ(reloads, 2);
    EXPECT_EQ(model.activityRowCount(), 2u);
}

TEST_F(InfoTabsTest, AClosedWindowNoLongerObservesTheJournal) {
    int reloads = 0;
    {
        MainWindowModel model(desktop.shellContext());
        model.onChange = [&](MainWindowModel::Change) { ++reloads; };
    }
    recordEntries(1);
    EXPECT_EQ(reloads, 0);
}

TEST_F(InfoTabsTest, EmptyJournal) {
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(model.activityRowCount(), 0u);
    EXPECT_TRUE(model.activityRows().empty());
    const std::string text = MainWindowModel::diagnosticsText(desktop.shellContext());
    const std::string tail = "\nRecent activity\n  (none)";
    ASSERT_GE(text.size(), tail.size());
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
    EXPECT_NE(renderTab(model, "activity").find("(no rows)"), std::string::npos);
}

TEST_F(InfoTabsTest, FifteenEntriesTenInTheDiagnosticsAllInTheTable) {
    recordEntries(15);
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(model.activityRows().size(), 15u);
    const std::string text = MainWindowModel::diagnosticsText(desktop.shellContext());
    const std::string marker = "Recent activity\n";
    std::string recent = text.substr(text.find(marker) + marker.size());
    std::string expected;
    for (int i = 14; i >= 5; --i) {
        expected += "  App" + std::to_string(i) + " — red dot — " +
                    (i % 3 == 0 ? "quit" : "dry run — would quit");
        if (i > 5) expected += "\n";
    }
    EXPECT_EQ(recent, expected);
}

TEST_F(InfoTabsTest, DiagnosticsTextExactly) {
    writeConfig(
        "live = true\nmode = red-dot\nescape = option\narm = com.b\narm = Com.a\n"
        "exclude = org.z\nexclude = org.a\n");
    desktop.setBundleInfo("CFBundleShortVersionString", "2.3.1");
    desktop.setBundleInfo("CFBundleVersion", "87");
    desktop.setMachine("arm64", {14, 4, 1});
    desktop.setTrusted(true);
    Activity::shared().record(
        entry(Date{uitest::startSeconds}, "Mail", "red dot", "excluded — kept running", false));
    Activity::shared().record(
        entry(Date{uitest::startSeconds + 5}, "Preview", "red dot — after a dialog", "quit", true));
    EXPECT_EQ(MainWindowModel::diagnosticsText(desktop.shellContext()),
              "Quelto 2.3.1         (build 87)\n"
              "macOS 14.4.1 · Apple Silicon\n"
              "Accessibility: granted\n"
              "\n"
              "Settings\n"
              "  live: true\n"
              "  mode: red-dot\n"
              "  escape: option\n"
              "  arm: Com.a, com.b\n"
              "  exclude: org.a, org.z\n"
              "\n"
              "Recent activity\n"
              "  Preview — red dot — after a dialog — quit\n"
              "  Mail — red dot — excluded — kept running");
}

TEST_F(InfoTabsTest, DiagnosticsWithMissingVersionsAndNoAccess) {
    desktop.setBundleInfo("CFBundleShortVersionString", std::nullopt);
    desktop.setBundleInfo("CFBundleVersion", std::nullopt);
    desktop.setMachine("x86_64", {13, 6, 0});
    desktop.setTrusted(false);
    EXPECT_EQ(MainWindowModel::diagnosticsText(desktop.shellContext()),
              "Quelto ?         (build ?)\n"
              "macOS 13.6.0 · x86_64\n"
              "Accessibility: NOT GRANTED\n"
              "\n"
              "Settings\n"
              "  live: true\n"
              "  mode: last-window\n"
              "  escape: shift\n"
              "  arm: \n"
              "  exclude: \n"
              "\n"
              "Recent activity\n"
              "  (none)");
}

TEST_F(InfoTabsTest, ArmAllWithArmedEntriesShowsOnlyTheStar) {
    writeConfig("arm = com.example.App\narm = *\n");
    const std::string text = MainWindowModel::diagnosticsText(desktop.shellContext());
    EXPECT_NE(text.find("\n  arm: *\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("com.example.App"), std::string::npos) << text;
}

TEST_F(InfoTabsTest, CopyDiagnosticsPutsTheTextOnThePasteboardAndLogs) {
    MainWindowModel model(desktop.shellContext());
    model.copyDiagnostics();
    EXPECT_EQ(desktop.pasteboardText(), MainWindowModel::diagnosticsText(desktop.shellContext()));
    EXPECT_EQ(takeLog(), (Lines{"diagnostics copied to the clipboard"}));
    EXPECT_NE(desktop.pasteboardText().back(), '\n');
}

TEST_F(InfoTabsTest, HealthChecksAllPassing) {
    writeConfig("live = true\narm = *\n");
    desktop.setTrusted(true);
    desktop.setLoginItemStatus(LoginItem::Status::enabled);
    MainWindowModel model(desktop.shellContext());
    const auto& checks = model.checkRows();
    ASSERT_EQ(checks.size(), 3u);
    EXPECT_EQ(checks[0], (MainWindowModel::HealthCheck{"Accessibility access granted",
                                                       "Quelto can see when a window closes.", true,
                                                       "checkmark.circle.fill"}));
    EXPECT_EQ(checks[1], (MainWindowModel::HealthCheck{"Quelto is switched on",
                                                       "Closing an app’s last window will quit it.",
                                                       true, "checkmark.circle.fill"}));
    EXPECT_EQ(checks[2], (MainWindowModel::HealthCheck{"Starts when you log in",
                                                       "It will be here after a restart.", true,
                                                       "checkmark.circle.fill"}));
}

TEST_F(InfoTabsTest, HealthChecksAllFailing) {
    writeConfig("live = false\n");
    desktop.setTrusted(false);
    desktop.setLoginItemStatus(LoginItem::Status::requiresApproval);
    MainWindowModel model(desktop.shellContext());
    const auto& checks = model.checkRows();
    ASSERT_EQ(checks.size(), 3u);
    EXPECT_EQ(checks[0],
              (MainWindowModel::HealthCheck{
                  "Accessibility access is missing",
                  "Quelto can do nothing at all until you switch it on. Use the button below, "
                  "then find Quelto in the list.",
                  false, "exclamationmark.circle.fill"}));
    EXPECT_EQ(checks[1], (MainWindowModel::HealthCheck{
                             "Quelto is switched off",
                             "Turn it on from the menu bar dot, or on the General tab.", false,
                             "exclamationmark.circle.fill"}));
    EXPECT_EQ(checks[2], (MainWindowModel::HealthCheck{
                             "Does not start when you log in",
                             "Tick “Start Quelto when I log in” on the General tab, or it won’t "
                             "come back after a restart.",
                             false, "exclamationmark.circle.fill"}));
}

TEST_F(InfoTabsTest, AccessibilityRevokedShowsAtTheNextRefreshNotBefore) {
    desktop.setTrusted(true);
    MainWindowModel model(desktop.shellContext());
    EXPECT_TRUE(model.checkRows()[0].passed);
    desktop.setTrusted(false);
    EXPECT_TRUE(model.checkRows()[0].passed);
    model.refresh();
    EXPECT_FALSE(model.checkRows()[0].passed);
    EXPECT_EQ(model.checkRows()[0].symbolName, "exclamationmark.circle.fill");
    EXPECT_EQ(model.checkRows()[0].title, "Accessibility access is missing");
}

TEST_F(InfoTabsTest, QuestionsAndAnswers) {
    const auto& qa = MainWindowModel::questions();
    ASSERT_EQ(qa.size(), 5u);
    EXPECT_EQ(qa[0].question, "Nothing quits when I close a window");
    const std::string usual =
        "The usual cause is Accessibility, which macOS grants to nothing by default.";
    ASSERT_GT(qa[0].answer.size(), usual.size());
    EXPECT_EQ(qa[0].answer.substr(qa[0].answer.size() - usual.size()), usual);
    EXPECT_NE(qa[0].answer.find("checks above"), std::string::npos);
    EXPECT_EQ(qa[1].question, "It worked, then stopped after an update");
    EXPECT_EQ(qa[1].answer,
              "macOS ties that permission to the app’s signature, so a new build can look like "
              "different software. Remove Quelto from the Accessibility list with the – button, "
              "then add it back with +.");
    EXPECT_EQ(qa[2].question, "An app I want left alone keeps quitting");
    EXPECT_EQ(qa[2].answer,
              "Add it on the Apps tab, or click the menu bar dot while that app is in front and "
              "choose “Never quit”.");
    EXPECT_EQ(qa[3].question, "An app takes several seconds to disappear");
    EXPECT_EQ(qa[3].answer,
              "That’s the app closing itself down. Mail takes about ten seconds even when you "
              "quit it by hand.");
    EXPECT_EQ(qa[4].question, "I want to close one window without quitting");
    EXPECT_EQ(qa[4].answer, "Hold Shift while you click the red dot.");
}

TEST_F(InfoTabsTest, HelpTabRendersChecksButtonsAndLinks) {
    desktop.setTrusted(false);
    writeConfig("live = true\n");
    MainWindowModel model(desktop.shellContext());
    const std::string text = renderTab(model, "help");
    EXPECT_EQ(text.rfind("Is Quelto working?\n", 0), 0u) << text;
    EXPECT_NE(text.find("✗ Accessibility access is missing\n    Quelto can do nothing at all"),
              std::string::npos)
        << text;
    EXPECT_NE(
        text.find("✓ Quelto is switched on\n    Closing an app’s last window will quit it.\n"),
        std::string::npos);
    EXPECT_NE(text.find("[Open Accessibility Settings]  [Show Log]  [Copy Diagnostics]\n"),
              std::string::npos);
    EXPECT_NE(text.find("If something still isn’t right\n"), std::string::npos);
    EXPECT_NE(text.find(std::string("[Email ") + build::supportEmail + "]  [Help Online]\n"),
              std::string::npos);
    EXPECT_NE(text.find("Copy Diagnostics puts everything needed to look into a problem on the "
                        "clipboard. Paste it into your email.\n"),
              std::string::npos);
}

TEST_F(InfoTabsTest, AboutLines) {
    desktop.setBundleInfo("CFBundleShortVersionString", "1.4");
    desktop.setBundleInfo("CFBundleVersion", "12");
    desktop.setMachine("arm64", {15, 0, 1});
    auto about = MainWindowModel::aboutLines(desktop.shellContext());
    EXPECT_EQ(about.versionLine, "Version 1.4 (build 12)");
    EXPECT_EQ(about.tagline,
              "Quits an app when you close its last window, so nothing sits in the Dock doing "
              "nothing.");
    EXPECT_EQ(about.siteButton, build::siteHost);
    EXPECT_EQ(about.systemLine, "macOS 15.0.1 · Apple Silicon");
    EXPECT_EQ(about.note,
              "Requires Accessibility access. Not sandboxed, so it cannot be sold through the Mac "
              "App Store.");
}

TEST_F(InfoTabsTest, IntelMachineShowsItsRawName) {
    desktop.setMachine("x86_64", {13, 6, 1});
    EXPECT_EQ(MainWindowModel::aboutLines(desktop.shellContext()).systemLine,
              "macOS 13.6.1 · x86_64");
    EXPECT_NE(
        MainWindowModel::diagnosticsText(desktop.shellContext()).find("\nmacOS 13.6.1 · x86_64\n"),
        std::string::npos);
}

TEST_F(InfoTabsTest, AboutTabRendersEveryLine) {
    desktop.setBundleInfo("CFBundleShortVersionString", "1.4");
    desktop.setBundleInfo("CFBundleVersion", "12");
    desktop.setMachine("arm64", {14, 5, 0});
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(renderTab(model, "about"),
              "[AppIcon image]\n"
              "Quelto\n"
              "Version 1.4 (build 12)\n"
              "Quits an app when you close its last window, so nothing sits in the Dock doing "
              "nothing.\n" +
                  std::string("<") + build::siteHost +
                  ">  <Terms>  <Privacy>\n"
                  "[Show Log]  [Show Settings File]  [Check for Updates…]\n"
                  "[Copy Diagnostics]\n"
                  "macOS 14.5.0 · Apple Silicon\n"
                  "Requires Accessibility access. Not sandboxed, so it cannot be sold through the "
                  "Mac App Store.\n");
}

TEST_F(InfoTabsTest, LinksOpenTheirAddresses) {
    MainWindowModel model(desktop.shellContext());
    for (WindowAction action :
         {WindowAction::emailSupport, WindowAction::openHelpPage, WindowAction::openSite,
          WindowAction::openTerms, WindowAction::openPrivacy})
        EXPECT_TRUE(model.perform(action)) << actionName(action);
    const std::string site = build::siteURL;
    EXPECT_EQ(desktop.openedURLs(),
              (std::vector<std::string>{
                  std::string("mailto:") + build::supportEmail + "?subject=Quelto%20help",
                  site + "/help", site, site + "/terms", site + "/privacy"}));
}

TEST_F(InfoTabsTest, LinksThatDoNotParseDoNothing) {
    MainWindowModel model(desktop.shellContext());
    EXPECT_FALSE(model.openExternally(""));
    EXPECT_FALSE(model.openExternally("not a url"));
    EXPECT_FALSE(model.openExternally("https://example.com/%zz"));
    EXPECT_TRUE(desktop.openedURLs().empty());
    EXPECT_TRUE(model.openExternally("https://example.com/a%20b"));
    EXPECT_EQ(desktop.openedURLs().size(), 1u);
}

TEST_F(InfoTabsTest, RevealShowsTheFilesInTheFinder) {
    MainWindowModel model(desktop.shellContext());
    EXPECT_TRUE(model.perform(WindowAction::revealLog));
    EXPECT_TRUE(model.perform(WindowAction::revealConfig));
    EXPECT_EQ(desktop.revealedFiles(),
              (std::vector<std::string>{Log::path(), ConfigStore::path()}));
}

TEST_F(InfoTabsTest, OpenAccessibilityPromptsAndOpensThePane) {
    desktop.setTrusted(false);
    MainWindowModel model(desktop.shellContext());
    EXPECT_TRUE(model.perform(WindowAction::openAccessibility));
    EXPECT_EQ(desktop.trustPromptCount(), 1);
    EXPECT_EQ(
        desktop.openedURLs(),
        (std::vector<std::string>{
            "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"}));
}

TEST_F(InfoTabsTest, ActionsWithTheirOwnOperationAreRefused) {
    MainWindowModel model(desktop.shellContext());
    for (WindowAction action :
         {WindowAction::none, WindowAction::toggleLive, WindowAction::changeQuitMode,
          WindowAction::changeEscape, WindowAction::toggleLoginItem, WindowAction::addApp,
          WindowAction::checkForUpdates})
        EXPECT_FALSE(model.perform(action)) << actionName(action);
    EXPECT_TRUE(desktop.openedURLs().empty());
    EXPECT_TRUE(desktop.revealedFiles().empty());
}

TEST_F(InfoTabsTest, EveryButtonNamesItsAction) {
    MainWindowModel model(desktop.shellContext());
    std::vector<std::string> names;
    std::function<void(const std::vector<ViewElement>&)> walk = [&](const auto& elements) {
        for (const ViewElement& e : elements) {
            if (e.kind == ViewElement::Kind::button || e.kind == ViewElement::Kind::linkButton)
                names.emplace_back(actionName(e.action));
            walk(e.children);
        }
    };
    for (const char* tab : {"apps", "help", "about"}) walk(model.content(tab).elements);
    EXPECT_EQ(names, (std::vector<std::string>{
                         "addApp", "openAccessibility", "revealLog", "copyDiagnostics",
                         "emailSupport", "openHelpPage", "openSite", "openTerms", "openPrivacy",
                         "revealLog", "revealConfig", "checkForUpdates", "copyDiagnostics"}));
}

TEST_F(InfoTabsTest, ActivityTabRendersItsRows) {
    recordEntries(1);
    MainWindowModel model(desktop.shellContext());
    EXPECT_EQ(renderTab(model, "activity"),
              "  Time      Application       Closed by                 Result\n"
              "  10:00:07  App0              red dot                   quit\n");
}

}  // namespace
}  // namespace quelto

// quelto-sim check-updates against a site on the loopback interface.
#if !defined(__APPLE__)

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "LoopbackServer.h"
#include "settings/Log.h"
#include "simtool/checkupdates/CheckUpdatesCommand.h"
#include "update/UpdateChecker.h"

namespace quelto {
namespace {

using test::LoopbackServer;

struct CommandRun {
    int code;
    std::string out;
    std::string err;
};

CommandRun run(const std::vector<std::string>& args) {
    std::ostringstream out, err;
    int code = runCheckUpdates(args, out, err);
    // The command gives the log back its standard error mirror; keep the tests quiet.
    Log::shared().setMirror([](const std::string&) {});
    return {code, out.str(), err.str()};
}

// The output without the log lines' timestamps ("log: HH:mm:ss.SSS  text" → "log: text").
std::string withoutTimestamps(const std::string& text) {
    std::istringstream in(text);
    std::string line, result;
    while (std::getline(in, line)) {
        if (line.rfind("log: ", 0) == 0 && line.size() > 5 + 14)
            line = "log: " + line.substr(5 + 14);
        result += line + "\n";
    }
    return result;
}

const char* const kOffer =
    R"({"version":"1.2","build":42,"url":"https://quelto.app/download/Quelto-1.2.dmg","notes":["Faster"]})";

TEST(CheckUpdatesCommand, PrintsTheLogTheAlertAndWhatItOpens) {
    LoopbackServer server(LoopbackServer::always({200, {}, kOffer}));
    CommandRun r = run({"--site", server.baseURL(), "--build", "41", "--version", "1.1"});
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(withoutTimestamps(r.out),
              "log: checking for updates (this build is 1.1, build 41)\n"
              "log: update available: 1.2 build 42 at https://quelto.app/download/Quelto-1.2.dmg\n"
              "alert: Quelto 1.2 is available\n"
              "  | You have 1.1 (build 41).\n"
              "  |\n"
              "  | What’s new:\n"
              "  |   •  Faster\n"
              "  buttons: \"Download\" (1000), \"Not Now\" (1001)\n"
              "  answered: \"Download\" (1000)\n"
              "log: opening the download for 1.2\n"
              "open: https://quelto.app/download/Quelto-1.2.dmg\n");
    EXPECT_EQ(UpdateChecker::site(), UpdateChecker::buildSettingsSite());
}

TEST(CheckUpdatesCommand, UpToDateWithTheSecondButtonAsked) {
    LoopbackServer server(LoopbackServer::always({200, {}, kOffer}));
    CommandRun r = run({"--site=" + server.baseURL() + "/", "--build=+42", "--answer", "1001"});
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(withoutTimestamps(r.out),
              "log: checking for updates (this build is ?, build 42)\n"
              "log: up to date — the site offers 1.2 build 42\n"
              "alert: Quelto is up to date\n"
              "  | You have version ? (build 42), which is the latest.\n"
              "  buttons: \"OK\" (1000)\n"
              "  (1001 is not a button of this alert: answering 1000)\n"
              "  answered: \"OK\" (1000)\n");
}

TEST(CheckUpdatesCommand, FailureNamesTheSiteAndOpensItsChangelog) {
    LoopbackServer server(LoopbackServer::always({404, {}, "no such page"}));
    CommandRun r = run({"--site", server.baseURL(), "--build", "1.2.3", "--version", "1.1",
                        "--host", "example.test", "--answer", "1001"});
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(withoutTimestamps(r.out),
              "log: checking for updates (this build is 1.1, build 0)\n"
              "log: update check failed: no detail\n"
              "alert: Couldn’t check for updates\n"
              "  | Nothing is wrong with Quelto — it just couldn’t reach example.test. You can "
              "always see the current version at example.test/changelog.\n"
              "  buttons: \"OK\" (1000), \"Open Changelog\" (1001)\n"
              "  answered: \"Open Changelog\" (1001)\n"
              "open: " +
                  server.baseURL() + "/changelog\n");
}

TEST(CheckUpdatesCommand, UnreachableSiteShowsTheNetworkError) {
    int port = LoopbackServer::closedPort();
    CommandRun r = run({"--site", "http://127.0.0.1:" + std::to_string(port), "--build", "1"});
    EXPECT_EQ(r.code, 0);
    std::string out = withoutTimestamps(r.out);
    EXPECT_NE(out.find("log: update check failed: "), std::string::npos) << out;
    EXPECT_EQ(out.find("no detail"), std::string::npos) << out;
    EXPECT_NE(out.find("it just couldn’t reach 127.0.0.1:" + std::to_string(port) + "."),
              std::string::npos)
        << out;
}

TEST(CheckUpdatesCommand, BadFlagsAreRefusedWithAClearMessage) {
    struct Case {
        std::vector<std::string> args;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{}, "check-updates: --site URL is required\n"},
        {{"--site", "https://quelto.app"}, "check-updates: --build N is required\n"},
        {{"--site"}, "check-updates: --site needs a value\n"},
        {{"--site", "https://quelto.app", "--build", "1", "--answer", "2"},
         "check-updates: --answer must be 1000 (the first button) or 1001 (the second), not "
         "\"2\"\n"},
        {{"--site", "https://quelto.app", "--build", "1", "--bogus"},
         "check-updates: unknown argument \"--bogus\"\n"},
        {{"--site", "quelto.app", "--build", "1"},
         "check-updates: --site needs an absolute address with a host, such as "
         "https://quelto.app, not \"quelto.app\"\n"},
    };
    for (const Case& c : cases) {
        CommandRun r = run(c.args);
        EXPECT_EQ(r.code, 2);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err.rfind(c.message, 0), 0u) << r.err;
    }
}

TEST(CheckUpdatesCommand, HelpPrintsTheUsage) {
    CommandRun r = run({"--help"});
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out, checkUpdatesUsage());
}

}  // namespace
}  // namespace quelto

#endif  // !defined(__APPLE__)

// The pure parts of a check: the reply's validation, the running build number, the request
// and the alert texts.

#include <gtest/gtest.h>

#include <string>

#include "platform/BuildSettings.h"
#include "update/UpdateChecker.h"

namespace quelto {
namespace {

using Latest = UpdateChecker::Latest;

HttpResult reply(std::string body, std::optional<int> status = 200) {
    HttpResult r;
    r.statusCode = status;
    r.body = std::move(body);
    return r;
}

const char* const kValid =
    R"({"version": "1.2", "build": 42, "url": "https://quelto.app/download/Quelto-1.2.dmg"})";

TEST(UpdateReply, ValidObjectGivesTheOffer) {
    auto latest = UpdateChecker::parseReply(reply(kValid));
    ASSERT_TRUE(latest);
    EXPECT_EQ(latest->version, "1.2");
    EXPECT_EQ(latest->build, 42);
    EXPECT_EQ(latest->url, "https://quelto.app/download/Quelto-1.2.dmg");
    EXPECT_TRUE(latest->notes.empty());
}

TEST(UpdateReply, NotesAndUnknownKeys) {
    auto latest = UpdateChecker::parseReply(reply(
        R"({"version":"2.0","build":7,"url":"https://x.example/d","notes":["Faster","Fixed “quit”"],
            "channel":"stable","size":12345})"));
    ASSERT_TRUE(latest);
    EXPECT_EQ(latest->notes, (std::vector<std::string>{"Faster", "Fixed “quit”"}));
}

TEST(UpdateReply, NeedsABody) {
    HttpResult r;
    r.statusCode = 200;
    EXPECT_FALSE(UpdateChecker::parseReply(r));
    EXPECT_FALSE(UpdateChecker::parseReply(reply("")));
}

TEST(UpdateReply, StatusOtherThan200FailsEvenWithAValidBody) {
    for (int status : {201, 204, 301, 304, 404, 500, 199})
        EXPECT_FALSE(UpdateChecker::parseReply(reply(kValid, status))) << status;
    EXPECT_FALSE(UpdateChecker::parseReply(reply(kValid, std::nullopt)));
}

TEST(UpdateReply, TransportErrorIsNotLookedAt) {
    HttpResult r = reply(kValid);
    r.transportError = "The network connection was lost.";
    EXPECT_TRUE(UpdateChecker::parseReply(r));
}

TEST(UpdateReply, BodyMustBeAJsonObject) {
    EXPECT_FALSE(UpdateChecker::parseReply(reply("not json")));
    EXPECT_FALSE(UpdateChecker::parseReply(reply(R"({"version":"1.2","build":42,)")));
    EXPECT_FALSE(UpdateChecker::parseReply(reply(std::string("[") + kValid + "]")));
    EXPECT_FALSE(UpdateChecker::parseReply(reply("42")));
    EXPECT_FALSE(UpdateChecker::parseReply(reply("\"text\"")));
    EXPECT_FALSE(UpdateChecker::parseReply(reply("null")));
    EXPECT_FALSE(UpdateChecker::parseReply(reply(std::string(kValid) + " trailing")));
    EXPECT_FALSE(UpdateChecker::parseReply(
        reply("{\"version\":\"\xff\",\"build\":1,\"url\":\"https://a.b\"}")));
}

TEST(UpdateReply, VersionMustBeAString) {
    EXPECT_FALSE(UpdateChecker::parseReply(reply(R"({"build":42,"url":"https://a.b/d"})")));
    EXPECT_FALSE(
        UpdateChecker::parseReply(reply(R"({"version":1.2,"build":42,"url":"https://a.b/d"})")));
    EXPECT_FALSE(
        UpdateChecker::parseReply(reply(R"({"version":null,"build":42,"url":"https://a.b/d"})")));
}

TEST(UpdateReply, BuildMustBeANumberThatIsAnExactInteger) {
    auto withBuild = [](const std::string& build) {
        return UpdateChecker::parseReply(
            reply(R"({"version":"1.2","build":)" + build + R"(,"url":"https://a.b/d"})"));
    };
    ASSERT_TRUE(withBuild("42.0"));
    EXPECT_EQ(withBuild("42.0")->build, 42);
    EXPECT_EQ(withBuild("4.2e1")->build, 42);
    EXPECT_EQ(withBuild("-3")->build, -3);
    EXPECT_EQ(withBuild("0")->build, 0);
    EXPECT_EQ(withBuild("9223372036854775807")->build, INT64_MAX);
    EXPECT_EQ(withBuild("-9223372036854775808")->build, INT64_MIN);
    EXPECT_FALSE(withBuild("42.5"));
    EXPECT_FALSE(withBuild("true"));
    EXPECT_FALSE(withBuild("false"));
    EXPECT_FALSE(withBuild("\"42\""));
    EXPECT_FALSE(withBuild("null"));
    EXPECT_FALSE(withBuild("[42]"));
    EXPECT_FALSE(withBuild("{\"n\":42}"));
    EXPECT_FALSE(withBuild("9223372036854775808"));  // one past the largest build
    EXPECT_FALSE(withBuild("18446744073709551615"));
    EXPECT_FALSE(withBuild("9.3e18"));
    EXPECT_FALSE(withBuild("1e300"));
    EXPECT_FALSE(UpdateChecker::parseReply(reply(R"({"version":"1.2","url":"https://a.b/d"})")));
}

TEST(UpdateReply, UrlMustBeAValidAbsoluteAddress) {
    auto withURL = [](const std::string& url) {
        return UpdateChecker::parseReply(
            reply(R"({"version":"1.2","build":42,"url":)" + url + "}"));
    };
    EXPECT_TRUE(withURL("\"https://quelto.app/d\""));
    EXPECT_FALSE(withURL("\"\""));
    EXPECT_FALSE(withURL("\"not a url\""));
    EXPECT_FALSE(withURL("\"/relative/path\""));
    EXPECT_FALSE(withURL("\"quelto.app/d\""));
    EXPECT_FALSE(withURL("42"));
    EXPECT_FALSE(withURL("null"));
    EXPECT_FALSE(UpdateChecker::parseReply(reply(R"({"version":"1.2","build":42})")));
}

TEST(UpdateReply, NotesOfAnyOtherShapeGiveNoNotes) {
    auto notes = [](const std::string& value) {
        std::string body = R"({"version":"1.2","build":42,"url":"https://a.b/d")";
        if (!value.empty()) body += ",\"notes\":" + value;
        body += "}";
        auto latest = UpdateChecker::parseReply(reply(body));
        EXPECT_TRUE(latest) << body;
        return latest ? latest->notes : std::vector<std::string>{"<failed>"};
    };
    EXPECT_TRUE(notes("").empty());  // absent
    EXPECT_TRUE(notes(R"({"a":"b"})").empty());
    EXPECT_TRUE(notes(R"(["Faster", 3, "Smaller"])").empty());
    EXPECT_TRUE(notes(R"(["Faster", null])").empty());
    EXPECT_TRUE(notes(R"("Faster")").empty());
    EXPECT_TRUE(notes("[]").empty());
    EXPECT_EQ(notes(R"(["Faster"])"), std::vector<std::string>{"Faster"});
}

TEST(UpdateReply, TenMegabyteBodyIsParsed) {
    std::string note(10 * 1024 * 1024, 'x');
    std::string body =
        R"({"version":"1.2","build":42,"url":"https://a.b/d","notes":[")" + note + R"("]})";
    auto latest = UpdateChecker::parseReply(reply(body));
    ASSERT_TRUE(latest);
    ASSERT_EQ(latest->notes.size(), 1u);
    EXPECT_EQ(latest->notes[0].size(), note.size());
}

TEST(UpdateReply, DeeplyNestedUnknownKeyIsIgnoredAndUnclosedNestingFails) {
    std::string body = R"({"version":"1.2","build":42,"url":"https://a.b/d","x":)" +
                       std::string(100000, '[') + std::string(100000, ']') + "}";
    EXPECT_TRUE(UpdateChecker::parseReply(reply(body)));
    EXPECT_FALSE(UpdateChecker::parseReply(reply(std::string(100000, '['))));
}

TEST(BuildNumber, PlainIntegersWithOptionalSign) {
    EXPECT_EQ(UpdateChecker::parseBuildNumber("42"), 42);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("+42"), 42);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("-42"), -42);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("0042"), 42);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("-9223372036854775808"), INT64_MIN);
}

TEST(BuildNumber, AnythingElseIsZero) {
    EXPECT_EQ(UpdateChecker::parseBuildNumber(std::nullopt), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber(""), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("+"), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("-"), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("1.2.3"), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("42a"), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber(" 42"), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("42 "), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("+-42"), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("9223372036854775808"), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("-9223372036854775809"), 0);
    EXPECT_EQ(UpdateChecker::parseBuildNumber("99999999999999999999"), 0);
}

TEST(UpdateRequest, AsksTheSiteForJsonWithTwentySecondsAndNoCache) {
    auto request = UpdateChecker::request({"https://quelto.app", "quelto.app"});
    ASSERT_TRUE(request);
    EXPECT_EQ(request->url, "https://quelto.app/api/latest");
    EXPECT_EQ(request->method, "GET");
    EXPECT_EQ(request->headers,
              (std::vector<std::pair<std::string, std::string>>{{"Accept", "application/json"}}));
    EXPECT_EQ(request->timeoutSeconds, 20);
    EXPECT_TRUE(request->ignoreLocalCache);
}

TEST(UpdateRequest, NoneForAnInvalidSiteAddress) {
    EXPECT_FALSE(UpdateChecker::request({"", ""}));
    EXPECT_FALSE(UpdateChecker::request({"quelto.app", "quelto.app"}));
    EXPECT_FALSE(UpdateChecker::request({"https://quel to.app", "quelto.app"}));
}

TEST(UpdateSite, DefaultsToTheBuildSettings) {
    UpdateChecker::setSite(std::nullopt);
    EXPECT_EQ(UpdateChecker::site().url, build::siteURL);
    EXPECT_EQ(UpdateChecker::site().host, build::siteHost);
    UpdateChecker::setSite(UpdateChecker::Site{"http://127.0.0.1:1", "local"});
    EXPECT_EQ(UpdateChecker::site().url, "http://127.0.0.1:1");
    UpdateChecker::setSite(std::nullopt);
    EXPECT_EQ(UpdateChecker::site(), UpdateChecker::buildSettingsSite());
}

TEST(UpdateAlerts, UpdateAvailableWithoutNotes) {
    Latest latest{"1.2", 42, "https://quelto.app/d", {}};
    AlertDescription alert = UpdateChecker::updateAvailableAlert(latest, "1.1", 41);
    EXPECT_EQ(alert.messageText, "Quelto 1.2 is available");
    EXPECT_EQ(alert.informativeText, "You have 1.1 (build 41).");
    EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Download", "Not Now"}));
}

TEST(UpdateAlerts, UpdateAvailableWithNotes) {
    Latest latest{"1.2", 42, "https://quelto.app/d", {"Faster", "Fewer surprises"}};
    AlertDescription alert = UpdateChecker::updateAvailableAlert(latest, "1.1", 41);
    EXPECT_EQ(alert.informativeText,
              "You have 1.1 (build 41).\n\nWhat’s new:\n  •  Faster\n  •  Fewer surprises");
}

TEST(UpdateAlerts, UpToDate) {
    AlertDescription alert = UpdateChecker::upToDateAlert("1.2", 42);
    EXPECT_EQ(alert.messageText, "Quelto is up to date");
    EXPECT_EQ(alert.informativeText, "You have version 1.2 (build 42), which is the latest.");
    EXPECT_TRUE(alert.buttons.empty());
}

TEST(UpdateAlerts, FailureWithAndWithoutDetail) {
    AlertDescription plain = UpdateChecker::failureAlert(std::nullopt, "quelto.app");
    EXPECT_EQ(plain.messageText, "Couldn’t check for updates");
    EXPECT_EQ(plain.informativeText,
              "Nothing is wrong with Quelto — it just couldn’t reach quelto.app. You can always "
              "see the current version at quelto.app/changelog.");
    EXPECT_EQ(plain.buttons, (std::vector<std::string>{"OK", "Open Changelog"}));
    AlertDescription detailed = UpdateChecker::failureAlert("The request timed out.", "quelto.app");
    EXPECT_EQ(detailed.informativeText, "The request timed out.\n\n" + plain.informativeText);
}

}  // namespace
}  // namespace quelto

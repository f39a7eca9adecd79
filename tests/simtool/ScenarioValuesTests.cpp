// The value syntax of the scenario language, and hand edits of the configuration file.

#include <gtest/gtest.h>

#include "simtool/ConfigEdit.h"
#include "simtool/ScenarioTokens.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {
namespace {

TEST(ScenarioValues, Durations) {
    EXPECT_EQ(parseDuration("2.5"), 2.5);
    EXPECT_EQ(parseDuration("2.5s"), 2.5);
    EXPECT_EQ(parseDuration("250ms"), 0.25);
    EXPECT_EQ(parseDuration("2m"), 120.0);
    EXPECT_EQ(parseDuration("2min"), 120.0);
    EXPECT_EQ(parseDuration("-1"), std::nullopt);
    EXPECT_EQ(parseDuration("2,5"), std::nullopt);
    EXPECT_EQ(parseDuration("1e3"), std::nullopt);
    EXPECT_EQ(parseDuration("inf"), std::nullopt);
    EXPECT_EQ(parseDuration("s"), std::nullopt);
}

TEST(ScenarioValues, PointsAndSizes) {
    EXPECT_EQ(parsePoint("120,80"), (Point{120, 80}));
    EXPECT_EQ(parsePoint("-10,-20.5"), (Point{-10, -20.5}));
    EXPECT_EQ(parsePoint("120 80"), std::nullopt);
    EXPECT_EQ(parseSize("800x600"), (Size{800, 600}));
    EXPECT_EQ(parseSize("14×16"), (Size{14, 16}));
    EXPECT_EQ(parseSize("-1x5"), std::nullopt);
}

TEST(ScenarioValues, DatesTimesAndZones) {
    EXPECT_TRUE(parseDate("2024-02-29"));
    EXPECT_FALSE(parseDate("2026-02-29"));
    EXPECT_FALSE(parseDate("2026-13-01"));
    auto t = parseClockTime("09:30:15.25");
    ASSERT_TRUE(t);
    EXPECT_EQ(t->millisecond, 250);
    EXPECT_TRUE(parseClockTime("9:30"));
    EXPECT_FALSE(parseClockTime("24:00"));
    EXPECT_FALSE(parseClockTime("09:60"));
    EXPECT_EQ(parseZone("UTC"), 0);
    EXPECT_EQ(parseZone("+01:00"), 3600);
    EXPECT_EQ(parseZone("-0530"), -19800);
    EXPECT_EQ(parseZone("UTC+2"), 7200);
    EXPECT_EQ(parseZone("GMT-05:30"), -19800);
    EXPECT_EQ(parseZone("Europe/Paris"), std::nullopt);
    Date d = dateFrom(CivilDate{2026, 3, 2}, ClockTime{9, 0, 0, 0}, 3600);
    EXPECT_DOUBLE_EQ(d.seconds, 1772438400.0);
    EXPECT_EQ(formatTimeOfDay(d, 3600), "09:00:00.000");
    EXPECT_EQ(formatTimeOfDay(d + 0.35, 3600), "09:00:00.350");
    EXPECT_EQ(formatTimeOfDay(d, -3600), "07:00:00.000");
    EXPECT_EQ(civilDateOf(d, -36000).day, 1);
}

TEST(ScenarioValues, ModifiersAndErrors) {
    EXPECT_EQ(parseModifiers("shift"), 0x20000u);
    EXPECT_EQ(parseModifiers("shift+option"), 0xa0000u);
    EXPECT_EQ(parseModifiers("cmd+ctrl+alt"), 0x1c0000u);
    EXPECT_EQ(parseModifiers("0x120000"), 0x120000u);
    EXPECT_EQ(parseModifiers("shift+"), std::nullopt);
    EXPECT_EQ(parseModifiers("hyper"), std::nullopt);
    EXPECT_EQ(parseAXError("cannotComplete"), axerror::cannotComplete);
    EXPECT_EQ(parseAXError("-25212"), axerror::noValue);
    EXPECT_EQ(parseAXError("busy"), std::nullopt);
    EXPECT_EQ(parsePolicy("background"), ActivationPolicy::prohibited);
}

TEST(ScenarioTokens, WordsQuotesAndComments) {
    auto t =
        tokenize("click close TextEdit \"Save \\\"this\\\" # not a comment\" shift  # comment");
    ASSERT_FALSE(t.error);
    ASSERT_EQ(t.tokens.size(), 5u);
    EXPECT_EQ(t.tokens[3].text, "Save \"this\" # not a comment");
    EXPECT_TRUE(t.tokens[3].quoted);
    EXPECT_EQ(t.tokens[4].text, "shift");
    EXPECT_EQ(tokenize("window A \"open").error, "a quoted text has no closing quote");
    EXPECT_TRUE(tokenize("   # only a comment").tokens.empty());
    EXPECT_EQ(inQuotes("a \"b\""), "\"a \\\"b\\\"\"");
}

TEST(ConfigEdit, SetChangesTheLastLineOfTheKeyAndKeepsEverythingElse) {
    std::string file = "# mine\nLIVE = true   # on\nmode = red-dot\nlive = 1\n";
    EXPECT_EQ(applyConfigEdit(file, {ConfigEdit::Kind::set, "live", "false"}),
              "# mine\nLIVE = true   # on\nmode = red-dot\nlive = false\n");
    EXPECT_EQ(applyConfigEdit(file, {ConfigEdit::Kind::set, "escape", "none"}),
              file + "escape = none\n");
}

TEST(ConfigEdit, AddAndRemove) {
    std::string file = "arm = *\nexclude = com.a\nexclude = com.b";  // no final line feed
    EXPECT_EQ(applyConfigEdit(file, {ConfigEdit::Kind::add, "exclude", "com.c"}),
              "arm = *\nexclude = com.a\nexclude = com.b\nexclude = com.c\n");
    EXPECT_EQ(applyConfigEdit(file, {ConfigEdit::Kind::remove, "exclude", "com.a"}),
              "arm = *\nexclude = com.b");
    EXPECT_EQ(applyConfigEdit(file, {ConfigEdit::Kind::remove, "exclude", std::nullopt}),
              "arm = *");
    EXPECT_EQ(applyConfigEdit(std::nullopt, {ConfigEdit::Kind::set, "live", "false"}),
              "live = false\n");
}

}  // namespace
}  // namespace quelto::simtool

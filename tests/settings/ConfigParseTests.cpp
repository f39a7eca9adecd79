// Reading the configuration text: line breaks, comments, white space, keys and the rules of
// each key, including the deliberate asymmetries between them.

#include <gtest/gtest.h>

#include <string>

#include "settings/Config.h"

namespace quelto {
namespace {

using Mode = Config::Mode;
using Escape = Config::Escape;

Config parse(const std::string& text) {
    return Config::parse(text);
}

TEST(ConfigParse, DefaultsArmNothingButAreLive) {
    Config c;
    EXPECT_TRUE(c.live);
    EXPECT_EQ(c.mode, Mode::lastWindow);
    EXPECT_TRUE(c.armed.empty());
    EXPECT_FALSE(c.armAll);
    EXPECT_TRUE(c.excluded.empty());
    EXPECT_EQ(c.escape, Escape::shift);
}

TEST(ConfigParse, EmptyTextGivesTheDefaults) {
    EXPECT_EQ(parse(""), Config());
}

TEST(ConfigParse, OnlyCommentsAndBlankLinesGiveTheDefaults) {
    EXPECT_EQ(parse("# live = false\n\n   # mode = red-dot\n\t\n#arm = *\n#"), Config());
}

TEST(ConfigParse, LiveTrueForTrueInAnyCaseAndForOne) {
    EXPECT_TRUE(parse("live = false\nLIVE = TRUE").live);
    EXPECT_TRUE(parse("live = false\nlive=1").live);
    EXPECT_TRUE(parse("live = false\nLive = True # switched on").live);
    EXPECT_TRUE(parse("live = false\nlive = tRuE").live);
}

TEST(ConfigParse, LiveFalseForAnyOtherValueEmptyIncluded) {
    EXPECT_FALSE(parse("live = yes").live);
    EXPECT_FALSE(parse("live = on").live);
    EXPECT_FALSE(parse("live =").live);
    EXPECT_FALSE(parse("live = ").live);
    EXPECT_FALSE(parse("live = 01").live);
    EXPECT_FALSE(parse("live = true!").live);
    EXPECT_FALSE(parse("live = false").live);
}

TEST(ConfigParse, LastLiveLineWins) {
    EXPECT_FALSE(parse("live = true\nlive = false").live);
    EXPECT_TRUE(parse("live = false\nlive = true").live);
    EXPECT_FALSE(parse("live = true\nlive = bogus").live);
}

TEST(ConfigParse, ModeIsMatchedCaseInsensitively) {
    EXPECT_EQ(parse("mode = Red-Dot").mode, Mode::redDot);
    EXPECT_EQ(parse("mode = RED-DOT").mode, Mode::redDot);
    EXPECT_EQ(parse("mode = red-dot\nmode = Last-Window").mode, Mode::lastWindow);
}

TEST(ConfigParse, UnknownModeLeavesThePreviousOne) {
    EXPECT_EQ(parse("mode = red-dot\nmode = reddot").mode, Mode::redDot);
    EXPECT_EQ(parse("mode = reddot").mode, Mode::lastWindow);
    EXPECT_EQ(parse("mode = red-dot\nmode =").mode, Mode::redDot);
}

TEST(ConfigParse, EscapeIsMatchedCaseInsensitively) {
    EXPECT_EQ(parse("escape = OPTION").escape, Escape::option);
    EXPECT_EQ(parse("escape = None").escape, Escape::none);
    EXPECT_EQ(parse("escape = none\nescape = SHIFT").escape, Escape::shift);
}

TEST(ConfigParse, UnknownEscapeLeavesThePreviousValue) {
    EXPECT_EQ(parse("escape = option\nescape = alt").escape, Escape::option);
    EXPECT_EQ(parse("escape = alt").escape, Escape::shift);
    EXPECT_EQ(parse("escape = none\nescape =").escape, Escape::none);
}

TEST(ConfigParse, ArmWithATrailingCommentArmsTheIdentifier) {
    Config c = parse("arm = com.example.App # just this one");
    EXPECT_EQ(c.armed, std::set<std::string>{"com.example.App"});
    EXPECT_FALSE(c.armAll);
}

TEST(ConfigParse, BareArmArmsNothing) {
    Config c = parse("arm =\narm = \t ");
    EXPECT_TRUE(c.armed.empty());
    EXPECT_FALSE(c.armAll);
}

TEST(ConfigParse, IdentifiersAreCaseSensitive) {
    Config c = parse("arm = Com.Example.App\narm = com.example.App");
    EXPECT_EQ(c.armed, (std::set<std::string>{"Com.Example.App", "com.example.App"}));
}

TEST(ConfigParse, ArmStarAndIdentifierBothKept) {
    Config c = parse("arm = *\narm = com.example.App");
    EXPECT_TRUE(c.armAll);
    EXPECT_EQ(c.armed, std::set<std::string>{"com.example.App"});
}

TEST(ConfigParse, NothingSetsArmAllBackToFalse) {
    EXPECT_TRUE(parse("arm = *\narm =\narm = false\narm = none").armAll);
}

TEST(ConfigParse, OnlyAnExactStarArmsAll) {
    Config c = parse("arm = **\narm = *.app");
    EXPECT_FALSE(c.armAll);
    EXPECT_EQ(c.armed, (std::set<std::string>{"**", "*.app"}));
}

TEST(ConfigParse, ArmAndExcludeAccumulateAndCollapseDuplicates) {
    Config c = parse(
        "arm = a.b\narm = c.d\narm = a.b\n"
        "exclude = x.y\nexclude = x.y\nexclude = z\nexclude =");
    EXPECT_EQ(c.armed, (std::set<std::string>{"a.b", "c.d"}));
    EXPECT_EQ(c.excluded, (std::set<std::string>{"x.y", "z"}));
}

TEST(ConfigParse, CarriageReturnLineEndsReadLikeLineFeeds) {
    std::string lf = "live = false\nmode = red-dot\narm = a.b\nexclude = c.d\nescape = none\n";
    std::string cr = lf, crlf;
    for (char& ch : cr)
        if (ch == '\n') ch = '\r';
    for (char ch : lf) crlf += ch == '\n' ? std::string("\r\n") : std::string(1, ch);
    Config expected = parse(lf);
    EXPECT_FALSE(expected.live);
    EXPECT_EQ(expected.mode, Mode::redDot);
    EXPECT_EQ(parse(cr), expected);
    EXPECT_EQ(parse(crlf), expected);
}

TEST(ConfigParse, EveryUnicodeLineBreakSeparatesLines) {
    for (std::string brk : {"\n", "\r", "\r\n", "\v", "\f", "\u0085", "\u2028", "\u2029"}) {
        Config c = parse("live = false" + brk + "arm = a.b" + brk + "escape = none");
        EXPECT_FALSE(c.live) << "break bytes: " << brk.size();
        EXPECT_EQ(c.armed, std::set<std::string>{"a.b"}) << "break bytes: " << brk.size();
        EXPECT_EQ(c.escape, Escape::none) << "break bytes: " << brk.size();
    }
}

TEST(ConfigParse, ValueMayContainEquals) {
    EXPECT_EQ(parse("exclude = a = b").excluded, std::set<std::string>{"a = b"});
    EXPECT_EQ(parse("arm=x=y").armed, std::set<std::string>{"x=y"});
    // "key = a = b": the key is everything before the first "=", so it is "key" and ignored.
    EXPECT_EQ(parse("key = a = b"), Config());
    EXPECT_EQ(parse("live = a = true").live, false);
}

TEST(ConfigParse, HashStartsACommentEvenInsideAValue) {
    EXPECT_EQ(parse("arm = a.b#c=d").armed, std::set<std::string>{"a.b"});
    EXPECT_EQ(parse("exclude = x = y # z = w").excluded, std::set<std::string>{"x = y"});
    EXPECT_TRUE(parse("arm = # *").armed.empty());
    EXPECT_FALSE(parse("arm = # *").armAll);
    EXPECT_TRUE(parse("live # = false").live);  // no "=" before the comment
}

TEST(ConfigParse, KeysAreCaseInsensitive) {
    Config c = parse("LIVE = false\nMoDe = red-dot\nARM = a\nExclude = b\nESCAPE = none");
    EXPECT_FALSE(c.live);
    EXPECT_EQ(c.mode, Mode::redDot);
    EXPECT_EQ(c.armed, std::set<std::string>{"a"});
    EXPECT_EQ(c.excluded, std::set<std::string>{"b"});
    EXPECT_EQ(c.escape, Escape::none);
}

TEST(ConfigParse, ValuesKeepTheirCase) {
    EXPECT_EQ(parse("exclude = Com.Spotify.Client").excluded,
              std::set<std::string>{"Com.Spotify.Client"});
}

TEST(ConfigParse, LinesWithoutEqualsAndUnknownKeysAreSkipped) {
    Config c = parse("live false\nhello\nfoo = bar\n= value\n=\nlive = false\narms = x");
    Config expected;
    expected.live = false;
    EXPECT_EQ(c, expected);
}

TEST(ConfigParse, TabsAndUnicodeSpacesAreTrimmed) {
    Config c = parse(
        "\t live\t=\tfalse "
        "\t\n\u00A0arm\u00A0=\u00A0a.b\u00A0\n\u3000mode\u3000=\u3000red-dot\u3000");
    EXPECT_FALSE(c.live);
    EXPECT_EQ(c.armed, std::set<std::string>{"a.b"});
    EXPECT_EQ(c.mode, Mode::redDot);
}

TEST(ConfigParse, EverySpaceSeparatorIsTrimmed) {
    const char* spaces[] = {" ",      "\t",     "\u00A0", "\u1680", "\u2000", "\u2001",
                            "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007",
                            "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};
    for (const char* sp : spaces) {
        std::string s = sp;
        Config c = parse(s + "exclude" + s + s + "=" + s + "x.y" + s + s);
        EXPECT_EQ(c.excluded, std::set<std::string>{"x.y"}) << "space bytes: " << s.size();
    }
}

TEST(ConfigParse, InnerSpacesOfAValueAreKept) {
    EXPECT_EQ(parse("exclude =  a \u00A0 b  ").excluded, std::set<std::string>{"a \u00A0 b"});
}

TEST(ConfigParse, OtherInvisibleCharactersAreNotWhiteSpace) {
    // Zero-width space and the byte-order mark inside a line are not space separators.
    EXPECT_TRUE(parse("live\u200B = false").live);
    EXPECT_EQ(parse("exclude = \u200Bx").excluded, std::set<std::string>{"\u200Bx"});
    EXPECT_EQ(parse("exclude = x\uFEFF").excluded, std::set<std::string>{"x\uFEFF"});
}

TEST(ConfigParse, ALeadingByteOrderMarkIsNotPartOfTheText) {
    EXPECT_FALSE(parse("\xEF\xBB\xBFlive = false").live);
}

TEST(ConfigParse, NonAsciiKeyLettersAreNotFoldedToAscii) {
    // Lower-casing applies to ASCII letters; "LİVE" (dotted capital I) is another key.
    EXPECT_TRUE(parse("L\u0130VE = false").live);
}

TEST(ConfigParse, IdentifiersAreStoredExactlyAsWritten) {
    Config c = parse("arm = not a bundle id!\nexclude = ünïcödé.app\narm = 日本.アプリ");
    EXPECT_EQ(c.armed, (std::set<std::string>{"not a bundle id!", "日本.アプリ"}));
    EXPECT_EQ(c.excluded, std::set<std::string>{"ünïcödé.app"});
}

TEST(ConfigParse, RawValuesConvertExactly) {
    EXPECT_EQ(Config::rawValue(Mode::lastWindow), "last-window");
    EXPECT_EQ(Config::rawValue(Mode::redDot), "red-dot");
    EXPECT_EQ(Config::rawValue(Escape::shift), "shift");
    EXPECT_EQ(Config::rawValue(Escape::option), "option");
    EXPECT_EQ(Config::rawValue(Escape::none), "none");
    EXPECT_EQ(Config::modeFromRaw("last-window"), Mode::lastWindow);
    EXPECT_EQ(Config::modeFromRaw("red-dot"), Mode::redDot);
    EXPECT_EQ(Config::modeFromRaw("Red-Dot"), std::nullopt);
    EXPECT_EQ(Config::modeFromRaw(""), std::nullopt);
    EXPECT_EQ(Config::escapeFromRaw("shift"), Escape::shift);
    EXPECT_EQ(Config::escapeFromRaw("option"), Escape::option);
    EXPECT_EQ(Config::escapeFromRaw("none"), Escape::none);
    EXPECT_EQ(Config::escapeFromRaw("SHIFT"), std::nullopt);
    EXPECT_EQ(Config::escapeFromRaw(" shift"), std::nullopt);
    EXPECT_EQ(Config::escapeFromRaw("alt"), std::nullopt);
}

TEST(ConfigParse, ChangedNotificationName) {
    EXPECT_STREQ(queltoConfigChanged, "QueltoConfigChanged");
}

}  // namespace
}  // namespace quelto

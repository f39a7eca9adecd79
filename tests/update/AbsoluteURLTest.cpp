#include <gtest/gtest.h>

#include "update/AbsoluteURL.h"

namespace quelto {
namespace {

TEST(AbsoluteURL, AcceptsWebAddressesWithSchemeAndHost) {
    EXPECT_TRUE(isValidURL("https://quelto.app"));
    EXPECT_TRUE(isValidURL("https://quelto.app/api/latest"));
    EXPECT_TRUE(isValidURL("https://quelto.app/download/Quelto-1.2.dmg?from=app#top"));
    EXPECT_TRUE(isValidURL("http://127.0.0.1:8080/api/latest"));
    EXPECT_TRUE(isValidURL("http://[::1]:8080/x"));
    EXPECT_TRUE(isValidURL("https://user:pw@example.com/a%20b"));
    EXPECT_TRUE(isValidURL("HTTPS://Example.COM"));
}

TEST(AbsoluteURL, RefusesAnythingElse) {
    EXPECT_FALSE(isValidURL(""));
    EXPECT_FALSE(isValidURL("quelto.app/download"));
    EXPECT_FALSE(isValidURL("/download/Quelto.dmg"));
    EXPECT_FALSE(isValidURL("mailto:support@quelto.app"));
    EXPECT_FALSE(isValidURL("https://"));
    EXPECT_FALSE(isValidURL("https:///path"));
    EXPECT_FALSE(isValidURL("https://quelto.app/a b"));
    EXPECT_FALSE(isValidURL("https://quelto.app/%zz"));
    EXPECT_FALSE(isValidURL("https://quelto.app/%4"));
    EXPECT_FALSE(isValidURL("https://quelto.app/a#b#c"));
    EXPECT_FALSE(isValidURL("https://quelto.app:99999/"));
    EXPECT_FALSE(isValidURL("https://quelto.app:80x/"));
    EXPECT_FALSE(isValidURL("https://quelto.app/ünïcode"));
    EXPECT_FALSE(isValidURL("https://quelto.app/\n"));
    EXPECT_FALSE(isValidURL("1http://quelto.app"));
    EXPECT_FALSE(isValidURL("ht tp://quelto.app"));
    EXPECT_FALSE(isValidURL("http://[::1/x"));
    EXPECT_FALSE(isValidURL("http://[zz]/x"));
}

TEST(AbsoluteURL, ExposesItsParts) {
    auto url = AbsoluteURL::parse("HTTP://user@127.0.0.1:8080/api/latest");
    ASSERT_TRUE(url);
    EXPECT_EQ(url->scheme, "http");
    EXPECT_EQ(url->authority, "user@127.0.0.1:8080");
    EXPECT_EQ(url->host, "127.0.0.1");
    EXPECT_EQ(url->port, "8080");
    EXPECT_EQ(url->hostAndPort(), "127.0.0.1:8080");
    EXPECT_EQ(AbsoluteURL::parse("https://quelto.app")->hostAndPort(), "quelto.app");
}

}  // namespace
}  // namespace quelto

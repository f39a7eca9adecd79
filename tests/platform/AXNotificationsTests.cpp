// The notification table holds the names macOS gives its notifications, each exactly once,
// and maps every name back to its notification and nothing else to any.

#include <gtest/gtest.h>

#include <set>
#include <string_view>

#include "platform/AXNotifications.h"

namespace quelto {
namespace {

TEST(AXNotifications, NamesAreThePlatformsOwn) {
    // kAXWindowCreatedNotification and the others, as HIServices defines them.
    EXPECT_EQ(nameOf(AXNotification::windowCreated), "AXWindowCreated");
    EXPECT_EQ(nameOf(AXNotification::focusedWindowChanged), "AXFocusedWindowChanged");
    EXPECT_EQ(nameOf(AXNotification::elementDestroyed), "AXUIElementDestroyed");
    EXPECT_EQ(nameOf(AXNotification::windowMoved), "AXWindowMoved");
    EXPECT_EQ(nameOf(AXNotification::windowResized), "AXWindowResized");
    EXPECT_EQ(nameOf(AXNotification::titleChanged), "AXTitleChanged");
    EXPECT_EQ(nameOf(AXNotification::sheetCreated), "AXSheetCreated");
}

TEST(AXNotifications, EachNameMapsBackToItsNotification) {
    std::set<std::string_view> names;
    for (const AXNotificationName& entry : axNotificationNames) {
        EXPECT_TRUE(names.insert(entry.name).second) << entry.name << " is in the table twice";
        EXPECT_EQ(axNotificationNamed(entry.name), entry.notification) << entry.name;
    }
}

TEST(AXNotifications, OtherNamesAreNone) {
    EXPECT_EQ(axNotificationNamed("AXWindowMiniaturized"), std::nullopt);
    EXPECT_EQ(axNotificationNamed("axwindowcreated"), std::nullopt);
    EXPECT_EQ(axNotificationNamed(""), std::nullopt);
    EXPECT_EQ(axNotificationNamed("AXWindowCreated "), std::nullopt);
}

}  // namespace
}  // namespace quelto

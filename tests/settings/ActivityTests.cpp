// The in-memory journal of close decisions: newest first, at most 200 entries, and one
// change notification per record.

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

#include "platform/NotificationCenter.h"
#include "settings/Activity.h"
#include "settings/ActivityTestSeam.h"

namespace quelto {
namespace {

static_assert(std::is_aggregate_v<Activity::Entry>, "an entry is built with all fields at once");
// An entry is an immutable value: copied whole, never changed field by field or replaced.
static_assert(std::is_copy_constructible_v<Activity::Entry>);
static_assert(!std::is_copy_assignable_v<Activity::Entry>);
static_assert(!std::is_assignable_v<decltype((std::declval<Activity::Entry&>().app)), std::string>);
// The journal is the one shared instance, changed only through `record`: nobody else can
// make one, copy it or reach into its entries.
static_assert(!std::is_default_constructible_v<Activity>);
static_assert(!std::is_copy_constructible_v<Activity>);
static_assert(
    std::is_same_v<decltype(std::declval<const Activity&>().entries()), const Activity::Entries&>);

// Whether `Activity` offers a member named reset; it must not.
template <typename T, typename = void>
constexpr bool hasReset = false;
template <typename T>
constexpr bool hasReset<T, std::void_t<decltype(std::declval<T&>().reset())>> = true;
static_assert(!hasReset<Activity>, "the journal is emptied only through the test seam");

Activity::Entry entry(int n, bool quit = false) {
    return Activity::Entry{Date{1000.0 + n},
                           "App " + std::to_string(n),
                           "com.example.app" + std::to_string(n),
                           "red dot — after a dialog",
                           n % 3,
                           quit ? "quit" : "excluded — kept running",
                           quit};
}

class ActivityTest : public ::testing::Test {
  protected:
    void SetUp() override { ActivityTestSeam::startEmpty(); }
    void TearDown() override { ActivityTestSeam::startEmpty(); }
};

TEST_F(ActivityTest, AFreshJournalIsEmpty) {
    EXPECT_TRUE(Activity::shared().entries().empty());
}

TEST_F(ActivityTest, SharedIsOneInstance) {
    EXPECT_EQ(&Activity::shared(), &Activity::shared());
}

TEST_F(ActivityTest, NotificationName) {
    EXPECT_STREQ(Activity::changed, "QueltoActivityChanged");
}

TEST_F(ActivityTest, EntryKeepsEveryFieldUnchanged) {
    Activity::shared().record(entry(5, true));
    ASSERT_EQ(Activity::shared().entries().size(), 1u);
    const Activity::Entry& e = Activity::shared().entries()[0];
    EXPECT_EQ(e.at, Date{1005.0});
    EXPECT_EQ(e.app, "App 5");
    EXPECT_EQ(e.bundleID, "com.example.app5");
    EXPECT_EQ(e.cause, "red dot — after a dialog");
    EXPECT_EQ(e.windowsLeft, 2);
    EXPECT_EQ(e.outcome, "quit");
    EXPECT_TRUE(e.quit);
}

TEST_F(ActivityTest, NewestIsFirst) {
    for (int i = 0; i < 3; ++i) Activity::shared().record(entry(i));
    const auto& list = Activity::shared().entries();
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0], entry(2));
    EXPECT_EQ(list[1], entry(1));
    EXPECT_EQ(list[2], entry(0));
}

TEST_F(ActivityTest, TwoHundredAndOneRecordsKeepTheNewestTwoHundred) {
    for (int i = 0; i < 201; ++i) Activity::shared().record(entry(i));
    const auto& list = Activity::shared().entries();
    ASSERT_EQ(list.size(), 200u);
    EXPECT_EQ(ActivityTestSeam::limit(), 200u);
    EXPECT_EQ(list.front(), entry(200));
    EXPECT_EQ(list.back(), entry(1));
    for (const auto& e : list) EXPECT_NE(e, entry(0));
}

TEST_F(ActivityTest, ManyRecordsStayAtTheLimitInOrder) {
    for (int i = 0; i < 1000; ++i) Activity::shared().record(entry(i));
    const auto& list = Activity::shared().entries();
    ASSERT_EQ(list.size(), 200u);
    for (std::size_t k = 0; k < list.size(); ++k)
        EXPECT_EQ(list[k], entry(999 - static_cast<int>(k)));
}

TEST_F(ActivityTest, EveryRecordPostsExactlyOneNotification) {
    int posts = 0;
    Subscription sub =
        NotificationCenter::defaultCenter().addObserver(Activity::changed, [&] { ++posts; });
    for (int i = 0; i < 205; ++i) {
        Activity::shared().record(entry(i));
        EXPECT_EQ(posts, i + 1);  // posted synchronously, also once entries are dropped
    }
}

TEST_F(ActivityTest, ObserversSeeTheNewEntry) {
    std::size_t seenSize = 0;
    std::string seenApp;
    Subscription sub = NotificationCenter::defaultCenter().addObserver(Activity::changed, [&] {
        seenSize = Activity::shared().entries().size();
        seenApp = Activity::shared().entries().front().app;
    });
    Activity::shared().record(entry(1));
    Activity::shared().record(entry(2));
    EXPECT_EQ(seenSize, 2u);
    EXPECT_EQ(seenApp, "App 2");
}

TEST_F(ActivityTest, TheTestSeamStartsFromAnEmptyJournalWithoutAPost) {
    Activity::shared().record(entry(1));
    int posts = 0;
    Subscription sub =
        NotificationCenter::defaultCenter().addObserver(Activity::changed, [&] { ++posts; });
    ActivityTestSeam::startEmpty();
    EXPECT_TRUE(Activity::shared().entries().empty());
    EXPECT_EQ(posts, 0);
    Activity::shared().record(entry(2));
    ASSERT_EQ(Activity::shared().entries().size(), 1u);
    EXPECT_EQ(Activity::shared().entries()[0], entry(2));
}

}  // namespace
}  // namespace quelto

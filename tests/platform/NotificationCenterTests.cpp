// The process's notification centre: synchronous delivery by name, registration order,
// and registrations that end with their subscription.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/NotificationCenter.h"

namespace quelto {
namespace {

NotificationCenter& center() {
    return NotificationCenter::defaultCenter();
}

TEST(NotificationCenter, DefaultCenterIsOneInstance) {
    EXPECT_EQ(&NotificationCenter::defaultCenter(), &NotificationCenter::defaultCenter());
}

TEST(NotificationCenter, DeliversSynchronouslyToObserversOfTheName) {
    int a = 0, b = 0;
    Subscription sa = center().addObserver("test.A", [&] { ++a; });
    Subscription sb = center().addObserver("test.B", [&] { ++b; });
    center().post("test.A");
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 0);
    center().post("test.B");
    center().post("test.B");
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2);
}

TEST(NotificationCenter, NamesMatchExactly) {
    int n = 0;
    Subscription s = center().addObserver("QueltoConfigChanged", [&] { ++n; });
    center().post("queltoconfigchanged");
    center().post("QueltoConfigChanged ");
    EXPECT_EQ(n, 0);
    center().post("QueltoConfigChanged");
    EXPECT_EQ(n, 1);
}

TEST(NotificationCenter, CallsObserversInRegistrationOrder) {
    std::vector<int> order;
    Subscription s1 = center().addObserver("test.order", [&] { order.push_back(1); });
    Subscription s2 = center().addObserver("test.order", [&] { order.push_back(2); });
    Subscription s3 = center().addObserver("test.order", [&] { order.push_back(3); });
    center().post("test.order");
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(NotificationCenter, PostingWithoutObserversDoesNothing) {
    center().post("test.nobody");
    SUCCEED();
}

TEST(NotificationCenter, DestroyedSubscriptionStopsDelivery) {
    int n = 0;
    {
        Subscription s = center().addObserver("test.scope", [&] { ++n; });
        center().post("test.scope");
    }
    center().post("test.scope");
    EXPECT_EQ(n, 1);
}

TEST(NotificationCenter, CancelledSubscriptionStopsDelivery) {
    int n = 0;
    Subscription s = center().addObserver("test.cancel", [&] { ++n; });
    EXPECT_TRUE(s.active());
    s.cancel();
    EXPECT_FALSE(s.active());
    center().post("test.cancel");
    EXPECT_EQ(n, 0);
    s.cancel();  // a second cancel is harmless
}

TEST(NotificationCenter, MovedSubscriptionKeepsTheRegistration) {
    int n = 0;
    Subscription outer;
    {
        Subscription inner = center().addObserver("test.move", [&] { ++n; });
        outer = std::move(inner);
    }
    center().post("test.move");
    EXPECT_EQ(n, 1);
    outer = Subscription();  // assigning over it ends the registration
    center().post("test.move");
    EXPECT_EQ(n, 1);
}

TEST(NotificationCenter, OneOfSeveralObserversCanLeave) {
    int a = 0, b = 0;
    Subscription sa = center().addObserver("test.leave", [&] { ++a; });
    Subscription sb = center().addObserver("test.leave", [&] { ++b; });
    sa.cancel();
    center().post("test.leave");
    EXPECT_EQ(a, 0);
    EXPECT_EQ(b, 1);
}

TEST(NotificationCenter, ObserverMayUnsubscribeAndPostFromItsHandler) {
    int n = 0, nested = 0;
    Subscription other = center().addObserver("test.nested", [&] { ++nested; });
    Subscription self;
    self = center().addObserver("test.reentrant", [&] {
        ++n;
        center().post("test.nested");
        self.cancel();
    });
    center().post("test.reentrant");
    center().post("test.reentrant");
    EXPECT_EQ(n, 1);
    EXPECT_EQ(nested, 1);
}

TEST(NotificationCenter, PostHookSeesEveryPostAfterTheObservers) {
    std::vector<std::string> events;
    Subscription s = center().addObserver("test.hook", [&] { events.push_back("observer"); });
    center().setPostHook([&](const std::string& name) { events.push_back("hook " + name); });
    center().post("test.hook");
    center().post("test.unobserved");
    center().setPostHook(nullptr);
    center().post("test.hook");
    EXPECT_EQ(events, (std::vector<std::string>{"observer", "hook test.hook",
                                                "hook test.unobserved", "observer"}));
}

}  // namespace
}  // namespace quelto

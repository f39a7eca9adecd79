// Window identity and classification: standardness, liveness, the log texts, and WindowRef
// as a key.

#include "accessibility/WindowClassification.h"

#include <gtest/gtest.h>

#include <unordered_map>
#include <unordered_set>

#include "accessibility/WindowRef.h"
#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"

namespace quelto {
namespace {

using sim::ElementId;

class Classification : public ::testing::Test {
  protected:
    Classification() {
        desktop.addApp(sim::testing::app(7, "Seven"));
        window = desktop.addWindow(7, sim::testing::window("Doc"));
        element = desktop.element(window);
    }
    sim::SimDesktop desktop;
    ElementId window = 0;
    AXElement element;
};

TEST_F(Classification, StandardWindow) {
    EXPECT_EQ(standardness(element), Standardness::standard());
    EXPECT_TRUE(isStandardWindow(element));
}

TEST_F(Classification, WindowWithoutSubroleIsStandard) {
    desktop.failAttribute(window, "AXSubrole", axerror::attributeUnsupported);
    EXPECT_EQ(standardness(element), Standardness::standard());
    desktop.failAttribute(window, "AXSubrole", axerror::noValue);
    EXPECT_EQ(standardness(element), Standardness::standard());
    desktop.clearAttribute(window, "AXSubrole");
    desktop.setSubrole(window, std::nullopt);
    EXPECT_EQ(standardness(element), Standardness::standard());
}

TEST_F(Classification, SubroleTimeOutIsUnreadable) {
    desktop.injectError(window, "AXSubrole", axerror::cannotComplete);
    EXPECT_EQ(standardness(element), Standardness::unreadable(axerror::cannotComplete));
    desktop.injectError(window, "AXSubrole", axerror::failure);
    EXPECT_EQ(standardness(element), Standardness::unreadable(axerror::failure));
    desktop.injectError(window, "AXSubrole", axerror::cannotComplete);
    EXPECT_FALSE(isStandardWindow(element));
    EXPECT_TRUE(isStandardWindow(element));  // the injected failure was used up
}

TEST_F(Classification, DialogIsOther) {
    desktop.setSubrole(window, "AXDialog");
    EXPECT_EQ(standardness(element), Standardness::other());
    desktop.setSubrole(window, "AXFloatingWindow");
    EXPECT_EQ(standardness(element), Standardness::other());
    desktop.setSubrole(window, "axstandardwindow");  // comparisons are exact
    EXPECT_EQ(standardness(element), Standardness::other());
}

TEST_F(Classification, SheetIsOtherWithoutReadingTheSubrole) {
    ElementId sheet = desktop.showSheet(window);
    desktop.resetCounters();
    EXPECT_EQ(standardness(desktop.element(sheet)), Standardness::other());
    EXPECT_EQ(desktop.readCount("AXRole"), 1u);
    EXPECT_EQ(desktop.readCount("AXSubrole"), 0u);
}

TEST_F(Classification, RoleReadSucceedingWithNoValueIsUnreadableWithSuccess) {
    desktop.setAttribute(window, "AXRole", std::nullopt);
    EXPECT_EQ(standardness(element), Standardness::unreadable(axerror::success));
    EXPECT_FALSE(isStandardWindow(element));
}

TEST_F(Classification, RoleThatIsNotTextIsUnreadable) {
    desktop.setAttribute(window, "AXRole", AXValue(AXNumber{1}));
    EXPECT_EQ(standardness(element), Standardness::unreadable(axerror::success));
}

TEST_F(Classification, RoleReadFailureIsUnreadableWithItsError) {
    desktop.injectError(window, "AXRole", axerror::cannotComplete);
    desktop.resetCounters();
    EXPECT_EQ(standardness(element), Standardness::unreadable(axerror::cannotComplete));
    EXPECT_EQ(desktop.readCount("AXSubrole"), 0u);
}

TEST_F(Classification, SubroleWithNoValueOrNotTextIsUnreadable) {
    desktop.setAttribute(window, "AXSubrole", std::nullopt);
    EXPECT_EQ(standardness(element), Standardness::unreadable(axerror::success));
    desktop.setAttribute(window, "AXSubrole", AXValue(true));
    EXPECT_EQ(standardness(element), Standardness::unreadable(axerror::success));
}

TEST_F(Classification, NotAWindowIsOther) {
    EXPECT_EQ(standardness(desktop.applicationElement(7)), Standardness::other());
    EXPECT_EQ(standardness(desktop.element(desktop.closeButtonOf(window))), Standardness::other());
}

TEST_F(Classification, DestroyedWindowIsUnreadable) {
    desktop.destroyWindow(window);
    EXPECT_EQ(standardness(element), Standardness::unreadable(axerror::invalidUIElement));
}

TEST_F(Classification, AliveUnlessInvalidElement) {
    EXPECT_TRUE(isAlive(element));
    desktop.injectError(window, "AXRole", axerror::cannotComplete);
    EXPECT_TRUE(isAlive(element));  // a time-out is not a death
    desktop.injectError(window, "AXRole", axerror::noValue);
    EXPECT_TRUE(isAlive(element));
    desktop.injectError(window, "AXRole", axerror::failure);
    EXPECT_TRUE(isAlive(element));
    desktop.resetCounters();
    desktop.destroyWindow(window);
    EXPECT_FALSE(isAlive(element));
    EXPECT_EQ(desktop.readCount("AXRole"), 1u);
}

TEST_F(Classification, SubroleDescription) {
    EXPECT_EQ(subroleDescription(element), "AXStandardWindow");
    desktop.setSubrole(window, std::nullopt);
    EXPECT_EQ(subroleDescription(element), "<no subrole>");
    desktop.setAttribute(window, "AXSubrole", AXValue(AXNumber{1}));
    EXPECT_EQ(subroleDescription(element), "<no subrole>");
}

TEST_F(Classification, WindowTitle) {
    EXPECT_EQ(windowTitle(element), "Doc");
    desktop.setTitle(window, "");
    EXPECT_EQ(windowTitle(element), "<untitled>");
    desktop.failAttribute(window, "AXTitle", axerror::attributeUnsupported);
    EXPECT_EQ(windowTitle(element), "<untitled>");
    desktop.setAttribute(window, "AXTitle", AXValue(AXNumber{4}));
    EXPECT_EQ(windowTitle(element), "<untitled>");
}

TEST_F(Classification, WindowRefsOfDistinctObjectsOfOneWindowAreEqual) {
    WindowRef a{desktop.element(window)};
    WindowRef b{desktop.element(window)};
    ASSERT_NE(a.element.get(), b.element.get());
    EXPECT_TRUE(a == b);
    EXPECT_EQ(std::hash<WindowRef>{}(a), std::hash<WindowRef>{}(b));

    std::unordered_set<WindowRef> set{a};
    EXPECT_EQ(set.count(b), 1u);
    EXPECT_FALSE(set.insert(b).second);

    ElementId other = desktop.addWindow(7, sim::testing::window("Other"));
    WindowRef c{desktop.element(other)};
    EXPECT_FALSE(a == c);
    EXPECT_EQ(set.count(c), 0u);

    std::unordered_map<WindowRef, int> map;
    map[a] = 1;
    map[WindowRef{desktop.element(window)}] += 1;
    map[c] = 5;
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(map.at(b), 2);
}

TEST_F(Classification, WindowRefsFromAnArrayReadMatchOnesFromTheDesktop) {
    std::optional<AXValue> v;
    desktop.applicationElement(7)->copyAttributeValue("AXWindows", v);
    const AXArray& list = *v->get<AXArray>();
    std::unordered_set<WindowRef> set{WindowRef{*list[0].get<AXElement>()}};
    EXPECT_EQ(set.count(WindowRef{element}), 1u);
}

TEST_F(Classification, WindowRefBuildsWithoutAPlatformCall) {
    desktop.resetCounters();
    WindowRef a{desktop.element(window)};
    WindowRef b{desktop.element(window)};
    (void)(a == b);
    (void)std::hash<WindowRef>{}(a);
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
}

TEST_F(Classification, NullWindowRefs) {
    WindowRef none;
    EXPECT_TRUE(none == WindowRef{});
    EXPECT_FALSE(none == WindowRef{element});
    EXPECT_FALSE(WindowRef{element} == none);
}

}  // namespace
}  // namespace quelto

// Elements as Accessibility sees them on the simulated desktop: reads, overrides, injected
// errors, counters and the changes windows go through.

#include <gtest/gtest.h>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"

namespace quelto::sim {
namespace {

AXError read(const AXElement& e, const std::string& attribute, std::optional<AXValue>& value) {
    return e->copyAttributeValue(attribute, value);
}

class SimElements : public ::testing::Test {
  protected:
    SimElements() { desktop.addApp(testing::app(42, "A", "com.example.A")); }
    SimDesktop desktop;
};

TEST_F(SimElements, ApplicationElementListsLiveWindowsFrontToBack) {
    ElementId w1 = desktop.addWindow(42, testing::window("one"));
    ElementId w2 = desktop.addWindow(42, testing::window("two"));
    std::optional<AXValue> v;
    ASSERT_EQ(read(desktop.applicationElement(42), "AXRole", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "AXApplication");
    ASSERT_EQ(read(desktop.applicationElement(42), "AXWindows", v), axerror::success);
    const AXArray* list = v->get<AXArray>();
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->size(), 2u);
    EXPECT_TRUE((*(*list)[0].get<AXElement>())->isSameElement(*desktop.element(w2)));
    EXPECT_TRUE((*(*list)[1].get<AXElement>())->isSameElement(*desktop.element(w1)));
    ASSERT_EQ(read(desktop.applicationElement(42), "AXFocusedWindow", v), axerror::success);
    EXPECT_TRUE((*v->get<AXElement>())->isSameElement(*desktop.element(w2)));
    EXPECT_EQ(desktop.windowsOf(42), (std::vector<ElementId>{w2, w1}));
    EXPECT_EQ(desktop.windowNamed(42, "one"), w1);
    EXPECT_EQ(desktop.windowNamed(42, "three"), std::nullopt);
}

TEST_F(SimElements, HandlesAreFreshObjectsForTheSameElement) {
    ElementId w = desktop.addWindow(42, WindowDescription{});
    AXElement a = desktop.element(w);
    AXElement b = desktop.element(w);
    EXPECT_NE(a.get(), b.get());
    EXPECT_TRUE(a->isSameElement(*b));
    EXPECT_EQ(a->elementHash(), b->elementHash());
    EXPECT_FALSE(a->isSameElement(*desktop.element(desktop.closeButtonOf(w))));
}

TEST_F(SimElements, WindowAttributes) {
    ElementId w = desktop.addWindow(42, testing::window("Doc", Rect{{10, 20}, {300, 200}}));
    AXElement e = desktop.element(w);
    std::optional<AXValue> v;
    ASSERT_EQ(read(e, "AXRole", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "AXWindow");
    ASSERT_EQ(read(e, "AXSubrole", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "AXStandardWindow");
    ASSERT_EQ(read(e, "AXTitle", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "Doc");
    ASSERT_EQ(read(e, "AXPosition", v), axerror::success);
    EXPECT_EQ(*v->get<Point>(), (Point{10, 20}));
    ASSERT_EQ(read(e, "AXSize", v), axerror::success);
    EXPECT_EQ(*v->get<Size>(), (Size{300, 200}));
    EXPECT_EQ(read(e, "AXNoSuchThing", v), axerror::attributeUnsupported);
    EXPECT_FALSE(v.has_value());

    desktop.setSubrole(w, std::nullopt);
    EXPECT_EQ(read(e, "AXSubrole", v), axerror::attributeUnsupported);
}

TEST_F(SimElements, CloseButtonDerivedFromTheWindowAndMovingWithIt) {
    ElementId w = desktop.addWindow(42, testing::window(Rect{{100, 100}, {800, 600}}));
    EXPECT_EQ(desktop.closeButtonFrame(w), (Rect{{108, 106}, {14, 16}}));
    std::optional<AXValue> v;
    ASSERT_EQ(read(desktop.element(w), "AXCloseButton", v), axerror::success);
    AXElement button = *v->get<AXElement>();
    ASSERT_EQ(read(button, "AXRole", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "AXButton");
    ASSERT_EQ(read(button, "AXSubrole", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "AXCloseButton");
    ASSERT_EQ(read(button, "AXEnabled", v), axerror::success);
    EXPECT_EQ(*v->get<bool>(), true);
    desktop.moveWindow(w, Point{200, 50});
    ASSERT_EQ(read(button, "AXPosition", v), axerror::success);
    EXPECT_EQ(*v->get<Point>(), (Point{208, 56}));
    ASSERT_EQ(read(button, "AXSize", v), axerror::success);
    EXPECT_EQ(*v->get<Size>(), (Size{14, 16}));
}

TEST_F(SimElements, ExplicitCloseButtonFrameMovesWithItsWindow) {
    WindowDescription desc;
    desc.closeButton.frame = Rect{{100, 50}, {14, 16}};
    ElementId w = desktop.addWindow(42, desc);
    EXPECT_EQ(desktop.closeButtonFrame(w), (Rect{{100, 50}, {14, 16}}));
    desktop.moveWindow(w, Point{110, 130});
    EXPECT_EQ(desktop.closeButtonFrame(w), (Rect{{110, 80}, {14, 16}}));
}

TEST_F(SimElements, MissingCloseButtonAndUnreadableEnabled) {
    WindowDescription desc;
    desc.closeButton.present = false;
    desc.closeButton.missingError = axerror::noValue;
    ElementId w = desktop.addWindow(42, desc);
    std::optional<AXValue> v;
    EXPECT_EQ(read(desktop.element(w), "AXCloseButton", v), axerror::noValue);
    EXPECT_EQ(desktop.closeButtonFrame(w), std::nullopt);

    CloseButtonDescription button;
    button.enabled = std::nullopt;
    desktop.setCloseButton(w, button);
    ASSERT_EQ(read(desktop.element(w), "AXCloseButton", v), axerror::success);
    EXPECT_EQ(read(*v->get<AXElement>(), "AXEnabled", v), axerror::noValue);
}

TEST_F(SimElements, ChildrenHoldTheCloseButtonAndSheets) {
    ElementId w = desktop.addWindow(42, WindowDescription{});
    ElementId sheet = desktop.showSheet(w);
    std::optional<AXValue> v;
    ASSERT_EQ(read(desktop.element(w), "AXChildren", v), axerror::success);
    const AXArray& children = *v->get<AXArray>();
    ASSERT_EQ(children.size(), 2u);
    EXPECT_TRUE((*children[1].get<AXElement>())->isSameElement(*desktop.element(sheet)));
    ASSERT_EQ(read(*children[1].get<AXElement>(), "AXRole", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "AXSheet");
    desktop.answerSheet(w, false);
    ASSERT_EQ(read(desktop.element(w), "AXChildren", v), axerror::success);
    EXPECT_EQ(v->get<AXArray>()->size(), 1u);
    EXPECT_TRUE(desktop.isElementAlive(w));
    EXPECT_FALSE(desktop.isElementAlive(sheet));
}

TEST_F(SimElements, DestroyingASheetTakesItOffItsWindow) {
    ElementId w = desktop.addWindow(42, WindowDescription{});
    ElementId sheet = desktop.showSheet(w);
    desktop.destroyWindow(sheet);
    EXPECT_FALSE(desktop.isElementAlive(sheet));
    EXPECT_TRUE(desktop.isElementAlive(w));
    std::optional<AXValue> v;
    ASSERT_EQ(read(desktop.element(w), "AXChildren", v), axerror::success);
    EXPECT_EQ(v->get<AXArray>()->size(), 1u);
    EXPECT_EQ(read(desktop.element(sheet), "AXRole", v), axerror::invalidUIElement);
}

TEST_F(SimElements, DestroyingAWindowTakesItsSheetsAlong) {
    ElementId w = desktop.addWindow(42, WindowDescription{});
    ElementId sheet = desktop.showSheet(w);
    desktop.destroyWindow(w);
    EXPECT_FALSE(desktop.isElementAlive(sheet));
}

TEST_F(SimElements, DestroyedElementsFailWithInvalidElement) {
    ElementId w = desktop.addWindow(42, WindowDescription{});
    AXElement e = desktop.element(w);
    AXElement button = desktop.element(desktop.closeButtonOf(w));
    desktop.destroyWindow(w);
    std::optional<AXValue> v;
    EXPECT_EQ(read(e, "AXRole", v), axerror::invalidUIElement);
    EXPECT_EQ(read(button, "AXRole", v), axerror::invalidUIElement);
    EXPECT_TRUE(desktop.windowsOf(42).empty());
}

TEST_F(SimElements, SetAndFailAnyAttributeWithAnyValue) {
    ElementId w = desktop.addWindow(42, WindowDescription{});
    desktop.setAttribute(w, "AXCloseButton", AXValue("not an element"));
    std::optional<AXValue> v;
    ASSERT_EQ(read(desktop.element(w), "AXCloseButton", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "not an element");
    desktop.setAttribute(w, "AXRole", std::nullopt);
    ASSERT_EQ(read(desktop.element(w), "AXRole", v), axerror::success);
    EXPECT_FALSE(v.has_value());
    desktop.failAttribute(w, "AXTitle", axerror::cannotComplete);
    EXPECT_EQ(read(desktop.element(w), "AXTitle", v), axerror::cannotComplete);
    desktop.setAttributeResult(w, "AXSize", axerror::failure, AXValue(Size{1, 2}));
    EXPECT_EQ(read(desktop.element(w), "AXSize", v), axerror::failure);
    ASSERT_TRUE(v.has_value());
    desktop.clearAttribute(w, "AXRole");
    ASSERT_EQ(read(desktop.element(w), "AXRole", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "AXWindow");
}

TEST_F(SimElements, InjectedErrorsFailOnceNTimesOrUntilCleared) {
    ElementId w = desktop.addWindow(42, WindowDescription{});
    AXElement e = desktop.element(w);
    std::optional<AXValue> v;
    desktop.injectError(w, "AXRole", axerror::cannotComplete);
    EXPECT_EQ(read(e, "AXRole", v), axerror::cannotComplete);
    EXPECT_EQ(read(e, "AXRole", v), axerror::success);

    desktop.injectError(w, "AXTitle", axerror::failure, 2);
    EXPECT_EQ(read(e, "AXTitle", v), axerror::failure);
    EXPECT_EQ(read(e, "AXTitle", v), axerror::failure);
    EXPECT_EQ(read(e, "AXTitle", v), axerror::success);

    desktop.injectError(w, "*", axerror::cannotComplete, -1);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(read(e, "AXPosition", v), axerror::cannotComplete);
    desktop.clearInjectedErrors();
    EXPECT_EQ(read(e, "AXPosition", v), axerror::success);
}

TEST_F(SimElements, EveryReadIsCounted) {
    ElementId w = desktop.addWindow(42, WindowDescription{});
    AXElement e = desktop.element(w);
    std::optional<AXValue> v;
    read(e, "AXRole", v);
    read(e, "AXRole", v);
    desktop.injectError(w, "AXTitle", axerror::cannotComplete);
    read(e, "AXTitle", v);
    EXPECT_EQ(desktop.accessibilityReadCount(), 3u);
    EXPECT_EQ(desktop.readCount("AXRole"), 2u);
    EXPECT_EQ(desktop.readCount("AXTitle"), 1u);
    EXPECT_EQ(desktop.readCount(w, "AXRole"), 2u);
    EXPECT_EQ(desktop.readCount("AXSize"), 0u);
    desktop.resetCounters();
    EXPECT_EQ(desktop.accessibilityReadCount(), 0u);
    EXPECT_EQ(desktop.readCount("AXRole"), 0u);
}

TEST_F(SimElements, MessagingTimeoutIsRecorded) {
    AXElement app = desktop.createApplication(42);
    EXPECT_EQ(app->setMessagingTimeout(1.0f), axerror::success);
    EXPECT_EQ(desktop.messagingTimeout(desktop.applicationElementId(42)), 1.0f);
}

TEST_F(SimElements, ElementsOfAnUnknownProcessCannotComplete) {
    std::optional<AXValue> v;
    EXPECT_EQ(read(desktop.createApplication(777), "AXWindows", v), axerror::cannotComplete);
}

TEST_F(SimElements, HandlesOutlivingTheDesktopFailQuietly) {
    AXElement e;
    {
        SimDesktop other;
        other.addApp(testing::app(5));
        e = other.element(other.addWindow(5, WindowDescription{}));
    }
    std::optional<AXValue> v;
    EXPECT_EQ(e->copyAttributeValue("AXRole", v), axerror::invalidUIElement);
}

TEST_F(SimElements, DialogsAreWindowsOfTheirSubrole) {
    ElementId d = desktop.showDialog(42, "AXSystemDialog", "Alert");
    std::optional<AXValue> v;
    ASSERT_EQ(read(desktop.element(d), "AXSubrole", v), axerror::success);
    EXPECT_EQ(*v->get<std::string>(), "AXSystemDialog");
    EXPECT_EQ(desktop.windowsOf(42).front(), d);
}

}  // namespace
}  // namespace quelto::sim

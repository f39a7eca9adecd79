// The typed readers of one Accessibility attribute and the names of the error codes.

#include "accessibility/AXRead.h"

#include <gtest/gtest.h>

#include "sim/SimDesktop.h"
#include "tests/sim/Descriptions.h"

namespace quelto {
namespace {

using sim::ElementId;

class AXReadTest : public ::testing::Test {
  protected:
    AXReadTest() {
        desktop.addApp(sim::testing::app(7, "Seven"));
        window = desktop.addWindow(7, sim::testing::window("Doc", Rect{{10, 20}, {300, 200}}));
        element = desktop.element(window);
    }
    sim::SimDesktop desktop;
    ElementId window = 0;
    AXElement element;
};

TEST_F(AXReadTest, ReadSucceedingWithNoValue) {
    desktop.setAttribute(window, "AXThing", std::nullopt);
    EXPECT_EQ(axCopy(element, "AXThing"), std::nullopt);
    Read<AXValue> checked = axCopyChecked(element, "AXThing");
    EXPECT_EQ(checked.value, std::nullopt);
    EXPECT_EQ(checked.error, axerror::success);
    EXPECT_TRUE(axElements(element, "AXThing").empty());
    EXPECT_EQ(axBool(element, "AXThing"), std::nullopt);
    EXPECT_EQ(axString(element, "AXThing"), std::nullopt);
    EXPECT_EQ(axElement(element, "AXThing"), nullptr);
    EXPECT_EQ(axPoint(element, "AXThing"), std::nullopt);
    EXPECT_EQ(axSize(element, "AXThing"), std::nullopt);
}

TEST_F(AXReadTest, EachReaderMakesExactlyOneRoundTrip) {
    desktop.resetCounters();
    axCopy(element, "AXTitle");
    axCopyChecked(element, "AXTitle");
    axString(element, "AXTitle");
    axBool(element, "AXTitle");
    axElement(element, "AXTitle");
    axElements(element, "AXTitle");
    axPoint(element, "AXTitle");
    axSize(element, "AXTitle");
    EXPECT_EQ(desktop.readCount("AXTitle"), 8u);
    EXPECT_EQ(desktop.accessibilityReadCount(), 8u);
    desktop.resetCounters();
    EXPECT_EQ(axFrame(element), (Rect{{10, 20}, {300, 200}}));
    EXPECT_EQ(desktop.readCount("AXPosition"), 1u);
    EXPECT_EQ(desktop.readCount("AXSize"), 1u);
    EXPECT_EQ(desktop.accessibilityReadCount(), 2u);
}

TEST_F(AXReadTest, CheckedReadHandsBackTheError) {
    desktop.injectError(window, "AXTitle", axerror::cannotComplete);
    Read<AXValue> checked = axCopyChecked(element, "AXTitle");
    EXPECT_EQ(checked.value, std::nullopt);
    EXPECT_EQ(checked.error, axerror::cannotComplete);
    checked = axCopyChecked(element, "AXTitle");
    EXPECT_EQ(checked.error, axerror::success);
    ASSERT_TRUE(checked.value.has_value());
    EXPECT_EQ(*checked.value->get<std::string>(), "Doc");
}

TEST_F(AXReadTest, ValueFilledInAlongsideAnErrorIsDiscarded) {
    desktop.setAttributeResult(window, "AXTitle", axerror::failure, AXValue("stale"));
    desktop.setAttributeResult(window, "AXPosition", axerror::cannotComplete, AXValue(Point{1, 2}));
    EXPECT_EQ(axCopy(element, "AXTitle"), std::nullopt);
    Read<AXValue> checked = axCopyChecked(element, "AXTitle");
    EXPECT_EQ(checked.value, std::nullopt);
    EXPECT_EQ(checked.error, axerror::failure);
    EXPECT_EQ(axString(element, "AXTitle"), std::nullopt);
    EXPECT_EQ(axPoint(element, "AXPosition"), std::nullopt);
}

TEST_F(AXReadTest, CloseButtonThatIsNotAnElement) {
    desktop.setAttribute(window, "AXCloseButton", AXValue("a string"));
    EXPECT_EQ(axElement(element, "AXCloseButton"), nullptr);
    desktop.setAttribute(window, "AXCloseButton", AXValue(AXNumber{3}));
    EXPECT_EQ(axElement(element, "AXCloseButton"), nullptr);
    desktop.clearAttribute(window, "AXCloseButton");
    AXElement button = axElement(element, "AXCloseButton");
    ASSERT_NE(button, nullptr);
    EXPECT_TRUE(button->isSameElement(*desktop.element(desktop.closeButtonOf(window))));
}

TEST_F(AXReadTest, FrameStopsAfterAFailedPositionRead) {
    desktop.injectError(window, "AXPosition", axerror::cannotComplete);
    desktop.resetCounters();
    EXPECT_EQ(axFrame(element), std::nullopt);
    EXPECT_EQ(desktop.readCount("AXPosition"), 1u);
    EXPECT_EQ(desktop.readCount("AXSize"), 0u);
}

TEST_F(AXReadTest, FrameOfAWrongTypedPositionStopsToo) {
    desktop.setAttribute(window, "AXPosition", AXValue(Size{1, 2}));
    desktop.resetCounters();
    EXPECT_EQ(axFrame(element), std::nullopt);
    EXPECT_EQ(desktop.readCount("AXSize"), 0u);
}

TEST_F(AXReadTest, FrameWithAFailedSizeRead) {
    desktop.failAttribute(window, "AXSize", axerror::noValue);
    EXPECT_EQ(axFrame(element), std::nullopt);
}

TEST_F(AXReadTest, FrameIsTakenUnchanged) {
    desktop.setAttribute(window, "AXPosition", AXValue(Point{-10.25, -3.5}));
    desktop.setAttribute(window, "AXSize", AXValue(Size{0.5, 7.75}));
    EXPECT_EQ(axFrame(element), (Rect{{-10.25, -3.5}, {0.5, 7.75}}));
}

TEST_F(AXReadTest, PointAndSizeRequireTheirOwnType) {
    EXPECT_EQ(axPoint(element, "AXPosition"), (Point{10, 20}));
    EXPECT_EQ(axSize(element, "AXSize"), (Size{300, 200}));
    EXPECT_EQ(axPoint(element, "AXSize"), std::nullopt);
    EXPECT_EQ(axSize(element, "AXPosition"), std::nullopt);
    EXPECT_EQ(axPoint(element, "AXTitle"), std::nullopt);
    desktop.setAttribute(window, "AXPosition", AXValue(AXOpaque{"AXValueCGRect"}));
    EXPECT_EQ(axPoint(element, "AXPosition"), std::nullopt);
}

TEST_F(AXReadTest, BoolFromABooleanOrANumberThatIsExactlyZeroOrOne) {
    desktop.setAttribute(window, "AXFlag", AXValue(true));
    EXPECT_EQ(axBool(element, "AXFlag"), true);
    desktop.setAttribute(window, "AXFlag", AXValue(false));
    EXPECT_EQ(axBool(element, "AXFlag"), false);
    desktop.setAttribute(window, "AXFlag", AXValue(AXNumber{1}));
    EXPECT_EQ(axBool(element, "AXFlag"), true);
    desktop.setAttribute(window, "AXFlag", AXValue(AXNumber{0}));
    EXPECT_EQ(axBool(element, "AXFlag"), false);
    desktop.setAttribute(window, "AXFlag", AXValue(AXNumber{2}));
    EXPECT_EQ(axBool(element, "AXFlag"), std::nullopt);
    desktop.setAttribute(window, "AXFlag", AXValue(AXNumber{0.5}));
    EXPECT_EQ(axBool(element, "AXFlag"), std::nullopt);
    desktop.setAttribute(window, "AXFlag", AXValue("true"));
    EXPECT_EQ(axBool(element, "AXFlag"), std::nullopt);
    desktop.failAttribute(window, "AXFlag", axerror::cannotComplete);
    EXPECT_EQ(axBool(element, "AXFlag"), std::nullopt);
}

TEST_F(AXReadTest, StringOnlyFromAString) {
    EXPECT_EQ(axString(element, "AXTitle"), "Doc");
    desktop.setAttribute(window, "AXTitle", AXValue(AXNumber{5}));
    EXPECT_EQ(axString(element, "AXTitle"), std::nullopt);
    desktop.setAttribute(window, "AXTitle", AXValue(std::string()));
    EXPECT_EQ(axString(element, "AXTitle"), "");
}

TEST_F(AXReadTest, ElementsOfAnArrayOfElements) {
    ElementId second = desktop.addWindow(7, sim::testing::window("Second"));
    auto windows = axElements(desktop.applicationElement(7), "AXWindows");
    ASSERT_EQ(windows.size(), 2u);
    EXPECT_TRUE(windows[0]->isSameElement(*desktop.element(second)));
    EXPECT_TRUE(windows[1]->isSameElement(*element));
}

TEST_F(AXReadTest, ArrayHoldingANonElementGivesTheEmptyList) {
    AXArray mixed{AXValue(desktop.element(window)), AXValue("not an element")};
    desktop.setAttribute(window, "AXChildren", AXValue(mixed));
    EXPECT_TRUE(axElements(element, "AXChildren").empty());
    AXArray holdingNull{AXValue(AXElement{})};
    desktop.setAttribute(window, "AXChildren", AXValue(holdingNull));
    EXPECT_TRUE(axElements(element, "AXChildren").empty());
}

TEST_F(AXReadTest, ValueThatIsNotAnArrayGivesTheEmptyList) {
    desktop.setAttribute(window, "AXChildren", AXValue(desktop.element(window)));
    EXPECT_TRUE(axElements(element, "AXChildren").empty());
    desktop.injectError(window, "AXChildren", axerror::cannotComplete);
    EXPECT_TRUE(axElements(element, "AXChildren").empty());
}

TEST_F(AXReadTest, EmptyArrayGivesTheEmptyList) {
    desktop.setAttribute(window, "AXChildren", AXValue(AXArray{}));
    EXPECT_TRUE(axElements(element, "AXChildren").empty());
}

TEST_F(AXReadTest, DestroyedElementReadsNothing) {
    desktop.destroyWindow(window);
    EXPECT_EQ(axCopyChecked(element, "AXRole").error, axerror::invalidUIElement);
    EXPECT_EQ(axString(element, "AXRole"), std::nullopt);
    EXPECT_EQ(axFrame(element), std::nullopt);
}

TEST_F(AXReadTest, NothingIsCached) {
    EXPECT_EQ(axString(element, "AXTitle"), "Doc");
    desktop.setTitle(window, "Renamed");
    EXPECT_EQ(axString(element, "AXTitle"), "Renamed");
}

TEST(AXErrorName, NamedCodes) {
    EXPECT_EQ(AXError(0).name(), "success");
    EXPECT_EQ(axerror::invalidUIElement.name(), "invalidUIElement");
    EXPECT_EQ(axerror::cannotComplete.name(), "cannotComplete");
    EXPECT_EQ(axerror::attributeUnsupported.name(), "attributeUnsupported");
    EXPECT_EQ(axerror::notImplemented.name(), "notImplemented");
    EXPECT_EQ(axerror::apiDisabled.name(), "apiDisabled");
    EXPECT_EQ(axerror::noValue.name(), "noValue");
}

TEST(AXErrorName, EveryOtherCodeInTheFallbackForm) {
    EXPECT_EQ(axerror::illegalArgument.name(), "error -25201");
    EXPECT_EQ(axerror::failure.name(), "error -25200");
    EXPECT_EQ(axerror::invalidUIElementObserver.name(), "error -25203");
    EXPECT_EQ(axerror::actionUnsupported.name(), "error -25206");
    EXPECT_EQ(axerror::notificationUnsupported.name(), "error -25207");
    EXPECT_EQ(axerror::notificationAlreadyRegistered.name(), "error -25209");
    EXPECT_EQ(axerror::notificationNotRegistered.name(), "error -25210");
    EXPECT_EQ(axerror::parameterizedAttributeUnsupported.name(), "error -25213");
    EXPECT_EQ(axerror::notEnoughPrecision.name(), "error -25214");
    EXPECT_EQ(AXError(-1).name(), "error -1");
    EXPECT_EQ(AXError(12).name(), "error 12");
    EXPECT_EQ(AXError(INT32_MIN).name(), "error -2147483648");
}

}  // namespace
}  // namespace quelto

// Values copied out of another application's interface, converted from the real Core
// Foundation and Accessibility types into the seam's AXValue.

#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/macos/CFHolder.h"
#include "platform/macos/CFStrings.h"
#include "platform/macos/MacAXElement.h"
#include "platform/macos/MacAXValue.h"

namespace quelto::mac {
namespace {

// Owns one Core Foundation reference for the length of a test.
using Owned = CFHolder<CFTypeRef>;

TEST(MacAXValueTest, AStringKeepsItsNonASCIICharacters) {
    const std::string text = "Zoë’s Café — ☕ 東京";
    Owned string(createCFString(text));
    ASSERT_NE(string.get(), nullptr);
    AXValue value = convertCopiedValue(string.get());
    ASSERT_NE(value.get<std::string>(), nullptr);
    EXPECT_EQ(*value.get<std::string>(), text);
}

TEST(MacAXValueTest, AnEmptyStringStaysAString) {
    AXValue value = convertCopiedValue(CFSTR(""));
    ASSERT_NE(value.get<std::string>(), nullptr);
    EXPECT_EQ(*value.get<std::string>(), "");
}

TEST(MacAXValueTest, BooleansAreBooleansNotNumbers) {
    AXValue yes = convertCopiedValue(kCFBooleanTrue);
    AXValue no = convertCopiedValue(kCFBooleanFalse);
    ASSERT_NE(yes.get<bool>(), nullptr);
    ASSERT_NE(no.get<bool>(), nullptr);
    EXPECT_TRUE(*yes.get<bool>());
    EXPECT_FALSE(*no.get<bool>());
}

TEST(MacAXValueTest, IntegerAndFloatingNumbersBecomeNumbers) {
    int whole = 42;
    double fraction = -2.5;
    Owned integer(CFNumberCreate(nullptr, kCFNumberIntType, &whole));
    Owned floating(CFNumberCreate(nullptr, kCFNumberDoubleType, &fraction));
    AXValue a = convertCopiedValue(integer.get());
    AXValue b = convertCopiedValue(floating.get());
    ASSERT_NE(a.get<AXNumber>(), nullptr);
    ASSERT_NE(b.get<AXNumber>(), nullptr);
    EXPECT_EQ(a.get<AXNumber>()->value, 42.0);
    EXPECT_EQ(b.get<AXNumber>()->value, -2.5);
}

TEST(MacAXValueTest, APointAndASizeMadeWithAXValueCreate) {
    CGPoint origin = CGPointMake(120.5, -40);
    CGSize extent = CGSizeMake(800, 600.25);
    Owned point(AXValueCreate(kAXValueTypeCGPoint, &origin));
    Owned size(AXValueCreate(kAXValueTypeCGSize, &extent));
    AXValue p = convertCopiedValue(point.get());
    AXValue s = convertCopiedValue(size.get());
    ASSERT_NE(p.get<Point>(), nullptr);
    ASSERT_NE(s.get<Size>(), nullptr);
    EXPECT_EQ(*p.get<Point>(), (Point{120.5, -40}));
    EXPECT_EQ(*s.get<Size>(), (Size{800, 600.25}));
}

TEST(MacAXValueTest, AnAXValueRectangleIsOpaque) {
    CGRect frame = CGRectMake(1, 2, 3, 4);
    Owned rect(AXValueCreate(kAXValueTypeCGRect, &frame));
    AXValue value = convertCopiedValue(rect.get());
    ASSERT_NE(value.get<AXOpaque>(), nullptr);
    EXPECT_EQ(value.get<AXOpaque>()->typeName, "AXValue CGRect");
}

TEST(MacAXValueTest, AnArrayIsConvertedItemByItemInOrder) {
    int seven = 7;
    CGPoint origin = CGPointMake(3, 4);
    Owned number(CFNumberCreate(nullptr, kCFNumberIntType, &seven));
    Owned point(AXValueCreate(kAXValueTypeCGPoint, &origin));
    Owned inner(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    const void* items[] = {CFSTR("first"), kCFBooleanTrue, number.get(), point.get(), inner.get()};
    Owned array(CFArrayCreate(nullptr, items, 5, &kCFTypeArrayCallBacks));

    AXValue value = convertCopiedValue(array.get());
    const AXArray* list = value.get<AXArray>();
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->size(), 5u);
    ASSERT_NE((*list)[0].get<std::string>(), nullptr);
    EXPECT_EQ(*(*list)[0].get<std::string>(), "first");
    ASSERT_NE((*list)[1].get<bool>(), nullptr);
    EXPECT_TRUE(*(*list)[1].get<bool>());
    ASSERT_NE((*list)[2].get<AXNumber>(), nullptr);
    EXPECT_EQ((*list)[2].get<AXNumber>()->value, 7.0);
    ASSERT_NE((*list)[3].get<Point>(), nullptr);
    EXPECT_EQ(*(*list)[3].get<Point>(), (Point{3, 4}));
    ASSERT_NE((*list)[4].get<AXArray>(), nullptr);
    EXPECT_TRUE((*list)[4].get<AXArray>()->empty());
}

TEST(MacAXValueTest, AnElementBecomesAHandleOnTheSameElement) {
    Owned application(AXUIElementCreateApplication(getpid()));
    AXValue value = convertCopiedValue(application.get());
    const AXElement* element = value.get<AXElement>();
    ASSERT_NE(element, nullptr);
    ASSERT_NE(*element, nullptr);
    EXPECT_TRUE(CFEqual(MacAXElement::refOf(*element), application.get()));

    AXElement again = MacAXElement::retain(static_cast<AXUIElementRef>(application.get()));
    EXPECT_TRUE((*element)->isSameElement(*again));
    EXPECT_EQ((*element)->elementHash(), again->elementHash());
}

TEST(MacAXValueTest, AnUnknownTypeIsOpaqueAndNamedAfterItsType) {
    Owned date(CFDateCreate(nullptr, 0));
    AXValue value = convertCopiedValue(date.get());
    ASSERT_NE(value.get<AXOpaque>(), nullptr);
    EXPECT_EQ(value.get<AXOpaque>()->typeName, "CFDate");
}

}  // namespace
}  // namespace quelto::mac

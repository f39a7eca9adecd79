// The general pasteboard: the diagnostics text goes there as plain text, replacing whatever
// was on it. The text that was there before the test is put back afterwards.

#include <gtest/gtest.h>

#include "platform/macos/MacPasteboard.h"
#include "platform/macos/NSStrings.h"
#include "tests/macos/MacTestSupport.h"

namespace quelto::mac {
namespace {

class MacPasteboardTest : public ::testing::Test {
  protected:
    void SetUp() override {
        saved_ = [NSPasteboard.generalPasteboard stringForType:NSPasteboardTypeString];
    }
    void TearDown() override {
        NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
        [pasteboard clearContents];
        if (saved_) [pasteboard setString:saved_ forType:NSPasteboardTypeString];
    }

    static std::string current() {
        return toStdString([NSPasteboard.generalPasteboard stringForType:NSPasteboardTypeString]);
    }

  private:
    NSString* saved_ = nil;
};

TEST_F(MacPasteboardTest, TheTextIsPutOnTheGeneralPasteboardExactly) {
    MacPasteboard pasteboard;
    const std::string text = "Quelto 1.0.0         (build 1)\nmacOS 14.2.1 · Apple Silicon\n"
                             "  Zoë’s Café — closed — quit";
    pasteboard.setString(text);
    EXPECT_EQ(current(), text);
}

TEST_F(MacPasteboardTest, ANewTextReplacesEverythingThatWasThere) {
    NSPasteboard* general = NSPasteboard.generalPasteboard;
    [general clearContents];
    [general setString:@"<b>old</b>" forType:NSPasteboardTypeHTML];
    [general setString:@"old" forType:NSPasteboardTypeString];

    MacPasteboard pasteboard;
    pasteboard.setString("new");
    EXPECT_EQ(current(), "new");
    EXPECT_EQ([general stringForType:NSPasteboardTypeHTML], nil);
}

}  // namespace
}  // namespace quelto::mac

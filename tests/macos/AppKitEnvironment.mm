// The shared application exists before any test runs, as in Quelto itself: status items,
// menus, windows and the pasteboard all expect it. Accessory, so no Dock icon appears.

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

namespace {

class AppKitEnvironment : public ::testing::Environment {
  public:
    void SetUp() override {
        [NSApplication sharedApplication];
        [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
    }
};

[[maybe_unused]] ::testing::Environment* const environment =
    ::testing::AddGlobalTestEnvironment(new AppKitEnvironment);

}  // namespace

// The settings window's two tables rendered from the core's model with AppKit: the Apps table's
// rows, names and "Never quit" boxes, and the Activity table's rows and cells, as the window's
// own data source hands them to NSTableView. The model runs on the simulated desktop.

#include <gtest/gtest.h>

#include "platform/macos/NSStrings.h"
#include "tests/macos/MacTestSupport.h"
#include "tests/ui/UiTestSupport.h"
#import "ui/MainWindowController.h"

namespace quelto {
namespace {

using mac::toNSString;
using mac::toStdString;
using uitest::app;
using uitest::entry;
using uitest::writeConfig;

// The first view of `kind` at or under `root` (depth first), whose identifier is `identifier`
// when one is given.
NSView* findView(NSView* root, Class kind, NSString* identifier = nil) {
    if ([root isKindOfClass:kind] && (!identifier || [root.identifier isEqualToString:identifier]))
        return root;
    for (NSView* child in root.subviews)
        if (NSView* found = findView(child, kind, identifier)) return found;
    return nil;
}

class SettingsTablesTest : public uitest::UiTest {
  protected:
    void TearDown() override {
        [controller.window orderOut:nil];
        controller = nil;
        model.reset();
        uitest::UiTest::TearDown();
    }

    void openWindow() {
        model = std::make_shared<MainWindowModel>(desktop.shellContext());
        controller = [[MainWindowController alloc] initWithModel:model];
        ASSERT_NE(controller.window, nil);
    }

    NSTableView* table(const std::string& identifier) {
        auto* tabs =
            static_cast<NSTabView*>(findView(controller.window.contentView, NSTabView.class));
        if (!tabs) return nil;
        for (NSTabViewItem* item in tabs.tabViewItems)
            if (NSView* found = findView(item.view, NSTableView.class, toNSString(identifier)))
                return static_cast<NSTableView*>(found);
        return nil;
    }

    NSView* cell(NSTableView* table, const std::string& column, NSInteger row) {
        NSTableColumn* tableColumn = [table tableColumnWithIdentifier:toNSString(column)];
        if (!tableColumn) return nil;
        return [controller tableView:table viewForTableColumn:tableColumn row:row];
    }

    static NSTextField* textIn(NSView* view) {
        return static_cast<NSTextField*>(findView(view, NSTextField.class));
    }
    static NSButton* boxIn(NSView* view) {
        return static_cast<NSButton*>(findView(view, NSButton.class));
    }

    std::shared_ptr<MainWindowModel> model;
    MainWindowController* controller = nil;
};

TEST_F(SettingsTablesTest, TheAppsTableShowsTheModelsRows) {
    writeConfig("arm = *\nexclude = com.apple.Mail com.example.Gone\n");
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    desktop.addApp(app(11, "com.apple.Mail", "Mail"));
    desktop.addApp(app(12, "com.apple.finder", "Finder"));
    openWindow();
    NSTableView* apps = table("apps");
    ASSERT_NE(apps, nil);
    EXPECT_EQ(toStdString([apps tableColumnWithIdentifier:@"name"].title), "Application");
    EXPECT_EQ(toStdString([apps tableColumnWithIdentifier:@"exclude"].title), "Never quit");

    const auto& rows = model->appRows();
    ASSERT_EQ([controller numberOfRowsInTableView:apps], static_cast<NSInteger>(rows.size()));
    ASSERT_FALSE(rows.empty());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto row = static_cast<NSInteger>(i);
        SCOPED_TRACE(rows[i].name);
        NSTextField* name = textIn(cell(apps, "name", row));
        ASSERT_NE(name, nil);
        EXPECT_EQ(toStdString(name.stringValue), rows[i].name);
        EXPECT_EQ(toStdString(name.toolTip), rows[i].bundleID);
        EXPECT_TRUE([name.textColor
            isEqual:rows[i].running ? NSColor.labelColor : NSColor.secondaryLabelColor]);

        MainWindowModel::ExcludeBox expected = MainWindowModel::excludeBox(rows[i]);
        NSButton* box = boxIn(cell(apps, "exclude", row));
        ASSERT_NE(box, nil);
        EXPECT_EQ(toStdString(box.identifier), expected.identifier);
        EXPECT_EQ(box.state == NSControlStateValueOn, expected.checked);
        EXPECT_EQ(box.isEnabled, expected.enabled);
        EXPECT_EQ(mac::toOptionalString(box.toolTip), expected.toolTip);
        EXPECT_EQ(box.target, controller);
    }
}

TEST_F(SettingsTablesTest, ABuiltInAppHasACheckedDisabledBox) {
    writeConfig("arm = *\n");
    desktop.addApp(app(12, "com.apple.finder", "Finder"));
    openWindow();
    NSTableView* apps = table("apps");
    ASSERT_NE(apps, nil);
    ASSERT_EQ([controller numberOfRowsInTableView:apps], 1);
    NSButton* box = boxIn(cell(apps, "exclude", 0));
    ASSERT_NE(box, nil);
    EXPECT_EQ(box.state, NSControlStateValueOn);
    EXPECT_FALSE(box.isEnabled);
    EXPECT_EQ(toStdString(box.toolTip), "Always protected");
}

TEST_F(SettingsTablesTest, TickingABoxExcludesTheApp) {
    writeConfig("arm = *\n");
    desktop.addApp(app(10, "com.apple.Safari", "Safari"));
    openWindow();
    NSTableView* apps = table("apps");
    ASSERT_NE(apps, nil);
    NSButton* box = boxIn(cell(apps, "exclude", 0));
    ASSERT_NE(box, nil);
    box.state = NSControlStateValueOn;
    [NSApp sendAction:box.action to:box.target from:box];
    EXPECT_EQ(desktop.config().load().excluded.count("com.apple.Safari"), 1u);
    EXPECT_EQ(configChangedPosts, 1);
}

TEST_F(SettingsTablesTest, TheActivityTableFollowsTheJournalNewestFirst) {
    writeConfig("arm = *\n");
    openWindow();
    NSTableView* activity = table("activity");
    ASSERT_NE(activity, nil);
    EXPECT_EQ([controller numberOfRowsInTableView:activity], 0);

    Activity::shared().record(
        entry(Date{uitest::startSeconds + 60}, "Mail", "red dot", "kept running", false));
    Activity::shared().record(
        entry(Date{uitest::startSeconds + 125}, "Maps", "last window", "quit", true));
    ASSERT_EQ([controller numberOfRowsInTableView:activity], 2);
    const std::vector<MainWindowModel::ActivityRow> rows = model->activityRows();
    for (NSInteger row = 0; row < 2; ++row) {
        const auto& expected = rows[static_cast<std::size_t>(row)];
        EXPECT_EQ(toStdString(textIn(cell(activity, "time", row)).stringValue), expected.time);
        EXPECT_EQ(toStdString(textIn(cell(activity, "app", row)).stringValue), expected.app);
        EXPECT_EQ(toStdString(textIn(cell(activity, "cause", row)).stringValue), expected.cause);
        EXPECT_EQ(toStdString(textIn(cell(activity, "outcome", row)).stringValue),
                  expected.outcome);
    }
    EXPECT_EQ(toStdString(textIn(cell(activity, "app", 0)).stringValue), "Maps");
    EXPECT_EQ(toStdString(textIn(cell(activity, "time", 0)).stringValue), "01:02:05");
    EXPECT_TRUE([textIn(cell(activity, "app", 0)).textColor isEqual:NSColor.labelColor]);
    EXPECT_TRUE([textIn(cell(activity, "app", 1)).textColor isEqual:NSColor.secondaryLabelColor]);
}

}  // namespace
}  // namespace quelto

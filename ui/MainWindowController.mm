#import "ui/MainWindowController.h"

#import <UniformTypeIdentifiers/UniformTypeIdentifiers.h>

#include <string>
#include <vector>

#include "platform/macos/NSStrings.h"
#include "update/UpdateChecker.h"

using quelto::mac::toNSString;
using quelto::mac::toStdString;

namespace {

using Kind = quelto::ViewElement::Kind;

constexpr CGFloat rowSpacing = 8;
constexpr CGFloat columnSpacing = 2;
constexpr CGFloat checkIconSide = 18;
constexpr CGFloat checkTitleSize = 13;
constexpr CGFloat checkDetailSize = 11;
constexpr CGFloat checkDetailWrap = 470;
constexpr CGFloat appsNameSize = 12;
constexpr CGFloat activitySize = 11;

NSColor* colour(quelto::TextColor color) {
    return color == quelto::TextColor::primary ? NSColor.labelColor : NSColor.secondaryLabelColor;
}

NSFont* font(double size, bool semibold) {
    return [NSFont systemFontOfSize:size
                             weight:semibold ? NSFontWeightSemibold : NSFontWeightRegular];
}

NSTextField* label(const std::string& text, double size, quelto::TextColor color,
                   double wrapWidth = 0, bool semibold = false) {
    NSTextField* field = wrapWidth > 0 ? [NSTextField wrappingLabelWithString:toNSString(text)]
                                       : [NSTextField labelWithString:toNSString(text)];
    field.font = font(size, semibold);
    field.textColor = colour(color);
    if (wrapWidth > 0) {
        field.preferredMaxLayoutWidth = wrapWidth;
        [field.widthAnchor constraintLessThanOrEqualToConstant:wrapWidth].active = YES;
    }
    return field;
}

// A table cell holding `content` vertically centred, a label truncated at its end when the
// column is too narrow for it.
NSTableCellView* tableCell(NSView* content) {
    NSTableCellView* cell = [[NSTableCellView alloc] init];
    content.translatesAutoresizingMaskIntoConstraints = NO;
    [cell addSubview:content];
    [NSLayoutConstraint activateConstraints:@[
        [content.leadingAnchor constraintEqualToAnchor:cell.leadingAnchor constant:2],
        [content.trailingAnchor constraintLessThanOrEqualToAnchor:cell.trailingAnchor constant:-2],
        [content.centerYAnchor constraintEqualToAnchor:cell.centerYAnchor],
    ]];
    if ([content isKindOfClass:NSTextField.class]) {
        auto* field = static_cast<NSTextField*>(content);
        field.lineBreakMode = NSLineBreakByTruncatingTail;
        cell.textField = field;
    }
    return cell;
}

NSImage* checkSymbol(const std::string& name, const std::string& accessibilityLabel) {
    return [NSImage imageWithSystemSymbolName:toNSString(name)
                     accessibilityDescription:toNSString(accessibilityLabel)];
}

NSColor* checkTint(bool passed) {
    return passed ? NSColor.systemGreenColor : NSColor.systemRedColor;
}

}  // namespace

// A document view whose content starts at the top, as a settings page reads.
@interface QueltoFlippedView : NSView
@end

@implementation QueltoFlippedView
- (BOOL)isFlipped {
    return YES;
}
@end

namespace {

// The About tab's "Check for Updates…" button as the update checker sees it. It holds the
// button weakly: a check may outlive the window.
class MacUpdateButton final : public quelto::UpdateButton {
  public:
    void setEnabled(bool enabled) override { button.enabled = enabled; }
    __weak NSButton* button = nil;
};

}  // namespace

@implementation MainWindowController {
    std::shared_ptr<quelto::MainWindowModel> _model;
    NSTabView* _tabs;
    NSTableView* _appsTable;
    NSTableView* _activityTable;
    // The controls that follow the model, by the element identifier the model gives them.
    NSMutableDictionary<NSString*, NSView*>* _controls;
    // The health-check rows by identifier: icon, title and detail.
    NSMutableDictionary<NSString*, NSArray<NSView*>*>* _checkRows;
    // What the tables show, as of the model's last change.
    std::vector<quelto::MainWindowModel::AppRow> _appRows;
    std::vector<quelto::MainWindowModel::ActivityRow> _activityRows;
    MacUpdateButton _updateButton;
}

- (instancetype)initWithModel:(std::shared_ptr<quelto::MainWindowModel>)model {
    const quelto::MainWindowModel::Frame& frame = quelto::MainWindowModel::frame();
    NSWindow* window = [[NSWindow alloc]
        initWithContentRect:NSMakeRect(0, 0, frame.width, frame.height)
                  styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                            NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable
                    backing:NSBackingStoreBuffered
                      defer:NO];
    if (!(self = [super initWithWindow:window])) return nil;
    _model = std::move(model);
    _controls = [NSMutableDictionary dictionary];
    _checkRows = [NSMutableDictionary dictionary];

    window.title = toNSString(frame.title);
    // The controller owns the window; closing must not free it behind the controller's back.
    window.releasedWhenClosed = NO;
    [window center];
    // Restores the size and place the user left it at, and keeps them from now on.
    [window setFrameAutosaveName:toNSString(frame.autosaveName)];

    _tabs = [[NSTabView alloc] init];
    _tabs.translatesAutoresizingMaskIntoConstraints = NO;
    NSView* content = window.contentView;
    [content addSubview:_tabs];
    const CGFloat margin = frame.margin;
    [NSLayoutConstraint activateConstraints:@[
        [_tabs.topAnchor constraintEqualToAnchor:content.topAnchor constant:margin],
        [_tabs.bottomAnchor constraintEqualToAnchor:content.bottomAnchor constant:-margin],
        [_tabs.leadingAnchor constraintEqualToAnchor:content.leadingAnchor constant:margin],
        [_tabs.trailingAnchor constraintEqualToAnchor:content.trailingAnchor constant:-margin],
    ]];
    for (const quelto::MainWindowModel::Tab& tab : frame.tabs) {
        NSTabViewItem* item = [[NSTabViewItem alloc] initWithIdentifier:toNSString(tab.identifier)];
        item.label = toNSString(tab.label);
        item.view = [self viewForTab:_model->content(tab.identifier)];
        [_tabs addTabViewItem:item];
    }
    [_tabs selectTabViewItemWithIdentifier:toNSString(_model->selectedTab())];
    _tabs.delegate = self;

    __weak MainWindowController* weakSelf = self;
    _model->onChange = [weakSelf](quelto::MainWindowModel::Change change) {
        [weakSelf modelChanged:change];
    };
    [self modelChanged:quelto::MainWindowModel::Change::all];
    return self;
}

- (void)dealloc {
    if (_model) _model->onChange = nullptr;
    quelto::UpdateChecker::forgetButton(&_updateButton);
}

// ---- Building the tabs ----

- (NSView*)viewForTab:(const quelto::TabContent&)tab {
    if (tab.layout == quelto::TabContent::Layout::table) {
        // A table tab is its one table, filling the tab.
        for (const quelto::ViewElement& element : tab.elements)
            if (element.kind == Kind::table) return [self tableScrollView:element.id];
        return [[NSView alloc] init];
    }

    NSStackView* stack = [[NSStackView alloc] init];
    stack.orientation = NSUserInterfaceLayoutOrientationVertical;
    stack.alignment = tab.centred ? NSLayoutAttributeCenterX : NSLayoutAttributeLeading;
    stack.spacing = tab.spacing;
    stack.edgeInsets = NSEdgeInsetsMake(tab.insetTop, tab.insetSide, tab.insetSide, tab.insetSide);
    stack.translatesAutoresizingMaskIntoConstraints = NO;
    for (const quelto::ViewElement& element : tab.elements) {
        NSView* view = [self viewForElement:element];
        [stack addArrangedSubview:view];
        if (element.spacingAfter > 0) [stack setCustomSpacing:element.spacingAfter afterView:view];
        // Separators and the Apps table span the page; everything else keeps its own width.
        if (element.kind == Kind::separator || element.kind == Kind::table)
            [view.widthAnchor constraintEqualToAnchor:stack.widthAnchor constant:-2 * tab.insetSide]
                .active = YES;
        if (element.kind == Kind::table) {
            // The table takes whatever height the window leaves; the rest keep their own.
            [view setContentHuggingPriority:NSLayoutPriorityDefaultLow - 100
                             forOrientation:NSLayoutConstraintOrientationVertical];
            [view setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow - 100
                                           forOrientation:NSLayoutConstraintOrientationVertical];
        }
    }

    if (!tab.scrollable) {
        // The stack fills the tab, so its table (which scrolls itself) grows and shrinks with
        // the window: no scroller around a scroller.
        stack.distribution = NSStackViewDistributionFill;
        NSView* page = [[NSView alloc] init];
        [page addSubview:stack];
        [NSLayoutConstraint activateConstraints:@[
            [stack.topAnchor constraintEqualToAnchor:page.topAnchor],
            [stack.leadingAnchor constraintEqualToAnchor:page.leadingAnchor],
            [stack.trailingAnchor constraintEqualToAnchor:page.trailingAnchor],
            [stack.bottomAnchor constraintEqualToAnchor:page.bottomAnchor],
        ]];
        return page;
    }

    // The stack sits in a scrollable container, as wide as the visible area, from the top.
    NSScrollView* scroll = [[NSScrollView alloc] init];
    scroll.hasVerticalScroller = YES;
    scroll.autohidesScrollers = YES;
    scroll.drawsBackground = NO;
    scroll.borderType = NSNoBorder;
    QueltoFlippedView* document = [[QueltoFlippedView alloc] init];
    document.translatesAutoresizingMaskIntoConstraints = NO;
    [document addSubview:stack];
    scroll.documentView = document;
    NSClipView* clip = scroll.contentView;
    [NSLayoutConstraint activateConstraints:@[
        [document.topAnchor constraintEqualToAnchor:clip.topAnchor],
        [document.leadingAnchor constraintEqualToAnchor:clip.leadingAnchor],
        [document.widthAnchor constraintEqualToAnchor:clip.widthAnchor],
        [stack.topAnchor constraintEqualToAnchor:document.topAnchor],
        [stack.leadingAnchor constraintEqualToAnchor:document.leadingAnchor],
        [stack.trailingAnchor constraintEqualToAnchor:document.trailingAnchor],
        [stack.bottomAnchor constraintEqualToAnchor:document.bottomAnchor],
    ]];
    return scroll;
}

- (NSView*)viewForElement:(const quelto::ViewElement&)element {
    NSView* view = nil;
    switch (element.kind) {
        case Kind::image: {
            NSImage* named = [NSImage imageNamed:toNSString(element.text)];
            NSImage* image = [named ?: NSApp.applicationIconImage copy];
            image.size = NSMakeSize(element.width, element.height);
            NSImageView* imageView = [NSImageView imageViewWithImage:image];
            [NSLayoutConstraint activateConstraints:@[
                [imageView.widthAnchor constraintEqualToConstant:element.width],
                [imageView.heightAnchor constraintEqualToConstant:element.height],
            ]];
            view = imageView;
            break;
        }
        case Kind::text: {
            NSTextField* field = label(element.text, element.fontSize, element.color,
                                       element.wrapWidth, element.semibold);
            if (element.maxLines > 0) field.maximumNumberOfLines = element.maxLines;
            if (element.centred) field.alignment = NSTextAlignmentCenter;
            view = field;
            break;
        }
        case Kind::separator: {
            NSBox* box = [[NSBox alloc] init];
            box.boxType = NSBoxSeparator;
            view = box;
            break;
        }
        case Kind::switchControl: {
            NSSwitch* control = [[NSSwitch alloc] init];
            control.state = element.on ? NSControlStateValueOn : NSControlStateValueOff;
            view = [self connect:control to:element.action];
            break;
        }
        case Kind::segmentedControl: {
            NSMutableArray<NSString*>* labels = [NSMutableArray array];
            for (const std::string& item : element.items) [labels addObject:toNSString(item)];
            NSSegmentedControl* control =
                [NSSegmentedControl segmentedControlWithLabels:labels
                                                  trackingMode:NSSegmentSwitchTrackingSelectOne
                                                        target:nil
                                                        action:nil];
            control.selectedSegment = element.selected;
            view = [self connect:control to:element.action];
            break;
        }
        case Kind::popUpButton: {
            NSPopUpButton* control = [[NSPopUpButton alloc] initWithFrame:NSZeroRect pullsDown:NO];
            for (const std::string& item : element.items)
                [control addItemWithTitle:toNSString(item)];
            [control selectItemAtIndex:element.selected];
            view = [self connect:control to:element.action];
            break;
        }
        case Kind::checkBox: {
            NSButton* box = [NSButton checkboxWithTitle:toNSString(element.text)
                                                 target:nil
                                                 action:nil];
            box.state = element.on ? NSControlStateValueOn : NSControlStateValueOff;
            box.enabled = element.enabled;
            view = [self connect:box to:element.action];
            break;
        }
        case Kind::button: {
            NSButton* button = [NSButton buttonWithTitle:toNSString(element.text)
                                                  target:nil
                                                  action:nil];
            if (element.action == quelto::WindowAction::checkForUpdates)
                _updateButton.button = button;
            view = [self connect:button to:element.action];
            break;
        }
        case Kind::linkButton: {
            NSButton* button = [NSButton buttonWithTitle:toNSString(element.text)
                                                  target:nil
                                                  action:nil];
            button.bordered = NO;
            button.attributedTitle = [[NSAttributedString alloc]
                initWithString:toNSString(element.text)
                    attributes:@{NSForegroundColorAttributeName : NSColor.linkColor}];
            view = [self connect:button to:element.action];
            break;
        }
        case Kind::row:
        case Kind::column: {
            NSStackView* group = [[NSStackView alloc] init];
            if (element.kind == Kind::row) {
                group.orientation = NSUserInterfaceLayoutOrientationHorizontal;
                group.alignment = NSLayoutAttributeCenterY;
                group.spacing = rowSpacing;
            } else {
                group.orientation = NSUserInterfaceLayoutOrientationVertical;
                group.alignment = NSLayoutAttributeLeading;
                group.spacing = columnSpacing;
            }
            for (const quelto::ViewElement& child : element.children)
                [group addArrangedSubview:[self viewForElement:child]];
            view = group;
            break;
        }
        case Kind::healthCheck:
            view = [self healthCheckRow:element];
            break;
        case Kind::table:
            view = [self tableScrollView:element.id];
            break;
    }
    // The health check's row labels its icon itself.
    if (!element.accessibilityLabel.empty() && element.kind != Kind::healthCheck)
        view.accessibilityLabel = toNSString(element.accessibilityLabel);
    if (!element.id.empty()) _controls[toNSString(element.id)] = view;
    return view;
}

// Controls send `controlChanged:`; their tag is the action, their identifier its name.
- (NSControl*)connect:(NSControl*)control to:(quelto::WindowAction)action {
    control.identifier = toNSString(std::string(quelto::actionName(action)));
    control.tag = static_cast<NSInteger>(action);
    control.target = self;
    control.action = @selector(controlChanged:);
    return control;
}

- (NSView*)healthCheckRow:(const quelto::ViewElement&)element {
    NSImageView* icon =
        [NSImageView imageViewWithImage:checkSymbol(element.symbol, element.accessibilityLabel)];
    icon.contentTintColor = checkTint(element.on);
    icon.accessibilityLabel = toNSString(element.accessibilityLabel);
    [NSLayoutConstraint activateConstraints:@[
        [icon.widthAnchor constraintEqualToConstant:checkIconSide],
        [icon.heightAnchor constraintEqualToConstant:checkIconSide],
    ]];
    NSTextField* title = label(element.text, checkTitleSize, quelto::TextColor::primary);
    NSTextField* detail =
        label(element.detail, checkDetailSize, quelto::TextColor::secondary, checkDetailWrap);
    NSStackView* text = [NSStackView stackViewWithViews:@[ title, detail ]];
    text.orientation = NSUserInterfaceLayoutOrientationVertical;
    text.alignment = NSLayoutAttributeLeading;
    text.spacing = columnSpacing;
    NSStackView* row = [NSStackView stackViewWithViews:@[ icon, text ]];
    row.orientation = NSUserInterfaceLayoutOrientationHorizontal;
    row.alignment = NSLayoutAttributeTop;
    row.spacing = rowSpacing;
    _checkRows[toNSString(element.id)] = @[ icon, title, detail ];
    return row;
}

- (NSScrollView*)tableScrollView:(const std::string&)identifier {
    const bool apps = identifier == "apps";
    NSTableView* table = [[NSTableView alloc] init];
    table.identifier = toNSString(identifier);
    const auto& columns =
        apps ? quelto::MainWindowModel::appsColumns() : quelto::MainWindowModel::activityColumns();
    for (const quelto::TableColumn& column : columns) {
        NSTableColumn* tableColumn =
            [[NSTableColumn alloc] initWithIdentifier:toNSString(column.identifier)];
        tableColumn.title = toNSString(column.title);
        tableColumn.width = column.width;
        [table addTableColumn:tableColumn];
    }
    table.rowHeight =
        apps ? quelto::MainWindowModel::appsRowHeight : quelto::MainWindowModel::activityRowHeight;
    table.usesAlternatingRowBackgroundColors = YES;
    table.dataSource = self;
    table.delegate = self;

    NSScrollView* scroll = [[NSScrollView alloc] init];
    scroll.documentView = table;
    scroll.hasVerticalScroller = YES;
    if (apps) {
        scroll.borderType = NSBezelBorder;
        [scroll.heightAnchor
            constraintGreaterThanOrEqualToConstant:quelto::MainWindowModel::appsTableMinimumHeight]
            .active = YES;
        _appsTable = table;
    } else {
        scroll.borderType = NSNoBorder;
        _activityTable = table;
    }
    return scroll;
}

// ---- Following the model ----

- (void)modelChanged:(quelto::MainWindowModel::Change)change {
    using Change = quelto::MainWindowModel::Change;
    switch (change) {
        case Change::all:
            [self applyContent:_model->content("general")];
            [self applyContent:_model->content("help")];
            [self reloadApps];
            [self reloadActivity];
            break;
        case Change::tab:
            [_tabs selectTabViewItemWithIdentifier:toNSString(_model->selectedTab())];
            break;
        case Change::apps:
            [self reloadApps];
            break;
        case Change::appRow:
            // The box the user clicked already shows the change; only the copy is updated.
            _appRows = _model->appRows();
            break;
        case Change::activity:
            [self reloadActivity];
            break;
    }
}

- (void)reloadApps {
    _appRows = _model->appRows();
    [_appsTable reloadData];
}

- (void)reloadActivity {
    _activityRows = _model->activityRows();
    [_activityTable reloadData];
}

- (void)applyContent:(const quelto::TabContent&)tab {
    for (const quelto::ViewElement& element : tab.elements) [self applyElement:element];
}

// Puts one element's state on the control built for it.
- (void)applyElement:(const quelto::ViewElement&)element {
    for (const quelto::ViewElement& child : element.children) [self applyElement:child];
    if (element.id.empty()) return;
    NSString* key = toNSString(element.id);
    if (element.kind == Kind::healthCheck) {
        NSArray<NSView*>* parts = _checkRows[key];
        if (parts.count != 3) return;
        auto* icon = static_cast<NSImageView*>(parts[0]);
        icon.image = checkSymbol(element.symbol, element.accessibilityLabel);
        icon.contentTintColor = checkTint(element.on);
        icon.accessibilityLabel = toNSString(element.accessibilityLabel);
        static_cast<NSTextField*>(parts[1]).stringValue = toNSString(element.text);
        static_cast<NSTextField*>(parts[2]).stringValue = toNSString(element.detail);
        return;
    }
    NSView* view = _controls[key];
    NSControlStateValue state = element.on ? NSControlStateValueOn : NSControlStateValueOff;
    switch (element.kind) {
        case Kind::text:
            static_cast<NSTextField*>(view).stringValue = toNSString(element.text);
            break;
        case Kind::switchControl:
            static_cast<NSSwitch*>(view).state = state;
            break;
        case Kind::segmentedControl:
            static_cast<NSSegmentedControl*>(view).selectedSegment = element.selected;
            break;
        case Kind::popUpButton:
            [static_cast<NSPopUpButton*>(view) selectItemAtIndex:element.selected];
            break;
        case Kind::checkBox: {
            auto* box = static_cast<NSButton*>(view);
            box.title = toNSString(element.text);
            box.state = state;
            box.enabled = element.enabled;
            break;
        }
        default:
            break;
    }
}

// ---- Actions ----

- (void)controlChanged:(NSControl*)sender {
    using quelto::WindowAction;
    const auto action = static_cast<WindowAction>(sender.tag);
    switch (action) {
        case WindowAction::toggleLive:
            _model->toggleLive(static_cast<NSSwitch*>(sender).state == NSControlStateValueOn);
            break;
        case WindowAction::changeQuitMode:
            _model->changeQuitMode(
                static_cast<int>(static_cast<NSSegmentedControl*>(sender).selectedSegment));
            break;
        case WindowAction::changeEscape:
            _model->changeEscape(
                static_cast<int>(static_cast<NSPopUpButton*>(sender).indexOfSelectedItem));
            break;
        case WindowAction::toggleLoginItem:
            _model->toggleLoginItem(static_cast<NSButton*>(sender).state == NSControlStateValueOn);
            break;
        case WindowAction::addApp:
            [self addApp];
            break;
        case WindowAction::checkForUpdates:
            _model->checkForUpdates(&_updateButton);
            break;
        default:
            _model->perform(action);
            break;
    }
}

- (void)toggleExclusion:(NSButton*)sender {
    _model->toggleExclusion(toStdString(sender.identifier), sender.state == NSControlStateValueOn);
}

- (void)addApp {
    _model->addAppClicked();
    const quelto::MainWindowModel::OpenPanelDescription& desc =
        quelto::MainWindowModel::addAppPanel();
    NSOpenPanel* panel = [NSOpenPanel openPanel];
    panel.title = toNSString(desc.title);
    panel.prompt = toNSString(desc.prompt);
    panel.message = toNSString(desc.message);
    NSMutableArray<UTType*>* types = [NSMutableArray array];
    for (const std::string& identifier : desc.allowedContentTypes)
        if (UTType* type = [UTType typeWithIdentifier:toNSString(identifier)])
            [types addObject:type];
    panel.allowedContentTypes = types;
    panel.allowsMultipleSelection = desc.allowsMultipleSelection;
    panel.canChooseFiles = desc.canChooseFiles;
    panel.canChooseDirectories = desc.canChooseDirectories;
    panel.treatsFilePackagesAsDirectories = desc.treatsFilePackagesAsDirectories;
    panel.directoryURL = [NSURL fileURLWithPath:toNSString(desc.directory) isDirectory:YES];

    [NSApp activateIgnoringOtherApps:YES];
    std::shared_ptr<quelto::MainWindowModel> model = _model;
    void (^chosen)(NSModalResponse) = ^(NSModalResponse response) {
      if (response != NSModalResponseOK) return;
      std::vector<std::string> paths;
      for (NSURL* url in panel.URLs)
          if (url.path) paths.push_back(toStdString(url.path));
      model->addApp(paths);
    };
    if (NSWindow* window = self.window)
        [panel beginSheetModalForWindow:window completionHandler:chosen];
    else
        chosen([panel runModal]);
}

// ---- Tab view ----

- (void)tabView:(NSTabView*)tabView didSelectTabViewItem:(NSTabViewItem*)item {
    // Keeps the model's idea of the selected tab in step with the user's clicks.
    NSString* identifier = [item.identifier isKindOfClass:NSString.class] ? item.identifier : nil;
    if (identifier && toStdString(identifier) != _model->selectedTab())
        _model->select(toStdString(identifier));
}

// ---- Tables ----

- (NSInteger)numberOfRowsInTableView:(NSTableView*)tableView {
    if (tableView == _appsTable) return static_cast<NSInteger>(_appRows.size());
    return static_cast<NSInteger>(_activityRows.size());
}

- (NSView*)tableView:(NSTableView*)tableView
    viewForTableColumn:(NSTableColumn*)tableColumn
                   row:(NSInteger)row {
    if (row < 0) return nil;
    const auto index = static_cast<std::size_t>(row);
    const std::string column = toStdString(tableColumn.identifier);

    if (tableView == _appsTable) {
        if (index >= _appRows.size()) return nil;
        const quelto::MainWindowModel::AppRow& app = _appRows[index];
        if (column == "exclude") {
            quelto::MainWindowModel::ExcludeBox desc = quelto::MainWindowModel::excludeBox(app);
            NSButton* box = [NSButton checkboxWithTitle:@""
                                                 target:self
                                                 action:@selector(toggleExclusion:)];
            box.identifier = toNSString(desc.identifier);
            box.state = desc.checked ? NSControlStateValueOn : NSControlStateValueOff;
            box.enabled = desc.enabled;
            box.toolTip = desc.toolTip ? toNSString(*desc.toolTip) : nil;
            box.accessibilityLabel = toNSString(desc.accessibilityLabel);
            return tableCell(box);
        }
        quelto::MainWindowModel::NameCell cell = quelto::MainWindowModel::nameCell(app);
        NSTextField* name = label(cell.text, appsNameSize, cell.color);
        name.toolTip = toNSString(cell.toolTip);
        return tableCell(name);
    }

    if (index >= _activityRows.size()) return nil;
    const quelto::MainWindowModel::ActivityRow& entry = _activityRows[index];
    const std::string& text = column == "time"    ? entry.time
                              : column == "app"   ? entry.app
                              : column == "cause" ? entry.cause
                                                  : entry.outcome;
    NSTextField* field = label(text, activitySize, entry.color);
    if (column == "time")
        field.font = [NSFont monospacedDigitSystemFontOfSize:activitySize
                                                      weight:NSFontWeightRegular];
    return tableCell(field);
}

@end

#import "app/StatusItemController.h"

#include "platform/macos/NSStrings.h"

using quelto::mac::toNSString;
using quelto::mac::toStdString;

namespace {
constexpr CGFloat iconSide = 18;
}  // namespace

@implementation StatusItemController {
    quelto::StatusItemModel* _model;
    NSStatusItem* _item;
    NSMenu* _menu;
}

- (instancetype)initWithModel:(quelto::StatusItemModel&)model {
    if ((self = [super init])) {
        _model = &model;
        _item = [NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength];
        _menu = [[NSMenu alloc] init];
        _menu.delegate = self;
        _menu.autoenablesItems = NO;
        _item.menu = _menu;

        __weak StatusItemController* weakSelf = self;
        model.onIconChanged = [weakSelf](const quelto::StatusIcon& icon) {
            [weakSelf showIcon:icon];
        };
        [self showIcon:model.icon()];
    }
    return self;
}

- (void)dealloc {
    if (_model) _model->onIconChanged = nullptr;
}

// The template image from the bundle (tinted by the system for light and dark menu bars), or
// the text fallback when the image is missing or cannot be loaded.
- (void)showIcon:(const quelto::StatusIcon&)icon {
    NSStatusBarButton* button = _item.button;
    NSString* name = toNSString(icon.imageName);
    NSImage* image = nil;
    if ([NSBundle.mainBundle URLForResource:name withExtension:@"png"])
        image = [NSBundle.mainBundle imageForResource:name];
    if (image) {
        [image setTemplate:YES];  // "template" is a C++ keyword in Objective-C++
        image.size = NSMakeSize(iconSide, iconSide);
        button.image = image;
        button.title = @"";
    } else {
        button.image = nil;
        button.title = toNSString(icon.fallbackTitle);
    }
    button.toolTip = toNSString(icon.toolTip);
    button.accessibilityLabel = toNSString(icon.accessibilityLabel);
    image.accessibilityDescription = button.accessibilityLabel;
}

- (void)menuNeedsUpdate:(NSMenu*)menu {
    [menu removeAllItems];
    [self addRows:_model->menuNeedsUpdate() to:menu];
}

- (void)addRows:(const std::vector<quelto::MenuRow>&)rows to:(NSMenu*)menu {
    for (const quelto::MenuRow& row : rows) {
        if (row.separator) {
            [menu addItem:[NSMenuItem separatorItem]];
            continue;
        }
        NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:toNSString(row.title)
                                                      action:nil
                                               keyEquivalent:toNSString(row.keyEquivalent)];
        item.enabled = row.enabled;
        item.state = row.checked ? NSControlStateValueOn : NSControlStateValueOff;
        if (row.action != quelto::MenuAction::none) {
            item.target = self;
            item.action = @selector(chooseRow:);
            item.tag = static_cast<NSInteger>(row.action);
            if (row.representedObject) item.representedObject = toNSString(*row.representedObject);
        }
        if (!row.submenu.empty()) {
            NSMenu* submenu = [[NSMenu alloc] initWithTitle:toNSString(row.title)];
            submenu.autoenablesItems = NO;
            [self addRows:row.submenu to:submenu];
            item.submenu = submenu;
        }
        [menu addItem:item];
    }
}

- (void)chooseRow:(NSMenuItem*)sender {
    std::optional<std::string> represented;
    if ([sender.representedObject isKindOfClass:NSString.class])
        represented = toStdString(sender.representedObject);
    _model->perform(static_cast<quelto::MenuAction>(sender.tag), represented);
}

@end

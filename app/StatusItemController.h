#pragma once
// The menu-bar item: renders the status item model's icon and rebuilds its menu from the
// model's rows each time the menu is about to open; the chosen row goes back to the model.

#import <AppKit/AppKit.h>

#include "app/StatusItemModel.h"

@interface StatusItemController : NSObject <NSMenuDelegate>

// The model must outlive the controller (the start-up controller owns both for the whole run).
- (instancetype)initWithModel:(quelto::StatusItemModel&)model NS_DESIGNATED_INITIALIZER;
- (instancetype)init NS_UNAVAILABLE;

@end

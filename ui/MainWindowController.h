#pragma once
// The settings window: renders the settings window model (frame, tabs, controls, the Apps and
// Activity tables, the health checks) with AppKit, and forwards every user action to it.

#import <AppKit/AppKit.h>

#include <memory>

#include "ui/MainWindowModel.h"

@interface MainWindowController
    : NSWindowController <NSTableViewDataSource, NSTableViewDelegate, NSTabViewDelegate>

// Builds the window and its tabs and renders the model's current state.
- (instancetype)initWithModel:(std::shared_ptr<quelto::MainWindowModel>)model;

@end

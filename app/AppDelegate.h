#pragma once
// The application delegate: forwards the application's life to the start-up controller
// (AppController) and is its host for what only AppKit can do: the activation policy, the
// main menu, the status item and the settings window.

#import <AppKit/AppKit.h>

@interface AppDelegate : NSObject <NSApplicationDelegate>

// Main-menu commands whose target is the delegate.
- (void)showAbout;
- (void)showSettings;
- (void)checkForUpdates;

@end

#import "app/AppDelegate.h"

#include <memory>

#include "app/AppController.h"
#include "app/ApplicationHost.h"
#import "app/StatusItemController.h"
#include "engine/EngineContext.h"
#include "platform/macos/MacPlatform.h"
#include "platform/macos/NSStrings.h"
#include "settings/Activity.h"
#include "settings/ConfigStore.h"
#import "ui/MainWindowController.h"
#include "ui/ShellContext.h"

using quelto::mac::toNSString;

@interface AppDelegate ()
- (void)setActivationPolicy:(quelto::ActivationPolicy)policy;
- (void)installMainMenu:(const std::vector<quelto::MainMenuMenu>&)menus;
- (void)createStatusItem:(quelto::StatusItemModel&)model;
- (void)createSettingsWindow:(const std::shared_ptr<quelto::MainWindowModel>&)model;
- (void)showSettingsWindow;
@end

namespace {

// The controller's host, answered by the delegate. It holds the delegate weakly: the delegate
// owns it.
class DelegateHost final : public quelto::ApplicationHost {
  public:
    explicit DelegateHost(AppDelegate* delegate) : delegate_(delegate) {}

    void setActivationPolicy(quelto::ActivationPolicy policy) override {
        [delegate_ setActivationPolicy:policy];
    }
    void activateIgnoringOtherApps() override { [NSApp activateIgnoringOtherApps:YES]; }
    void terminate() override { [NSApp terminate:nil]; }
    void installMainMenu(const std::vector<quelto::MainMenuMenu>& menus) override {
        [delegate_ installMainMenu:menus];
    }
    void createStatusItem(quelto::StatusItemModel& model) override {
        [delegate_ createStatusItem:model];
    }
    void createSettingsWindow(const std::shared_ptr<quelto::MainWindowModel>& model) override {
        [delegate_ createSettingsWindow:model];
    }
    void showSettingsWindow() override { [delegate_ showSettingsWindow]; }

  private:
    __weak AppDelegate* delegate_;
};

// The configuration file, named by the real clock.
quelto::ConfigStore& configStore() {
    static quelto::ConfigStore store(quelto::mac::macServices().clock);
    return store;
}

// What the engine is handed: every real service.
const quelto::EngineContext& engineContext() {
    quelto::mac::MacServices& mac = quelto::mac::macServices();
    static const quelto::EngineContext context{.clock = mac.clock,
                                               .mainQueue = mac.mainQueue,
                                               .workspace = mac.workspace,
                                               .accessibility = mac.accessibility,
                                               .mouse = mac.mouse,
                                               .windowServer = &mac.windowServer,
                                               .spaces = &mac.spaces,
                                               .loginItem = &mac.loginItem,
                                               .collation = &mac.collation,
                                               .config = configStore(),
                                               .journal = quelto::Activity::shared()};
    return context;
}

// What the status item, the settings window and the update check are handed.
const quelto::ShellContext& shellContext() {
    quelto::mac::MacServices& mac = quelto::mac::macServices();
    static const quelto::ShellContext context{.clock = mac.clock,
                                              .mainQueue = mac.mainQueue,
                                              .workspace = mac.workspace,
                                              .accessibility = mac.accessibility,
                                              .loginItem = &mac.loginItem,
                                              .collation = &mac.collation,
                                              .system = &mac.system,
                                              .http = &mac.http,
                                              .alerts = &mac.alerts,
                                              .pasteboard = &mac.pasteboard,
                                              .config = configStore(),
                                              .journal = quelto::Activity::shared()};
    return context;
}

NSMenuItem* menuItem(const quelto::MainMenuItem& item, id delegateTarget) {
    if (item.separator) return [NSMenuItem separatorItem];
    // An upper-case key equivalent ("Z") already means shift-command.
    NSMenuItem* menuItem =
        [[NSMenuItem alloc] initWithTitle:toNSString(item.title)
                                   action:NSSelectorFromString(toNSString(item.action))
                            keyEquivalent:toNSString(item.keyEquivalent)];
    if (item.targetsDelegate) menuItem.target = delegateTarget;
    return menuItem;
}

}  // namespace

@implementation AppDelegate {
    std::unique_ptr<DelegateHost> _host;
    std::shared_ptr<quelto::AppController> _controller;
    StatusItemController* _statusItem;
    MainWindowController* _mainWindow;
    id _windowWillCloseObserver;
}

- (instancetype)init {
    if ((self = [super init])) {
        _host = std::make_unique<DelegateHost>(self);
        _controller = quelto::AppController::create(*_host, shellContext(), engineContext());
    }
    return self;
}

// ---- NSApplicationDelegate ----

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
    _controller->applicationDidFinishLaunching();
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender {
    return _controller->applicationShouldTerminateAfterLastWindowClosed();
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)sender hasVisibleWindows:(BOOL)flag {
    return _controller->applicationShouldHandleReopen(flag);
}

// ---- Main-menu commands ----

- (void)showAbout {
    _controller->showAbout();
}

- (void)showSettings {
    _controller->showSettings();
}

- (void)checkForUpdates {
    _controller->checkForUpdates();
}

// ---- The host ----

- (void)setActivationPolicy:(quelto::ActivationPolicy)policy {
    [NSApp setActivationPolicy:static_cast<NSApplicationActivationPolicy>(policy)];
}

- (void)installMainMenu:(const std::vector<quelto::MainMenuMenu>&)menus {
    NSMenu* menuBar = [[NSMenu alloc] init];
    for (const quelto::MainMenuMenu& menu : menus) {
        NSMenuItem* top = [[NSMenuItem alloc] init];
        NSMenu* submenu = [[NSMenu alloc] initWithTitle:toNSString(menu.title)];
        for (const quelto::MainMenuItem& item : menu.items) [submenu addItem:menuItem(item, self)];
        top.submenu = submenu;
        [menuBar addItem:top];
    }
    NSApp.mainMenu = menuBar;
}

- (void)createStatusItem:(quelto::StatusItemModel&)model {
    _statusItem = [[StatusItemController alloc] initWithModel:model];
}

- (void)createSettingsWindow:(const std::shared_ptr<quelto::MainWindowModel>&)model {
    if (MainWindowController* previous = _mainWindow) {
        // Replaced without a close of its own: it goes quietly, without reporting a close.
        [self forgetSettingsWindow];
        [previous close];
    }
    _mainWindow = [[MainWindowController alloc] initWithModel:model];
    __weak AppDelegate* weakSelf = self;
    _windowWillCloseObserver = [NSNotificationCenter.defaultCenter
        addObserverForName:NSWindowWillCloseNotification
                    object:_mainWindow.window
                     queue:NSOperationQueue.mainQueue
                usingBlock:^(NSNotification*) {
                  AppDelegate* strongSelf = weakSelf;
                  if (!strongSelf || !strongSelf->_controller) {
                      // Nobody left to ask: the Dock icon goes all the same.
                      [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
                      return;
                  }
                  [strongSelf forgetSettingsWindow];
                  strongSelf->_controller->settingsWindowWillClose();
                }];
}

- (void)showSettingsWindow {
    [_mainWindow showWindow:nil];
    [_mainWindow.window makeKeyAndOrderFront:nil];
}

// Lets go of the settings window so that the next opening builds a fresh one. The window is
// in the middle of closing: the last reference goes once the close has finished.
- (void)forgetSettingsWindow {
    if (_windowWillCloseObserver) {
        [NSNotificationCenter.defaultCenter removeObserver:_windowWillCloseObserver];
        _windowWillCloseObserver = nil;
    }
    MainWindowController* closing = _mainWindow;
    _mainWindow = nil;
    if (closing) {
        dispatch_async(dispatch_get_main_queue(), ^{
          (void)closing;
        });
    }
}

@end

#pragma once
// The portable part of the application delegate: the single-instance rule, the log header,
// the main menu, the first run, the status item, the configuration observer, the wait for
// Accessibility access and the engine's start; the settings window's life and the activation
// policy that goes with it. The macOS AppDelegate forwards its callbacks here.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/ApplicationHost.h"
#include "app/StatusItemModel.h"
#include "engine/EngineContext.h"
#include "platform/Subscription.h"
#include "ui/MainWindowModel.h"
#include "ui/Presentation.h"
#include "ui/ShellContext.h"

namespace quelto {

class Engine;

class AppController : public std::enable_shared_from_this<AppController> {
    struct Token {};

  public:
    // The engine is constructed with the controller (started later) from `engine`; the
    // status item and the settings window get `shell`. The services of both outlive the
    // controller. `startEngine`, when given, replaces starting it (tests).
    static std::shared_ptr<AppController> create(ApplicationHost& host, const ShellContext& shell,
                                                 const EngineContext& engine,
                                                 std::function<void()> startEngine = {});
    AppController(Token, ApplicationHost& host, const ShellContext& shell,
                  const EngineContext& engine, std::function<void()> startEngine);
    ~AppController();
    AppController(const AppController&) = delete;
    AppController& operator=(const AppController&) = delete;

    static constexpr const char* accessibilityPaneURL = quelto::accessibilityPaneURL;
    static constexpr double permissionPollInterval = 1.0;

    // The start-up sequence.
    void applicationDidFinishLaunching();

    // Shows the settings window, creating it if needed; selects `tab` when given.
    void showWindow(const std::optional<std::string>& tab = std::nullopt);
    void showAbout();
    void showSettings();
    void checkForUpdates();
    void openAccessibilityPane();
    void waitForPermission();
    // The settings window is about to close: let go of it, back to accessory.
    void settingsWindowWillClose();
    bool applicationShouldTerminateAfterLastWindowClosed() const { return false; }
    bool applicationShouldHandleReopen(bool hasVisibleWindows);

    // Runs a main-menu action whose target is the delegate ("showAbout", …); false when
    // the name is not one of them.
    bool performMainMenuAction(const std::string& action);

    // ---- State ----
    StatusItemModel* statusItem() const { return statusItem_.get(); }
    const std::shared_ptr<MainWindowModel>& mainWindow() const { return mainWindow_; }
    const std::shared_ptr<Engine>& engine() const { return engine_; }
    bool isWaitingForPermission() const { return permissionTimer_.active(); }
    bool engineStarted() const { return engineStarted_; }

  private:
    // Activates a copy of Quelto that is already running and asks this one to terminate;
    // false (and nothing done) when there is none.
    bool handOverToRunningCopy();
    void startEngine();
    void permissionTick();

    ApplicationHost& host_;
    const ShellContext shell_;
    std::unique_ptr<StatusItemModel> statusItem_;
    std::shared_ptr<MainWindowModel> mainWindow_;
    std::shared_ptr<Engine> engine_;
    Subscription permissionTimer_;
    Subscription configObserver_;
    std::function<void()> startEngineOverride_;
    bool engineStarted_ = false;
};

}  // namespace quelto

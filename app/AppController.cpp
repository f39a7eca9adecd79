#include "app/AppController.h"

#include "engine/Engine.h"
#include "platform/NotificationCenter.h"
#include "settings/Log.h"
#include "update/UpdateChecker.h"

namespace quelto {

std::shared_ptr<AppController> AppController::create(ApplicationHost& host,
                                                     const ShellContext& shell,
                                                     const EngineContext& engine,
                                                     std::function<void()> startEngine) {
    return std::make_shared<AppController>(Token{}, host, shell, engine, std::move(startEngine));
}

AppController::AppController(Token, ApplicationHost& host, const ShellContext& shell,
                             const EngineContext& engine, std::function<void()> startEngine)
    : host_(host),
      shell_(shell),
      engine_(Engine::create(engine)),
      startEngineOverride_(std::move(startEngine)) {}

AppController::~AppController() = default;

bool AppController::handOverToRunningCopy() {
    // A copy that has already gone (the workspace lists it until the main run loop takes in
    // its termination) is no copy to hand over to: activating it would fail, and this one
    // would quit too, leaving nothing running after a quick relaunch.
    Workspace& ws = shell_.workspace;
    const Pid own = ws.ownProcessIdentifier();
    // The bundle's own identifier, or the build's when the bundle cannot say (as the status
    // menu and the Apps tab judge "this is Quelto").
    const std::string bundleID = ownBundleIdentifier(shell_.system);
    for (const RunningApplicationRef& app : ws.runningApplications()) {
        if (!app || app->processIdentifier() == own || app->isTerminated()) continue;
        std::optional<std::string> id = app->bundleIdentifier();
        if (!id || *id != bundleID) continue;
        app->activate();
        host_.terminate();
        return true;
    }
    return false;
}

void AppController::applicationDidFinishLaunching() {
    // Single instance: hand over to a copy that is already running.
    if (handOverToRunningCopy()) return;

    // Log header.
    blankLine();
    log("Quelto");
    detail("log file: " + Log::path());

    host_.installMainMenu(mainMenu());

    // First run.
    if (shell_.config.writeTemplateIfMissing()) {
        log("first run — enabled, and set to start at login");
        if (LoginItem* item = shell_.loginItem) {
            if (auto error = item->registerItem())
                log("could not set start at login on first run: " + *error);
        }
    }

    // Status item.
    statusItem_ = std::make_unique<StatusItemModel>(shell_);
    std::weak_ptr<AppController> weak = weak_from_this();
    statusItem_->onOpenWindow = [weak] {
        if (auto self = weak.lock()) self->showWindow(std::nullopt);
    };
    statusItem_->onQuit = [weak] {
        if (auto self = weak.lock()) self->host_.terminate();
    };
    host_.createStatusItem(*statusItem_);

    // The icon follows the master switch and the arming.
    configObserver_ = NotificationCenter::defaultCenter().addObserver(queltoConfigChanged, [weak] {
        if (auto self = weak.lock())
            if (self->statusItem_) self->statusItem_->refreshIcon();
    });

    // Accessibility.
    if (shell_.accessibility.isProcessTrustedWithPrompt())
        startEngine();
    else
        waitForPermission();
}

void AppController::startEngine() {
    engineStarted_ = true;
    if (startEngineOverride_)
        startEngineOverride_();
    else if (engine_)
        engine_->start();
}

void AppController::waitForPermission() {
    log("Accessibility access not granted — waiting for it.");
    showWindow(std::nullopt);
    openAccessibilityPane();
    std::weak_ptr<AppController> weak = weak_from_this();
    permissionTimer_ = shell_.mainQueue.scheduleRepeating(permissionPollInterval, [weak] {
        if (auto self = weak.lock()) self->permissionTick();
    });
}

void AppController::permissionTick() {
    if (!permissionTimer_.active()) return;
    if (!shell_.accessibility.isProcessTrusted()) return;
    permissionTimer_.cancel();
    log("Accessibility access granted — starting.");
    startEngine();
    if (mainWindow_) mainWindow_->refresh();
    if (statusItem_) statusItem_->refreshIcon();
}

void AppController::openAccessibilityPane() {
    shell_.workspace.openURL(accessibilityPaneURL);
}

void AppController::showWindow(const std::optional<std::string>& tab) {
    if (!mainWindow_) {
        mainWindow_ = std::make_shared<MainWindowModel>(shell_);
        host_.createSettingsWindow(mainWindow_);
    }
    host_.setActivationPolicy(ActivationPolicy::regular);
    host_.activateIgnoringOtherApps();
    // The window may have closed (and this controller let go of it) during any host call.
    std::shared_ptr<MainWindowModel> window = mainWindow_;
    if (!window) return;
    window->refresh();
    if (tab) window->select(*tab);
    host_.showSettingsWindow();
}

void AppController::settingsWindowWillClose() {
    mainWindow_.reset();
    host_.setActivationPolicy(ActivationPolicy::accessory);
}

void AppController::showAbout() {
    showWindow(std::string("about"));
}

void AppController::showSettings() {
    showWindow(std::nullopt);
}

void AppController::checkForUpdates() {
    UpdateChecker::check(shell_.updateContext(), nullptr);
}

bool AppController::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
    showWindow(std::nullopt);
    return true;
}

bool AppController::performMainMenuAction(const std::string& action) {
    if (action == "showAbout")
        showAbout();
    else if (action == "showSettings")
        showSettings();
    else if (action == "checkForUpdates")
        checkForUpdates();
    else
        return false;
    return true;
}

}  // namespace quelto

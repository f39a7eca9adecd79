#include "app/AppController.h"

#include "engine/Engine.h"
#include "platform/NotificationCenter.h"
#include "platform/Platform.h"
#include "settings/Config.h"
#include "settings/Log.h"
#include "update/UpdateChecker.h"

namespace quelto {

std::shared_ptr<AppController> AppController::create(ApplicationHost& host,
                                                     std::function<void()> startEngine) {
    return std::make_shared<AppController>(Token{}, host, std::move(startEngine));
}

AppController::AppController(Token, ApplicationHost& host, std::function<void()> startEngine)
    : host_(host), engine_(Engine::create()), startEngineOverride_(std::move(startEngine)) {}

AppController::~AppController() = default;

void AppController::applicationDidFinishLaunching() {
    // Single instance: hand over to a copy that is already running. A copy that has already
    // gone (the workspace lists it until the main run loop takes in its termination) is no
    // copy to hand over to: activating it would fail, and this one would quit too, leaving
    // nothing running after a quick relaunch.
    if (Workspace* ws = platform().workspace) {
        const Pid own = ws->ownProcessIdentifier();
        std::string bundleID;
        if (platform().system)
            bundleID = platform().system->bundleInfoString("CFBundleIdentifier").value_or("");
        for (const RunningApplicationRef& app : ws->runningApplications()) {
            if (!app || app->processIdentifier() == own || app->isTerminated()) continue;
            std::optional<std::string> id = app->bundleIdentifier();
            if (!id || *id != bundleID) continue;
            app->activate();
            host_.terminate();
            return;
        }
    }

    // Log header.
    Log::shared().write("", false);
    log("Quelto");
    detail("log file: " + Log::path());

    host_.installMainMenu(mainMenu());

    // First run.
    if (Config::writeTemplateIfMissing()) {
        log("first run — enabled, and set to start at login");
        if (LoginItem* item = platform().loginItem) {
            if (auto error = item->registerItem())
                log("could not set start at login on first run: " + *error);
        }
    }

    // Status item.
    statusItem_ = std::make_unique<StatusItemModel>();
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
    Accessibility* ax = platform().accessibility;
    if (ax && ax->isProcessTrustedWithPrompt())
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
    MainQueue* queue = platform().mainQueue;
    if (!queue) return;
    std::weak_ptr<AppController> weak = weak_from_this();
    permissionTimer_ = queue->scheduleRepeating(permissionPollInterval, [weak] {
        if (auto self = weak.lock()) self->permissionTick();
    });
}

void AppController::permissionTick() {
    if (!permissionTimer_.active()) return;
    Accessibility* ax = platform().accessibility;
    if (!ax || !ax->isProcessTrusted()) return;
    permissionTimer_.cancel();
    log("Accessibility access granted — starting.");
    startEngine();
    if (mainWindow_) mainWindow_->refresh();
    if (statusItem_) statusItem_->refreshIcon();
}

void AppController::openAccessibilityPane() {
    if (Workspace* ws = platform().workspace) ws->openURL(accessibilityPaneURL);
}

void AppController::showWindow(const std::optional<std::string>& tab) {
    if (!mainWindow_) {
        mainWindow_ = std::make_shared<MainWindowModel>();
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
    UpdateChecker::check(nullptr);
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

#include "app/StatusItemModel.h"

#include <cstddef>

#include "platform/NotificationCenter.h"
#include "settings/Activity.h"
#include "settings/Log.h"
#include "ui/Presentation.h"
#include "update/UpdateChecker.h"

namespace quelto {

namespace {

constexpr std::size_t recentRows = 5;

MenuRow row(std::string title, MenuAction action, std::string key = "") {
    MenuRow r;
    r.title = std::move(title);
    r.action = action;
    r.keyEquivalent = std::move(key);
    return r;
}

MenuRow info(std::string title) {
    MenuRow r;
    r.title = std::move(title);
    r.enabled = false;
    return r;
}

// The frontmost application the "Never quit" row is about, with its identifier and the
// name the menu shows; none when there is no such row to show.
struct Frontmost {
    std::string bundleID;
    std::string name;
};

std::optional<Frontmost> frontmostApplication(const ShellContext& shell, bool requireRow) {
    RunningApplicationRef app = shell.workspace.frontmostApplication();
    if (!app) return std::nullopt;
    std::optional<std::string> id = app->bundleIdentifier();
    if (!id) return std::nullopt;
    if (requireRow) {
        if (app->activationPolicy() != ActivationPolicy::regular) return std::nullopt;
        if (*id == ownBundleIdentifier(shell.system)) return std::nullopt;
    }
    return Frontmost{*id, app->localizedName().value_or(*id)};
}

}  // namespace

StatusItemModel::StatusItemModel(const ShellContext& shell) : shell_(shell) {
    refreshIcon();
}

bool StatusItemModel::isActive(const Config& config) {
    return config.live && (config.armAll || !config.armed.empty());
}

StatusIcon StatusItemModel::iconFor(const Config& config) {
    StatusIcon icon;
    icon.active = isActive(config);
    icon.stateWord = icon.active ? "active" : "paused";
    icon.imageName = "menubar-" + icon.stateWord;
    icon.fallbackTitle = icon.active ? "●" : "○";
    icon.toolTip = "Quelto — " + icon.stateWord;
    icon.accessibilityLabel = icon.active ? "Quelto is on" : "Quelto is paused";
    return icon;
}

void StatusItemModel::refreshIcon() {
    icon_ = iconFor(shell_.config.load());
    if (onIconChanged) onIconChanged(icon_);
}

std::vector<MenuRow> StatusItemModel::menuNeedsUpdate() const {
    const Config config = shell_.config.load();
    std::vector<MenuRow> rows;

    MenuRow live = row("Quelto is on", MenuAction::toggleLive);
    live.checked = config.live;
    rows.push_back(live);
    if (config.live && !config.armAll && config.armed.empty())
        rows.push_back(info("No apps armed — nothing will quit"));
    rows.push_back(MenuRow::makeSeparator());

    MenuRow login = row("Start at login", MenuAction::toggleLoginItem);
    login.checked = shell_.loginItem && shell_.loginItem->status() == LoginItem::Status::enabled;
    rows.push_back(login);

    MenuRow quitWhen = row("Quit when…", MenuAction::none);
    MenuRow lastWindow = row("The last window closes", MenuAction::setMode);
    lastWindow.representedObject = std::string(Config::rawValue(Config::Mode::lastWindow));
    lastWindow.checked = config.mode == Config::Mode::lastWindow;
    MenuRow redDot = row("The red dot is clicked", MenuAction::setMode);
    redDot.representedObject = std::string(Config::rawValue(Config::Mode::redDot));
    redDot.checked = config.mode == Config::Mode::redDot;
    quitWhen.submenu = {lastWindow, redDot};
    rows.push_back(quitWhen);

    if (auto front = frontmostApplication(shell_, true)) {
        rows.push_back(MenuRow::makeSeparator());
        bool excluded = config.excluded.count(front->bundleID) > 0;
        rows.push_back(row((excluded ? "Stop excluding " : "Never quit ") + front->name,
                           MenuAction::toggleFrontmost));
    }

    rows.push_back(MenuRow::makeSeparator());
    const auto& entries = shell_.journal.entries();
    if (entries.empty()) {
        rows.push_back(info("No activity yet"));
    } else {
        rows.push_back(info("Recent"));
        for (std::size_t i = 0; i < entries.size() && i < recentRows; ++i) {
            const Activity::Entry& e = entries[i];
            rows.push_back(info("   " + formatClockTime(shell_.clock, e.at, false) + "  " + e.app +
                                " — " + (e.quit ? std::string("quit") : e.outcome)));
        }
    }

    rows.push_back(MenuRow::makeSeparator());
    rows.push_back(row("Check for Updates…", MenuAction::checkForUpdates));
    rows.push_back(row("Settings…", MenuAction::openWindow, ","));
    rows.push_back(row("Quit Quelto", MenuAction::quitApp, "q"));
    return rows;
}

void StatusItemModel::perform(MenuAction action,
                              const std::optional<std::string>& representedObject) {
    switch (action) {
        case MenuAction::none:
            break;
        case MenuAction::toggleLive:
            toggleLive();
            break;
        case MenuAction::setMode:
            setMode(representedObject);
            break;
        case MenuAction::toggleFrontmost:
            toggleFrontmost();
            break;
        case MenuAction::toggleLoginItem:
            toggleLoginItem();
            break;
        case MenuAction::checkForUpdates:
            checkForUpdates();
            break;
        case MenuAction::openWindow:
            openWindow();
            break;
        case MenuAction::quitApp:
            quitApp();
            break;
    }
}

void StatusItemModel::toggleLive() {
    Config config = shell_.config.load();
    const bool wasOn = config.live;
    config.live = !wasOn;
    shell_.config.save(config);
    refreshIcon();
    NotificationCenter::defaultCenter().post(queltoConfigChanged);
    log(std::string("turned ") + (wasOn ? "off" : "on") + " from the menu bar");
}

void StatusItemModel::setMode(const std::optional<std::string>& representedObject) {
    if (!representedObject) return;
    std::optional<Config::Mode> mode = Config::modeFromRaw(*representedObject);
    if (!mode) return;
    Config config = shell_.config.load();
    config.mode = *mode;
    shell_.config.save(config);
    log("mode set to " + std::string(Config::rawValue(*mode)) + " from the menu bar");
}

void StatusItemModel::toggleFrontmost() {
    std::optional<Frontmost> front = frontmostApplication(shell_, false);
    if (!front) return;
    Config config = shell_.config.load();
    if (config.excluded.erase(front->bundleID) > 0) {
        log(front->name + " is no longer excluded");
    } else {
        config.excluded.insert(front->bundleID);
        log(front->name + " will never be quit");
    }
    shell_.config.save(config);
}

void StatusItemModel::toggleLoginItem() {
    LoginItem* item = shell_.loginItem;
    if (!item) return;
    if (item->status() == LoginItem::Status::enabled) {
        if (auto error = item->unregisterItem())
            reportLoginItemFailure(shell_.alerts, *error);
        else
            log("will no longer start at login");
    } else {
        if (auto error = item->registerItem())
            reportLoginItemFailure(shell_.alerts, *error);
        else
            log("will start at login");
    }
}

void StatusItemModel::checkForUpdates() {
    UpdateChecker::check(shell_.updateContext(), nullptr);
}

void StatusItemModel::openWindow() {
    if (onOpenWindow) onOpenWindow();
}

void StatusItemModel::quitApp() {
    if (onQuit) onQuit();
}

}  // namespace quelto

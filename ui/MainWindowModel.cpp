#include "ui/MainWindowModel.h"

#include "platform/BuildSettings.h"
#include "platform/NotificationCenter.h"
#include "settings/Log.h"
#include "ui/Presentation.h"
#include "update/UpdateChecker.h"

namespace quelto {

const MainWindowModel::Frame& MainWindowModel::frame() {
    static const Frame f{"Quelto",
                         580,
                         560,
                         "QueltoMainWindow",
                         12,
                         {{"General", "general"},
                          {"Apps", "apps"},
                          {"Activity", "activity"},
                          {"Help", "help"},
                          {"About", "about"}}};
    return f;
}

MainWindowModel::MainWindowModel(const ShellContext& shell)
    : shell_(shell), selectedTab_(frame().tabs.front().identifier) {
    // The Activity table follows the journal live.
    activityObserver_ = NotificationCenter::defaultCenter().addObserver(
        Activity::changed, [this] { activityChanged(); });
    refresh();
}

MainWindowModel::~MainWindowModel() = default;

void MainWindowModel::changed(Change change) {
    if (onChange) onChange(change);
}

void MainWindowModel::select(const std::string& tab) {
    for (const Tab& t : frame().tabs) {
        if (t.identifier == tab) {
            selectedTab_ = tab;
            changed(Change::tab);
            return;
        }
    }
}

void MainWindowModel::refresh() {
    const Config config = shell_.config.load();

    general_.liveOn = config.live;
    general_.statusLabel = config.live ? "Quelto is active" : "Quelto is paused";
    general_.modeSegment = config.mode == Config::Mode::lastWindow ? 0 : 1;
    switch (config.escape) {
        case Config::Escape::shift:
            general_.escapeIndex = 0;
            break;
        case Config::Escape::option:
            general_.escapeIndex = 1;
            break;
        case Config::Escape::none:
            general_.escapeIndex = 2;
            break;
    }

    const LoginItem::Status login =
        shell_.loginItem ? shell_.loginItem->status() : LoginItem::Status::notFound;
    general_.loginChecked =
        login == LoginItem::Status::requiresApproval || login == LoginItem::Status::enabled;
    general_.loginTitle = login == LoginItem::Status::requiresApproval
                              ? "Start Quelto when I log in — needs approval in System Settings"
                              : "Start Quelto when I log in";

    recomputeHelp();
    rebuildApps(config);
    // The Activity table reads the journal directly; the change below reloads it too.
    changed(Change::all);
}

// ---- General ----

void MainWindowModel::toggleLive(bool switchOn) {
    Config config = shell_.config.load();
    config.live = switchOn;
    shell_.config.save(config);
    refresh();
    NotificationCenter::defaultCenter().post(queltoConfigChanged);
}

void MainWindowModel::changeQuitMode(int selectedSegment) {
    Config config = shell_.config.load();
    config.mode = selectedSegment == 0 ? Config::Mode::lastWindow : Config::Mode::redDot;
    shell_.config.save(config);
    // The control already shows the choice; keep the model's copy of it in step.
    general_.modeSegment = selectedSegment == 0 ? 0 : 1;
}

void MainWindowModel::changeEscape(int selectedIndex) {
    static constexpr Config::Escape order[] = {Config::Escape::shift, Config::Escape::option,
                                               Config::Escape::none};
    if (selectedIndex < 0 || selectedIndex > 2) return;
    Config config = shell_.config.load();
    config.escape = order[selectedIndex];
    shell_.config.save(config);
    general_.escapeIndex = selectedIndex;
}

void MainWindowModel::toggleLoginItem(bool boxChecked) {
    if (LoginItem* item = shell_.loginItem) {
        if (boxChecked) {
            if (auto error = item->registerItem())
                reportLoginItemFailure(shell_.alerts, *error);
            else
                log("will start at login");
        } else {
            if (auto error = item->unregisterItem())
                reportLoginItemFailure(shell_.alerts, *error);
            else
                log("will no longer start at login");
        }
    }
    // Puts the box back to the service's real status.
    refresh();
}

// ---- Files, links and the rest ----

void MainWindowModel::revealLog() {
    shell_.workspace.selectFile(Log::path());
}

void MainWindowModel::revealConfig() {
    shell_.workspace.selectFile(ConfigStore::path());
}

void MainWindowModel::openAccessibility() {
    shell_.accessibility.isProcessTrustedWithPrompt();
    openExternally(accessibilityPaneURL);
}

bool MainWindowModel::openExternally(const std::string& url) {
    if (!parsesAsURL(url)) return false;
    return shell_.workspace.openURL(url);
}

std::string MainWindowModel::supportMailURL() {
    return std::string("mailto:") + build::supportEmail + "?subject=Quelto%20help";
}
std::string MainWindowModel::helpPageURL() {
    return std::string(build::siteURL) + "/help";
}
std::string MainWindowModel::siteURL() {
    return build::siteURL;
}
std::string MainWindowModel::termsURL() {
    return std::string(build::siteURL) + "/terms";
}
std::string MainWindowModel::privacyURL() {
    return std::string(build::siteURL) + "/privacy";
}

void MainWindowModel::emailSupport() {
    openExternally(supportMailURL());
}
void MainWindowModel::openHelpPage() {
    openExternally(helpPageURL());
}
void MainWindowModel::openSite() {
    openExternally(siteURL());
}
void MainWindowModel::openTerms() {
    openExternally(termsURL());
}
void MainWindowModel::openPrivacy() {
    openExternally(privacyURL());
}

void MainWindowModel::checkForUpdates(UpdateButton* from) {
    UpdateChecker::check(shell_.updateContext(), from);
}

bool MainWindowModel::perform(WindowAction action) {
    switch (action) {
        case WindowAction::revealLog:
            revealLog();
            return true;
        case WindowAction::revealConfig:
            revealConfig();
            return true;
        case WindowAction::openAccessibility:
            openAccessibility();
            return true;
        case WindowAction::copyDiagnostics:
            copyDiagnostics();
            return true;
        case WindowAction::emailSupport:
            emailSupport();
            return true;
        case WindowAction::openHelpPage:
            openHelpPage();
            return true;
        case WindowAction::openSite:
            openSite();
            return true;
        case WindowAction::openTerms:
            openTerms();
            return true;
        case WindowAction::openPrivacy:
            openPrivacy();
            return true;
        case WindowAction::none:
        case WindowAction::toggleLive:
        case WindowAction::changeQuitMode:
        case WindowAction::changeEscape:
        case WindowAction::toggleLoginItem:
        case WindowAction::addApp:
        case WindowAction::checkForUpdates:
            return false;
    }
    return false;
}

}  // namespace quelto

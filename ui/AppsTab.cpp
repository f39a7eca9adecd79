// The Apps tab: the list of applications with their "Never quit" boxes, and adding
// applications that are not running.

#include <algorithm>
#include <set>

#include "platform/Collation.h"
#include "platform/NotificationCenter.h"
#include "settings/Log.h"
#include "ui/MainWindowModel.h"
#include "ui/Presentation.h"

namespace quelto {

namespace {

std::string withoutAppSuffix(std::string name) {
    static const std::string suffix = ".app";
    for (std::size_t at = name.find(suffix); at != std::string::npos; at = name.find(suffix))
        name.erase(at, suffix.size());
    return name;
}

std::string lastPathComponent(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    std::size_t slash = path.rfind('/');
    return slash == std::string::npos || path.size() == 1 ? path : path.substr(slash + 1);
}

}  // namespace

const std::vector<TableColumn>& MainWindowModel::appsColumns() {
    static const std::vector<TableColumn> columns = {{"name", "Application", 330},
                                                     {"exclude", "Never quit", 90}};
    return columns;
}

MainWindowModel::ExcludeBox MainWindowModel::excludeBox(const AppRow& row) {
    ExcludeBox box;
    box.identifier = row.bundleID;
    box.accessibilityLabel = "Never quit " + row.name;
    if (row.clicked) {
        // The box as the user left it: it could be clicked, so it is enabled.
        box.checked = *row.clicked;
        box.enabled = true;
    } else if (row.excluded) {
        // The user's own exclusion can always be taken back, even for a built-in
        // identifier, whose protection then simply remains.
        box.checked = true;
        box.enabled = true;
    } else if (row.builtIn) {
        box.checked = true;
        box.enabled = false;
    } else {
        box.checked = false;
        box.enabled = true;
    }
    if (row.builtIn) box.toolTip = "Always protected";
    return box;
}

MainWindowModel::NameCell MainWindowModel::nameCell(const AppRow& row) {
    NameCell cell;
    cell.text = row.name;
    cell.color = row.running ? TextColor::primary : TextColor::secondary;
    cell.toolTip = row.bundleID;
    return cell;
}

const MainWindowModel::OpenPanelDescription& MainWindowModel::addAppPanel() {
    static const OpenPanelDescription desc{
        "Choose an app Quelto should never quit",
        "Never Quit",
        "Pick one or more apps that should keep running when you close their last window.",
        {"com.apple.application", "com.apple.application-bundle"},
        true,
        true,
        false,
        false,
        "/Applications"};
    return desc;
}

void MainWindowModel::reloadApps(const Config& config) {
    rebuildApps(config);
    changed(Change::apps);
}

void MainWindowModel::rebuildApps(const Config& config) {
    std::vector<AppRow> rows;
    std::set<std::string> seen;
    const std::set<std::string>& builtIn = neverQuitBundleIDs();
    Workspace& ws = shell_.workspace;

    const std::string own = ownBundleIdentifier(shell_.system);
    for (const RunningApplicationRef& app : ws.runningApplications()) {
        if (!app || app->activationPolicy() != ActivationPolicy::regular) continue;
        std::optional<std::string> id = app->bundleIdentifier();
        if (!id || *id == own) continue;
        if (!seen.insert(*id).second) continue;
        AppRow row;
        row.name = app->localizedName().value_or(*id);
        row.bundleID = *id;
        row.running = true;
        row.excluded = config.excluded.count(*id) > 0;
        row.builtIn = builtIn.count(*id) > 0;
        rows.push_back(std::move(row));
    }

    for (const std::string& id : config.excluded) {
        if (seen.count(id)) continue;
        AppRow row;
        row.name = id;
        if (auto path = ws.pathForApplication(id))
            row.name = withoutAppSuffix(ws.displayName(*path));
        row.bundleID = id;
        row.running = false;
        row.excluded = true;
        row.builtIn = builtIn.count(id) > 0;
        rows.push_back(std::move(row));
    }

    Collation* collation = shell_.collation;
    std::stable_sort(rows.begin(), rows.end(), [collation](const AppRow& a, const AppRow& b) {
        if (a.running != b.running) return a.running;
        return compareNames(collation, a.name, b.name) < 0;
    });
    appRows_ = std::move(rows);
}

void MainWindowModel::toggleExclusion(const std::string& bundleID, bool boxChecked) {
    if (bundleID.empty()) return;
    Config config = shell_.config.load();
    if (boxChecked)
        config.excluded.insert(bundleID);
    else
        config.excluded.erase(bundleID);
    shell_.config.save(config);
    for (AppRow& row : appRows_) {
        if (row.bundleID != bundleID) continue;
        row.excluded = boxChecked;
        row.clicked = boxChecked;
    }
    changed(Change::appRow);
    NotificationCenter::defaultCenter().post(queltoConfigChanged);
}

void MainWindowModel::addAppClicked() {
    log("Add App… clicked");
}

void MainWindowModel::addApp(const std::vector<std::string>& chosenPaths) {
    Workspace& ws = shell_.workspace;
    Config config = shell_.config.load();
    std::vector<std::string> names;
    for (const std::string& path : chosenPaths) {
        std::optional<std::string> id = ws.bundleIdentifierAtPath(path);
        if (!id || id->empty()) {
            log("could not read a bundle identifier from " + lastPathComponent(path));
            continue;
        }
        config.excluded.insert(*id);
        names.push_back(withoutAppSuffix(ws.displayName(path)));
    }
    if (names.empty()) return;
    shell_.config.save(config);
    std::string joined;
    for (const std::string& name : names) joined += (joined.empty() ? "" : ", ") + name;
    log("will never quit: " + joined);
    refresh();
    NotificationCenter::defaultCenter().post(queltoConfigChanged);
}

}  // namespace quelto

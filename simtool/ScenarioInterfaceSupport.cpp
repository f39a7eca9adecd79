// What the interface commands and their expectations share: the settings tabs by their
// words, the status item and settings window of a running Quelto, menu rows by title.

#include "simtool/ScenarioInterfaceSupport.h"

#include <algorithm>

#include "app/AppController.h"
#include "sim/SimApplicationHost.h"
#include "simtool/ScenarioRunner.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

const std::vector<std::string>& tabIdentifiers() {
    static const std::vector<std::string> ids = {"general", "apps", "activity", "help", "about"};
    return ids;
}

// The next word, which must name a tab.
std::optional<std::string> tabWord(Args& args) {
    auto t = args.bare("a tab");
    if (!t) return std::nullopt;
    const auto& ids = tabIdentifiers();
    if (std::find(ids.begin(), ids.end(), *t) != ids.end()) return t;
    args.fail(inQuotes(*t) + " is not a tab (general, apps, activity, help, about)");
    return std::nullopt;
}

StatusItemModel* statusItem(ScenarioRunner& r, int line) {
    AppController* c = r.appController();
    StatusItemModel* item = c ? c->statusItem() : nullptr;
    if (!item) r.error(line, "Quelto is not running, so there is no menu-bar item");
    return item;
}

std::shared_ptr<MainWindowModel> settingsWindow(ScenarioRunner& r, int line) {
    AppController* c = r.appController();
    std::shared_ptr<MainWindowModel> w = c ? c->mainWindow() : nullptr;
    if (!w) r.error(line, "the settings window is not open (settings open comes first)");
    return w;
}

const MenuRow* findRow(const std::vector<MenuRow>& rows, const std::string& title) {
    for (const MenuRow& row : rows)
        if (!row.separator && row.title == title) return &row;
    return nullptr;
}

std::string rowTitles(const std::vector<MenuRow>& rows) {
    std::string s;
    for (const MenuRow& row : rows) {
        if (row.separator) continue;
        if (!s.empty()) s += ", ";
        s += inQuotes(row.title);
    }
    return s;
}

bool requireStarted(Parser& p, Args& args, const std::string& what) {
    if (p.startLine) return true;
    args.fail((what.empty() ? args.command() : what) +
              " needs Quelto running: put start before it");
    return false;
}

}  // namespace quelto::simtool

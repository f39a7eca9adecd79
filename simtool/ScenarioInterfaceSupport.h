#pragma once
// Shared by the interface commands (ScenarioInterface.cpp) and their expectations
// (ScenarioInterfaceExpectations.cpp). Internal to the scenario reader.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/MenuRow.h"
#include "simtool/ScenarioParserContext.h"
#include "ui/MainWindowModel.h"

namespace quelto {
class StatusItemModel;
}

namespace quelto::simtool {

class ScenarioRunner;

// The settings window's tabs, by the words the scenario uses for them.
const std::vector<std::string>& tabIdentifiers();
// The next word, which must name a tab.
std::optional<std::string> tabWord(Args& args);
// Quelto's status item and settings window; a run-time error on `line` when there is none.
StatusItemModel* statusItem(ScenarioRunner& r, int line);
std::shared_ptr<MainWindowModel> settingsWindow(ScenarioRunner& r, int line);
// The menu row with this title (separators skipped), and every row's title for messages.
const MenuRow* findRow(const std::vector<MenuRow>& rows, const std::string& title);
std::string rowTitles(const std::vector<MenuRow>& rows);
// Whether Quelto is started by this line; reports "{what} needs Quelto running" if not.
bool requireStarted(Parser& p, Args& args, const std::string& what = "");

}  // namespace quelto::simtool

#pragma once
// A settings tab as a person sees it, in plain text (quelto-sim and the tests).

#include <string>

#include "ui/MainWindowModel.h"

namespace quelto {

// The tab's content with every control in its current state, the tables with their rows
// and the health checks; empty for an unknown tab.
std::string renderTab(const MainWindowModel& model, const std::string& tab);

// The window frame, its tabs (the selected one marked) and then the selected tab.
std::string renderWindow(const MainWindowModel& model);

}  // namespace quelto

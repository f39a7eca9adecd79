#pragma once
// What quelto-sim prints after a run: Quelto's log as the file holds it, the activity
// journal as a table (newest first), the configuration file as it stands at the end, and
// what the scenario asked to see on screen. Each part is headed "==> name <==".

#include <string>
#include <vector>

#include "settings/Activity.h"
#include "simtool/ScenarioRunner.h"

namespace quelto::simtool {

// The journal as aligned columns: Time, Application, Closed by, Left, Result, Quit.
std::vector<std::string> journalTable(const Activity::Entries& entries, int utcOffsetSeconds);

struct ReportOptions {
    bool logOnly = false;  // the log's lines and nothing else
};

std::string formatReport(const RunResult& result, const ReportOptions& options);

// Width of UTF-8 text in characters (code points): what the terminal shows for the
// program's texts, which use no double-width characters.
std::size_t displayWidth(const std::string& text);

}  // namespace quelto::simtool

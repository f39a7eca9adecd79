// The Activity tab: a table of the in-memory activity journal, newest first.

#include "ui/MainWindowModel.h"
#include "ui/Presentation.h"

namespace quelto {

const std::vector<TableColumn>& MainWindowModel::activityColumns() {
    static const std::vector<TableColumn> columns = {{"time", "Time", 70},
                                                     {"app", "Application", 170},
                                                     {"cause", "Closed by", 150},
                                                     {"outcome", "Result", 170}};
    return columns;
}

MainWindowModel::ActivityRow MainWindowModel::activityRow(Clock& clock,
                                                          const Activity::Entry& entry) {
    ActivityRow row;
    row.time = formatClockTime(clock, entry.at, true);
    row.app = entry.app;
    row.cause = entry.cause;
    row.outcome = entry.outcome;
    // Rows where something was quit stand out.
    row.emphasised = entry.quit;
    row.color = entry.quit ? TextColor::primary : TextColor::secondary;
    return row;
}

std::size_t MainWindowModel::activityRowCount() const {
    return shell_.journal.entries().size();
}

std::vector<MainWindowModel::ActivityRow> MainWindowModel::activityRows() const {
    std::vector<ActivityRow> rows;
    for (const Activity::Entry& e : shell_.journal.entries())
        rows.push_back(activityRow(shell_.clock, e));
    return rows;
}

void MainWindowModel::activityChanged() {
    changed(Change::activity);
}

}  // namespace quelto

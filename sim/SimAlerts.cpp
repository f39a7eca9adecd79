// Alerts: started from the main run loop in its default mode (never inside the caller's work),
// Quelto activated, shown, answered with the queued button (the first by default), and, when the
// user takes their time, kept on screen while the main thread runs the alert's nested loop in the
// modal-panel mode.

#include "sim/SimState.h"

namespace quelto::sim {

void SimDesktop::present(const AlertDescription& alert, std::function<void(long)> completion) {
    State& s = *state_;
    WorkItem item;
    item.kind = WorkKind::runLoopSource;
    item.modes = defaultModeOnly;
    item.work = [this, alert, completion = std::move(completion)] {
        long answer = runModal(alert);
        if (completion) completion(answer);
    };
    s.scheduleAt(s.now, std::move(item));
}

long SimDesktop::runModal(const AlertDescription& alert) {
    State& s = *state_;
    // The alert is Quelto's: Quelto is activated first, so that it shows in front of the
    // app the user is working in rather than behind its windows. An accessory app may be
    // the active one; it stays so after the alert, until the user brings another app forward.
    if (s.runningApp(s.ownPid)) setFrontmost(s.ownPid);
    s.alerts.push_back(alert);
    if (std::optional<Micros> hold = std::exchange(s.main.holdNextAlert, std::nullopt)) {
        ++s.main.alertsOnScreen;
        s.runNestedLoop(RunLoopMode::modalPanel, s.now + *hold);
        --s.main.alertsOnScreen;
    }
    if (s.alertAnswers.empty()) return Alerts::firstButtonReturn;
    long answer = s.alertAnswers.front();
    s.alertAnswers.erase(s.alertAnswers.begin());
    return answer;
}

void SimDesktop::queueAlertAnswer(long response) {
    state_->alertAnswers.push_back(response);
}

const std::vector<AlertDescription>& SimDesktop::shownAlerts() const {
    return state_->alerts;
}

}  // namespace quelto::sim

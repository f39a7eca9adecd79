// The Help tab: the health checks, questions and answers, and the support links.

#include "ui/MainWindowModel.h"

namespace quelto {

namespace {

MainWindowModel::HealthCheck check(bool passed, const char* passTitle, const char* failTitle,
                                   const char* passDetail, const char* failDetail) {
    MainWindowModel::HealthCheck c;
    c.passed = passed;
    c.title = passed ? passTitle : failTitle;
    c.detail = passed ? passDetail : failDetail;
    c.symbolName = passed ? "checkmark.circle.fill" : "exclamationmark.circle.fill";
    return c;
}

}  // namespace

std::vector<MainWindowModel::HealthCheck> MainWindowModel::healthChecks(
    bool trusted, const Config& config, LoginItem::Status loginStatus,
    const std::optional<std::string>& configProblem) {
    std::vector<HealthCheck> checks = {
        check(trusted, "Accessibility access granted", "Accessibility access is missing",
              "Quelto can see when a window closes.",
              "Quelto can do nothing at all until you switch it on. Use the button below, then "
              "find Quelto in the list."),
        check(config.live, "Quelto is switched on", "Quelto is switched off",
              "Closing an app’s last window will quit it.",
              "Turn it on from the menu bar dot, or on the General tab."),
        check(loginStatus == LoginItem::Status::enabled, "Starts when you log in",
              "Does not start when you log in", "It will be here after a restart.",
              "Tick “Start Quelto when I log in” on the General tab, or it won’t come back after "
              "a restart."),
    };
    if (configProblem) {
        HealthCheck& master = checks[1];
        master = check(false, "", "Quelto’s settings file can’t be read", "", "");
        master.detail = "config.txt " + *configProblem +
                        ", so nothing will be quit. Fix it by hand, or change a setting here: "
                        "the file is then kept aside and a new one started.";
    }
    return checks;
}

std::string MainWindowModel::healthCheckIconLabel(bool passed) {
    return passed ? "Passed" : "Needs attention";
}

const std::vector<MainWindowModel::QuestionAndAnswer>& MainWindowModel::questions() {
    static const std::vector<QuestionAndAnswer> qa = {
        {"Nothing quits when I close a window",
         "Look at the checks above first: each one needs a green tick. The usual cause is "
         "Accessibility, which macOS grants to nothing by default."},
        {"It worked, then stopped after an update",
         "macOS ties that permission to the app’s signature, so a new build can look like "
         "different software. Remove Quelto from the Accessibility list with the – button, then "
         "add it back with +."},
        {"An app I want left alone keeps quitting",
         "Add it on the Apps tab, or click the menu bar dot while that app is in front and "
         "choose “Never quit”."},
        {"An app takes several seconds to disappear",
         "That’s the app closing itself down. Mail takes about ten seconds even when you quit it "
         "by hand."},
        {"I want to close one window without quitting", "Hold Shift while you click the red dot."},
    };
    return qa;
}

void MainWindowModel::recomputeHelp() {
    const Config config = shell_.config.load();
    const bool trusted = shell_.accessibility.isProcessTrusted();
    const LoginItem::Status login =
        shell_.loginItem ? shell_.loginItem->status() : LoginItem::Status::notFound;
    checkRows_ = healthChecks(trusted, config, login, shell_.config.fileProblem());
}

void MainWindowModel::refreshHelp() {
    recomputeHelp();
    changed(Change::all);
}

}  // namespace quelto

#include "ui/MainWindowModel.h"

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

MainWindowModel::ExcludeBox MainWindowModel::excludeBox(const AppRow& row) {
    ExcludeBox b;
    b.identifier = row.bundleID;
    return b;
}
MainWindowModel::NameCell MainWindowModel::nameCell(const AppRow& row) {
    NameCell c;
    c.text = row.name;
    return c;
}
const std::vector<TableColumn>& MainWindowModel::appsColumns() {
    static const std::vector<TableColumn> c;
    return c;
}
const MainWindowModel::OpenPanelSpec& MainWindowModel::addAppPanel() {
    static const OpenPanelSpec s;
    return s;
}
MainWindowModel::ActivityRow MainWindowModel::activityRow(const Activity::Entry&) {
    return {};
}
const std::vector<TableColumn>& MainWindowModel::activityColumns() {
    static const std::vector<TableColumn> c;
    return c;
}
std::vector<MainWindowModel::HealthCheck> MainWindowModel::healthChecks(bool, const Config&,
                                                                        LoginItem::Status) {
    return {};
}
const std::vector<MainWindowModel::QuestionAndAnswer>& MainWindowModel::questions() {
    static const std::vector<QuestionAndAnswer> q;
    return q;
}
MainWindowModel::AboutLines MainWindowModel::aboutLines() {
    return {};
}
std::string MainWindowModel::diagnosticsText() {
    return {};
}
std::string MainWindowModel::supportMailURL() {
    return {};
}
std::string MainWindowModel::helpPageURL() {
    return {};
}
std::string MainWindowModel::siteURL() {
    return {};
}
std::string MainWindowModel::termsURL() {
    return {};
}
std::string MainWindowModel::privacyURL() {
    return {};
}

MainWindowModel::MainWindowModel() : selectedTab_("general") {}
MainWindowModel::~MainWindowModel() = default;

void MainWindowModel::select(const std::string&) {}
void MainWindowModel::refresh() {}
void MainWindowModel::reloadApps(const Config&) {}
void MainWindowModel::refreshHelp() {}
void MainWindowModel::activityChanged() {}
std::size_t MainWindowModel::activityRowCount() const {
    return 0;
}
std::vector<MainWindowModel::ActivityRow> MainWindowModel::activityRows() const {
    return {};
}
TabContent MainWindowModel::content(const std::string&) const {
    return {};
}
void MainWindowModel::toggleLive(bool) {}
void MainWindowModel::changeQuitMode(int) {}
void MainWindowModel::changeEscape(int) {}
void MainWindowModel::toggleLoginItem(bool) {}
void MainWindowModel::toggleExclusion(const std::string&, bool) {}
void MainWindowModel::addAppClicked() {}
void MainWindowModel::addApp(const std::vector<std::string>&) {}
void MainWindowModel::revealLog() {}
void MainWindowModel::revealConfig() {}
void MainWindowModel::openAccessibility() {}
void MainWindowModel::copyDiagnostics() {}
bool MainWindowModel::openExternally(const std::string&) {
    return false;
}
void MainWindowModel::emailSupport() {}
void MainWindowModel::openHelpPage() {}
void MainWindowModel::openSite() {}
void MainWindowModel::openTerms() {}
void MainWindowModel::openPrivacy() {}
void MainWindowModel::checkForUpdates(UpdateButton*) {}
bool MainWindowModel::perform(const std::string&) {
    return false;
}
void MainWindowModel::changed(Change c) {
    if (onChange) onChange(c);
}

}  // namespace quelto

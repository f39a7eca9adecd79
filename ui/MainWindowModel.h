#pragma once
// Everything the settings window decides, without AppKit: its frame and tabs, the state of
// every control after `refresh()`, the Apps and Activity tables, the health checks, the
// static texts, and the effect of every action. The macOS window controller renders this
// model and forwards the user's actions to it; quelto-sim prints it.
//
// The model notifies its renderer through `onChange` whenever what it shows has changed.

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Services.h"
#include "platform/Subscription.h"
#include "settings/Activity.h"
#include "settings/Config.h"
#include "ui/ShellContext.h"
#include "ui/ViewElement.h"

namespace quelto {

class UpdateButton;

class MainWindowModel {
  public:
    // ---- The window ----
    struct Tab {
        std::string label;
        std::string identifier;  // the label in lower case
    };
    struct Frame {
        std::string title;  // "Quelto"
        double width = 0;   // content size 580 × 560
        double height = 0;
        std::string autosaveName;  // "QueltoMainWindow"
        double margin = 0;         // the tab view's margin on every side: 12
        std::vector<Tab> tabs;     // General, Apps, Activity, Help, About
    };
    static const Frame& frame();

    // ---- General tab ----
    struct GeneralState {
        bool liveOn = false;
        std::string statusLabel;  // "Quelto is active" / "Quelto is paused"
        int modeSegment = 0;      // 0 last-window, 1 red-dot
        int escapeIndex = 0;      // 0 shift, 1 option, 2 none
        bool loginChecked = false;
        std::string loginTitle;
        friend bool operator==(const GeneralState&, const GeneralState&) = default;
    };

    // ---- Apps tab ----
    struct AppRow {
        std::string name;
        std::string bundleID;
        bool running = false;
        bool excluded = false;
        bool builtIn = false;
        // The "Never quit" box as the user last clicked it. A click changes the box itself
        // and nothing redraws the row, so it shows the user's state, enabled, until the
        // table's next reload (which builds the rows afresh, without it).
        std::optional<bool> clicked;
        friend bool operator==(const AppRow&, const AppRow&) = default;
    };
    // The "Never quit" check box of one row.
    struct ExcludeBox {
        std::string identifier;  // the row's bundle identifier
        bool checked = false;
        bool enabled = true;
        std::optional<std::string> toolTip;  // "Always protected" for built-in identifiers
        std::string accessibilityLabel;      // "Never quit {name}": the box has no title
        friend bool operator==(const ExcludeBox&, const ExcludeBox&) = default;
    };
    // The "Application" cell of one row.
    struct NameCell {
        std::string text;
        TextColor color = TextColor::primary;
        std::string toolTip;  // the bundle identifier
        friend bool operator==(const NameCell&, const NameCell&) = default;
    };
    static ExcludeBox excludeBox(const AppRow& row);
    static NameCell nameCell(const AppRow& row);
    // "name" 330, "exclude" 90. The "exclude" box of a row sends
    // `toggleExclusion(box.identifier, newState)`.
    static const std::vector<TableColumn>& appsColumns();
    static constexpr double appsRowHeight = 26;
    // The Apps table never gets shorter than this; it grows with the window.
    static constexpr double appsTableMinimumHeight = 340;

    // What the "Add App…" open panel shows.
    struct OpenPanelDescription {
        std::string title;
        std::string prompt;
        std::string message;
        std::vector<std::string> allowedContentTypes;  // "com.apple.application", …bundle
        bool allowsMultipleSelection = true;
        bool canChooseFiles = true;
        bool canChooseDirectories = false;
        bool treatsFilePackagesAsDirectories = false;
        std::string directory;  // "/Applications"
    };
    static const OpenPanelDescription& addAppPanel();

    // ---- Activity tab ----
    struct ActivityRow {
        std::string time;  // "HH:mm:ss"
        std::string app;
        std::string cause;
        std::string outcome;
        bool emphasised = false;  // something was quit: primary colour, else secondary
        TextColor color = TextColor::secondary;
        friend bool operator==(const ActivityRow&, const ActivityRow&) = default;
    };
    // The time is local time by `clock`.
    static ActivityRow activityRow(Clock& clock, const Activity::Entry& entry);
    static const std::vector<TableColumn>& activityColumns();  // time, app, cause, outcome
    static constexpr double activityRowHeight = 24;

    // ---- Help tab ----
    struct HealthCheck {
        std::string title;
        std::string detail;
        bool passed = false;
        std::string symbolName;  // "checkmark.circle.fill" / "exclamationmark.circle.fill"
        friend bool operator==(const HealthCheck&, const HealthCheck&) = default;
    };
    // The three checks, in display order: Accessibility, master switch, start at login.
    // `configProblem` is what is wrong with a settings file that cannot be read
    // (`ConfigStore::fileProblem()`): the master switch check then fails and says so, since the
    // switch it would report on is only the defaults'.
    static std::vector<HealthCheck> healthChecks(
        bool trusted, const Config& config, LoginItem::Status loginStatus,
        const std::optional<std::string>& configProblem = std::nullopt);
    struct QuestionAndAnswer {
        std::string question;
        std::string answer;
    };
    static const std::vector<QuestionAndAnswer>& questions();
    // What VoiceOver says for a check's icon: "Passed" / "Needs attention".
    static std::string healthCheckIconLabel(bool passed);

    // ---- About tab ----
    struct AboutLines {
        std::string versionLine;  // "Version {version} (build {build})"
        std::string tagline;
        std::string siteButton;  // the product site's host name
        std::string systemLine;  // "macOS {major}.{minor}.{patch} · {machine}"
        std::string note;
    };
    static AboutLines aboutLines(const ShellContext& shell);

    // The diagnostics text for support, exactly as it goes on the pasteboard.
    static std::string diagnosticsText(const ShellContext& shell);

    // The link targets.
    static std::string supportMailURL();  // mailto:{support}?subject=Quelto%20help
    static std::string helpPageURL();     // {site}/help
    static std::string siteURL();         // {site}
    static std::string termsURL();        // {site}/terms
    static std::string privacyURL();      // {site}/privacy

    // ---- Lifetime ----
    // Builds the tabs, observes the activity journal, `refresh()`. The services of `shell`
    // outlive the model.
    explicit MainWindowModel(const ShellContext& shell);
    ~MainWindowModel();
    MainWindowModel(const MainWindowModel&) = delete;
    MainWindowModel& operator=(const MainWindowModel&) = delete;

    enum class Change {
        all,       // every control, both tables and the health checks (after refresh)
        tab,       // the selected tab
        apps,      // the Apps table was rebuilt
        appRow,    // one Apps row's `excluded` changed (no table reload)
        activity,  // the Activity table reloads
    };
    // Set by the renderer; called after each change of what the window shows.
    std::function<void(Change)> onChange;

    // Selects the tab with this identifier; unknown identifiers are ignored.
    void select(const std::string& tab);
    const std::string& selectedTab() const { return selectedTab_; }

    // Re-reads the configuration and updates every tab.
    void refresh();
    void reloadApps(const Config& config);
    void refreshHelp();
    void activityChanged();

    // ---- State after the last refresh ----
    const GeneralState& general() const { return general_; }
    const std::vector<AppRow>& appRows() const { return appRows_; }
    const std::vector<HealthCheck>& checkRows() const { return checkRows_; }
    // The Activity table follows the journal: row i is the i-th newest entry.
    std::size_t activityRowCount() const;
    std::vector<ActivityRow> activityRows() const;

    // The content of one tab as it stands now (empty for an unknown identifier).
    TabContent content(const std::string& tab) const;

    // ---- Actions ----
    void toggleLive(bool switchOn);
    void changeQuitMode(int selectedSegment);
    void changeEscape(int selectedIndex);
    void toggleLoginItem(bool boxChecked);
    void toggleExclusion(const std::string& bundleID, bool boxChecked);
    // "Add App…": logs the click. The renderer then activates the application, runs the
    // open panel and, on OK only, hands the chosen paths to `addApp`.
    void addAppClicked();
    void addApp(const std::vector<std::string>& chosenPaths);
    void revealLog();
    void revealConfig();
    void openAccessibility();
    void copyDiagnostics();
    bool openExternally(const std::string& url);
    void emailSupport();
    void openHelpPage();
    void openSite();
    void openTerms();
    void openPrivacy();
    void checkForUpdates(UpdateButton* from);

    // Runs a parameterless action (the `action` of a button): revealLog, revealConfig,
    // openAccessibility, copyDiagnostics, emailSupport, openHelpPage, openSite, openTerms,
    // openPrivacy. False for any other action: the controls with a state (toggleLive,
    // changeQuitMode, changeEscape, toggleLoginItem), addApp (open panel) and
    // checkForUpdates (the pressed button) go to their own operations.
    bool perform(WindowAction action);

  private:
    void changed(Change change);
    void rebuildApps(const Config& config);
    void recomputeHelp();

    const ShellContext shell_;
    std::string selectedTab_;
    GeneralState general_;
    std::vector<AppRow> appRows_;
    std::vector<HealthCheck> checkRows_;
    Subscription activityObserver_;
};

}  // namespace quelto

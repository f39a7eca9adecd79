// What each settings tab shows, as renderer-neutral elements built from the model's
// current state.

#include "platform/BuildSettings.h"
#include "ui/MainWindowModel.h"

namespace quelto {

namespace {

using Kind = ViewElement::Kind;
using Action = WindowAction;

constexpr double helpWrap = 500;

ViewElement text(std::string s, double size = 13, bool secondary = false, double wrap = 0) {
    ViewElement e;
    e.kind = Kind::text;
    e.text = std::move(s);
    e.fontSize = size;
    e.color = secondary ? TextColor::secondary : TextColor::primary;
    e.wrapWidth = wrap;
    return e;
}

ViewElement heading(std::string s, double size, bool semibold) {
    ViewElement e = text(std::move(s), size);
    e.semibold = semibold;
    return e;
}

// An 11-point secondary help text under a control, at most three lines.
ViewElement helpText(std::string s) {
    ViewElement e = text(std::move(s), 11, true, helpWrap);
    e.maxLines = 3;
    return e;
}

ViewElement separator() {
    ViewElement e;
    e.kind = Kind::separator;
    return e;
}

ViewElement image(std::string name, double side, std::string accessibilityLabel) {
    ViewElement e;
    e.kind = Kind::image;
    e.text = std::move(name);
    e.accessibilityLabel = std::move(accessibilityLabel);
    e.width = side;
    e.height = side;
    return e;
}

ViewElement button(std::string title, Action action, Kind kind = Kind::button) {
    ViewElement e;
    e.kind = kind;
    e.text = std::move(title);
    e.action = action;
    return e;
}

ViewElement group(Kind kind, std::vector<ViewElement> children) {
    ViewElement e;
    e.kind = kind;
    e.children = std::move(children);
    return e;
}

ViewElement table(std::string id) {
    ViewElement e;
    e.kind = Kind::table;
    e.id = std::move(id);
    return e;
}

TabContent generalTab(const MainWindowModel& model) {
    const MainWindowModel::GeneralState& g = model.general();
    TabContent tab;
    tab.spacing = 14;
    tab.insetTop = 20;
    tab.insetSide = 20;
    auto& el = tab.elements;

    ViewElement tagline = text("Quits an app when you close its last window.", 12, true);
    el.push_back(group(Kind::row, {image("AppIcon", 104, "Quelto app icon"),
                                   group(Kind::column, {heading("Quelto", 34, true), tagline})}));
    el.push_back(separator());

    ViewElement liveSwitch;
    liveSwitch.kind = Kind::switchControl;
    liveSwitch.id = "liveSwitch";
    liveSwitch.on = g.liveOn;
    liveSwitch.action = Action::toggleLive;
    // The switch has no title; its state is read out as its value.
    liveSwitch.accessibilityLabel = "Quelto on or off";
    ViewElement status = text(g.statusLabel, 15);
    status.id = "statusLabel";
    el.push_back(group(Kind::row, {liveSwitch, status}));
    el.push_back(
        helpText("While Quelto is off, nothing is ever quit. It keeps watching and recording, "
                 "so the Activity tab still shows what it would have done."));
    el.push_back(separator());

    el.push_back(heading("Quit an app when", 13, false));
    ViewElement mode;
    mode.kind = Kind::segmentedControl;
    mode.id = "modeControl";
    mode.items = {"Its last window closes", "Its red dot is clicked"};
    mode.selected = g.modeSegment;
    mode.action = Action::changeQuitMode;
    el.push_back(mode);
    el.push_back(
        helpText("“Red dot” quits the app even when other windows are open, and leaves ⌘W "
                 "closing windows without quitting."));
    el.push_back(separator());

    el.push_back(heading("Close a window without quitting", 13, false));
    ViewElement escape;
    escape.kind = Kind::popUpButton;
    escape.id = "escapeControl";
    escape.items = {"Hold Shift", "Hold Option", "No shortcut"};
    escape.selected = g.escapeIndex;
    escape.action = Action::changeEscape;
    el.push_back(escape);
    el.push_back(
        helpText("Option is offered but not recommended: macOS already uses ⌥-click on the red "
                 "dot to close every window of an app, which would leave it running with nothing "
                 "on screen."));
    el.push_back(separator());

    ViewElement login;
    login.kind = Kind::checkBox;
    login.id = "loginItemBox";
    login.text = g.loginTitle;
    login.on = g.loginChecked;
    login.action = Action::toggleLoginItem;
    el.push_back(login);
    el.push_back(
        helpText("Without this, Quelto has to be opened from the Applications folder after every "
                 "restart."));
    return tab;
}

TabContent appsTab() {
    TabContent tab;
    tab.scrollable = false;
    tab.spacing = 10;
    tab.insetTop = 16;
    tab.insetSide = 16;
    auto& el = tab.elements;
    el.push_back(heading("Apps Quelto will never quit", 13, true));
    el.push_back(
        text("Tick an app to keep it running when you close its last window. Useful for anything "
             "that still does its job with no window open — mail syncing, music playing, "
             "messages arriving.",
             11, true, helpWrap));
    el.push_back(table("apps"));
    el.push_back(button("Add App…", Action::addApp));
    el.push_back(text("Protect an app that isn’t running — the list above only shows open apps.",
                      11, true, helpWrap));
    return tab;
}

TabContent activityTab() {
    TabContent tab;
    tab.layout = TabContent::Layout::table;
    tab.scrollable = false;
    tab.elements.push_back(table("activity"));
    return tab;
}

TabContent helpTab(const MainWindowModel& model) {
    TabContent tab;
    tab.spacing = 10;
    tab.insetTop = 20;
    tab.insetSide = 20;
    auto& el = tab.elements;
    el.push_back(heading("Is Quelto working?", 17, true));
    el.push_back(text("Every check below has to be green for Quelto to quit apps.", 11, true));
    int index = 0;
    for (const MainWindowModel::HealthCheck& c : model.checkRows()) {
        ViewElement row;
        row.kind = Kind::healthCheck;
        row.id = "check." + std::to_string(index++);
        row.text = c.title;
        row.detail = c.detail;
        row.symbol = c.symbolName;
        row.on = c.passed;
        row.accessibilityLabel = MainWindowModel::healthCheckIconLabel(c.passed);
        el.push_back(row);
    }
    el.push_back(group(Kind::row, {button("Open Accessibility Settings", Action::openAccessibility),
                                   button("Show Log", Action::revealLog),
                                   button("Copy Diagnostics", Action::copyDiagnostics)}));
    el.push_back(separator());
    el.push_back(heading("If something still isn’t right", 13, false));
    for (const MainWindowModel::QuestionAndAnswer& qa : MainWindowModel::questions()) {
        el.push_back(text(qa.question, 12, false, 470));
        el.push_back(text(qa.answer, 11, true, 470));
    }
    el.push_back(separator());
    el.push_back(
        group(Kind::row, {button(std::string("Email ") + build::supportEmail, Action::emailSupport),
                          button("Help Online", Action::openHelpPage)}));
    el.push_back(
        text("Copy Diagnostics puts everything needed to look into a problem on the clipboard. "
             "Paste it into your email.",
             11, true, helpWrap));
    return tab;
}

// The About tab's gaps: under the icon, and between its groups (its stack spaces by 6).
constexpr double aboutIconGap = 12;
constexpr double aboutGroupGap = 18;

TabContent aboutTab(const ShellContext& shell) {
    const MainWindowModel::AboutLines lines = MainWindowModel::aboutLines(shell);
    TabContent tab;
    tab.centred = true;
    tab.spacing = 6;
    tab.insetTop = 32;
    tab.insetSide = 24;
    auto& el = tab.elements;
    // Groups, with larger gaps between them: the icon and title with the version, the
    // description, the links, the buttons, the system facts.
    ViewElement icon = image("AppIcon", 128, "Quelto app icon");
    icon.spacingAfter = aboutIconGap;
    el.push_back(icon);
    el.push_back(heading("Quelto", 30, true));
    ViewElement version = text(lines.versionLine, 12, true);
    version.spacingAfter = aboutGroupGap;
    el.push_back(version);
    ViewElement tagline = text(lines.tagline, 12, true, 380);
    tagline.centred = true;
    tagline.spacingAfter = aboutGroupGap;
    el.push_back(tagline);
    ViewElement links =
        group(Kind::row, {button(lines.siteButton, Action::openSite, Kind::linkButton),
                          button("Terms", Action::openTerms, Kind::linkButton),
                          button("Privacy", Action::openPrivacy, Kind::linkButton)});
    links.spacingAfter = aboutGroupGap;
    el.push_back(links);
    el.push_back(group(Kind::row, {button("Show Log", Action::revealLog),
                                   button("Show Settings File", Action::revealConfig),
                                   button("Check for Updates…", Action::checkForUpdates)}));
    el.push_back(button("Copy Diagnostics", Action::copyDiagnostics));
    el.push_back(text(lines.systemLine, 11, true));
    el.push_back(text(lines.note, 10, true, 400));
    return tab;
}

}  // namespace

TabContent MainWindowModel::content(const std::string& tab) const {
    TabContent c;
    if (tab == "general")
        c = generalTab(*this);
    else if (tab == "apps")
        c = appsTab();
    else if (tab == "activity")
        c = activityTab();
    else if (tab == "help")
        c = helpTab(*this);
    else if (tab == "about")
        c = aboutTab(shell_);
    else
        return c;
    for (const Tab& t : frame().tabs)
        if (t.identifier == tab) c.label = t.label;
    c.identifier = tab;
    return c;
}

}  // namespace quelto

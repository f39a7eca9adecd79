#include "tests/chaos/ChaosRun.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <set>
#include <utility>

#include "platform/NotificationCenter.h"
#include "settings/Activity.h"
#include "settings/ActivityTestSeam.h"

namespace quelto::chaos {

namespace {

// The applications that are never quit, whatever the file says: written out again here, so
// that the run does not take the program's own list on trust.
const std::set<std::string>& neverQuit() {
    static const std::set<std::string> ids = {
        "com.apple.finder",        "com.apple.mobilephone",
        "com.apple.FaceTime",      "com.apple.systempreferences",
        "com.apple.dock",          "com.apple.systemuiserver",
        "com.apple.controlcenter", "com.apple.notificationcenterui"};
    return ids;
}

std::string hex(ModifierFlags flags) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "0x%llx", static_cast<unsigned long long>(flags));
    return buffer;
}

std::string point(Point p) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "(%.1f, %.1f)", p.x, p.y);
    return buffer;
}

constexpr std::size_t recentKept = 40;
constexpr std::size_t maxRunningApps = 10;  // besides Quelto
constexpr std::size_t maxWindowsPerApp = 8;

}  // namespace

std::string seconds(double s) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.3f s", s);
    return buffer;
}

ChaosRun::ChaosRun(std::uint64_t seed)
    : random_(seed), seed_(seed), desktop_(std::make_unique<sim::SimDesktop>()) {
    sim::SimDesktop& d = *desktop_;
    d.clockTheLog();
    d.setOwnPid(ownPid);
    ActivityTestSeam::startEmpty();
    journalChanges_ = NotificationCenter::defaultCenter().addObserver(Activity::changed, [this] {
        ++unseenRecords_;
        checkQuitDecision();
    });
    // Applications quit by themselves or on request: the workspace says so.
    terminations_ = d.observeTerminations([this](const RunningApplicationRef& app) {
        if (app) std::erase(running_, app->processIdentifier());
    });

    // Identifiers in play: ordinary ones, one that differs from another only in case, a few
    // from the built-in never-quit list, Quelto's own, and none at all ("<none>").
    bundleIDs_ = {"com.example.Alpha", "com.example.Beta",
                  "com.example.Gamma", "com.example.Delta",
                  "Com.example.Alpha", "com.apple.finder",
                  "com.apple.dock",    "com.apple.systempreferences",
                  "app.quelto.Quelto", "<none>"};

    // Quelto itself, as a regular application with windows of its own: a tempting target.
    sim::AppDescription own;
    own.pid = ownPid;
    own.bundleID = "app.quelto.Quelto";
    own.name = "Quelto";
    d.addApp(own);
    apps_[ownPid] = App{ownPid, "Quelto", "app.quelto.Quelto"};
    running_.push_back(ownPid);
    addWindow(ownPid);
    addWindow(ownPid);

    ConfigFile file = randomConfig(random_, bundleIDs_);
    install(file);
    policy_ = file.policy;

    for (int i = 0; i < 4; ++i) startApp(false);

    engine_ = Engine::create(d.context());
    engine_->start();
    d.runDue();
    // With no file at all the engine writes the template at start: every app armed.
    if (file.kind == ConfigFile::Kind::missing) {
        policy_ = Policy{};
        policy_.armAll = true;
        note("no configuration file: the engine wrote the template (" + policy_.describe() + ")");
    }
}

ChaosRun::~ChaosRun() {
    engine_.reset();
    desktop_->advance(60);
    journalChanges_.cancel();
    terminations_.cancel();
    ActivityTestSeam::startEmpty();
    desktop_.reset();
}

void ChaosRun::note(const std::string& event) {
    recent_.push_back("step " + std::to_string(stepNumber_) + " at " +
                      seconds(desktop_->now().seconds - 1767225600.0) + ": " + event);
    if (recent_.size() > recentKept) recent_.pop_front();
}

std::optional<Pid> ChaosRun::randomRunningApp(bool includingOwn) {
    std::size_t first = includingOwn ? 0 : 1;  // Quelto's own process comes first
    if (running_.size() <= first) return std::nullopt;
    return running_[first + random_.below(running_.size() - first)];
}

std::optional<sim::ElementId> ChaosRun::randomWindow() {
    auto pid = randomRunningApp(random_.chance(0.1));
    if (!pid) return std::nullopt;
    auto windows = desktop_->windowsOf(*pid);
    if (windows.empty()) return std::nullopt;
    return random_.pick(windows);
}

void ChaosRun::startApp(bool withLaunchNotification) {
    sim::AppDescription desc;
    desc.pid = nextPid_++;
    App app{desc.pid, "", ""};
    if (random_.chance(0.85)) {
        desc.name = "App" + std::to_string(desc.pid);
        app.name = *desc.name;
    } else {
        app.name = "pid " + std::to_string(desc.pid);
    }
    // Mostly ordinary identifiers, so that decisions get past the never-quit list.
    static const std::vector<std::string> ordinary = {"com.example.Alpha", "com.example.Beta",
                                                      "com.example.Gamma", "com.example.Delta",
                                                      "Com.example.Alpha"};
    std::string id = random_.chance(0.7) ? random_.pick(ordinary) : random_.pick(bundleIDs_);
    if (id != "<none>") desc.bundleID = id;
    app.bundleID = id;
    double policy = random_.unit();
    desc.policy = policy < 0.9    ? ActivationPolicy::regular
                  : policy < 0.97 ? ActivationPolicy::accessory
                                  : ActivationPolicy::prohibited;
    desc.declinesQuit = random_.chance(0.2);
    desc.quitDelay = random_.between(0.05, 3.0);
    desc.quitsWithLastWindow = random_.chance(0.15);
    if (random_.chance(0.04)) desc.observerError = axerror::cannotComplete;

    apps_[desc.pid] = app;
    running_.push_back(desc.pid);
    note(std::string(withLaunchNotification ? "launch " : "add running ") + app.name + " (" +
         app.bundleID + ")" + (desc.declinesQuit ? " declining quits" : "") +
         (desc.quitsWithLastWindow ? " quitting with its last window" : ""));
    if (withLaunchNotification) {
        desktop_->launchApp(desc);
        ++tally_.launches;
    } else {
        desktop_->addApp(desc);
    }
    for (long n = random_.between(0L, 3L); n > 0; --n) addWindow(desc.pid);
}

void ChaosRun::addWindow(Pid pid) {
    if (desktop_->windowsOf(pid).size() >= maxWindowsPerApp) return;
    sim::WindowDescription desc;
    desc.title = "W" + std::to_string(nextTitle_++);
    if (random_.chance(0.05)) desc.role = "AXPanel";
    double subrole = random_.unit();
    if (subrole < 0.8)
        desc.subrole = "AXStandardWindow";
    else if (subrole < 0.85)
        desc.subrole = "AXDialog";
    else if (subrole < 0.9)
        desc.subrole = "AXFloatingWindow";
    else if (subrole < 0.95)
        desc.subrole = std::nullopt;
    else
        desc.subrole = "AXSystemDialog";
    desc.frame = Rect{{random_.between(0.0, 1800.0), random_.between(0.0, 1000.0)},
                      {random_.between(200.0, 900.0), random_.between(150.0, 700.0)}};
    if (random_.chance(0.12)) {
        desc.closeButton.present = false;
        desc.closeButton.missingError =
            random_.chance(0.5) ? axerror::attributeUnsupported : axerror::noValue;
    }
    double enabled = random_.unit();
    if (enabled < 0.08)
        desc.closeButton.enabled = false;
    else if (enabled < 0.15)
        desc.closeButton.enabled = std::nullopt;
    desc.asksToSave = random_.chance(0.2);
    desc.closeDelay = random_.between(0.0, 0.3);
    bool notify = random_.chance(0.9);
    note("window " + desc.title + " for pid " + std::to_string(pid) +
         (desc.closeButton.present ? "" : " without a close button") +
         (desc.asksToSave ? " asking to save" : "") + (notify ? "" : " (no notification)"));
    desktop_->addWindow(pid, desc, notify);
}

void ChaosRun::clickCloseButton() {
    auto window = randomWindow();
    if (!window) return;
    Point at;
    if (auto frame = desktop_->closeButtonFrame(*window)) {
        at = {frame->origin.x + frame->size.width / 2, frame->origin.y + frame->size.height / 2};
        // Now and then on the very rim, inside the cache's slack but outside the button.
        if (random_.chance(0.1)) at = {frame->origin.x - 1.5, frame->origin.y - 1.5};
    } else {
        at = {random_.between(0.0, 2000.0), random_.between(0.0, 1200.0)};
    }
    static const std::vector<ModifierFlags> modifiers = {0,
                                                         0,
                                                         0,
                                                         0,
                                                         0,
                                                         0,
                                                         modifier::shift,
                                                         modifier::option,
                                                         modifier::command,
                                                         modifier::control,
                                                         modifier::shift | modifier::option,
                                                         modifier::shift | modifier::command,
                                                         0x100,
                                                         modifier::shift | 0x102};
    ModifierFlags flags = random_.pick(modifiers);
    note("click the close button of window " + std::to_string(*window) + " at " + point(at) +
         " with modifiers " + hex(flags));
    ++tally_.closeClicks;
    desktop_->press(at, flags);
    releaseChecked(at, at, flags);
}

void ChaosRun::clickElsewhere() {
    Point at{random_.between(-100.0, 2500.0), random_.between(-100.0, 1500.0)};
    ModifierFlags flags = random_.chance(0.3) ? modifier::shift : 0;
    note("click at " + point(at) + " with modifiers " + hex(flags));
    desktop_->press(at, flags);
    releaseChecked(at, at, flags);
}

void ChaosRun::injectError() {
    auto window = randomWindow();
    if (!window) return;
    sim::ElementId target = *window;
    double which = random_.unit();
    if (which < 0.3) {
        target = desktop_->closeButtonOf(*window);
    } else if (which < 0.45) {
        if (auto pid = randomRunningApp()) target = desktop_->applicationElementId(*pid);
    }
    if (target == 0) return;
    static const std::vector<std::string> attributes = {
        "AXRole", "AXSubrole", "AXCloseButton", "AXEnabled", "AXPosition",
        "AXSize", "AXWindows", "AXChildren",    "AXTitle",   "*"};
    static const std::vector<AXError> errors = {
        axerror::cannotComplete, axerror::cannotComplete,   axerror::attributeUnsupported,
        axerror::noValue,        axerror::invalidUIElement, axerror::failure,
        axerror::apiDisabled,    axerror::notImplemented};
    const std::string& attribute = random_.pick(attributes);
    AXError error = random_.pick(errors);
    int times = random_.chance(0.05) ? -1 : static_cast<int>(random_.between(1L, 4L));
    note("inject " + error.name() + " into " + attribute + " of element " + std::to_string(target) +
         " × " + std::to_string(times));
    desktop_->injectError(target, attribute, error, times);
}

void ChaosRun::oddAttribute() {
    auto window = randomWindow();
    if (!window) return;
    sim::ElementId button = desktop_->closeButtonOf(*window);
    switch (random_.below(6)) {
        case 0:
            if (button) {
                desktop_->setAttributeResult(button, "AXPosition", axerror::success,
                                             AXValue(Size{3, 4}));
                oddAttributes_.emplace_back(button, "AXPosition");
            }
            break;
        case 1:
            desktop_->setAttributeResult(*window, "AXCloseButton", axerror::success,
                                         AXValue(std::string("not an element")));
            oddAttributes_.emplace_back(*window, "AXCloseButton");
            break;
        case 2:
            desktop_->setAttributeResult(*window, "AXSubrole", axerror::success, std::nullopt);
            oddAttributes_.emplace_back(*window, "AXSubrole");
            break;
        case 3:
            desktop_->setAttributeResult(*window, "AXRole", axerror::success, AXValue(true));
            oddAttributes_.emplace_back(*window, "AXRole");
            break;
        case 4:
            if (button) {
                desktop_->setAttributeResult(button, "AXEnabled", axerror::success,
                                             AXValue(AXNumber{1}));
                oddAttributes_.emplace_back(button, "AXEnabled");
            }
            break;
        default:
            if (button) {
                desktop_->setAttributeResult(button, "AXSize", axerror::cannotComplete,
                                             AXValue(Size{14, 16}));
                oddAttributes_.emplace_back(button, "AXSize");
            }
            break;
    }
    note("odd value for an attribute of window " + std::to_string(*window));
}

void ChaosRun::editConfig() {
    ConfigFile file = randomConfig(random_, bundleIDs_);
    install(file);
    policy_ = file.policy;
    ++tally_.configEdits;
    std::string shown = file.kind == ConfigFile::Kind::missing   ? "(no file)"
                        : file.kind == ConfigFile::Kind::notUtf8 ? "(not UTF-8)"
                                                                 : file.text;
    for (std::size_t i = 0; i < shown.size(); ++i)
        if (shown[i] == '\n' || shown[i] == '\r') shown[i] = '|';
    note("config edit: " + policy_.describe() + " — " + shown);
}

std::vector<ChaosRun::Event> ChaosRun::timeAppsAndInput() {
    sim::SimDesktop& d = *desktop_;
    return {
        {22,
         [&] {
             double s = random_.between(0.01, 0.6);
             note("wait " + seconds(s));
             d.advance(s);
         }},
        {4,
         [&] {
             double s = random_.between(1.0, 12.0);
             note("wait " + seconds(s));
             d.advance(s);
         }},
        {0.5,
         [&] {
             double s = random_.between(20.0, 40.0);
             note("wait " + seconds(s));
             d.advance(s);
         }},
        {4,
         [&] {
             if (running_.size() < maxRunningApps + 1) {
                 startApp(true);
             } else if (auto pid = randomRunningApp()) {
                 note("terminate pid " + std::to_string(*pid));
                 d.terminateApp(*pid);
             }
         }},
        {0.5, [&] { startApp(false); }},
        {2.5,
         [&] {
             if (auto pid = randomRunningApp()) {
                 note("terminate pid " + std::to_string(*pid));
                 d.terminateApp(*pid);
             }
         }},
        {14,
         [&] {
             if (auto pid = randomRunningApp(random_.chance(0.1))) addWindow(*pid);
         }},
        {16, [&] { clickCloseButton(); }},
        {6, [&] { desktopEvent(); }},
        {4, [&] { clickElsewhere(); }},
        {1.5,
         [&] {
             Point at{random_.between(0.0, 2000.0), random_.between(0.0, 1200.0)};
             switch (random_.below(3)) {
                 case 0:
                     note("right click at " + point(at));
                     d.rightClick(at);
                     break;
                 case 1:
                     note("mouse up at " + point(at));
                     d.mouseUp(at);
                     break;
                 default:
                     note("key w with command");
                     d.keyDown("w", modifier::command);
                     break;
             }
         }},
    };
}

std::vector<ChaosRun::Event> ChaosRun::windowsAndSystem() {
    sim::SimDesktop& d = *desktop_;
    return {
        {5,
         [&] {
             if (auto window = randomWindow()) {
                 note("window " + std::to_string(*window) + " closes without a click");
                 d.closeWindowWithoutClick(*window);
             }
         }},
        {3,
         [&] {
             if (auto window = randomWindow()) {
                 Point to{random_.between(0.0, 1800.0), random_.between(0.0, 1000.0)};
                 note("move window " + std::to_string(*window) + " to " + point(to));
                 d.moveWindow(*window, to);
             }
         }},
        {2,
         [&] {
             if (auto window = randomWindow()) {
                 note("resize window " + std::to_string(*window));
                 d.resizeWindow(*window,
                                {random_.between(100.0, 1200.0), random_.between(100.0, 900.0)});
             }
         }},
        {3,
         [&] {
             if (auto window = randomWindow()) {
                 note("focus window " + std::to_string(*window));
                 d.focusWindow(*window);
             }
         }},
        {2.5,
         [&] {
             if (auto window = randomWindow()) {
                 note("sheet on window " + std::to_string(*window));
                 d.showSheet(*window);
             }
         }},
        {3,
         [&] {
             if (auto window = randomWindow()) {
                 bool closes = random_.chance(0.6);
                 note("answer the sheet of window " + std::to_string(*window) +
                      (closes ? ", closing it" : ", keeping it"));
                 d.answerSheet(*window, closes);
             }
         }},
        {2,
         [&] {
             if (auto pid = randomRunningApp()) {
                 static const std::vector<std::string> subroles = {
                     "AXDialog", "AXSystemDialog", "AXApplicationDialog",
                     "AXApplicationAlertDialog", "AXFloatingWindow"};
                 const std::string& subrole = random_.pick(subroles);
                 note("dialog " + subrole + " for pid " + std::to_string(*pid));
                 d.showDialog(*pid, subrole, "Dialog " + std::to_string(nextTitle_++));
             }
         }},
        {5, [&] { injectError(); }},
        {0.6, [&] { hangApp(); }},
        {0.6, [&] { holdMenuOpen(); }},
        {0.4, [&] { showAlert(); }},
        {1, [&] { refuseRegistrations(); }},
        {0.7,
         [&] {
             note("clear injected errors");
             d.clearInjectedErrors();
         }},
        {0.8, [&] { oddAttribute(); }},
        {0.8,
         [&] {
             if (oddAttributes_.empty()) return;
             auto [id, attribute] = oddAttributes_.back();
             oddAttributes_.pop_back();
             note("clear " + attribute + " of element " + std::to_string(id));
             d.clearAttribute(id, attribute);
         }},
        {3.5, [&] { editConfig(); }},
        {2,
         [&] {
             if (random_.chance(0.15)) {
                 note("no frontmost application");
                 d.setFrontmost(std::nullopt);
             } else if (auto pid = randomRunningApp(true)) {
                 note("frontmost pid " + std::to_string(*pid));
                 d.setFrontmost(*pid);
             }
         }},
        {0.8,
         [&] {
             if (auto pid = randomRunningApp()) {
                 bool declines = random_.chance(0.3);
                 note("pid " + std::to_string(*pid) + (declines ? " declines quits" : " quits"));
                 d.setQuitBehaviour(*pid, declines, random_.between(0.05, 3.0));
             }
         }},
        {1,
         [&] {
             if (auto window = randomWindow()) {
                 if (random_.chance(0.5)) {
                     note("retitle window " + std::to_string(*window));
                     d.setTitle(*window,
                                random_.chance(0.2) ? "" : "T" + std::to_string(nextTitle_++));
                 } else {
                     static const std::vector<std::optional<std::string>> subroles = {
                         "AXStandardWindow", "AXDialog", std::nullopt, "AXUnknown"};
                     note("new subrole for window " + std::to_string(*window));
                     d.setSubrole(*window, random_.pick(subroles));
                 }
             }
         }},
        {1,
         [&] {
             if (auto window = randomWindow()) {
                 sim::CloseButtonDescription button;
                 double kind = random_.unit();
                 if (kind < 0.3) {
                     button.enabled = false;
                 } else if (kind < 0.5) {
                     button.present = false;
                     button.missingError = axerror::noValue;
                 } else if (kind < 0.6) {
                     button.enabled = std::nullopt;
                 }
                 note("close button of window " + std::to_string(*window) + " changes");
                 d.setCloseButton(*window, button);
             }
         }},
    };
}

void ChaosRun::step() {
    // The table in a fixed order, so that a seed draws the same steps.
    std::vector<Event> events = timeAppsAndInput();
    for (Event& e : windowsAndSystem()) events.push_back(std::move(e));

    double total = 0;
    for (const Event& e : events) total += e.weight;
    double draw = random_.unit() * total;
    for (const Event& e : events) {
        if (draw < e.weight) {
            e.perform();
            break;
        }
        draw -= e.weight;
    }
    desktop_->runDue();
}

bool ChaosRun::fail(const std::string& what) {
    std::string report = "chaos run with seed " + std::to_string(seed_) +
                         " broke a promise at step " + std::to_string(stepNumber_) + ": " + what +
                         "\n";
    report += "  the configuration file meant: " + policy_.describe() + "\n";
    report += "  the last steps:\n";
    for (const std::string& line : recent_) report += "    " + line + "\n";
    report += "  replay with QUELTO_CHAOS_SEED=" + std::to_string(seed_) +
              " QUELTO_CHAOS_EVENTS=" + std::to_string(stepNumber_) + "\n";
    failure_ = report;
    return false;
}

bool ChaosRun::check() {
    if (!brokenPromise_.empty()) return fail(brokenPromise_);
    if (std::string unseen = checkClosesSeen(); !unseen.empty()) return fail(unseen);
    const auto& entries = Activity::shared().entries();
    if (entries.size() > ActivityTestSeam::limit())
        return fail("the journal holds " + std::to_string(entries.size()) + " entries");
    if (engine_ && engine_->apps().isTracked(ownPid)) return fail("Quelto watches its own process");

    // The journal's new entries, newest first.
    long fresh = std::exchange(unseenRecords_, 0);
    if (fresh > static_cast<long>(entries.size()))
        return fail(std::to_string(fresh) + " journal entries in one step, more than it keeps");
    for (long i = fresh - 1; i >= 0; --i) {
        const Activity::Entry& entry = entries[static_cast<std::size_t>(i)];
        ++tally_.journalEntries;
        ++tally_.outcomes[entry.outcome];
        bool quitting = entry.outcome == "quitting";
        if (entry.quit != quitting)
            return fail("journal entry for " + entry.app + " with outcome \"" + entry.outcome +
                        "\" has quit " + (entry.quit ? "true" : "false"));
        if (!quitting) continue;
        ++tally_.quittingEntries;
        if (entry.bundleID == "app.quelto.Quelto" && entry.app == "Quelto")
            return fail("decided to quit Quelto itself");
        if (neverQuit().count(entry.bundleID))
            return fail("decided to quit " + entry.app + " (" + entry.bundleID +
                        "), which is on the never-quit list");
        if (!policy_.allowsQuitting(entry.bundleID))
            return fail("decided to quit " + entry.app + " (" + entry.bundleID +
                        "), which the configuration file does not allow");
        unmatchedQuitting_.emplace(entry.app, entry.at.seconds);
    }

    const auto& requests = desktop_->quitRequests();
    for (; quitRequestsChecked_ < requests.size(); ++quitRequestsChecked_) {
        const sim::QuitRequest& request = requests[quitRequestsChecked_];
        ++tally_.quitRequests;
        std::string who = "pid " + std::to_string(request.pid);
        if (request.forced) return fail("forced " + who + " to quit");
        if (request.pid == ownPid) return fail("asked itself to quit");
        auto app = apps_.find(request.pid);
        if (app == apps_.end()) return fail("asked " + who + ", which it never saw, to quit");
        who = app->second.name + " (" + app->second.bundleID + ")";
        if (neverQuit().count(app->second.bundleID))
            return fail("asked " + who + ", on the never-quit list, to quit");
        if (!policy_.live) return fail("asked " + who + " to quit while live is off");
        if (policy_.excluded.count(app->second.bundleID))
            return fail("asked " + who + ", excluded by the file, to quit");
        if (!policy_.allowsQuitting(app->second.bundleID))
            return fail("asked " + who + ", not armed by the file, to quit");
        auto [first, last] = unmatchedQuitting_.equal_range(app->second.name);
        auto match = std::find_if(
            first, last, [&](const auto& entry) { return entry.second == request.at.seconds; });
        if (match == last)
            return fail("asked " + who + " to quit with no \"quitting\" journal entry for it");
        unmatchedQuitting_.erase(match);
    }
    // A decision and its request happen in one go: what is unmatched now stays unmatched
    // (a request held back by the throttle, or an application already gone).
    unmatchedQuitting_.clear();
    return true;
}

bool ChaosRun::run(long events) {
    if (!check()) return false;
    for (stepNumber_ = 1; stepNumber_ <= events; ++stepNumber_) {
        step();
        ++tally_.steps;
        if (!check()) return false;
    }
    note("a minute passes");
    desktop_->advance(60);
    return check();
}

}  // namespace quelto::chaos

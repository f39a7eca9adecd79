#include "simtool/ScenarioRunner.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "app/AppController.h"
#include "platform/BuildSettings.h"
#include "settings/Activity.h"
#include "settings/ActivityTestSeam.h"
#include "settings/Config.h"
#include "settings/ConfigStore.h"
#include "settings/HomeDirectory.h"
#include "settings/Log.h"
#include "sim/SimApplicationHost.h"
#include "simtool/RunReport.h"
#include "simtool/ScenarioTokens.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace fs = std::filesystem;

namespace {

std::optional<std::string> readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

bool startsWith(const std::string& s, const std::string& prefix) {
    return s.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

ScenarioRunner::ScenarioRunner(const Scenario& scenario) : scenario_(scenario) {}

ScenarioRunner::~ScenarioRunner() {
    // Quelto goes before the desktop it runs on.
    controller_.reset();
    host_.reset();
    if (desktop_) {
        Log::shared().drain();
        Log::shared().setClock(nullptr);
        desktop_.reset();
    }
}

RunResult ScenarioRunner::run() {
    home_ = homeDirectory();
    const std::string name = fs::path(home_).filename().string();
    if (home_.empty() || !startsWith(name, "quelto-") || !startsWith(Log::path(), home_ + "/") ||
        !startsWith(ConfigStore::path(), home_ + "/")) {
        error(0, "refusing to run outside a private temporary home (HOME is " + inQuotes(home_) +
                     "): a run deletes Quelto’s log and configuration file");
        result_.exitStatus = 2;
        return result_;
    }
    result_.logPath = displayed(Log::path());
    result_.configPath = displayed(ConfigStore::path());

    desktop_ = std::make_unique<sim::SimDesktop>(scenario_.start, scenario_.utcOffsetSeconds);
    Log::shared().drain();
    Log::shared().setMirror([](const std::string&) {});
    desktop_->clockTheLog();
    prepareFiles();
    ActivityTestSeam::startEmpty();

    desktop_->setBundleInfo("CFBundleIdentifier", std::string(build::bundleID));
    desktop_->setBundleInfo("CFBundleShortVersionString", std::string(build::version));
    desktop_->setBundleInfo("CFBundleVersion", std::string(build::buildNumber));
    desktop_->setOwnPid(scenario_.ownPid);
    sim::AppDescription own;
    own.pid = scenario_.ownPid;
    own.bundleID = std::string(build::bundleID);
    own.name = "Quelto";
    own.policy = scenario_.ownPolicy;
    desktop_->addApp(own);
    declareApp("Quelto", own);

    // The steps happen at their moments, taken by Quelto's main thread in due order with its
    // own work: a step whose moment falls while the thread is blocked happens once it is
    // free; one that falls inside a nested loop (an alert, an open menu) happens inside it.
    desktop_->runScript(*this);
    result_.completed = !stopped_;
    finish(result_);
    return result_;
}

std::optional<Date> ScenarioRunner::nextActionTime() {
    if (stopped_ || nextStep_ >= scenario_.steps.size()) return std::nullopt;
    // While a step's consequences settle, the next step waits, unless they include a nested
    // loop (an alert on screen): the user goes on acting inside it.
    // The user's mouse and keyboard do not wait for that while Quelto's thread is blocked.
    if (settling_ && desktop_->nestedLoopDepth() == 0 &&
        !(desktop_->isMainThreadBlocked() && nextActionIsInput()))
        return std::nullopt;
    return scenario_.start + static_cast<double>(scenario_.steps[nextStep_].atMicros) / 1e6;
}

bool ScenarioRunner::nextActionIsInput() {
    if (stopped_ || nextStep_ >= scenario_.steps.size()) return false;
    static const std::set<std::string> input = {"click", "press",   "release", "right-click",
                                                "key",   "pointer", "wait",    "at"};
    return input.count(scenario_.steps[nextStep_].command) > 0;
}

void ScenarioRunner::runNextAction() {
    const Step& step = scenario_.steps[nextStep_++];
    // Time steps only mark a moment: the main thread's loop has brought the clock there.
    if (step.command == "wait" || step.command == "at") return;
    step.perform(*this);
    // An action taken while Quelto's thread is blocked: what it set off waits for the thread.
    if (desktop_->isMainThreadBlocked()) return;
    if (stopped_ || desktop_->nestedLoopDepth() > 0 || desktop_->isRunningMainQueueBlock()) return;
    // What the step set off now happens before anything else the scenario does.
    settling_ = true;
    desktop_->runDue();
    settling_ = false;
    if (host_ && host_->terminateRequested() && controller_) {
        // Quelto has quit: its process ends, and the engine with it.
        controller_.reset();
        if (desktop_->isRunning(scenario_.ownPid)) desktop_->terminateApp(scenario_.ownPid);
        desktop_->runDue();
    }
}

void ScenarioRunner::prepareFiles() {
    std::error_code ec;
    fs::remove(ConfigStore::path(), ec);
    fs::remove(Log::path(), ec);
    fs::create_directories(fs::path(Log::path()).parent_path(), ec);
}

void ScenarioRunner::finish(RunResult& result) {
    std::vector<std::string> lines = logLines();
    result.log.clear();
    for (const std::string& l : lines) result.log += l + "\n";
    result.journalLines = journalTable(Activity::shared().entries(), scenario_.utcOffsetSeconds);
    result.config = readConfig();
    if (result.config) *result.config = displayed(*result.config);
    checkInvariants(result);
    const auto& stalls = desktop_->stalls();
    auto longest = std::max_element(stalls.begin(), stalls.end(), [](const auto& a, const auto& b) {
        return a.seconds < b.seconds;
    });
    if (longest != stalls.end() && longest->seconds >= 0.1) {
        char text[160];
        std::snprintf(text, sizeof text,
                      "blocked in Accessibility calls for %.3f s in all; the longest stretch "
                      "%.3f s, from %s",
                      desktop_->blockedSeconds(), longest->seconds,
                      timeOfDay(longest->start).c_str());
        result.mainThread = text;
    }
    if (!result.completed)
        result.exitStatus = 2;
    else if (result.expectationsFailed > 0)
        result.exitStatus = 1;
    else
        result.exitStatus = 0;
}

void ScenarioRunner::checkInvariants(RunResult& result) {
    // Whatever the scenario says, Quelto asks politely, and never quits itself or a protected
    // application.
    for (const sim::QuitRequest& q : desktop_->quitRequests()) {
        std::string who = "pid " + std::to_string(q.pid);
        std::optional<std::string> bundle;
        for (const auto& [handle, app] : apps_) {
            if (std::find(app.pids.begin(), app.pids.end(), q.pid) != app.pids.end()) {
                who = handle;
                bundle = app.desc.bundleID;
            }
        }
        std::string when = timeOfDay(q.at);
        auto report = [&](const std::string& message) {
            ++result.expectationsFailed;
            result.diagnostics.push_back(
                Diagnostic{scenario_.file, 0, Diagnostic::Kind::failed, message});
        };
        if (q.forced) report("Quelto forced " + who + " to quit at " + when + "; it must only ask");
        if (q.pid == scenario_.ownPid) report("Quelto asked itself to quit at " + when);
        if (bundle && neverQuitBundleIDs().count(*bundle))
            report("Quelto asked " + who + " (" + *bundle + "), which is never quit, to quit at " +
                   when);
    }
}

// ---- Applications and windows ----

ScenarioRunner::App* ScenarioRunner::app(const std::string& handle) {
    auto it = apps_.find(handle);
    return it == apps_.end() ? nullptr : &it->second;
}

void ScenarioRunner::declareApp(const std::string& handle, const sim::AppDescription& desc) {
    App& a = apps_[handle];
    a.handle = handle;
    a.desc = desc;
    if (std::find(a.pids.begin(), a.pids.end(), desc.pid) == a.pids.end())
        a.pids.push_back(desc.pid);
}

std::vector<std::string> ScenarioRunner::appHandles() const {
    std::vector<std::string> out;
    for (const auto& [handle, app] : apps_) out.push_back(handle);
    return out;
}

std::vector<Pid> ScenarioRunner::pidsOf(const std::string& handle) const {
    auto it = apps_.find(handle);
    return it == apps_.end() ? std::vector<Pid>{} : it->second.pids;
}

std::optional<sim::ElementId> ScenarioRunner::applicationElementId(Pid pid) const {
    sim::ElementId id = desktop_->applicationElementId(pid);
    if (id == 0) return std::nullopt;
    return id;
}

bool ScenarioRunner::isWindowOpen(const std::string& handle, const std::string& title) const {
    auto it = windows_.find({handle, title});
    if (it == windows_.end()) return false;
    return desktop_->isElementAlive(it->second);
}

std::optional<sim::ElementId> ScenarioRunner::openWindow(int line, const std::string& handle,
                                                         const std::string& title) {
    auto it = windows_.find({handle, title});
    if (it == windows_.end() || !desktop_->isElementAlive(it->second)) {
        std::string message = handle + "’s window " + inQuotes(title) + " is not open";
        if (it == windows_.end()) message += " (it was never opened)";
        error(line, message);
        return std::nullopt;
    }
    return it->second;
}

void ScenarioRunner::rememberWindow(const std::string& handle, const std::string& title,
                                    sim::ElementId id, Rect frame) {
    windows_[{handle, title}] = id;
    frames_[id] = frame;
}

void ScenarioRunner::retitleWindow(const std::string& handle, const std::string& from,
                                   const std::string& to) {
    auto it = windows_.find({handle, from});
    if (it == windows_.end()) return;
    sim::ElementId id = it->second;
    windows_.erase(it);
    windows_[{handle, to}] = id;
}

std::optional<std::string> ScenarioRunner::windowTitle(sim::ElementId id) const {
    for (const auto& [key, window] : windows_)
        if (window == id) return key.second;
    return std::nullopt;
}

std::optional<Rect> ScenarioRunner::windowFrame(sim::ElementId id) const {
    auto it = frames_.find(id);
    if (it == frames_.end()) return std::nullopt;
    return it->second;
}

void ScenarioRunner::setWindowFrame(sim::ElementId id, Rect frame) {
    frames_[id] = frame;
}

// ---- Time ----

std::string ScenarioRunner::timeOfDay(Date date) const {
    return formatTimeOfDay(date, scenario_.utcOffsetSeconds);
}

std::string ScenarioRunner::now() const {
    return timeOfDay(desktop_->now());
}

// ---- Quelto ----

void ScenarioRunner::startQuelto(int line) {
    if (started_) return error(line, "Quelto is already running");
    started_ = true;
    const Pid own = scenario_.ownPid;
    host_ = std::make_unique<sim::SimApplicationHost>(
        [this, own] {
            if (desktop_->isRunning(own)) desktop_->setFrontmost(own);
        },
        [this, own](ActivationPolicy policy) {
            desktop_->setActivationPolicy(own, policy);
            showSettingsWindowOnDesktop(policy == ActivationPolicy::regular);
        });
    controller_ = AppController::create(*host_, desktop_->shellContext(), desktop_->context());
    controller_->applicationDidFinishLaunching();
}

void ScenarioRunner::showSettingsWindowOnDesktop(bool shown) {
    // Quelto is regular exactly while its settings window is open: the window is then on the
    // desktop like any other, in front, and takes the clicks made in it.
    const Pid own = scenario_.ownPid;
    if (shown && !settingsWindow_ && desktop_->isRunning(own)) {
        sim::WindowDescription desc;
        desc.title = "Quelto";
        desc.frame = Rect{{356, 160}, {800, 560}};
        settingsWindow_ = desktop_->addWindow(own, desc);
    } else if (!shown && settingsWindow_) {
        if (desktop_->isElementAlive(*settingsWindow_)) desktop_->destroyWindow(*settingsWindow_);
        settingsWindow_.reset();
    }
}

// ---- Files ----

void ScenarioRunner::writeConfig(const std::optional<std::string>& text) {
    std::error_code ec;
    if (!text) {
        fs::remove(ConfigStore::path(), ec);
        return;
    }
    fs::create_directories(ConfigStore::directory(), ec);
    std::ofstream out(ConfigStore::path(), std::ios::binary | std::ios::trunc);
    out << *text;
}

std::optional<std::string> ScenarioRunner::readConfig() const {
    return readFile(ConfigStore::path());
}

std::vector<std::string> ScenarioRunner::logLines() {
    Log::shared().drain();
    auto text = readFile(Log::path());
    if (!text) return {};
    return splitLines(displayed(*text));
}

std::string ScenarioRunner::displayed(const std::string& text) const {
    if (home_.empty() || home_ == scenario_.displayHome) return text;
    std::string out;
    std::size_t start = 0;
    while (true) {
        auto at = text.find(home_, start);
        if (at == std::string::npos) break;
        out += text.substr(start, at - start) + scenario_.displayHome;
        start = at + home_.size();
    }
    out += text.substr(start);
    return out;
}

// ---- Outcome ----

void ScenarioRunner::error(int line, const std::string& message) {
    result_.diagnostics.push_back(
        Diagnostic{scenario_.file, line, Diagnostic::Kind::error, message});
    stopped_ = true;
}

void ScenarioRunner::check(int line, bool holds, const std::string& message) {
    if (holds) {
        ++result_.expectationsMet;
        return;
    }
    ++result_.expectationsFailed;
    result_.diagnostics.push_back(
        Diagnostic{scenario_.file, line, Diagnostic::Kind::failed, message});
}

void ScenarioRunner::show(int line, const std::string& title, const std::string& text) {
    result_.screens.push_back(Screen{line, now(), title, displayed(text)});
}

}  // namespace quelto::simtool

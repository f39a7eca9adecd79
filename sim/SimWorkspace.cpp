// Running applications and the workspace: launches, terminations, the frontmost application,
// polite quit requests, and the installed applications the file services know about.

#include <algorithm>

#include "sim/SimState.h"

namespace quelto::sim {

// ---- Running-application objects ----

std::shared_ptr<AppRecord> SimRunningApplication::live() const {
    if (life_.expired()) return nullptr;
    auto app = app_.lock();
    return app && app->running ? app : nullptr;
}

bool SimRunningApplication::terminate() {
    auto app = live();
    if (!app) return false;
    SimDesktop::State& s = *state_;
    s.quitRequests.push_back(QuitRequest{desc_.pid, s.owner.now(), false});
    if (app->desc.declinesQuit) return true;
    std::weak_ptr<AppRecord> weak = app;
    Pid pid = desc_.pid;
    s.scheduleWorld(app->desc.quitDelay, [&s, weak, pid] {
        auto a = weak.lock();
        if (a && a->running) s.terminate(pid);
    });
    return true;
}

ActivationPolicy SimRunningApplication::activationPolicy() const {
    auto app = live();
    return app ? app->desc.policy : desc_.policy;
}

bool SimRunningApplication::isTerminated() const {
    if (life_.expired()) return true;
    auto app = app_.lock();
    return !app || !app->running;
}

bool SimRunningApplication::activate() {
    auto app = live();
    if (!app) return false;
    state_->activations.push_back(desc_.pid);
    state_->owner.setFrontmost(desc_.pid);
    return true;
}

// ---- The model ----

AppRecord* SimDesktop::State::runningApp(Pid pid) {
    return runningAppRef(pid).get();
}

const AppRecord* SimDesktop::State::runningApp(Pid pid) const {
    return runningAppRef(pid).get();
}

std::shared_ptr<AppRecord> SimDesktop::State::runningAppRef(Pid pid) const {
    auto found = runningByPid.find(pid);
    return found == runningByPid.end() ? nullptr : found->second;
}

void SimDesktop::State::startApp(const AppDescription& desc, bool notifyLaunch) {
    if (runningApp(desc.pid)) return;  // one running application per process id
    auto app = std::make_shared<AppRecord>();
    app->desc = desc;
    Element element;
    element.kind = ElementKind::application;
    element.pid = desc.pid;
    app->appElement = newElement(std::move(element));
    app->handle = std::make_shared<SimRunningApplication>(lifeline, this, app, desc);
    apps.push_back(app);
    runningByPid[desc.pid] = app;
    if (notifyLaunch) deliverWorkspace(launchHandlers, app);
}

void SimDesktop::State::deliverWorkspace(
    const std::vector<std::shared_ptr<WorkspaceHandler>>& handlers,
    const std::shared_ptr<AppRecord>& app) {
    RunningApplicationRef ref = app->handle;
    for (const auto& h : handlers) {
        if (!h->active) continue;
        std::weak_ptr<WorkspaceHandler> weak = h;
        schedule(0, [weak, ref] {
            auto handler = weak.lock();
            if (handler && handler->active && handler->handler) handler->handler(ref);
        });
    }
}

void SimDesktop::State::terminate(Pid pid) {
    auto app = runningAppRef(pid);
    if (!app) return;
    // The windows vanish with the process; no destroyed notifications are sent.
    for (ElementId w : windowsOf(pid)) destroyWindow(w, false);
    if (Element* e = find(app->appElement)) e->alive = false;
    app->running = false;
    runningByPid.erase(pid);
    // The workspace's list lets go of it when the main run loop next turns, just before the
    // termination notification is delivered.
    std::weak_ptr<AppRecord> weak = app;
    schedule(0, [weak] {
        if (auto a = weak.lock()) a->listed = false;
    });
    // The application of the next window in the stack becomes frontmost.
    if (frontmost == pid) setFront(nextFrontmost(pid));
    deliverWorkspace(terminationHandlers, app);
}

// ---- SimDesktop: applications ----

void SimDesktop::addApp(const AppDescription& desc) {
    state_->startApp(desc, false);
}

void SimDesktop::launchApp(const AppDescription& desc) {
    bool wasRunning = state_->runningApp(desc.pid) != nullptr;
    state_->startApp(desc, true);
    if (!wasRunning && desc.policy == ActivationPolicy::regular) setFrontmost(desc.pid);
}

void SimDesktop::terminateApp(Pid pid) {
    state_->terminate(pid);
}

void SimDesktop::setFrontmost(std::optional<Pid> pid) {
    State& s = *state_;
    if (pid && !s.runningApp(*pid)) return;
    if (!pid) {
        if (s.frontmost) s.formerFrontmost.push_back(*s.frontmost);
        s.setFront(std::nullopt);
        return;
    }
    // Activating an application unhides it and brings its windows forward, in their order.
    s.activate(*pid, true);
}

void SimDesktop::setActivationPolicy(Pid pid, ActivationPolicy policy) {
    State& s = *state_;
    AppRecord* app = s.runningApp(pid);
    if (!app) return;
    const bool wasRegular = app->desc.policy == ActivationPolicy::regular;
    app->desc.policy = policy;
    if (!wasRegular || policy == ActivationPolicy::regular || s.frontmost != pid) return;
    // An application without a Dock icon cannot stay the active one: macOS activates the
    // regular application that was active before it (the one whose menu bar comes back).
    for (auto it = s.formerFrontmost.rbegin(); it != s.formerFrontmost.rend(); ++it) {
        const AppRecord* candidate = s.runningApp(*it);
        if (*it != pid && candidate && candidate->desc.policy == ActivationPolicy::regular) {
            setFrontmost(*it);
            return;
        }
    }
    s.setFront(std::nullopt);
}

void SimDesktop::setOwnPid(Pid pid) {
    state_->ownPid = pid;
}

bool SimDesktop::isRunning(Pid pid) const {
    return state_->runningApp(pid) != nullptr;
}

void SimDesktop::setQuitBehaviour(Pid pid, bool declines, double quitDelay) {
    if (AppRecord* app = state_->runningApp(pid)) {
        app->desc.declinesQuit = declines;
        app->desc.quitDelay = quitDelay;
    }
}

const std::vector<QuitRequest>& SimDesktop::quitRequests() const {
    return state_->quitRequests;
}

const std::vector<Pid>& SimDesktop::activatedApps() const {
    return state_->activations;
}

// ---- Workspace (the seam) ----

std::vector<RunningApplicationRef> SimDesktop::runningApplications() {
    std::vector<RunningApplicationRef> out;
    for (const auto& app : state_->apps)
        if (app->running || app->listed) out.push_back(app->handle);
    return out;
}

RunningApplicationRef SimDesktop::frontmostApplication() {
    if (!state_->frontmost) return nullptr;
    auto app = state_->runningAppRef(*state_->frontmost);
    return app ? RunningApplicationRef(app->handle) : nullptr;
}

RunningApplicationRef SimDesktop::runningApplication(Pid pid) {
    auto app = state_->runningAppRef(pid);
    return app ? RunningApplicationRef(app->handle) : nullptr;
}

Pid SimDesktop::ownProcessIdentifier() {
    return state_->ownPid;
}

Subscription subscribe(std::vector<std::shared_ptr<WorkspaceHandler>>& list,
                       Workspace::ApplicationHandler handler) {
    list.erase(std::remove_if(list.begin(), list.end(), [](const auto& h) { return !h->active; }),
               list.end());
    auto entry = std::make_shared<WorkspaceHandler>();
    entry->handler = std::move(handler);
    list.push_back(entry);
    // The subscription only flips the flag, so it may safely outlive the desktop.
    return Subscription([entry] {
        entry->active = false;
        entry->handler = nullptr;
    });
}

Subscription SimDesktop::observeLaunches(ApplicationHandler handler) {
    return subscribe(state_->launchHandlers, std::move(handler));
}

Subscription SimDesktop::observeTerminations(ApplicationHandler handler) {
    return subscribe(state_->terminationHandlers, std::move(handler));
}

void SimDesktop::postLaunchNotificationWithoutApplication() {
    for (const auto& h : state_->launchHandlers) {
        if (!h->active) continue;
        std::weak_ptr<WorkspaceHandler> weak = h;
        state_->schedule(0, [weak] {
            auto handler = weak.lock();
            if (handler && handler->active && handler->handler) handler->handler(nullptr);
        });
    }
}

void SimDesktop::postTerminationNotificationWithoutApplication() {
    for (const auto& h : state_->terminationHandlers) {
        if (!h->active) continue;
        std::weak_ptr<WorkspaceHandler> weak = h;
        state_->schedule(0, [weak] {
            auto handler = weak.lock();
            if (handler && handler->active && handler->handler) handler->handler(nullptr);
        });
    }
}

void SimDesktop::installApplication(const std::string& path, std::optional<std::string> bundleID,
                                    const std::string& displayName) {
    state_->installed.push_back(InstalledApplication{path, std::move(bundleID), displayName});
}

std::optional<std::string> SimDesktop::pathForApplication(const std::string& bundleID) {
    for (const auto& app : state_->installed)
        if (app.bundleID && *app.bundleID == bundleID) return app.path;
    return std::nullopt;
}

std::string SimDesktop::displayName(const std::string& path) {
    for (const auto& app : state_->installed)
        if (app.path == path) return app.displayName;
    // The file manager's fallback: the last component of the path.
    std::string p = path;
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    auto slash = p.find_last_of('/');
    return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::optional<std::string> SimDesktop::bundleIdentifierAtPath(const std::string& path) {
    for (const auto& app : state_->installed)
        if (app.path == path) return app.bundleID;
    return std::nullopt;
}

bool SimDesktop::openURL(const std::string& url) {
    if (url.empty()) return false;
    state_->openedURLs.push_back(url);
    state_->opened.push_back(OpenedItem{OpenedItem::Kind::link, url, now()});
    return true;
}

void SimDesktop::selectFile(const std::string& path) {
    state_->revealedFiles.push_back(path);
    state_->opened.push_back(OpenedItem{OpenedItem::Kind::revealedFile, path, now()});
}

const std::vector<std::string>& SimDesktop::openedURLs() const {
    return state_->openedURLs;
}

const std::vector<std::string>& SimDesktop::revealedFiles() const {
    return state_->revealedFiles;
}

const std::vector<OpenedItem>& SimDesktop::openedItems() const {
    return state_->opened;
}

}  // namespace quelto::sim

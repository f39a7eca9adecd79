// The engine's lifecycle: start-up with its report, and following applications as they
// launch and terminate.

#include "engine/Engine.h"

#include <string>
#include <vector>

#include "platform/Platform.h"
#include "settings/Config.h"
#include "settings/Log.h"

namespace quelto {

namespace {

// The longest any Accessibility call may hold the main thread, in seconds.
constexpr float accessibilityTimeout = 1.0f;

Date now() {
    return platform().clock->now();
}

void blankLine() {
    Log::shared().write("", false);
}

Pid ownProcessIdentifier() {
    Workspace* workspace = platform().workspace;
    return workspace ? workspace->ownProcessIdentifier() : 0;
}

// The name a log line uses for an application that has no watcher.
std::string displayName(const RunningApplication& app) {
    if (auto name = app.localizedName()) return *name;
    return "pid " + std::to_string(app.processIdentifier());
}

}  // namespace

std::shared_ptr<Engine> Engine::create() {
    return std::make_shared<Engine>(Token{});
}

Engine::Engine(Token)
    : clickMonitor(std::make_shared<ClickMonitor>()), ownPID(ownProcessIdentifier()) {}

Engine::~Engine() = default;

bool Engine::isCandidate(const RunningApplication& app) const {
    Pid pid = app.processIdentifier();
    return app.activationPolicy() == ActivationPolicy::regular && pid != ownPID && pid > 0;
}

void Engine::start() {
    // A call to an app that does not answer waits for its element's messaging time-out: the
    // watchers give each application element one second, but the windows and buttons read
    // from it would wait the platform default of 6 s. The system-wide element's time-out is
    // the default of every element: one second bounds every call Quelto makes.
    if (Accessibility* ax = platform().accessibility) {
        AXError set = ax->setSystemWideMessagingTimeout(accessibilityTimeout);
        if (!set.isSuccess())
            log("could not bound Accessibility calls to 1 s (" + set.name() +
                ") — an app that hangs can hold Quelto up to 6 s a call");
    }

    std::weak_ptr<Engine> weak = weak_from_this();

    clickMonitor->onClick = [weak](Point at, ModifierFlags modifiers) {
        if (auto engine = weak.lock()) engine->handleClick(at, modifiers);
    };
    clickMonitor->onMouseUp = [weak](Point at, ModifierFlags modifiers) {
        if (auto engine = weak.lock()) engine->handleMouseUp(at, modifiers);
    };
    clickMonitor->start();

    Workspace* workspace = platform().workspace;
    if (workspace) {
        launches_ = workspace->observeLaunches([weak](const RunningApplicationRef& app) {
            if (auto engine = weak.lock()) engine->appLaunched(app);
        });
        terminations_ = workspace->observeTerminations([weak](const RunningApplicationRef& app) {
            if (auto engine = weak.lock()) engine->appTerminated(app);
        });
    }

    Config::writeTemplateIfMissing();
    log(Config::load().summary());
    detail("config: " + Config::path());
    blankLine();

    std::vector<RunningApplicationRef> candidates;
    if (workspace) {
        for (const auto& app : workspace->runningApplications())
            if (app && isCandidate(*app)) candidates.push_back(app);
    }

    log("attaching to " + std::to_string(candidates.size()) + " foreground apps");
    for (const auto& app : candidates) {
        Pid pid = app->processIdentifier();
        auto found = watchers.find(pid);
        if (found == watchers.end()) {
            if (auto watcher = AppWatcher::create(app, *this)) {
                found = watchers.emplace(pid, std::move(watcher)).first;
                watchedProcesses_.insert_or_assign(pid, app);
            }
        }
        bool tracked = found != watchers.end();
        std::string windows =
            tracked ? std::to_string(found->second->trackedWindowCount()) + " windows" : "—";
        detail(std::string("  ") + (tracked ? "✓" : "✗") + " " +
               app->localizedName().value_or("?") + "  (" +
               app->bundleIdentifier().value_or("no bundle id") + ")  " + windows);
    }

    Config config = Config::load();
    bool armed = config.armAll || !config.armed.empty();
    if (config.live && armed)
        detail("armed — closing the last window of an armed app WILL quit it");
    else
        detail("close some windows — nothing will be quit");
    blankLine();
}

void Engine::appLaunched(const RunningApplicationRef& app) {
    if (!app || !isCandidate(*app)) return;
    std::weak_ptr<Engine> weak = weak_from_this();
    platform().mainQueue->asyncAfter(launchAttachDelay, [weak, app] {
        auto engine = weak.lock();
        if (!engine) return;
        // Gone before its watcher was due: its termination has been handled already, and a
        // watcher made now would sit on a dead process, or on a new one that reuses its id.
        if (app->isTerminated()) return;
        Pid pid = app->processIdentifier();
        // A watcher left for an earlier process with this id does not stand in for this one.
        if (engine->watchesDeadProcess(pid)) engine->forget(pid);
        if (engine->watchers.find(pid) == engine->watchers.end()) {
            auto watcher = AppWatcher::create(app, *engine);
            if (!watcher) return;
            engine->watchers.emplace(pid, std::move(watcher));
            engine->watchedProcesses_.insert_or_assign(pid, app);
        }
        log("now watching " + displayName(*app));
    });
}

void Engine::appTerminated(const RunningApplicationRef& app) {
    if (!app) return;
    Pid pid = app->processIdentifier();

    auto tracked = watchers.find(pid);
    std::string name = tracked != watchers.end() ? tracked->second->name : displayName(*app);

    bool clicked = false;
    if (!recentClicks.empty()) {
        Date moment = now();
        for (const auto& [window, click] : recentClicks) {
            if (click.pid == pid && click.expiry > moment) {
                clicked = true;
                break;
            }
        }
    }
    bool inFlight = pending.count(pid) != 0;

    if (clicked || inFlight) {
        log(name + " quit on its own while a close was in flight — nothing to do");
        if (clicked)
            detail(
                "(its red dot was clicked; the app terminates itself when its last window "
                "closes)");
        blankLine();
    }

    // Forget it completely; dropping the pending report means its deferred decision finds
    // nothing and does nothing.
    forget(pid);
}

void Engine::forget(Pid pid) {
    std::erase_if(recentClicks, [pid](const auto& entry) { return entry.second.pid == pid; });
    pending.erase(pid);
    lastTerminateAttempt.erase(pid);
    watchers.erase(pid);
    watchedProcesses_.erase(pid);
}

bool Engine::watchesDeadProcess(Pid pid) const {
    auto process = watchedProcesses_.find(pid);
    return process != watchedProcesses_.end() && watchers.count(pid) != 0 &&
           process->second->isTerminated();
}

}  // namespace quelto

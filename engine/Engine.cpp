// The engine's lifecycle: start-up with its report, and following applications as they
// launch and terminate.

#include "engine/Engine.h"

#include <string>
#include <vector>

#include "accessibility/AXRead.h"
#include "settings/ConfigStore.h"
#include "settings/Log.h"

namespace quelto {

namespace {

// The longest any Accessibility call may hold the main thread, in seconds.
constexpr float accessibilityTimeout = 1.0f;

// The name a log line uses for an application that has no watcher.
std::string displayName(const RunningApplication& app) {
    if (auto name = app.localizedName()) return *name;
    return "pid " + std::to_string(app.processIdentifier());
}

}  // namespace

std::shared_ptr<Engine> Engine::create(const EngineContext& context) {
    auto engine = std::make_shared<Engine>(Token{}, context);
    engine->makeParts();
    return engine;
}

Engine::Engine(Token, const EngineContext& context)
    : context_(context),
      ownPID_(context.workspace.ownProcessIdentifier()),
      clickMonitor_(std::make_shared<ClickMonitor>(context.mouse)) {}

Engine::~Engine() = default;

void Engine::makeParts() {
    std::weak_ptr<const void> owner = weak_from_this();
    clicks_ = std::make_unique<ClickLedger>(context_, apps_, owner);
    closes_ = std::make_unique<CloseGatherer>(
        context_, owner,
        [this](const PendingReport& report, const std::shared_ptr<AppWatcher>& watcher) {
            this->report(report, watcher);
        });
    quits_ = std::make_unique<QuitRequester>(context_, owner);
}

bool Engine::isCandidate(const RunningApplication& app) const {
    Pid pid = app.processIdentifier();
    return app.activationPolicy() == ActivationPolicy::regular && pid != ownPID_ && pid > 0;
}

void Engine::start() {
    // Calls refused before this engine began (an earlier engine's) are not this one's.
    refusalsSeen_ = accessRefusals();
    // A call to an app that does not answer waits for its element's messaging time-out: the
    // watchers give each application element one second, but the windows and buttons read
    // from it would wait the platform default of 6 s. The system-wide element's time-out is
    // the default of every element: one second bounds every call Quelto makes.
    AXError set = context_.accessibility.setSystemWideMessagingTimeout(accessibilityTimeout);
    if (!set.isSuccess())
        log("could not bound Accessibility calls to 1 s (" + set.name() +
            ") — an app that hangs can hold Quelto up to 6 s a call");

    std::weak_ptr<Engine> weak = weak_from_this();

    clickMonitor_->onClick = [weak](Point at, ModifierFlags modifiers) {
        if (auto engine = weak.lock()) engine->handleClick(at, modifiers);
    };
    clickMonitor_->onMouseUp = [weak](Point at, ModifierFlags modifiers) {
        if (auto engine = weak.lock()) engine->handleMouseUp(at, modifiers);
    };
    clickMonitor_->start();

    if (context_.windowServer)
        screens_ = context_.windowServer->observeScreenArrangement([weak] {
            if (auto engine = weak.lock()) engine->screensChanged();
        });

    Workspace& workspace = context_.workspace;
    launches_ = workspace.observeLaunches([weak](const RunningApplicationRef& app) {
        if (auto engine = weak.lock()) engine->appLaunched(app);
    });
    terminations_ = workspace.observeTerminations([weak](const RunningApplicationRef& app) {
        if (auto engine = weak.lock()) engine->appTerminated(app);
    });

    context_.config.writeTemplateIfMissing();
    log(context_.config.load().summary());
    detail("config: " + ConfigStore::path());
    blankLine();

    observeSpacesAndActivations();
    accessChecks_ = context_.mainQueue.scheduleRepeating(accessCheckInterval, [weak] {
        if (auto engine = weak.lock()) engine->accessTick();
    });

    // The running apps are attached one per turn of the run loop; the report ends with the
    // last of them.
    attachToRunningApps([weak] {
        auto engine = weak.lock();
        if (!engine) return;
        Config config = engine->context_.config.load();
        bool armed = config.armAll || !config.armed.empty();
        if (config.live && armed)
            detail("armed — closing the last window of an armed app WILL quit it");
        else
            detail("close some windows — nothing will be quit");
        blankLine();
    });
}

void Engine::attachToRunningApps(std::function<void()> then) {
    auto candidates = std::make_shared<std::vector<RunningApplicationRef>>();
    for (const auto& app : context_.workspace.runningApplications())
        if (app && isCandidate(*app)) candidates->push_back(app);

    log("attaching to " + std::to_string(candidates->size()) + " foreground apps");
    // A later round (access back) stops an earlier one still under way.
    attachRound_ += 1;
    attachNext(std::move(candidates), 0, attachRound_, std::move(then));
}

void Engine::attachNext(std::shared_ptr<std::vector<RunningApplicationRef>> candidates,
                        std::size_t index, long round, std::function<void()> then) {
    if (round != attachRound_ || accessRevoked_) return;
    if (index >= candidates->size()) {
        if (then) then();
        return;
    }
    // A busy app answers every call after its time-out: one app per turn, so that the run
    // loop's other work (clicks, launches, the menu) runs between them.
    const RunningApplicationRef& app = (*candidates)[index];
    Pid pid = app->processIdentifier();
    std::shared_ptr<AppWatcher> watcher = apps_.watcherOf(pid);
    if (!watcher && !app->isTerminated())
        watcher = apps_.attach(app, *this, context_.watcherContext());
    bool tracked = watcher != nullptr;
    std::string windows =
        tracked ? std::to_string(watcher->trackedWindowCount()) + " windows" : "—";
    detail(std::string("  ") + (tracked ? "✓" : "✗") + " " + app->localizedName().value_or("?") +
           "  (" + app->bundleIdentifier().value_or("no bundle id") + ")  " + windows);

    if (index + 1 >= candidates->size()) {
        if (then) then();
        return;
    }
    std::weak_ptr<Engine> weak = weak_from_this();
    context_.mainQueue.async([weak, candidates, index, round, then] {
        if (auto engine = weak.lock()) engine->attachNext(candidates, index + 1, round, then);
    });
}

void Engine::appLaunched(const RunningApplicationRef& app) {
    if (!app || !isCandidate(*app)) return;
    attachDue_.insert(app->processIdentifier());
    std::weak_ptr<Engine> weak = weak_from_this();
    context_.mainQueue.asyncAfter(launchAttachDelay, [weak, app] {
        auto engine = weak.lock();
        if (!engine) return;
        engine->attachDue_.erase(app->processIdentifier());
        // Gone before its watcher was due: its termination has been handled already, and a
        // watcher made now would sit on a dead process, or on a new one that reuses its id.
        if (app->isTerminated()) return;
        Pid pid = app->processIdentifier();
        // A watcher left for an earlier process with this id does not stand in for this one.
        if (engine->apps_.watchesDeadProcess(pid)) engine->forget(pid);
        if (!engine->apps_.isTracked(pid)) {
            if (!engine->apps_.attach(app, *engine, engine->context_.watcherContext())) return;
        }
        log("now watching " + displayName(*app));
    });
}

void Engine::appTerminated(const RunningApplicationRef& app) {
    if (!app) return;
    Pid pid = app->processIdentifier();

    std::shared_ptr<AppWatcher> tracked = apps_.watcherOf(pid);
    std::string name = tracked ? tracked->name : displayName(*app);

    bool clicked = clicks_->hasCountingClick(pid);
    bool inFlight = closes_->isGathering(pid) || settling_.count(pid) != 0;

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
    settling_.erase(pid);
    clicks_->forget(pid);
    closes_->forget(pid);
    quits_->forget(pid);
    apps_.forget(pid);
}

void Engine::handleClick(Point at, ModifierFlags modifiers) {
    // Without Accessibility access nothing can be confirmed or followed.
    if (accessRevoked_) return;
    clicks_->handleClick(at, modifiers);
}

void Engine::screensChanged() {
    apps_.firstOf([](const std::shared_ptr<AppWatcher>& watcher) {
        watcher->refreshEveryCloseButton();
        return false;
    });
}

void Engine::handleMouseUp(Point at, ModifierFlags modifiers) {
    // A close already gathering, made by this very up: it becomes a red-dot close.
    if (auto closed = clicks_->handleMouseUp(at, modifiers))
        closes_->creditMouseUp(closed->pid, closed->modifiers);
}

}  // namespace quelto

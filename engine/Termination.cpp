// Termination: a polite quit request, throttled per application, and a check that the
// application really went. Nothing here ever forces a quit.

#include <string>

#include "engine/Engine.h"
#include "platform/Platform.h"
#include "settings/Log.h"

namespace quelto {

namespace {

Date now() {
    return platform().clock->now();
}

}  // namespace

Engine::QuitAttempt Engine::terminate(const std::shared_ptr<AppWatcher>& watcher) {
    Pid pid = watcher->pid;
    Date moment = now();

    // A burst of close reports for one application must not become a burst of requests.
    if (auto last = lastTerminateAttempt.find(pid);
        last != lastTerminateAttempt.end() && moment - last->second < quitThrottle) {
        detail("→ skipped (quit already attempted moments ago)");
        return QuitAttempt::throttled;
    }

    Workspace* workspace = platform().workspace;
    RunningApplicationRef app = workspace ? workspace->runningApplication(pid) : nullptr;
    if (!app) {
        detail("→ app already gone");
        return QuitAttempt::appGone;
    }

    lastTerminateAttempt.insert_or_assign(pid, moment);
    bool delivered = app->terminate();
    detail("→ QUITTING " + watcher->name + " — terminate() returned " +
           (delivered ? "true" : "false"));
    verifyQuit(pid, watcher->name, moment + quitVerification);
    return QuitAttempt::requested;
}

void Engine::verifyQuit(Pid of, const std::string& named, Date deadline) {
    // The check keeps the engine alive until it has run, so a requested quit is always
    // followed up.
    std::shared_ptr<Engine> engine = shared_from_this();
    platform().mainQueue->asyncAfter(quitPollInterval, [engine, of, named, deadline] {
        Workspace* workspace = platform().workspace;
        RunningApplicationRef app = workspace ? workspace->runningApplication(of) : nullptr;
        if (!app || app->isTerminated()) {
            log("   " + named + " quit cleanly");
            return;
        }
        if (platform().clock->now() >= deadline) {
            // The period is named as configured, not as measured.
            log("   " + named + " is still running after " +
                std::to_string(static_cast<int>(quitVerification)) +
                "s — it declined the quit. Left alone.");
            return;
        }
        engine->verifyQuit(of, named, deadline);
    });
}

}  // namespace quelto

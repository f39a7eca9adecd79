// Termination: a polite quit request, throttled per application, and a check that the
// application really went. Nothing here ever forces a quit.

#include "engine/QuitRequester.h"

#include <string>

#include "settings/Log.h"

namespace quelto {

QuitRequester::QuitRequester(const EngineContext& context, std::weak_ptr<const void> owner)
    : context_(context), owner_(std::move(owner)) {}

QuitAttempt QuitRequester::request(Pid pid, const std::string& name) {
    Date moment = context_.clock.now();

    // A burst of close reports for one application must not become a burst of requests.
    if (auto last = lastRequest_.find(pid);
        last != lastRequest_.end() && moment - last->second < throttle) {
        detail("→ skipped (quit already attempted moments ago)");
        return QuitAttempt::throttled;
    }

    RunningApplicationRef app = context_.workspace.runningApplication(pid);
    if (!app) {
        detail("→ app already gone");
        return QuitAttempt::appGone;
    }

    lastRequest_.insert_or_assign(pid, moment);
    bool delivered = app->terminate();
    detail("→ QUITTING " + name + " — terminate() returned " + (delivered ? "true" : "false"));
    verifyQuit(pid, name, moment + verification);
    return QuitAttempt::requested;
}

void QuitRequester::verifyQuit(Pid of, const std::string& named, Date deadline) {
    // The check keeps the owner alive until it has run, so a requested quit is always
    // followed up.
    std::shared_ptr<const void> keep = owner_.lock();
    if (!keep) return;
    context_.mainQueue.asyncAfter(pollInterval, [keep, this, of, named, deadline] {
        RunningApplicationRef app = context_.workspace.runningApplication(of);
        if (!app || app->isTerminated()) {
            log("   " + named + " quit cleanly");
            return;
        }
        if (context_.clock.now() >= deadline) {
            // The period is named as configured, not as measured.
            log("   " + named + " is still running after " +
                std::to_string(static_cast<int>(verification)) +
                "s — it declined the quit. Left alone.");
            return;
        }
        verifyQuit(of, named, deadline);
    });
}

std::optional<Date> QuitRequester::lastRequest(Pid pid) const {
    auto found = lastRequest_.find(pid);
    if (found == lastRequest_.end()) return std::nullopt;
    return found->second;
}

}  // namespace quelto

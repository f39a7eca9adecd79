// Quelto's main thread as macOS runs it: run-loop modes and the nested loops of a modal alert
// or an open menu, the serial main dispatch queue, the time Accessibility calls take (and
// the time-outs of apps that do not answer), and the scripted user whose actions the run
// loop takes in due order.

#include <algorithm>
#include <limits>

#include "sim/SimState.h"

namespace quelto::sim {

namespace {

// The messaging time-out of an element that has none of its own, when the system-wide
// element has none either.
constexpr double platformDefaultTimeout = 6.0;

constexpr Micros forever = std::numeric_limits<Micros>::max() / 4;

}  // namespace

// ---- Modes, nested loops ----

RunLoopMode SimDesktop::State::currentMode() const {
    return main.modes.empty() ? RunLoopMode::defaultMode : main.modes.back();
}

bool SimDesktop::State::mayRun(const WorkItem& item) const {
    switch (item.kind) {
        case WorkKind::world:
            return true;
        case WorkKind::mainQueue:
            // The main queue is serviced in the common modes, but it is serial: while one of
            // its blocks runs (a nested loop inside it included), no other block starts.
            return main.mainQueueBlocks == 0;
        case WorkKind::runLoopSource:
            return (item.modes & modeBit(currentMode())) != 0;
    }
    return false;
}

void SimDesktop::State::runNestedLoop(RunLoopMode mode, Micros until) {
    main.modes.push_back(mode);
    while (runNext(until)) {
    }
    if (now < until) now = until;
    main.modes.pop_back();
}

void SimDesktop::runNestedLoop(RunLoopMode mode, double seconds) {
    state_->runNestedLoop(mode, state_->now + std::max<Micros>(toMicros(seconds), 0));
}

void SimDesktop::trackMenu(double seconds) {
    runNestedLoop(RunLoopMode::eventTracking, seconds);
}

RunLoopMode SimDesktop::currentRunLoopMode() const {
    return state_->currentMode();
}

int SimDesktop::nestedLoopDepth() const {
    return static_cast<int>(state_->main.modes.size());
}

bool SimDesktop::isRunningMainQueueBlock() const {
    return state_->main.mainQueueBlocks > 0;
}

void SimDesktop::runScript(UserScript& script) {
    UserScript* outer = std::exchange(state_->main.script, &script);
    while (script.nextActionTime()) {
        if (!state_->runNext(forever)) break;
    }
    state_->main.script = outer;
    runDue();
}

// ---- Alerts ----

void SimDesktop::holdNextAlert(double seconds) {
    state_->main.holdNextAlert = std::max<Micros>(toMicros(seconds), 0);
}

bool SimDesktop::isAlertOnScreen() const {
    return state_->main.alertsOnScreen > 0;
}

// ---- Time spent in Accessibility calls ----

void SimDesktop::State::block(Micros length) {
    if (length <= 0) return;
    if (main.stallLength == 0) main.stallStart = now;
    main.stallLength += length;
    main.blockedTotal += length;
    // The other processes go on meanwhile; the main thread's own work waits.
    const Micros start = now;
    const Micros end = now + length;
    ++main.blocked;
    for (;;) {
        auto it = queue.begin();
        while (it != queue.end() && it->first.first <= end && it->second.kind != WorkKind::world)
            ++it;
        const bool haveWork = it != queue.end() && it->first.first <= end;
        // The user does not wait for Quelto: mouse and keyboard actions due meanwhile happen at
        // their moments (after the moment the thread blocked: actions of that very moment
        // follow what Quelto is doing), and their events wait for the thread.
        if (main.script && main.script->nextActionIsInput()) {
            if (std::optional<Date> next = main.script->nextActionTime()) {
                Micros at = toMicros(next->seconds);
                if (at > start && at <= end && (!haveWork || at < it->first.first)) {
                    if (at > now) now = at;
                    main.script->runNextAction();
                    continue;
                }
            }
        }
        if (!haveWork) break;
        if (it->first.first > now) now = it->first.first;
        WorkItem item = std::move(it->second);
        queue.erase(it);
        if (item.work) item.work();
    }
    --main.blocked;
    now = end;
}

void SimDesktop::State::endStall() {
    if (main.stallLength == 0) return;
    // Stretches under a millisecond (a few answered calls) are not worth keeping.
    if (main.stallLength >= 1000)
        main.stalls.push_back(Stall{Date{static_cast<double>(main.stallStart) / 1e6},
                                    static_cast<double>(main.stallLength) / 1e6});
    main.stallLength = 0;
}

double SimDesktop::State::messagingTimeout(const Element& e) const {
    if (e.messagingTimeout && *e.messagingTimeout > 0) return *e.messagingTimeout;
    if (main.systemWideTimeout > 0) return main.systemWideTimeout;
    return platformDefaultTimeout;
}

AXError SimDesktop::State::spendReadTime(ElementId id) {
    const Element* e = find(id);
    auto hung = e && e->alive ? main.hungUntil.find(e->pid) : main.hungUntil.end();
    if (hung == main.hungUntil.end() || hung->second <= now) {
        block(main.readCost);
        return axerror::success;
    }
    // The app does not answer: the call waits for the element's time-out, unless the app
    // comes back in the meantime and answers then.
    Micros timeout = toMicros(messagingTimeout(*e));
    if (hung->second - now < timeout) {
        block(hung->second - now + main.readCost);
        return axerror::success;
    }
    block(timeout);
    return axerror::cannotComplete;
}

bool SimDesktop::State::deferWhileHung(Pid pid, std::function<void()> act) {
    auto hung = main.hungUntil.find(pid);
    if (hung == main.hungUntil.end() || hung->second <= now) return false;
    main.afterHang[pid].push_back(std::move(act));
    if (hung->second < forever) {
        scheduleWorld(static_cast<double>(hung->second - now) / 1e6, [this, pid] {
            auto still = main.hungUntil.find(pid);
            if (still != main.hungUntil.end() && still->second > now) return;  // hung again
            std::vector<std::function<void()>> acts = std::move(main.afterHang[pid]);
            main.afterHang.erase(pid);
            for (auto& a : acts) a();
        });
    }
    return true;
}

void SimDesktop::setReadCost(double seconds) {
    state_->main.readCost = std::max<Micros>(toMicros(seconds), 0);
}

void SimDesktop::hangApp(Pid pid, std::optional<double> seconds) {
    state_->main.hungUntil[pid] =
        seconds ? state_->now + std::max<Micros>(toMicros(*seconds), 0) : forever;
}

void SimDesktop::recoverApp(Pid pid) {
    State& s = *state_;
    s.main.hungUntil.erase(pid);
    std::vector<std::function<void()>> acts = std::move(s.main.afterHang[pid]);
    s.main.afterHang.erase(pid);
    for (auto& act : acts) act();
}

bool SimDesktop::isHung(Pid pid) const {
    auto it = state_->main.hungUntil.find(pid);
    return it != state_->main.hungUntil.end() && it->second > state_->now;
}

double SimDesktop::effectiveMessagingTimeout(ElementId id) const {
    const Element* e = state_->find(id);
    if (e) return state_->messagingTimeout(*e);
    return state_->main.systemWideTimeout > 0 ? state_->main.systemWideTimeout
                                              : platformDefaultTimeout;
}

std::optional<float> SimDesktop::systemWideMessagingTimeout() const {
    if (state_->main.systemWideTimeout > 0) return state_->main.systemWideTimeout;
    return std::nullopt;
}

AXError SimDesktop::setSystemWideMessagingTimeout(float seconds) {
    if (seconds < 0) return axerror::illegalArgument;
    state_->main.systemWideTimeout = seconds;
    return axerror::success;
}

const std::vector<Stall>& SimDesktop::stalls() const {
    return state_->main.stalls;
}

double SimDesktop::blockedSeconds() const {
    return static_cast<double>(state_->main.blockedTotal) / 1e6;
}

}  // namespace quelto::sim

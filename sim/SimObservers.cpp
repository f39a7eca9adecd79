// Accessibility observers: creation per process, registrations, the run-loop source, and the
// delivery of notifications one at a time on the main queue.

#include "sim/SimState.h"

namespace quelto::sim {

ObserverRecord* SimObserver::record() {
    if (life_.expired()) return nullptr;
    auto it = state_->observers.find(id_);
    return it == state_->observers.end() ? nullptr : &it->second;
}

SimObserver::~SimObserver() {
    if (ObserverRecord* r = record()) {
        // Releasing an observer whose source is still on the run loop is the leak the real
        // platform punishes with callbacks into freed memory; the desktop counts it.
        if (r->sourceOnRunLoop) ++state_->observersReleasedWithSource;
        state_->observers.erase(id_);
    }
}

AXError SimObserver::addNotification(const AXElement& element, const std::string& notification,
                                     void* refcon) {
    ObserverRecord* r = record();
    if (!r) return axerror::invalidUIElementObserver;
    ++state_->notificationRequests;
    auto* sim = dynamic_cast<const SimElement*>(element.get());
    if (!sim) return axerror::illegalArgument;
    if (!state_->trusted) return axerror::apiDisabled;
    const Element* e = state_->find(sim->id());
    if (!e || !e->alive) return axerror::invalidUIElement;
    // Registering is a message to the app: it waits for an app that does not answer, and
    // an app still starting up may refuse it (the pseudo-attribute "register").
    if (AXError late = state_->spendReadTime(sim->id()); !late.isSuccess()) return late;
    if (auto inj = state_->injected.find({sim->id(), "register"}); inj != state_->injected.end()) {
        AXError error = inj->second.error;
        if (inj->second.remaining > 0 && --inj->second.remaining == 0) state_->injected.erase(inj);
        return error;
    }
    for (const Registration& reg : r->registrations)
        if (reg.element == sim->id() && reg.notification == notification)
            return axerror::notificationAlreadyRegistered;
    r->registrations.push_back(Registration{sim->id(), notification, refcon});
    return axerror::success;
}

void SimObserver::addRunLoopSourceToMainRunLoop() {
    if (ObserverRecord* r = record()) {
        r->sourceOnRunLoop = true;
        r->sourceModes = commonModes;
    }
}

void SimObserver::removeRunLoopSourceFromMainRunLoop() {
    if (ObserverRecord* r = record()) r->sourceOnRunLoop = false;
}

void SimDesktop::State::post(ElementId registeredOn, const std::string& notification,
                             ElementId subject) {
    // Without Accessibility access no notification reaches an observer.
    if (!trusted) return;
    for (const auto& [observerId, rec] : observers) {
        for (const Registration& reg : rec.registrations) {
            if (reg.element != registeredOn || reg.notification != notification) continue;
            std::uint64_t oid = observerId;
            void* refcon = reg.refcon;
            // The observer's run-loop source fires only in the modes it was added for.
            WorkItem item;
            item.kind = WorkKind::runLoopSource;
            item.modes = rec.sourceModes != 0 ? rec.sourceModes : commonModes;
            item.work = [this, oid, notification, subject, refcon] {
                auto it = observers.find(oid);
                // Dropped when the observer is gone or its source is off the run loop.
                if (it == observers.end() || !it->second.sourceOnRunLoop || !it->second.object)
                    return;
                AXObserverCallback callback = it->second.callback;
                SimObserver* object = it->second.object;
                if (callback) callback(*object, handle(subject), notification, refcon);
            };
            scheduleAt(now, std::move(item));
        }
    }
}

std::unique_ptr<AXObserver> SimDesktop::createObserver(Pid pid, AXObserverCallback callback,
                                                       AXError& error) {
    State& s = *state_;
    if (pid <= 0 || !callback) {
        error = axerror::illegalArgument;
        return nullptr;
    }
    if (const AppRecord* app = s.runningApp(pid); app && !app->desc.observerError.isSuccess()) {
        error = app->desc.observerError;
        return nullptr;
    }
    std::uint64_t id = s.nextObserver++;
    auto observer = std::make_unique<SimObserver>(s.lifeline, &s, id);
    ObserverRecord rec;
    rec.pid = pid;
    rec.callback = callback;
    rec.object = observer.get();
    s.observers.emplace(id, std::move(rec));
    error = axerror::success;
    return observer;
}

void SimDesktop::postNotification(ElementId registeredOn, const std::string& notification,
                                  ElementId subject) {
    state_->post(registeredOn, notification, subject);
}

std::uint64_t SimDesktop::notificationRequestCount() const {
    return state_->notificationRequests;
}

int SimDesktop::liveObserverCount() const {
    return static_cast<int>(state_->observers.size());
}

int SimDesktop::observersReleasedWithSourceAttached() const {
    return state_->observersReleasedWithSource;
}

std::size_t SimDesktop::registrationCount(ElementId id, const std::string& notification) const {
    std::size_t n = 0;
    for (const auto& [oid, rec] : state_->observers)
        for (const Registration& reg : rec.registrations)
            if (reg.element == id && reg.notification == notification) ++n;
    return n;
}

std::vector<std::pair<ElementId, std::string>> SimDesktop::registrations(Pid pid) const {
    std::vector<std::pair<ElementId, std::string>> out;
    for (const auto& [oid, rec] : state_->observers)
        if (rec.pid == pid)
            for (const Registration& reg : rec.registrations)
                out.emplace_back(reg.element, reg.notification);
    return out;
}

std::vector<void*> SimDesktop::registrationRefcons(Pid pid) const {
    std::vector<void*> out;
    for (const auto& [oid, rec] : state_->observers)
        if (rec.pid == pid)
            for (const Registration& reg : rec.registrations) out.push_back(reg.refcon);
    return out;
}

int SimDesktop::observersWithSourceOnRunLoop() const {
    int n = 0;
    for (const auto& [oid, rec] : state_->observers)
        if (rec.sourceOnRunLoop) ++n;
    return n;
}

}  // namespace quelto::sim

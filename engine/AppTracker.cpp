#include "engine/AppTracker.h"

namespace quelto {

std::shared_ptr<AppWatcher> AppTracker::watcherOf(Pid pid) const {
    auto found = tracked_.find(pid);
    return found == tracked_.end() ? nullptr : found->second.watcher;
}

std::shared_ptr<AppWatcher> AppTracker::attach(const RunningApplicationRef& app,
                                               DestroyedWindowSink& engine,
                                               const WatcherContext& context) {
    std::shared_ptr<AppWatcher> watcher = AppWatcher::create(app, engine, context);
    if (!watcher) return nullptr;
    tracked_.insert_or_assign(app->processIdentifier(), Tracked{watcher, app});
    reorder();
    return watcher;
}

void AppTracker::reorder() {
    inOrder_.clear();
    inOrder_.reserve(tracked_.size());
    for (const auto& [pid, entry] : tracked_) inOrder_.push_back(entry.watcher);
}

std::vector<std::shared_ptr<AppWatcher>> AppTracker::watchers() const {
    std::vector<std::shared_ptr<AppWatcher>> out;
    out.reserve(tracked_.size());
    for (const auto& [pid, entry] : tracked_) out.push_back(entry.watcher);
    return out;
}

bool AppTracker::watchesDeadProcess(Pid pid) const {
    auto found = tracked_.find(pid);
    return found != tracked_.end() && found->second.process->isTerminated();
}

}  // namespace quelto

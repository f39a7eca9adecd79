// A window swap is not a last window. Many apps replace one window by another (a welcome or
// splash window by a project window, an Open panel by the document) with a moment of no
// window in between. In last-window mode a close that was not a credited red-dot click and
// leaves no window is counted again after the settle period, and quits only when there is
// still no window then (`decide` says when; this is the wait).

#include "engine/Engine.h"

namespace quelto {

void Engine::settle(const PendingReport& gathered, const std::shared_ptr<AppWatcher>& watcher) {
    Pid pid = watcher->pid;
    settling_[pid] += 1;
    std::weak_ptr<Engine> weakEngine = weak_from_this();
    std::weak_ptr<AppWatcher> weakWatcher = watcher;
    context_.mainQueue.asyncAfter(windowSwapSettle, [weakEngine, weakWatcher, gathered, pid] {
        auto engine = weakEngine.lock();
        if (!engine) return;
        // Forgotten meanwhile (the app terminated, access was revoked): nothing to count.
        auto waiting = engine->settling_.find(pid);
        if (waiting == engine->settling_.end()) return;
        if (--waiting->second == 0) engine->settling_.erase(waiting);
        auto watcher = weakWatcher.lock();
        if (!watcher || engine->apps_.watcherOf(pid) != watcher) return;
        engine->decideOn(gathered, watcher, true);
    });
}

}  // namespace quelto

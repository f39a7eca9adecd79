#pragma once
// The applications the engine follows. Owns one watcher per tracked process id together with
// the running process it was made for, the two always in step: a watcher enters and leaves
// with its process. A process id may be reused by a new process; `watchesDeadProcess` tells
// a watcher left over from the earlier one.

#include <cstddef>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "accessibility/AppWatcher.h"
#include "platform/Types.h"
#include "platform/Workspace.h"

namespace quelto {

class AppTracker {
  public:
    // The watcher tracked under `pid`, or nullptr.
    std::shared_ptr<AppWatcher> watcherOf(Pid pid) const;
    bool isTracked(Pid pid) const { return tracked_.count(pid) != 0; }

    // Makes a watcher for `app` and tracks it under its process id; nullptr (and nothing
    // tracked) when the watcher cannot be made. The process id must not be tracked yet.
    std::shared_ptr<AppWatcher> attach(const RunningApplicationRef& app,
                                       DestroyedWindowSink& engine, const WatcherContext& context);

    // Stops tracking `pid`, releasing its watcher.
    void forget(Pid pid) {
        if (tracked_.erase(pid)) reorder();
    }
    // Stops tracking every process.
    void clear() {
        tracked_.clear();
        inOrder_.clear();
    }
    // Every tracked watcher, in process-id order: a copy, so that what is done with them may
    // change what is tracked.
    std::vector<std::shared_ptr<AppWatcher>> watchers() const;

    // Whether the watcher under `pid` was made for a process that has since terminated.
    bool watchesDeadProcess(Pid pid) const;

    // The first tracked watcher, in process-id order, for which `test` gives a value; the
    // value, or none. Runs for every click: no allocation, no copy, and a walk over a flat
    // array rather than a tree's scattered nodes.
    template <typename Test>
    auto firstOf(Test&& test) const
        -> decltype(test(std::declval<const std::shared_ptr<AppWatcher>&>())) {
        for (const std::shared_ptr<AppWatcher>& watcher : inOrder_)
            if (auto found = test(watcher)) return found;
        return {};
    }

    std::size_t size() const { return tracked_.size(); }
    bool empty() const { return tracked_.empty(); }

  private:
    struct Tracked {
        std::shared_ptr<AppWatcher> watcher;
        RunningApplicationRef process;
    };
    // Rebuilds `inOrder_` from `tracked_` (an attach or a forget: rare beside the clicks).
    void reorder();

    std::map<Pid, Tracked> tracked_;
    // The same watchers in process-id order, flat, for the walk every click makes.
    std::vector<std::shared_ptr<AppWatcher>> inOrder_;
};

}  // namespace quelto

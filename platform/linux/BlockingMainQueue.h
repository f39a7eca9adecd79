#pragma once
// A real main queue for command line runs and tests: work submitted from any thread runs on
// the thread that calls `run()`, in due order (ties in submission order), after its real
// delay. `run()` returns once nothing is left to do: no work queued and nothing held. A
// request in flight holds the queue (`hold()` … `release()`), so the queue waits for its
// reply instead of returning early. Repeating timers do not keep the queue running.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/MainQueue.h"

namespace quelto {

class BlockingMainQueue final : public MainQueue {
  public:
    BlockingMainQueue() = default;
    BlockingMainQueue(const BlockingMainQueue&) = delete;
    BlockingMainQueue& operator=(const BlockingMainQueue&) = delete;

    // Any thread.
    void asyncAfter(double delaySeconds, std::function<void()> work) override;
    Subscription scheduleRepeating(double intervalSeconds, std::function<void()> tick) override;

    // Outside work under way (any thread): `run()` does not return while any is held.
    void hold();
    void release();

    // Runs work on the calling thread until the queue is idle (true) or `limitSeconds` have
    // passed (false).
    bool run(double limitSeconds = 3600);

    // One-shot work items waiting to run.
    std::size_t pendingCount() const;

  private:
    using TimePoint = std::chrono::steady_clock::time_point;
    struct Item {
        std::function<void()> work;
        double interval = 0;  // > 0: a repeating timer
        std::shared_ptr<std::atomic<bool>> cancelled;
    };

    void insert(TimePoint due, Item item);  // with `mutex_` held

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::multimap<TimePoint, Item> items_;  // equal keys keep their insertion order
    std::size_t oneShots_ = 0;
    int holds_ = 0;
};

}  // namespace quelto

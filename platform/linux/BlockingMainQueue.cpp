#include "platform/linux/BlockingMainQueue.h"

#include <algorithm>
#include <cmath>

namespace quelto {

namespace {

std::chrono::steady_clock::duration seconds(double s) {
    if (!(s > 0)) return std::chrono::steady_clock::duration::zero();
    s = std::min(s, 1e7);  // a few months: far enough for anything that waits on a queue
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(s));
}

}  // namespace

void BlockingMainQueue::insert(TimePoint due, Item item) {
    if (item.interval <= 0) ++oneShots_;
    items_.emplace(due, std::move(item));
}

void BlockingMainQueue::asyncAfter(double delaySeconds, std::function<void()> work) {
    // Notifying under the lock: once the lock is released this call touches the queue no
    // more, so a queue whose run() returns can be destroyed at once.
    std::lock_guard<std::mutex> lock(mutex_);
    insert(std::chrono::steady_clock::now() + seconds(delaySeconds),
           Item{std::move(work), 0, nullptr});
    changed_.notify_all();
}

Subscription BlockingMainQueue::scheduleRepeating(double intervalSeconds,
                                                  std::function<void()> tick) {
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    // A zero interval would spin; a millisecond is the shortest period this queue keeps.
    double interval = std::max(intervalSeconds, 0.001);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        insert(std::chrono::steady_clock::now() + seconds(interval),
               Item{std::move(tick), interval, cancelled});
        changed_.notify_all();
    }
    // The flag outlives the queue, so a subscription may end after the queue is gone.
    return Subscription([cancelled] { cancelled->store(true); });
}

void BlockingMainQueue::hold() {
    std::lock_guard<std::mutex> lock(mutex_);
    ++holds_;
}

void BlockingMainQueue::release() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (holds_ > 0) --holds_;
    changed_.notify_all();
}

bool BlockingMainQueue::run(double limitSeconds) {
    const TimePoint deadline = std::chrono::steady_clock::now() + seconds(limitSeconds);
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        // Cancelled timers leave at once.
        for (auto it = items_.begin(); it != items_.end();) {
            if (it->second.cancelled && it->second.cancelled->load())
                it = items_.erase(it);
            else
                ++it;
        }
        TimePoint now = std::chrono::steady_clock::now();
        if (!items_.empty() && items_.begin()->first <= now) {
            auto first = items_.begin();
            TimePoint due = first->first;
            Item item = std::move(first->second);
            items_.erase(first);
            std::function<void()> work;
            if (item.interval > 0) {
                work = item.work;
                // The next time is read before the item is moved into the call: the order in
                // which a call's arguments are evaluated is unspecified.
                TimePoint next = due + seconds(item.interval);
                insert(next, std::move(item));
            } else {
                --oneShots_;
                work = std::move(item.work);
            }
            lock.unlock();
            if (work) work();
            lock.lock();
            continue;
        }
        if (oneShots_ == 0 && holds_ == 0) return true;
        if (now >= deadline) return false;
        TimePoint wakeAt = deadline;
        if (!items_.empty()) wakeAt = std::min(wakeAt, items_.begin()->first);
        changed_.wait_until(lock, wakeAt);
    }
}

std::size_t BlockingMainQueue::pendingCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return oneShots_;
}

}  // namespace quelto

// Virtual time: the wall clock, the local calendar at the desktop's fixed offset, and the
// main queue that runs due work in order as time is advanced.

#include <algorithm>
#include <cmath>
#include <limits>

#include "sim/SimState.h"

namespace quelto::sim {

namespace {

// A century of virtual time is plenty; longer delays are clamped so sums never overflow.
constexpr Micros maxDelay = Micros{100} * 365 * 24 * 3600 * 1000000;

// Days since 1970-01-01 to a civil date (proleptic Gregorian calendar).
void civilFromDays(std::int64_t z, int& year, int& month, int& day) {
    z += 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const std::int64_t doe = z - era * 146097;
    const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const std::int64_t y = yoe + era * 400;
    const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const std::int64_t mp = (5 * doy + 2) / 153;
    const std::int64_t d = doy - (153 * mp + 2) / 5 + 1;
    const std::int64_t m = mp < 10 ? mp + 3 : mp - 9;
    year = static_cast<int>(m <= 2 ? y + 1 : y);
    month = static_cast<int>(m);
    day = static_cast<int>(d);
}

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    std::int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

}  // namespace

Micros toMicros(double seconds) {
    if (!std::isfinite(seconds)) return seconds > 0 ? maxDelay : 0;
    double us = std::round(seconds * 1e6);
    constexpr Micros highest = std::numeric_limits<Micros>::max() / 2;
    constexpr Micros lowest = std::numeric_limits<Micros>::min() / 2;
    if (us > static_cast<double>(highest)) return highest;
    if (us < static_cast<double>(lowest)) return lowest;
    return static_cast<Micros>(us);
}

void SimDesktop::State::schedule(double delaySeconds, std::function<void()> work,
                                 std::shared_ptr<RepeatingTimer> timer) {
    Micros delay = toMicros(delaySeconds);
    if (delay < 0) delay = 0;
    if (delay > maxDelay) delay = maxDelay;
    scheduleAt(now + delay, WorkItem{std::move(work), std::move(timer)});
}

void SimDesktop::State::scheduleAt(Micros due, WorkItem item) {
    queue.emplace(std::make_pair(due, nextSequence++), std::move(item));
}

void SimDesktop::State::scheduleWorld(double delaySeconds, std::function<void()> work) {
    Micros delay = std::clamp<Micros>(toMicros(delaySeconds), 0, maxDelay);
    WorkItem item{std::move(work), nullptr};
    item.kind = WorkKind::world;
    scheduleAt(now + delay, std::move(item));
}

bool SimDesktop::State::runNext(Micros limit) {
    endStall();  // the thread is back in its run loop
    auto it = queue.begin();
    for (; it != queue.end() && it->first.first <= limit; ++it)
        if (mayRun(it->second)) break;
    const bool haveItem = it != queue.end() && it->first.first <= limit;

    // The user's next action comes first when it is due earlier; work due at the same moment
    // goes before it, as it was already waiting.
    if (main.script && main.blocked == 0) {
        if (std::optional<Date> next = main.script->nextActionTime()) {
            Micros at = toMicros(next->seconds);
            if (at <= limit && (!haveItem || at < it->first.first)) {
                if (at > now) now = at;
                main.script->runNextAction();
                endStall();
                return true;
            }
        }
    }
    if (!haveItem) return false;

    Micros due = it->first.first;
    WorkItem item = std::move(it->second);
    queue.erase(it);
    if (due > now) now = due;
    if (item.timer) {
        if (item.timer->cancelled) return true;
        // The next tick is due one interval after this one was, whatever the tick does.
        auto timer = item.timer;
        WorkItem next{{}, timer, item.kind, item.modes};
        scheduleAt(due + timer->interval, std::move(next));
        auto tick = timer->tick;  // the tick may cancel (and so release) the timer
        if (tick) tick();
    } else if (item.work) {
        if (item.kind == WorkKind::mainQueue) {
            ++main.mainQueueBlocks;
            item.work();
            --main.mainQueueBlocks;
        } else {
            item.work();
        }
    }
    endStall();
    return true;
}

void SimDesktop::advance(double seconds) {
    Micros span = toMicros(seconds);
    if (span < 0) span = 0;
    if (span > maxDelay) span = maxDelay;
    const Micros end = state_->now + span;
    while (state_->runNext(end)) {
    }
    if (state_->now < end) state_->now = end;
}

void SimDesktop::runDue() {
    while (state_->runNext(state_->now)) {
    }
}

std::size_t SimDesktop::pendingWorkCount() const {
    std::size_t n = 0;
    for (const auto& [key, item] : state_->queue)
        if (!item.timer || !item.timer->cancelled) ++n;
    return n;
}

void SimDesktop::asyncAfter(double delaySeconds, std::function<void()> work) {
    state_->schedule(delaySeconds, std::move(work));
}

Subscription SimDesktop::scheduleRepeating(double intervalSeconds, std::function<void()> tick) {
    auto timer = std::make_shared<RepeatingTimer>();
    // A timer with no positive interval would fire forever within one instant; the platform
    // clamps such intervals to a tiny positive one, and so does the desktop.
    timer->interval = std::max<Micros>(toMicros(intervalSeconds), 100);
    timer->tick = std::move(tick);
    // A timer on the main run loop in its default mode, as the platform schedules it.
    state_->scheduleAt(state_->now + timer->interval,
                       WorkItem{{}, timer, WorkKind::runLoopSource, defaultModeOnly});
    return Subscription([timer] {
        timer->cancelled = true;
        timer->tick = nullptr;
    });
}

Date SimDesktop::now() {
    return Date{static_cast<double>(state_->now) / 1e6};
}

LocalTime SimDesktop::localTime(Date date) {
    Micros us = toMicros(date.seconds) + Micros{state_->utcOffsetSeconds} * 1000000;
    std::int64_t secs = floorDiv(us, 1000000);
    std::int64_t frac = us - secs * 1000000;
    std::int64_t days = floorDiv(secs, 86400);
    std::int64_t inDay = secs - days * 86400;
    LocalTime lt;
    civilFromDays(days, lt.year, lt.month, lt.day);
    lt.hour = static_cast<int>(inDay / 3600);
    lt.minute = static_cast<int>((inDay % 3600) / 60);
    lt.second = static_cast<int>(inDay % 60);
    lt.millisecond = static_cast<int>(frac / 1000);
    return lt;
}

}  // namespace quelto::sim

#pragma once
// The main thread's queue of delayed work and the wall clock. Everything the core does runs
// on the main thread; delayed work comes back there, in due order.

#include <functional>

#include "platform/Subscription.h"
#include "platform/Types.h"

namespace quelto {

// The local calendar time of a moment, in the user's current time zone.
struct LocalTime {
    int year = 1970;
    int month = 1;  // 1…12
    int day = 1;    // 1…31
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;  // truncated, never rounded
};

class Clock {
  public:
    virtual ~Clock() = default;
    virtual Date now() = 0;
    virtual LocalTime localTime(Date date) = 0;
};

class MainQueue {
  public:
    virtual ~MainQueue() = default;

    // Runs `work` on the main thread `delaySeconds` from now. Items due at the same moment
    // run in the order they were submitted.
    virtual void asyncAfter(double delaySeconds, std::function<void()> work) = 0;

    // A repeating timer on the main run loop; cancelling the subscription invalidates it.
    virtual Subscription scheduleRepeating(double intervalSeconds, std::function<void()> tick) = 0;

    void async(std::function<void()> work) { asyncAfter(0, std::move(work)); }
};

}  // namespace quelto

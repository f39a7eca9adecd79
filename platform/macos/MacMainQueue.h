#pragma once
// The main thread's delayed work on macOS (the main dispatch queue, repeating timers on the
// main run loop) and the wall clock in the user's time zone.

#include "platform/MainQueue.h"

namespace quelto::mac {

class MacMainQueue final : public MainQueue {
  public:
    void asyncAfter(double delaySeconds, std::function<void()> work) override;
    Subscription scheduleRepeating(double intervalSeconds, std::function<void()> tick) override;
};

class MacClock final : public Clock {
  public:
    Date now() override;
    LocalTime localTime(Date date) override;
};

}  // namespace quelto::mac

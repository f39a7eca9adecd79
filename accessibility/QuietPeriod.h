#pragma once
// The time an application is left alone after one of Quelto's calls to it waited out its
// messaging time-out. An app that does not answer one call will not answer the next one a
// moment later either, and each such call holds Quelto's one main thread for the whole
// time-out: so for a few seconds the app is asked nothing but what a close decision needs,
// and the rest of what would have been read waits for the period to end.

#include <optional>
#include <string>

#include "platform/Accessibility.h"
#include "platform/MainQueue.h"
#include "platform/Types.h"

namespace quelto {

class QuietPeriod {
  public:
    // How long the app is left alone after a call timed out.
    static constexpr double length = 3.0;
    // A cannot-complete that came back sooner than this was a refusal (an app still starting
    // up), not a wait for the time-out (one second, set at start).
    static constexpr double timedOutAfter = 0.5;

    // `app` names the application in the log line that starts a period.
    QuietPeriod(Clock& clock, std::string app);

    // Whether the app is being left alone now.
    bool isQuiet() const;
    // The seconds left until the period ends; 0 outside one.
    double remaining() const;
    Date now() const { return clock_.now(); }

    // The outcome of one call to the app begun at `started`. A cannot-complete after a wait
    // starts a period (or makes the current one last `length` from now); the log says so once
    // the app stops answering, not again until a call of it has been answered.
    void noteCall(Date started, AXError error);

  private:
    Clock& clock_;
    std::string app_;
    std::optional<Date> until_;
    bool answeredSince_ = true;  // a call answered since the last time-out (or none yet)
};

}  // namespace quelto

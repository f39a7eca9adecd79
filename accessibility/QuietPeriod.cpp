// An application left alone for a few seconds after a call to it timed out.

#include "accessibility/QuietPeriod.h"

#include <utility>

#include "settings/Log.h"

namespace quelto {

QuietPeriod::QuietPeriod(Clock& clock, std::string app) : clock_(clock), app_(std::move(app)) {}

bool QuietPeriod::isQuiet() const {
    return until_ && clock_.now() < *until_;
}

double QuietPeriod::remaining() const {
    if (!until_) return 0;
    double left = *until_ - clock_.now();
    return left > 0 ? left : 0;
}

void QuietPeriod::noteCall(Date started, AXError error) {
    Date ended = clock_.now();
    if (error != axerror::cannotComplete || ended - started < timedOutAfter) {
        answeredSince_ = true;
        return;
    }
    until_ = ended + length;
    // One line for as long as the app goes on not answering: a period that follows another
    // without a call answered in between is the same silence.
    if (!std::exchange(answeredSince_, false)) return;
    static_assert(length == 3.0, "the log line says how long");
    quelto::log(app_ + " is not answering — leaving it alone for 3 s");
}

}  // namespace quelto

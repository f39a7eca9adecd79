#pragma once
// The closes of one application gathered for a moment, so that several windows vanishing
// together lead to one decision.

#include <vector>

#include "accessibility/CloseButtonMiss.h"
#include "platform/Types.h"

namespace quelto {

struct PendingReport {
    long windowsClosed = 0;                 // tracked windows destroyed while gathering
    bool wasRedDot = false;                 // at least one was a red-dot close
    bool afterDialog = false;               // a consumed click had waited on a dialog
    bool sawCloseButton = false;            // a destroyed window had a cached close button
    std::vector<CloseButtonMiss> misses{};  // the watcher's miss reasons, in order of destruction
    ModifierFlags modifiers{};              // of the click consumed most recently; 0 without one

    // How long further closes of the same application join the report.
    static constexpr double gatheringDelay = 0.3;
    // A close that is not a red-dot close this soon after attaching is never acted on.
    static constexpr double attachGrace = 5.0;

    friend bool operator==(const PendingReport&, const PendingReport&) = default;
};

}  // namespace quelto

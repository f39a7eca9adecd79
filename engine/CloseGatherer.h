#pragma once
// The closes of each application gathered for a moment. Owns the pending reports, one per
// application: the first destroyed window of an application opens one and starts the
// gathering delay; windows destroyed meanwhile join it; when the delay ends the report goes
// to the decision, unless the application terminated meanwhile (`forget`).

#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "accessibility/AppWatcher.h"
#include "accessibility/CloseButtonMiss.h"
#include "engine/ClickRecord.h"
#include "engine/EngineContext.h"
#include "engine/PendingReport.h"
#include "platform/Types.h"

namespace quelto {

class CloseGatherer {
  public:
    using Gathered =
        std::function<void(const PendingReport& report, const std::shared_ptr<AppWatcher>&)>;

    // `context` outlives the gatherer. The delayed end of a gathering holds `owner` (the
    // engine that owns the gatherer) and the watcher weakly and does nothing once either is
    // gone; otherwise it hands the report to `gathered`.
    CloseGatherer(const EngineContext& context, std::weak_ptr<const void> owner, Gathered gathered);
    CloseGatherer(const CloseGatherer&) = delete;
    CloseGatherer& operator=(const CloseGatherer&) = delete;

    // A tracked window of `watcher`'s application was destroyed. `click` is the click record
    // its close consumed, if any (an expired one counts for nothing: neither its cause nor
    // its dialog flag nor its modifiers reach the report); `hadCloseButton` and `miss` what the
    // watcher knew about its close button.
    void add(const std::shared_ptr<AppWatcher>& watcher, const std::optional<ClickRecord>& click,
             bool hadCloseButton, const std::optional<CloseButtonMiss>& miss);

    // A close of the process gathering now was made by a mouse-up over its window's close
    // button, handled after the window's destroyed notification: the report becomes a
    // red-dot close with the up's modifiers. Nothing when the process gathers nothing (the
    // gathering delay is the time the up has to arrive).
    void creditMouseUp(Pid pid, ModifierFlags modifiers);

    // The report being gathered for the process; nullptr when there is none.
    const PendingReport* gathering(Pid pid) const;
    bool isGathering(Pid pid) const { return pending_.count(pid) != 0; }
    bool empty() const { return pending_.empty(); }
    // Drops the process's report: its gathering then ends with nothing to decide.
    void forget(Pid pid) { pending_.erase(pid); }
    // Drops every report.
    void clear() { pending_.clear(); }

  private:
    const EngineContext& context_;
    std::weak_ptr<const void> owner_;
    Gathered gathered_;
    std::map<Pid, PendingReport> pending_;
};

}  // namespace quelto

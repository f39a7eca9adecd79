#include "engine/CloseGatherer.h"

#include <utility>

namespace quelto {

CloseGatherer::CloseGatherer(const EngineContext& context, std::weak_ptr<const void> owner,
                             Gathered gathered)
    : context_(context), owner_(std::move(owner)), gathered_(std::move(gathered)) {}

void CloseGatherer::add(const std::shared_ptr<AppWatcher>& watcher,
                        const std::optional<ClickRecord>& consumed, bool hadCloseButton,
                        const std::optional<CloseButtonMiss>& miss) {
    // An expired click counts for nothing: neither its cause nor its dialog flag nor its
    // modifiers reach this close (a shift from a click a minute ago must not escape an
    // unrelated ⌘W).
    std::optional<ClickRecord> click;
    if (consumed && context_.clock.now() <= consumed->expiry) click = consumed;
    bool redDot = click.has_value();

    Pid pid = watcher->pid;
    if (auto gathering = pending_.find(pid); gathering != pending_.end()) {
        PendingReport& report = gathering->second;
        report.windowsClosed += 1;
        report.wasRedDot = report.wasRedDot || redDot;
        report.afterDialog = report.afterDialog || (click && click->sustained);
        report.sawCloseButton = report.sawCloseButton || hadCloseButton;
        if (miss) report.misses.push_back(*miss);
        if (click) report.modifiers = click->modifiers;
        return;
    }

    PendingReport report;
    report.windowsClosed = 1;
    report.wasRedDot = redDot;
    report.afterDialog = click && click->sustained;
    report.sawCloseButton = hadCloseButton;
    if (miss) report.misses.push_back(*miss);
    report.modifiers = click ? click->modifiers : 0;
    pending_.insert_or_assign(pid, std::move(report));

    std::weak_ptr<AppWatcher> weakWatcher = watcher;
    context_.mainQueue.asyncAfter(PendingReport::gatheringDelay,
                                  [owner = owner_, this, weakWatcher] {
                                      auto alive = owner.lock();
                                      auto watcher = weakWatcher.lock();
                                      if (!alive || !watcher) return;
                                      auto gathered = pending_.find(watcher->pid);
                                      if (gathered == pending_.end()) return;
                                      PendingReport report = std::move(gathered->second);
                                      pending_.erase(gathered);
                                      gathered_(report, watcher);
                                  });
}

void CloseGatherer::creditMouseUp(Pid pid, ModifierFlags modifiers) {
    auto gathering = pending_.find(pid);
    if (gathering == pending_.end()) return;
    gathering->second.wasRedDot = true;
    gathering->second.modifiers = modifiers;
}

const PendingReport* CloseGatherer::gathering(Pid pid) const {
    auto found = pending_.find(pid);
    return found == pending_.end() ? nullptr : &found->second;
}

}  // namespace quelto

#pragma once
// Click attribution. Owns the recent clicks: the close-button clicks not yet consumed, one
// record per window. It finds which tracked window's close button a mouse-down landed on
// (the cached frames first, confirmed with the window server; then a live read of the
// frontmost application), records the click, keeps the record alive while a dialog holds the
// close open, prunes expired records, and hands a record over when its window is destroyed.

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "accessibility/AppWatcher.h"
#include "accessibility/WindowRef.h"
#include "engine/AppTracker.h"
#include "engine/ClickRecord.h"
#include "engine/EngineContext.h"
#include "platform/Types.h"

namespace quelto {

class ClickLedger {
  public:
    // `context` and `tracker` outlive the ledger. Delayed checks hold `owner` weakly (the
    // engine that owns the ledger) and do nothing once it is gone.
    ClickLedger(const EngineContext& context, const AppTracker& tracker,
                std::weak_ptr<const void> owner);
    ClickLedger(const ClickLedger&) = delete;
    ClickLedger& operator=(const ClickLedger&) = delete;

    // A left mouse-down at `at` (global top-left coordinates) with `modifiers` held.
    void handleClick(Point at, ModifierFlags modifiers);
    // Remembers a click on `window`'s close button, logs it, and schedules the first look
    // for a dialog holding the close. `how` says how the hit was found ("cached", "live read").
    void record(const WindowRef& window, const std::shared_ptr<AppWatcher>& watcher,
                ModifierFlags modifiers, std::string_view how);
    // The look for a dialog holding the close of `window` (of process `pid`).
    void sustainIfBlocked(const WindowRef& window, Pid pid);
    // Drops every record that no longer counts.
    void prune();

    // A window whose close button a click landed on, with its watcher.
    struct Hit {
        WindowRef window;
        std::shared_ptr<AppWatcher> watcher;
    };
    // Confirms a hit found in the close-button frames with the window server's on-screen
    // list: the window on top at the point must be the hit window (same process, same
    // bounds as its Accessibility frame) or another tracked window whose close button is
    // under the point, which then gets the click. None when the click belongs to no tracked
    // close button. Reads the window server once and window frames through Accessibility.
    std::optional<Hit> confirmHit(const WindowRef& window,
                                  const std::shared_ptr<AppWatcher>& watcher, Point at);

    // The window's record, removed: its destruction consumes it.
    std::optional<ClickRecord> take(const WindowRef& window);
    // Whether a record of the process still counts.
    bool hasCountingClick(Pid pid) const;
    // Drops every record of the process.
    void forget(Pid pid);
    // Drops every record.
    void clear() { clicks_.clear(); }

    // The window's record as it stands; nullptr when there is none.
    const ClickRecord* recordOf(const WindowRef& window) const;
    std::size_t size() const { return clicks_.size(); }
    bool empty() const { return clicks_.empty(); }
    // Calls `visit(window, record)` for every record, in no particular order.
    template <typename Visit>
    void forEachRecord(Visit&& visit) const {
        for (const auto& [window, click] : clicks_) visit(window, click);
    }

  private:
    void scheduleCheck(double delay, const WindowRef& window, Pid pid);

    const EngineContext& context_;
    const AppTracker& tracker_;
    std::weak_ptr<const void> owner_;
    std::unordered_map<WindowRef, ClickRecord> clicks_;
};

}  // namespace quelto

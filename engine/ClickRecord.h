#pragma once
// A click on a tracked window's close button, remembered until the window is destroyed, the
// record expires, or its application goes away.

#include "platform/Types.h"

namespace quelto {

struct ClickRecord {
    Date at{};                  // when the click happened
    Pid pid = 0;                // the application that owns the window
    ModifierFlags modifiers{};  // the modifier keys held during the click, as delivered
    Date expiry{};              // the record counts until this moment
    bool sustained = false;     // the close was seen waiting on a dialog

    // How long a plain click counts, and how long each renewal lasts while a dialog blocks.
    static constexpr double lifetime = 2.0;
    // From the click to the first look for a dialog holding up the close.
    static constexpr double firstDialogCheck = 0.35;
    // Between further looks while the close is blocked.
    static constexpr double dialogPollInterval = 1.0;
    // A record at least this old (from `at`) is dropped at its next look.
    static constexpr double dialogGiveUpAge = 120.0;
    // Once a blocked close is free again, the click still counts this long.
    static constexpr double afterDialogGrace = 5.0;

    friend bool operator==(const ClickRecord&, const ClickRecord&) = default;
};

}  // namespace quelto

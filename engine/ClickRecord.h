#pragma once
// A click on a tracked window's close button, remembered until the window is destroyed, the
// record expires, or its application goes away.

#include <optional>

#include "accessibility/WindowRef.h"
#include "platform/Types.h"

namespace quelto {

struct ClickRecord {
    Date at{};                  // when the click happened
    Pid pid = 0;                // the application that owns the window
    ModifierFlags modifiers{};  // the modifier keys held during the click, as delivered
    Date expiry{};              // the record counts until this moment
    bool sustained = false;     // the close was seen waiting on a dialog
    // Dialogs and sheets first seen before this moment (less `cameFirstMargin`) were up
    // before the click: they hold nothing. The click's own moment; for a click on a red dot
    // whose close a dialog already holds, the moment of the click that dialog holds.
    Date dialogsSince{};
    // The dialog window last found holding the close: asked directly at the next look,
    // wherever it is (Accessibility lists only the current Space's windows).
    std::optional<WindowRef> heldBy;
    // A look found no dialog while the click was held: the look `secondLook` later decides.
    bool missedOnce = false;

    // How long a plain click counts, and how long each renewal lasts while a dialog blocks.
    static constexpr double lifetime = 2.0;
    // From the click to the first look for a dialog holding up the close.
    static constexpr double firstDialogCheck = 0.35;
    // Between further looks while the close is blocked.
    static constexpr double dialogPollInterval = 1.0;
    // A held click whose look finds no dialog is looked at again this much later: one sheet
    // giving way to another (the question, then the Save panel) leaves a moment with none.
    static constexpr double secondLook = 0.25;
    // A record at least this old (from `at`) is dropped at its next look.
    static constexpr double dialogGiveUpAge = 120.0;
    // Once a blocked close is free again, the click still counts this long.
    static constexpr double afterDialogGrace = 5.0;
    // A dialog or sheet came before the click only when it was seen this long before it: the
    // app's answer to the click may reach Quelto before the mouse-up itself when its main
    // thread was busy (a read waiting on an app that does not answer takes up to a second).
    static constexpr double cameFirstMargin = 1.0;

    friend bool operator==(const ClickRecord&, const ClickRecord&) = default;
};

}  // namespace quelto

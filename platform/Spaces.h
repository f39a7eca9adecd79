#pragma once
// Spaces and the windows on them: what Accessibility alone cannot say.
//
// An application's Accessibility window list holds only its windows on the current Space, and
// an Accessibility element carries no window number. To know where a window the window server
// lists really is, two private calls are needed on a Mac: the window number behind an
// Accessibility element (`_AXUIElementGetWindow`) and the Spaces a window is on
// (`CGSCopySpacesForWindows`, with `CGSGetActiveSpace` for the current one). Both are looked
// up at run time: when the system lacks them, `lookupsAvailable()` is false and the lookups
// answer none, and the program goes on without them (it never fails to load).
//
// The workspace's notifications that tell when other Spaces' windows come into view belong
// here too: the active Space changed (posted on every switch, whoever is in front) and an
// application was activated.

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/Accessibility.h"
#include "platform/Subscription.h"
#include "platform/Workspace.h"

namespace quelto {

// The window server's identifier of a Space (CGSSpaceID).
using SpaceID = std::uint64_t;

class Spaces {
  public:
    virtual ~Spaces() = default;

    // NSWorkspaceActiveSpaceDidChangeNotification, delivered on the main thread.
    virtual Subscription observeActiveSpaceChanges(std::function<void()> handler) = 0;
    // NSWorkspaceDidActivateApplicationNotification, delivered on the main thread; the
    // handler gets the application activated, or nullptr when the notification carried none.
    virtual Subscription observeActivations(Workspace::ApplicationHandler handler) = 0;

    // Whether both private lookups were found (the window number of an element, and the
    // Spaces of a window with the active Space). Asked once; the answer does not change.
    virtual bool lookupsAvailable() = 0;
    // The window server's number of the window behind an Accessibility element; none when
    // the lookup is unavailable or fails (not a window, the app gone, access revoked).
    virtual std::optional<std::uint32_t> windowNumber(const AXElement& window) = 0;
    // The Space the user sees now on the main display; none when unavailable.
    virtual std::optional<SpaceID> activeSpace() = 0;
    // The Spaces the window is on: empty for a window on none (one its app ordered out, kept
    // but not shown); none when the lookup is unavailable.
    virtual std::optional<std::vector<SpaceID>> spacesOfWindow(std::uint32_t number) = 0;
};

}  // namespace quelto

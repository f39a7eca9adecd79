#pragma once
// Spaces on macOS: the workspace's active-Space-changed and activation notifications, and
// the private lookups of a window's number and Spaces (MacSpaceLookups.cpp), found at run time.

#include "platform/Spaces.h"

namespace quelto::mac {

class MacSpaces final : public Spaces {
  public:
    Subscription observeActiveSpaceChanges(std::function<void()> handler) override;
    Subscription observeActivations(Workspace::ApplicationHandler handler) override;
    bool lookupsAvailable() override;
    std::optional<std::uint32_t> windowNumber(const AXElement& window) override;
    std::optional<SpaceID> activeSpace() override;
    std::optional<std::vector<SpaceID>> spacesOfWindow(std::uint32_t number) override;
};

}  // namespace quelto::mac

#pragma once
// The window server's private calls that say where a window is, looked up at run time with
// dlsym so that a system without them still loads the app: `_AXUIElementGetWindow` (the
// window number behind an Accessibility element), `CGSMainConnectionID`, `CGSGetActiveSpace`
// and `CGSCopySpacesForWindows` (the Spaces of windows). Every function answers none when its
// symbol is missing.

#include <ApplicationServices/ApplicationServices.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace quelto::mac {

// Whether every symbol was found (looked up once, on first use).
bool spaceLookupsFound();
std::optional<std::uint32_t> lookUpWindowNumber(AXUIElementRef window);
std::optional<std::uint64_t> lookUpActiveSpace();
std::optional<std::vector<std::uint64_t>> lookUpSpacesOfWindow(std::uint32_t number);

}  // namespace quelto::mac

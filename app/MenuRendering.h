#pragma once
// The status menu as a person sees it, in plain text (quelto-sim and the tests).

#include <string>
#include <vector>

#include "app/MenuRow.h"

namespace quelto {

// One line per row: "✓ " before checked rows ("  " otherwise), " (disabled)" after
// disabled ones, "  ⌘," for key equivalents, "────" for separators, submenus indented
// under their parent with "▸" after the parent's title.
std::string renderMenu(const std::vector<MenuRow>& rows);

}  // namespace quelto

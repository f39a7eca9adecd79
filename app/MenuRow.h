#pragma once
// One row of the status item's menu, as plain data: the menu is rebuilt from these rows
// each time it opens, and the chosen row goes back to the model by its action.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quelto {

// The status menu's actions; every row with an action has the status item as its target.
enum class MenuAction {
    none,  // informational rows, the "Quit when…" parent, separators
    toggleLive,
    setMode,
    toggleFrontmost,
    toggleLoginItem,
    checkForUpdates,
    openWindow,
    quitApp,
};

// "toggleLive", "setMode:", … as the selector is named; "" for none.
std::string_view actionName(MenuAction action);

struct MenuRow {
    bool separator = false;
    std::string title;
    bool checked = false;
    bool enabled = true;
    MenuAction action = MenuAction::none;
    std::optional<std::string> representedObject;
    std::string keyEquivalent;  // "" none, "," or "q"
    std::vector<MenuRow> submenu;

    static MenuRow makeSeparator() {
        MenuRow r;
        r.separator = true;
        return r;
    }

    friend bool operator==(const MenuRow&, const MenuRow&) = default;
};

}  // namespace quelto

#pragma once
// The application's main menu (shown while the settings window is open) as data: two
// menus, their items with titles, selectors, key equivalents and targets.

#include <string>
#include <vector>

namespace quelto {

struct MainMenuItem {
    bool separator = false;
    std::string title;
    // The selector: the delegate's "showAbout", "checkForUpdates", "showSettings", or a
    // standard responder action such as "hide:", "terminate:", "copy:".
    std::string action;
    std::string keyEquivalent;  // "" none; "Z" means shift-command-Z
    // True: the application delegate is the target. False: no target (first responder).
    bool targetsDelegate = false;

    friend bool operator==(const MainMenuItem&, const MainMenuItem&) = default;
};

struct MainMenuMenu {
    std::string title;  // "" for the application menu
    std::vector<MainMenuItem> items;

    friend bool operator==(const MainMenuMenu&, const MainMenuMenu&) = default;
};

// The application menu and the Edit menu, in order.
const std::vector<MainMenuMenu>& mainMenu();

}  // namespace quelto

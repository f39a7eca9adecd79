#include "app/MainMenu.h"

namespace quelto {

namespace {

MainMenuItem item(std::string title, std::string action, std::string key, bool delegate) {
    MainMenuItem i;
    i.title = std::move(title);
    i.action = std::move(action);
    i.keyEquivalent = std::move(key);
    i.targetsDelegate = delegate;
    return i;
}

MainMenuItem separator() {
    MainMenuItem i;
    i.separator = true;
    return i;
}

}  // namespace

const std::vector<MainMenuMenu>& mainMenu() {
    static const std::vector<MainMenuMenu> menus = {
        MainMenuMenu{"",
                     {
                         item("About Quelto", "showAbout", "", true),
                         separator(),
                         item("Check for Updates…", "checkForUpdates", "", true),
                         item("Settings…", "showSettings", ",", true),
                         separator(),
                         item("Hide Quelto", "hide:", "h", false),
                         item("Quit Quelto", "terminate:", "q", false),
                     }},
        MainMenuMenu{"Edit",
                     {
                         item("Undo", "undo:", "z", false),
                         item("Redo", "redo:", "Z", false),
                         separator(),
                         item("Cut", "cut:", "x", false),
                         item("Copy", "copy:", "c", false),
                         item("Paste", "paste:", "v", false),
                         item("Select All", "selectAll:", "a", false),
                     }},
    };
    return menus;
}

}  // namespace quelto

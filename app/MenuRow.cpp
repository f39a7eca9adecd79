#include "app/MenuRow.h"

namespace quelto {

std::string_view actionName(MenuAction action) {
    switch (action) {
        case MenuAction::none:
            return "";
        case MenuAction::toggleLive:
            return "toggleLive";
        case MenuAction::setMode:
            return "setMode:";
        case MenuAction::toggleFrontmost:
            return "toggleFrontmost";
        case MenuAction::toggleLoginItem:
            return "toggleLoginItem";
        case MenuAction::checkForUpdates:
            return "checkForUpdates";
        case MenuAction::openWindow:
            return "openWindow";
        case MenuAction::quitApp:
            return "quitApp";
    }
    return "";
}

}  // namespace quelto

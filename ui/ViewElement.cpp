#include "ui/ViewElement.h"

namespace quelto {

std::string_view actionName(WindowAction action) {
    switch (action) {
        case WindowAction::none:
            return "";
        case WindowAction::toggleLive:
            return "toggleLive";
        case WindowAction::changeQuitMode:
            return "changeQuitMode";
        case WindowAction::changeEscape:
            return "changeEscape";
        case WindowAction::toggleLoginItem:
            return "toggleLoginItem";
        case WindowAction::addApp:
            return "addApp";
        case WindowAction::checkForUpdates:
            return "checkForUpdates";
        case WindowAction::revealLog:
            return "revealLog";
        case WindowAction::revealConfig:
            return "revealConfig";
        case WindowAction::openAccessibility:
            return "openAccessibility";
        case WindowAction::copyDiagnostics:
            return "copyDiagnostics";
        case WindowAction::emailSupport:
            return "emailSupport";
        case WindowAction::openHelpPage:
            return "openHelpPage";
        case WindowAction::openSite:
            return "openSite";
        case WindowAction::openTerms:
            return "openTerms";
        case WindowAction::openPrivacy:
            return "openPrivacy";
    }
    return "";
}

}  // namespace quelto

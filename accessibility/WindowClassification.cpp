// Is an element a standard document window, is it still there, and two texts for log lines.
// Every call reads afresh; nothing is cached.

#include "accessibility/WindowClassification.h"

#include "accessibility/AXRead.h"

namespace quelto {

Standardness standardness(const AXElement& element) {
    Read<AXValue> role = axCopyChecked(element, "AXRole");
    if (!role.error.isSuccess()) return Standardness::unreadable(role.error);
    const std::string* roleText = role.value ? role.value->get<std::string>() : nullptr;
    // A role that can't be read as text is not declared non-standard: unreadable, not other.
    if (!roleText) return Standardness::unreadable(axerror::success);
    if (*roleText != "AXWindow") return Standardness::other();

    Read<AXValue> subrole = axCopyChecked(element, "AXSubrole");
    if (subrole.error == axerror::attributeUnsupported || subrole.error == axerror::noValue)
        return Standardness::standard();  // a window without a subrole counts as standard
    if (!subrole.error.isSuccess()) return Standardness::unreadable(subrole.error);
    const std::string* subroleText = subrole.value ? subrole.value->get<std::string>() : nullptr;
    if (!subroleText) return Standardness::unreadable(axerror::success);
    return *subroleText == "AXStandardWindow" ? Standardness::standard() : Standardness::other();
}

bool isStandardWindow(const AXElement& element) {
    return standardness(element).kind == Standardness::Kind::standard;
}

bool isAlive(const AXElement& element) {
    // Only a destroyed element is dead: a busy or unresponsive application must not make its
    // windows look gone.
    return axCopyChecked(element, "AXRole").error != axerror::invalidUIElement;
}

std::string subroleDescription(const AXElement& element) {
    return axString(element, "AXSubrole").value_or("<no subrole>");
}

std::string windowTitle(const AXElement& element) {
    auto title = axString(element, "AXTitle");
    if (!title || title->empty()) return "<untitled>";
    return *title;
}

}  // namespace quelto

#pragma once
// What the rest of the system asks of every window element: is it a standard document
// window, does it still exist, and two texts for log lines. Each call reads afresh.

#include <string>

#include "platform/Accessibility.h"

namespace quelto {

struct Standardness {
    enum class Kind { unreadable, standard, other };
    Kind kind = Kind::other;
    AXError error;  // the failing read's error for `unreadable` (success when it gave no text)

    static Standardness unreadable(AXError e) { return {Kind::unreadable, e}; }
    static Standardness standard() { return {Kind::standard, {}}; }
    static Standardness other() { return {Kind::other, {}}; }

    friend bool operator==(const Standardness&, const Standardness&) = default;
};

// "AXRole", then (for "AXWindow") "AXSubrole".
Standardness standardness(const AXElement& element);
bool isStandardWindow(const AXElement& element);
// Dead only when reading "AXRole" fails with invalid-element.
bool isAlive(const AXElement& element);
// "AXSubrole", or "<no subrole>".
std::string subroleDescription(const AXElement& element);
// "AXTitle", or "<untitled>" when none or empty.
std::string windowTitle(const AXElement& element);

}  // namespace quelto

#pragma once
// The identity of another application's window: equal when the platform says the elements
// are the same (CFEqual), hashed by CFHash, so it keys every per-window set and map.

#include <cstddef>
#include <functional>

#include "platform/Accessibility.h"

namespace quelto {

struct WindowRef {
    AXElement element;

    friend bool operator==(const WindowRef& a, const WindowRef& b) {
        if (a.element == b.element) return true;
        if (!a.element || !b.element) return false;
        return a.element->isSameElement(*b.element);
    }
};

struct WindowRefHash {
    std::size_t operator()(const WindowRef& ref) const {
        return std::hash<std::size_t>{}(ref.element ? ref.element->elementHash() : 0);
    }
};

}  // namespace quelto

template <>
struct std::hash<quelto::WindowRef> : quelto::WindowRefHash {};

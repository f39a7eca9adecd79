#pragma once
// Typed reads of one Accessibility attribute of one element. Each reader makes exactly one
// platform round trip (axFrame two at most), returns an absent value or an empty list on
// any failure, and never logs, throws or retries.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Accessibility.h"

namespace quelto {

// A read that says why it failed: the value, or none with the reason in `error` (which is
// success when the platform answered but gave nothing usable).
template <typename T>
struct Read {
    std::optional<T> value;
    AXError error = axerror::success;

    bool has_value() const { return value.has_value(); }
    const T& operator*() const { return *value; }
    const T* operator->() const { return &*value; }
};

std::optional<AXValue> axCopy(const AXElement& element, const std::string& attribute);
Read<AXValue> axCopyChecked(const AXElement& element, const std::string& attribute);
std::optional<std::string> axString(const AXElement& element, const std::string& attribute);
std::optional<bool> axBool(const AXElement& element, const std::string& attribute);
AXElement axElement(const AXElement& element, const std::string& attribute);  // nullptr: none
std::vector<AXElement> axElements(const AXElement& element, const std::string& attribute);
// The same list, or none with the reason it could not be had: the read's error (`noValue`
// for a success without a value), or `failure` when the value is not a list of elements.
// An empty list read is a list.
Read<std::vector<AXElement>> axElementsChecked(const AXElement& element,
                                               const std::string& attribute);
std::optional<Point> axPoint(const AXElement& element, const std::string& attribute);
std::optional<Size> axSize(const AXElement& element, const std::string& attribute);
// "AXPosition", then "AXSize"; no size read when the position read fails.
std::optional<Rect> axFrame(const AXElement& element);

}  // namespace quelto

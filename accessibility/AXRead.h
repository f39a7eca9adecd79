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

struct AXCopyResult {
    std::optional<AXValue> value;
    AXError error;
};

std::optional<AXValue> axCopy(const AXElement& element, const std::string& attribute);
AXCopyResult axCopyChecked(const AXElement& element, const std::string& attribute);
std::optional<std::string> axString(const AXElement& element, const std::string& attribute);
std::optional<bool> axBool(const AXElement& element, const std::string& attribute);
AXElement axElement(const AXElement& element, const std::string& attribute);  // nullptr: none
std::vector<AXElement> axElements(const AXElement& element, const std::string& attribute);
// The same list, or none with the reason it could not be had: the read's error (`noValue`
// for a success without a value), or `failure` when the value is not a list of elements.
// An empty list read is a list.
struct AXElementsResult {
    std::optional<std::vector<AXElement>> elements;
    AXError error;
};
AXElementsResult axElementsChecked(const AXElement& element, const std::string& attribute);
std::optional<Point> axPoint(const AXElement& element, const std::string& attribute);
std::optional<Size> axSize(const AXElement& element, const std::string& attribute);
// "AXPosition", then "AXSize"; no size read when the position read fails.
std::optional<Rect> axFrame(const AXElement& element);

}  // namespace quelto

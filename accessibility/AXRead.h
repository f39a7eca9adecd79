#pragma once
// Typed reads of one Accessibility attribute of one element. Each reader makes exactly one
// platform round trip (axFrame two at most), returns an absent value or an empty list on
// any failure, and never logs, throws or retries. Observer registrations go the same way.
// While a `ReadsOf` lives, each round trip is told to that application's quiet period
// (QuietPeriod.h), which may spare it and which logs when one begins.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Accessibility.h"

namespace quelto {

class QuietPeriod;

// The reads made while one lives are of one application's elements: each round trip is
// timed for its quiet period. With `leaveAlone`, a read during the period makes no round trip
// and fails at once with cannotComplete, as it would have after waiting out the time-out;
// with `ask` (what a close decision needs) the app is asked all the same. Scopes nest, the
// innermost one counts; all on the main thread.
class ReadsOf {
  public:
    enum class Mode { leaveAlone, ask };
    ReadsOf(QuietPeriod& quiet, Mode mode);
    ~ReadsOf();
    ReadsOf(const ReadsOf&) = delete;
    ReadsOf& operator=(const ReadsOf&) = delete;

  private:
    QuietPeriod* outerQuiet_;
    Mode outerMode_;
};

// The calls refused because Accessibility access was off (the API-disabled error), counted
// since the process started: a revocation too short for the engine's once-a-second check of
// access still leaves its mark here when Quelto called in it. Main thread only.
std::uint64_t accessRefusals();
// Counts `error` when it is the API-disabled error.
void noteAccessRefusal(AXError error);

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

// An observer registration, one round trip like a read, under the same `ReadsOf`.
AXError axAddNotification(AXObserver& observer, const AXElement& element,
                          const std::string& notification, void* refcon);

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

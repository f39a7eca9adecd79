// Typed reads of one attribute: one platform round trip each (two for a frame), an absent
// value on any failure. A value the platform fills in alongside an error is dropped.

#include "accessibility/AXRead.h"

#include "accessibility/QuietPeriod.h"

namespace quelto {

namespace {

// The innermost `ReadsOf`: main thread only, like every read.
QuietPeriod* currentQuiet = nullptr;
ReadsOf::Mode currentMode = ReadsOf::Mode::ask;
std::uint64_t refusedForAccess = 0;

}  // namespace

std::uint64_t accessRefusals() { return refusedForAccess; }

void noteAccessRefusal(AXError error) {
    if (error == axerror::apiDisabled) ++refusedForAccess;
}

ReadsOf::ReadsOf(QuietPeriod& quiet, Mode mode)
    : outerQuiet_(currentQuiet), outerMode_(currentMode) {
    currentQuiet = &quiet;
    currentMode = mode;
}

ReadsOf::~ReadsOf() {
    currentQuiet = outerQuiet_;
    currentMode = outerMode_;
}

namespace {

// One round trip to an application, under the innermost `ReadsOf`: spared while the app is
// left alone (refused as it would have been after its time-out), else made, timed for its
// quiet period and counted when access was off.
template <typename Call>
AXError roundTrip(Call&& call) {
    QuietPeriod* quiet = currentQuiet;
    if (quiet && currentMode == ReadsOf::Mode::leaveAlone && quiet->isQuiet())
        return axerror::cannotComplete;
    const Date started = quiet ? quiet->now() : Date{};
    AXError error = call();
    noteAccessRefusal(error);
    if (quiet) quiet->noteCall(started, error);
    return error;
}

}  // namespace

Read<AXValue> axCopyChecked(const AXElement& element, const std::string& attribute) {
    // A null element is what the platform calls an illegal argument; there is no round trip.
    if (!element) return Read<AXValue>{std::nullopt, axerror::illegalArgument};
    std::optional<AXValue> value;
    AXError error = roundTrip([&] { return element->copyAttributeValue(attribute, value); });
    if (!error.isSuccess()) return Read<AXValue>{std::nullopt, error};
    return Read<AXValue>{std::move(value), error};
}

AXError axAddNotification(AXObserver& observer, const AXElement& element,
                          const std::string& notification, void* refcon) {
    return roundTrip([&] { return observer.addNotification(element, notification, refcon); });
}

std::optional<AXValue> axCopy(const AXElement& element, const std::string& attribute) {
    return axCopyChecked(element, attribute).value;
}

std::optional<std::string> axString(const AXElement& element, const std::string& attribute) {
    auto value = axCopy(element, attribute);
    if (!value) return std::nullopt;
    if (auto* s = std::get_if<std::string>(&value->value)) return std::move(*s);
    return std::nullopt;
}

std::optional<bool> axBool(const AXElement& element, const std::string& attribute) {
    auto value = axCopy(element, attribute);
    if (!value) return std::nullopt;
    if (auto* b = value->get<bool>()) return *b;
    // A number converts only when it is exactly 0 or 1.
    if (auto* n = value->get<AXNumber>()) {
        if (n->value == 0) return false;
        if (n->value == 1) return true;
    }
    return std::nullopt;
}

AXElement axElement(const AXElement& element, const std::string& attribute) {
    auto value = axCopy(element, attribute);
    if (!value) return nullptr;
    if (auto* e = value->get<AXElement>()) return *e;
    return nullptr;
}

Read<std::vector<AXElement>> axElementsChecked(const AXElement& element,
                                               const std::string& attribute) {
    using List = Read<std::vector<AXElement>>;
    Read<AXValue> read = axCopyChecked(element, attribute);
    // A success that brings no value says nothing either: it is no value, not an empty list.
    if (!read.value)
        return List{std::nullopt, read.error.isSuccess() ? axerror::noValue : read.error};
    auto* array = read.value->get<AXArray>();
    if (!array) return List{std::nullopt, axerror::failure};
    std::vector<AXElement> out;
    out.reserve(array->size());
    for (const AXValue& item : *array) {
        // The list is taken whole or not at all: one item that is no element spoils it.
        auto* e = item.get<AXElement>();
        if (!e || !*e) return List{std::nullopt, axerror::failure};
        out.push_back(*e);
    }
    return List{std::move(out), read.error};
}

std::vector<AXElement> axElements(const AXElement& element, const std::string& attribute) {
    Read<std::vector<AXElement>> read = axElementsChecked(element, attribute);
    if (!read.value) return {};
    return std::move(*read.value);
}

std::optional<Point> axPoint(const AXElement& element, const std::string& attribute) {
    auto value = axCopy(element, attribute);
    if (!value) return std::nullopt;
    if (auto* p = value->get<Point>()) return *p;
    return std::nullopt;
}

std::optional<Size> axSize(const AXElement& element, const std::string& attribute) {
    auto value = axCopy(element, attribute);
    if (!value) return std::nullopt;
    if (auto* s = value->get<Size>()) return *s;
    return std::nullopt;
}

std::optional<Rect> axFrame(const AXElement& element) {
    auto origin = axPoint(element, "AXPosition");
    if (!origin) return std::nullopt;
    auto size = axSize(element, "AXSize");
    if (!size) return std::nullopt;
    return Rect{*origin, *size};
}

}  // namespace quelto

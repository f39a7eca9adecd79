#pragma once
// The Accessibility part of the platform seam: elements of other applications' interfaces,
// the values their attributes hold, observers, and the trust query. The macOS implementation
// wraps AXUIElement / AXObserver; the simulated desktop implements the same contract.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/Types.h"

namespace quelto {

// The platform's 32-bit signed Accessibility error code; 0 is success.
struct AXError {
    std::int32_t code = 0;

    constexpr AXError() = default;
    constexpr AXError(std::int32_t c) : code(c) {}  // NOLINT: codes convert implicitly

    constexpr bool isSuccess() const { return code == 0; }

    // A short word for log lines: "success", "cannotComplete", ... or "error {code}".
    std::string name() const;

    friend constexpr bool operator==(AXError, AXError) = default;
};

namespace axerror {
inline constexpr AXError success{0};
inline constexpr AXError failure{-25200};
inline constexpr AXError illegalArgument{-25201};
inline constexpr AXError invalidUIElement{-25202};
inline constexpr AXError invalidUIElementObserver{-25203};
inline constexpr AXError cannotComplete{-25204};
inline constexpr AXError attributeUnsupported{-25205};
inline constexpr AXError actionUnsupported{-25206};
inline constexpr AXError notificationUnsupported{-25207};
inline constexpr AXError notImplemented{-25208};
inline constexpr AXError notificationAlreadyRegistered{-25209};
inline constexpr AXError notificationNotRegistered{-25210};
inline constexpr AXError apiDisabled{-25211};
inline constexpr AXError noValue{-25212};
inline constexpr AXError parameterizedAttributeUnsupported{-25213};
inline constexpr AXError notEnoughPrecision{-25214};
}  // namespace axerror

class AXElementObject;

// A reference-counted handle on one Accessibility element (nullable). Two distinct handles
// may denote the same interface element; `AXElementObject::isSameElement` tells.
using AXElement = std::shared_ptr<const AXElementObject>;

struct AXValue;

// A number as the platform holds it (CFNumber), kept as a double.
struct AXNumber {
    double value = 0;
    friend bool operator==(AXNumber, AXNumber) = default;
};

// A value of a platform type the core never interprets (a URL, a range, a rectangle value…).
struct AXOpaque {
    std::string typeName;
    friend bool operator==(const AXOpaque&, const AXOpaque&) = default;
};

using AXArray = std::vector<AXValue>;

// One copied attribute value, converted from the platform's type:
// string (CFString), bool (CFBoolean), number (CFNumber), element (AXUIElement),
// array (CFArray), point and size (AXValue of kAXValueCGPointType / kAXValueCGSizeType),
// anything else opaque.
struct AXValue {
    std::variant<std::string, bool, AXNumber, AXElement, AXArray, Point, Size, AXOpaque> value;

    AXValue() : value(AXOpaque{}) {}
    template <typename T>
    AXValue(T v) : value(std::move(v)) {}              // NOLINT: implicit by design
    AXValue(const char* s) : value(std::string(s)) {}  // NOLINT

    template <typename T>
    const T* get() const {
        return std::get_if<T>(&value);
    }
};

// The platform's Accessibility element (AXUIElement): reads one attribute per call.
class AXElementObject {
  public:
    virtual ~AXElementObject() = default;

    // One platform round trip (AXUIElementCopyAttributeValue). As on the platform, `value`
    // may be filled in even when an error is returned, and may stay empty on success.
    virtual AXError copyAttributeValue(const std::string& attribute,
                                       std::optional<AXValue>& value) const = 0;

    // AXUIElementSetMessagingTimeout on this element.
    virtual AXError setMessagingTimeout(float seconds) const = 0;

    // CFEqual and CFHash of the underlying elements: equal elements denote the same
    // interface element and hash alike.
    virtual bool isSameElement(const AXElementObject& other) const = 0;
    virtual std::size_t elementHash() const = 0;
};

class AXObserver;

// The observer callback: the platform passes the observer, the element the notification
// concerns, the notification name and the refcon given at registration (not retained).
using AXObserverCallback = void (*)(AXObserver& observer, const AXElement& element,
                                    const std::string& notification, void* refcon);

// An Accessibility observer for one process (AXObserver). Releasing it releases the
// observer; its run-loop source must already have been taken off the main run loop.
class AXObserver {
  public:
    virtual ~AXObserver() = default;
    virtual AXError addNotification(const AXElement& element, const std::string& notification,
                                    void* refcon) = 0;
    // CFRunLoopAddSource / CFRunLoopRemoveSource on the main run loop, in the common modes:
    // notifications keep coming while a modal alert or an open menu runs its own loop.
    virtual void addRunLoopSourceToMainRunLoop() = 0;
    virtual void removeRunLoopSourceFromMainRunLoop() = 0;
};

class Accessibility {
  public:
    virtual ~Accessibility() = default;

    // AXUIElementCreateApplication.
    virtual AXElement createApplication(Pid pid) = 0;

    // AXUIElementSetMessagingTimeout on the system-wide element (AXUIElementCreateSystemWide):
    // the time-out of every element of this process that has none of its own. 0 restores the
    // platform default (6 s).
    virtual AXError setSystemWideMessagingTimeout(float seconds) = 0;

    // AXObserverCreate: an observer, or nullptr with the error set.
    virtual std::unique_ptr<AXObserver> createObserver(Pid pid, AXObserverCallback callback,
                                                       AXError& error) = 0;

    // AXIsProcessTrusted, without prompting.
    virtual bool isProcessTrusted() = 0;

    // AXIsProcessTrustedWithOptions with the prompt option set: the system shows its own
    // prompt when access is missing.
    virtual bool isProcessTrustedWithPrompt() = 0;
};

}  // namespace quelto

#pragma once
// Why a watched window has no cached close-button frame.

#include <string>

#include "platform/Accessibility.h"

namespace quelto {

struct CloseButtonMiss {
    enum class Kind { unsupported, transientFailure, notStandardWindow, disabled, noFrame };
    Kind kind = Kind::noFrame;
    AXError error;  // the payload of `unsupported` and `transientFailure`

    static CloseButtonMiss unsupported(AXError e) { return {Kind::unsupported, e}; }
    static CloseButtonMiss transientFailure(AXError e) { return {Kind::transientFailure, e}; }
    static CloseButtonMiss notStandardWindow() { return {Kind::notStandardWindow, {}}; }
    static CloseButtonMiss disabled() { return {Kind::disabled, {}}; }
    static CloseButtonMiss noFrame() { return {Kind::noFrame, {}}; }

    bool isWorthRetrying() const { return kind == Kind::transientFailure; }
    // "no AXCloseButton (noValue) — custom chrome", "read failed (cannotComplete)", …
    std::string description() const;

    friend bool operator==(const CloseButtonMiss&, const CloseButtonMiss&) = default;
};

}  // namespace quelto

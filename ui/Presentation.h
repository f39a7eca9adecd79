#pragma once
// Small presentation helpers shared by the status menu and the settings window.

#include <string>
#include <string_view>

#include "platform/MainQueue.h"
#include "platform/Services.h"
#include "platform/Types.h"

namespace quelto {

// The system settings pane for Accessibility privacy.
inline constexpr const char* accessibilityPaneURL =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

// Whether `text` parses as a URL the way the system's URL parser takes a string: not
// empty, only characters a URL may hold, every "%" followed by two hexadecimal digits.
bool parsesAsURL(std::string_view text);

// The local time of `date` as "HH:mm", or "HH:mm:ss" with `seconds`.
std::string formatClockTime(Clock& clock, Date date, bool seconds);

// This program's bundle identifier: the main bundle's, else the build's (also with no
// `system`).
std::string ownBundleIdentifier(SystemInfo* system);

// "macOS {major}.{minor}.{patch} · {machine}", with "Apple Silicon" for arm64.
std::string systemLine(SystemInfo* system);

// A main bundle string, or "?" when it is missing (or there is no `system`).
std::string bundleStringOrQuestionMark(SystemInfo* system, const std::string& key);

// After a failed login-item change: logs "could not change the login item: {error}" and
// shows the "Couldn’t change the login setting" alert (when there are `alerts`).
void reportLoginItemFailure(Alerts* alerts, const std::string& error);

}  // namespace quelto

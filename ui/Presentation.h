#pragma once
// Small presentation helpers shared by the status menu and the settings window.

#include <string>

#include "platform/Types.h"

namespace quelto {

// The local time of `date` as "HH:mm", or "HH:mm:ss" with `seconds`.
std::string formatClockTime(Date date, bool seconds);

// This program's bundle identifier: the main bundle's, else the build's.
std::string ownBundleIdentifier();

// "macOS {major}.{minor}.{patch} · {machine}", with "Apple Silicon" for arm64.
std::string systemLine();

// A main bundle string, or "?" when it is missing.
std::string bundleStringOrQuestionMark(const std::string& key);

// After a failed login-item change: logs "could not change the login item: {error}" and
// shows the "Couldn’t change the login setting" alert.
void reportLoginItemFailure(const std::string& error);

}  // namespace quelto

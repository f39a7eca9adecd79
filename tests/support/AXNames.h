#pragma once
// The Accessibility notification names as strings, taken from the one table that spells them
// (platform/AXNotifications.h), for tests that register, post or compare them.

#include <string>

#include "platform/AXNotifications.h"

namespace quelto {

inline const std::string axWindowCreated{nameOf(AXNotification::windowCreated)};
inline const std::string axFocusedWindowChanged{nameOf(AXNotification::focusedWindowChanged)};
inline const std::string axElementDestroyed{nameOf(AXNotification::elementDestroyed)};
inline const std::string axWindowMoved{nameOf(AXNotification::windowMoved)};
inline const std::string axWindowResized{nameOf(AXNotification::windowResized)};
inline const std::string axTitleChanged{nameOf(AXNotification::titleChanged)};
inline const std::string axSheetCreated{nameOf(AXNotification::sheetCreated)};

}  // namespace quelto

#pragma once
// The Accessibility notifications Quelto registers and the platform posts, with the names the
// platform gives them (kAXWindowCreatedNotification, …): the one place the names are written.

#include <optional>
#include <string_view>

namespace quelto {

enum class AXNotification {
    windowCreated,         // "AXWindowCreated", on an application element
    focusedWindowChanged,  // "AXFocusedWindowChanged", on an application element
    elementDestroyed,      // "AXUIElementDestroyed", on a window (or any element)
    windowMoved,           // "AXWindowMoved", on a window
    windowResized,         // "AXWindowResized", on a window
    titleChanged,          // "AXTitleChanged", on a window
    sheetCreated,          // "AXSheetCreated", on an application element (the sheet posted)
};

struct AXNotificationName {
    AXNotification notification;
    std::string_view name;
};

inline constexpr AXNotificationName axNotificationNames[] = {
    {AXNotification::windowCreated, "AXWindowCreated"},
    {AXNotification::focusedWindowChanged, "AXFocusedWindowChanged"},
    {AXNotification::elementDestroyed, "AXUIElementDestroyed"},
    {AXNotification::windowMoved, "AXWindowMoved"},
    {AXNotification::windowResized, "AXWindowResized"},
    {AXNotification::titleChanged, "AXTitleChanged"},
    {AXNotification::sheetCreated, "AXSheetCreated"},
};

// The platform's name of the notification.
constexpr std::string_view nameOf(AXNotification notification) {
    for (const AXNotificationName& entry : axNotificationNames)
        if (entry.notification == notification) return entry.name;
    return {};
}

// The notification of that exact name; none for any other name.
constexpr std::optional<AXNotification> axNotificationNamed(std::string_view name) {
    for (const AXNotificationName& entry : axNotificationNames)
        if (entry.name == name) return entry.notification;
    return std::nullopt;
}

}  // namespace quelto

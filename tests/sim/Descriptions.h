#pragma once
// Short builders for the apps and windows the simulated desktop is given, so tests read as the
// desktop they set up.

#include <optional>
#include <string>

#include "sim/SimDesktop.h"

namespace quelto::sim::testing {

inline AppDescription app(Pid pid, std::optional<std::string> name = std::nullopt,
                          std::optional<std::string> bundleID = std::nullopt) {
    AppDescription desc;
    desc.pid = pid;
    desc.name = std::move(name);
    desc.bundleID = std::move(bundleID);
    return desc;
}

inline WindowDescription window(std::string title = "Untitled",
                                Rect frame = Rect{{100, 100}, {800, 600}}) {
    WindowDescription desc;
    desc.title = std::move(title);
    desc.frame = frame;
    return desc;
}

inline WindowDescription window(Rect frame) {
    return window("Untitled", frame);
}

}  // namespace quelto::sim::testing

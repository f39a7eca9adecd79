#pragma once
// Short builders for the simulated desktop's specs, so tests read as the desktop they set up.

#include <optional>
#include <string>

#include "sim/SimDesktop.h"

namespace quelto::sim::testing {

inline AppSpec app(Pid pid, std::optional<std::string> name = std::nullopt,
                   std::optional<std::string> bundleID = std::nullopt) {
    AppSpec spec;
    spec.pid = pid;
    spec.name = std::move(name);
    spec.bundleID = std::move(bundleID);
    return spec;
}

inline WindowSpec window(std::string title = "Untitled",
                         Rect frame = Rect{{100, 100}, {800, 600}}) {
    WindowSpec spec;
    spec.title = std::move(title);
    spec.frame = frame;
    return spec;
}

inline WindowSpec window(Rect frame) {
    return window("Untitled", frame);
}

}  // namespace quelto::sim::testing

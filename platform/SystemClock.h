#pragma once
// The clock every process has. Nothing else of the system is reached through a process-wide
// object: each part of the core is handed the services it uses (the engine its
// `EngineContext`, the watchers theirs, the interface its `ShellContext`), which the macOS
// shell builds from the real implementations and the simulated desktop hands out.

#include "platform/MainQueue.h"

namespace quelto {

// The real wall clock in the process's time zone (TZ).
Clock& systemClock();

}  // namespace quelto

#pragma once
// The configuration file as found on disk: read whole without ever blocking, told apart as
// missing, readable or there but unreadable, and an unreadable one moved out of the way
// before anything is saved over it.

#include <optional>
#include <string>

#include "platform/MainQueue.h"

namespace quelto {

struct ConfigFileRead {
    enum class State { missing, readable, unreadable };
    State state = State::missing;
    std::string text;     // readable: the whole file, valid UTF-8
    std::string problem;  // unreadable: what is wrong, to follow the file's name in a sentence
                          // ("is not valid UTF-8", "is not a regular file",
                          // "could not be read (Permission denied)")
};

// What is at `path`. Anything but a regular file (a FIFO, a device, a directory) is
// unreadable without being opened; a regular file is opened so that no open or read can
// wait on a writer. Nothing is at the path: missing.
ConfigFileRead readConfigFile(const std::string& path);

// The name an unreadable file is kept under: "{path}.unreadable-YYYYMMDD-HHMMSS".
std::string unreadableAsideName(const std::string& path, const LocalTime& at);

// Renames whatever is at `path` (any kind of file, never opened, never deleted) to its
// aside name for `at`, in the same folder; "-2", "-3"… follow when that name is taken.
// The new path, or none when the rename failed (`error` then says why).
std::optional<std::string> moveAside(const std::string& path, const LocalTime& at,
                                     std::string& error);

}  // namespace quelto

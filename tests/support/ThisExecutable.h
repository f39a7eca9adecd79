#pragma once
// The path of the running test program, for the tests that run a copy of it as a child.

#include <climits>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

namespace quelto::test {

// Empty when it cannot be found.
inline std::string thisExecutable() {
#if defined(__APPLE__)
    char buffer[PATH_MAX];
    uint32_t size = sizeof buffer;
    if (_NSGetExecutablePath(buffer, &size) != 0) return {};
    return buffer;
#else
    std::error_code ec;
    return std::filesystem::read_symlink("/proc/self/exe", ec).string();
#endif
}

}  // namespace quelto::test

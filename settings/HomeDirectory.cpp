#include "settings/HomeDirectory.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace quelto {

namespace {

std::string fromPasswordDatabase() {
    long size = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<std::size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_dir)
        return found->pw_dir;
    return {};
}

}  // namespace

std::string homeDirectory() {
    const char* env = std::getenv("HOME");
    std::string home = (env && *env) ? std::string(env) : fromPasswordDatabase();
    while (!home.empty() && home.back() == '/') home.pop_back();
    return home;
}

std::string expandTilde(const std::string& path) {
    if (path == "~") {
        std::string home = homeDirectory();
        return home.empty() ? "/" : home;
    }
    if (path.rfind("~/", 0) == 0) return homeDirectory() + path.substr(1);
    return path;
}

}  // namespace quelto

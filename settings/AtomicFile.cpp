#include "settings/AtomicFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>

namespace quelto {

bool writeAll(int fd, std::string_view data) {
    const char* p = data.data();
    std::size_t left = data.size();
    while (left > 0) {
        ssize_t n = ::write(fd, p, left);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        p += n;
        left -= static_cast<std::size_t>(n);
    }
    return true;
}

namespace {

// A name no other writer uses at the same time: the process, a counter and the clock.
std::string temporaryPath(const std::string& path) {
    static std::atomic<unsigned long> counter{0};
    auto slash = path.rfind('/');
    std::string dir = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    return dir + "." + name + ".tmp-" + std::to_string(getpid()) + "-" +
           std::to_string(counter.fetch_add(1)) + "-" +
           std::to_string(static_cast<unsigned long long>(ticks) % 1000000007ULL);
}

}  // namespace

bool writeFileAtomically(const std::string& path, std::string_view contents) {
    std::string temp;
    int fd = -1;
    for (int attempt = 0; attempt < 8 && fd < 0; ++attempt) {
        temp = temporaryPath(path);
        // 0666 lets the process's umask decide the permissions, as for any new file.
        fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) return false;
    }
    if (fd < 0) return false;
    bool ok = writeAll(fd, contents) && ::fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    if (ok) ok = std::rename(temp.c_str(), path.c_str()) == 0;
    if (!ok) ::unlink(temp.c_str());
    return ok;
}

}  // namespace quelto

// Reading the configuration file without ever blocking, and keeping an unreadable one aside.

#include "settings/ConfigFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "settings/Utf8.h"

namespace quelto {

namespace {

ConfigFileRead unreadable(std::string problem) {
    ConfigFileRead read;
    read.state = ConfigFileRead::State::unreadable;
    read.problem = std::move(problem);
    return read;
}

ConfigFileRead couldNotRead(int error) {
    return unreadable(std::string("could not be read (") + std::strerror(error) + ")");
}

ConfigFileRead notRegular() {
    return unreadable("is not a regular file");
}

// The whole of an open regular file; false when a read fails (errno says why).
bool readAll(int fd, std::string& text) {
    struct stat st;
    if (::fstat(fd, &st) == 0 && st.st_size > 0) text.reserve(static_cast<std::size_t>(st.st_size));
    char buffer[65536];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (n == 0) return true;
        text.append(buffer, static_cast<std::size_t>(n));
    }
}

bool somethingAt(const std::string& path) {
    struct stat st;
    return ::lstat(path.c_str(), &st) == 0;
}

}  // namespace

ConfigFileRead readConfigFile(const std::string& path) {
    // Anything at the path counts, a link that leads nowhere included: only nothing at all
    // is missing.
    struct stat st;
    if (::lstat(path.c_str(), &st) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return ConfigFileRead{};
        return couldNotRead(errno);
    }
    if (::stat(path.c_str(), &st) != 0) return couldNotRead(errno);
    // A FIFO would wait for a writer, a device may never answer, a directory is no text:
    // none of them is opened.
    if (!S_ISREG(st.st_mode)) return notRegular();

    // Non-blocking, in case something else took the file's place since it was looked at.
    int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT) return ConfigFileRead{};
        return couldNotRead(errno);
    }
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return notRegular();
    }
    ConfigFileRead read;
    bool complete = readAll(fd, read.text);
    int error = errno;
    ::close(fd);
    if (!complete) return couldNotRead(error);
    if (!isValidUtf8(read.text)) return unreadable("is not valid UTF-8");
    read.state = ConfigFileRead::State::readable;
    return read;
}

std::string unreadableAsideName(const std::string& path, const LocalTime& at) {
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "%04d%02d%02d-%02d%02d%02d", at.year, at.month, at.day,
                  at.hour, at.minute, at.second);
    return path + ".unreadable-" + stamp;
}

std::optional<std::string> moveAside(const std::string& path, const LocalTime& at,
                                     std::string& error) {
    const std::string base = unreadableAsideName(path, at);
    std::string aside = base;
    // Another file kept aside in the same second keeps its name.
    for (int n = 2; somethingAt(aside); ++n) {
        if (n > 99) {
            error = std::strerror(EEXIST);
            return std::nullopt;
        }
        aside = base + "-" + std::to_string(n);
    }
    if (std::rename(path.c_str(), aside.c_str()) != 0) {
        error = std::strerror(errno);
        return std::nullopt;
    }
    return aside;
}

}  // namespace quelto

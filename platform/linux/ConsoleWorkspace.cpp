#include "platform/linux/ConsoleWorkspace.h"

#include <unistd.h>

namespace quelto {

Pid ConsoleWorkspace::ownProcessIdentifier() {
    return static_cast<Pid>(::getpid());
}

std::string ConsoleWorkspace::displayName(const std::string& path) {
    std::string::size_type slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool ConsoleWorkspace::openURL(const std::string& url) {
    if (beforePrinting_) beforePrinting_();
    opened_.push_back(url);
    out_ << "open: " << url << "\n";
    out_.flush();
    return true;
}

void ConsoleWorkspace::selectFile(const std::string& path) {
    if (beforePrinting_) beforePrinting_();
    out_ << "reveal: " << path << "\n";
    out_.flush();
}

}  // namespace quelto

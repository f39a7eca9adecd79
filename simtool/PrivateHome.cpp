#include "simtool/PrivateHome.h"

#include <stdlib.h>
#include <unistd.h>
#include <cstdlib>
#include <filesystem>

namespace quelto::simtool {

namespace fs = std::filesystem;

PrivateHome::PrivateHome(bool keep) : keep_(keep) {
    std::error_code ec;
    fs::path base = fs::temp_directory_path(ec);
    if (ec) base = "/tmp";
    std::string templ = (base / "quelto-sim-XXXXXX").string();
    if (!mkdtemp(templ.data())) return;
    // The canonical form, so that the home the log shows is the one that is replaced.
    fs::path made = fs::canonical(templ, ec);
    path_ = ec ? templ : made.string();
    fs::create_directories(fs::path(path_) / "Library" / "Logs", ec);
    if (const char* h = std::getenv("HOME")) previous_ = h;
    setenv("HOME", path_.c_str(), 1);
}

PrivateHome::~PrivateHome() {
    if (path_.empty()) return;
    if (previous_)
        setenv("HOME", previous_->c_str(), 1);
    else
        unsetenv("HOME");
    if (keep_) return;
    std::error_code ec;
    fs::remove_all(path_, ec);
}

}  // namespace quelto::simtool

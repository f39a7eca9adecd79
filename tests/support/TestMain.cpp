// Every test process runs in its own temporary home, so nothing touches the user's files,
// and its log stays quiet on standard error.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "settings/Log.h"

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::string templ = (fs::temp_directory_path() / "quelto-test-XXXXXX").string();
    char* made = mkdtemp(templ.data());
    if (!made) return 2;
    setenv("HOME", made, 1);
    fs::create_directories(fs::path(made) / "Library" / "Logs");
    quelto::Log::shared().setMirror([](const std::string&) {});
    ::testing::InitGoogleTest(&argc, argv);
    int rc = RUN_ALL_TESTS();
    quelto::Log::shared().drain();
    std::error_code ec;
    fs::remove_all(made, ec);
    return rc;
}

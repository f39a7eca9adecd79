#pragma once
// The configuration file as the tests write and read it, whole.

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

#include "settings/Config.h"

namespace quelto::test {

// Replaces the file with exactly `text`, creating its folder.
inline void writeConfig(const std::string& text) {
    std::filesystem::create_directories(Config::directory());
    std::ofstream out(Config::path(), std::ios::binary | std::ios::trunc);
    out << text;
}

inline void removeConfig() {
    std::error_code ec;
    std::filesystem::remove(Config::path(), ec);
}

// The file's text; empty when there is none.
inline std::string readConfig() {
    std::ifstream in(Config::path(), std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

}  // namespace quelto::test

#pragma once
// The configuration file as the tests write and read it, whole.

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

#include "settings/Config.h"
#include "settings/ConfigStore.h"

namespace quelto::test {

// Replaces the file with exactly `text`, creating its folder.
inline void writeConfig(const std::string& text) {
    std::filesystem::create_directories(ConfigStore::directory());
    std::ofstream out(ConfigStore::path(), std::ios::binary | std::ios::trunc);
    out << text;
}

inline void removeConfig() {
    std::error_code ec;
    std::filesystem::remove(ConfigStore::path(), ec);
}

// Any file's bytes; empty when there is none.
inline std::string readFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// Replaces any file with exactly `bytes`, creating its folder.
inline void writeFileBytes(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

// The file's text; empty when there is none.
inline std::string readConfig() {
    return readFileBytes(ConfigStore::path());
}

}  // namespace quelto::test

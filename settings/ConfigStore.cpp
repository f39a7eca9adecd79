#include "settings/ConfigStore.h"

#include <sys/stat.h>

#include <filesystem>

#include "platform/SystemClock.h"
#include "settings/AtomicFile.h"
#include "settings/ConfigFile.h"
#include "settings/HomeDirectory.h"
#include "settings/Log.h"

namespace quelto {

namespace {

// Whether anything is at the path, a link that leads nowhere included.
bool fileExists(const std::string& path) {
    struct stat st;
    return ::lstat(path.c_str(), &st) == 0;
}

}  // namespace

ConfigStore::ConfigStore(Clock& clock) : clock_(clock) {}

ConfigStore::ConfigStore() : clock_(systemClock()) {}

const std::string& ConfigStore::directory() {
    static const std::string dir = expandTilde("~/Library/Application Support/Quelto");
    return dir;
}

const std::string& ConfigStore::path() {
    static const std::string p = directory() + "/config.txt";
    return p;
}

Config ConfigStore::load() const {
    ConfigFileRead file = readConfigFile(path());
    if (file.state != ConfigFileRead::State::readable) return Config();
    return Config::parse(file.text);
}

std::optional<std::string> ConfigStore::fileProblem() const {
    ConfigFileRead file = readConfigFile(path());
    if (file.state != ConfigFileRead::State::unreadable) return std::nullopt;
    return file.problem;
}

void ConfigStore::save(const Config& config) const {
    std::error_code ec;
    std::filesystem::create_directories(directory(), ec);
    // What could not be read is the user's, not ours to replace: one stray byte must not
    // cost them their arming and exclusions. It goes aside first, once; the next save finds
    // the file just written.
    if (auto problem = fileProblem()) {
        std::string error;
        auto aside = moveAside(path(), clock_.localTime(clock_.now()), error);
        if (!aside) {
            log("config.txt " + *problem + " — could not move it aside (" + error +
                "), so the settings were not saved");
            return;
        }
        log("config.txt " + *problem + " — moved it aside to " + *aside + " before saving");
    }
    writeFileAtomically(path(), config.canonicalText());
}

bool ConfigStore::writeTemplateIfMissing() const {
    if (fileExists(path())) return false;
    std::error_code ec;
    std::filesystem::create_directories(directory(), ec);
    writeFileAtomically(path(), Config::templateText());
    return true;
}

}  // namespace quelto

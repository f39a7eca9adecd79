#include "platform/linux/FixedSystemInfo.h"

#include <sys/utsname.h>

namespace quelto {

void FixedSystemInfo::set(const std::string& key, std::optional<std::string> value) {
    if (value)
        info_[key] = std::move(*value);
    else
        info_.erase(key);
}

std::optional<std::string> FixedSystemInfo::bundleInfoString(const std::string& key) {
    auto it = info_.find(key);
    if (it == info_.end()) return std::nullopt;
    return it->second;
}

std::string FixedSystemInfo::machineName() {
    struct utsname name {};
    if (::uname(&name) != 0) return "unknown";
    return name.machine;
}

}  // namespace quelto

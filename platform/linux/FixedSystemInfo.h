#pragma once
// Bundle and machine facts given up front (the command line tool takes them from its flags).

#include <map>
#include <optional>
#include <string>

#include "platform/Services.h"

namespace quelto {

class FixedSystemInfo final : public SystemInfo {
  public:
    // A key set to none is missing from the bundle's information dictionary.
    void set(const std::string& key, std::optional<std::string> value);

    std::optional<std::string> bundleInfoString(const std::string& key) override;
    OSVersion operatingSystemVersion() override { return version_; }
    std::string machineName() override;

  private:
    std::map<std::string, std::string> info_;
    OSVersion version_{13, 0, 0};
};

}  // namespace quelto

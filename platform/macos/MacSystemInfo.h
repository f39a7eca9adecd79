#pragma once
// Facts about this program's bundle and the Mac it runs on.

#include "platform/Services.h"

namespace quelto::mac {

class MacSystemInfo final : public SystemInfo {
  public:
    std::optional<std::string> bundleInfoString(const std::string& key) override;
    OSVersion operatingSystemVersion() override;
    std::string machineName() override;
};

}  // namespace quelto::mac

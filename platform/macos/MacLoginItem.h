#pragma once
// The main application's login item (SMAppService.mainAppService).

#include "platform/Services.h"

namespace quelto::mac {

class MacLoginItem final : public LoginItem {
  public:
    Status status() override;
    std::optional<std::string> registerItem() override;
    std::optional<std::string> unregisterItem() override;
};

}  // namespace quelto::mac

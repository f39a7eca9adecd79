#pragma once
// Modal alerts (NSAlert).

#include "platform/Services.h"

namespace quelto::mac {

class MacAlerts final : public Alerts {
  public:
    void present(const AlertDescription& alert, std::function<void(long)> completion) override;
};

}  // namespace quelto::mac

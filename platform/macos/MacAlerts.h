#pragma once
// Modal alerts (NSAlert).

#include "platform/Services.h"

namespace quelto::mac {

class MacAlerts final : public Alerts {
  public:
    long runModal(const AlertSpec& alert) override;
};

}  // namespace quelto::mac

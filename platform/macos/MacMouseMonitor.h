#pragma once
// The global left-mouse-down monitor on macOS (NSEvent global monitor). The pointer position
// comes from a fresh Core Graphics event, already in global top-left coordinates.

#include <map>
#include <memory>

#include "platform/MouseMonitor.h"

namespace quelto::mac {

class MacMouseMonitor final : public MouseMonitor {
  public:
    MonitorToken addGlobalLeftMouseDownMonitor(Handler handler) override;
    void removeMonitor(MonitorToken token) override;

  private:
    struct Installed;
    std::map<MonitorToken, std::shared_ptr<Installed>> monitors_;
    MonitorToken next_ = 1;
};

}  // namespace quelto::mac

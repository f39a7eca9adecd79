#pragma once
// The global left mouse-down and mouse-up monitors on macOS (NSEvent global monitors). Each
// event's location is read from the delivered event's own Core Graphics event, already in
// global top-left coordinates.

#include <map>
#include <memory>

#include "platform/MouseMonitor.h"

namespace quelto::mac {

class MacMouseMonitor final : public MouseMonitor {
  public:
    MonitorToken addGlobalLeftMouseDownMonitor(Handler handler) override;
    MonitorToken addGlobalLeftMouseUpMonitor(Handler handler) override;
    void removeMonitor(MonitorToken token) override;
    std::optional<Point> pointerLocation() override;

  private:
    struct Installed;
    MonitorToken install(unsigned long long mask, Handler handler);
    std::map<MonitorToken, std::shared_ptr<Installed>> monitors_;
    MonitorToken next_ = 1;
};

}  // namespace quelto::mac

#pragma once
// The Accessibility observer for one process (AXObserverRef). Its C callback turns the
// platform's element and notification name into the seam's types and calls the seam callback
// with the refcon given at registration. The refcon is never retained: the observer keeps a
// small record per refcon (itself and the refcon) and hands the platform that record, so the
// records live exactly as long as the observer that can deliver them.

#include <ApplicationServices/ApplicationServices.h>

#include <map>
#include <memory>

#include "platform/Accessibility.h"

namespace quelto::mac {

class MacAXObserver final : public AXObserver {
  public:
    // AXObserverCreate for `pid`; nullptr with `error` set when the platform refuses.
    static std::unique_ptr<MacAXObserver> create(Pid pid, AXObserverCallback callback,
                                                 AXError& error);

    ~MacAXObserver() override;
    MacAXObserver(const MacAXObserver&) = delete;
    MacAXObserver& operator=(const MacAXObserver&) = delete;

    AXError addNotification(const AXElement& element, const std::string& notification,
                            void* refcon) override;
    void addRunLoopSourceToMainRunLoop() override;
    void removeRunLoopSourceFromMainRunLoop() override;

  private:
    struct Registration {
        MacAXObserver* observer;
        void* refcon;
    };

    MacAXObserver(AXObserverRef observer, AXObserverCallback callback)
        : observer_(observer), callback_(callback) {}

    static void deliver(AXObserverRef observer, AXUIElementRef element, CFStringRef notification,
                        void* record);

    AXObserverRef observer_;
    AXObserverCallback callback_;
    std::map<void*, std::unique_ptr<Registration>> registrations_;
    bool sourceOnMainRunLoop_ = false;
};

}  // namespace quelto::mac

#pragma once
// The Accessibility observer for one process (AXObserverRef). Its C callback turns the
// platform's element and notification name into the seam's types and calls the seam callback
// with the refcon given at registration. The refcon is never retained: the observer keeps a
// small record per refcon (itself and the refcon) and hands the platform that record, so the
// records live exactly as long as the observer that can deliver them.

#include <ApplicationServices/ApplicationServices.h>

#include <map>
#include <memory>
#include <utility>

#include "platform/Accessibility.h"
#include "platform/macos/CFHolder.h"

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

    MacAXObserver(CFHolder<AXObserverRef> observer, AXObserverCallback callback)
        : callback_(callback), observer_(std::move(observer)) {}

    static void deliver(AXObserverRef observer, AXUIElementRef element, CFStringRef notification,
                        void* record);

    AXObserverCallback callback_;
    std::map<void*, std::unique_ptr<Registration>> registrations_;
    bool sourceOnMainRunLoop_ = false;
    // Last, so that it goes first: the observer is released before the records it was
    // handed.
    CFHolder<AXObserverRef> observer_;
};

}  // namespace quelto::mac

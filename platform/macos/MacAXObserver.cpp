#include "platform/macos/MacAXObserver.h"

#include "platform/macos/CFStrings.h"
#include "platform/macos/MacAXElement.h"

namespace quelto::mac {

std::unique_ptr<MacAXObserver> MacAXObserver::create(Pid pid, AXObserverCallback callback,
                                                     AXError& error) {
    CFHolder<AXObserverRef> observer;
    ::AXError created = AXObserverCreate(pid, &MacAXObserver::deliver, observer.out());
    error = AXError(created);
    if (created != kAXErrorSuccess || !observer) {
        if (error.isSuccess()) error = axerror::failure;
        return nullptr;
    }
    return std::unique_ptr<MacAXObserver>(new MacAXObserver(std::move(observer), callback));
}

MacAXObserver::~MacAXObserver() {
    // Owners take the source off the run loop before letting go; doing it once more here is
    // harmless and keeps a forgotten source from calling into freed records.
    removeRunLoopSourceFromMainRunLoop();
}

AXError MacAXObserver::addNotification(const AXElement& element, const std::string& notification,
                                       void* refcon) {
    AXUIElementRef target = MacAXElement::refOf(element);
    if (!target) return axerror::illegalArgument;
    CFHolder<CFStringRef> name(createCFString(notification));
    if (!name) return axerror::illegalArgument;

    // Every registration with the same refcon shares one record: its content would be the same.
    auto& record = registrations_[refcon];
    if (!record) record = std::make_unique<Registration>(Registration{this, refcon});
    return AXError(AXObserverAddNotification(observer_.get(), target, name.get(), record.get()));
}

void MacAXObserver::addRunLoopSourceToMainRunLoop() {
    if (sourceOnMainRunLoop_) return;
    // The common modes: the observer keeps delivering while an alert's modal loop or an open
    // menu's tracking loop runs on the main thread, not only in the default mode.
    CFRunLoopAddSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(observer_.get()),
                       kCFRunLoopCommonModes);
    sourceOnMainRunLoop_ = true;
}

void MacAXObserver::removeRunLoopSourceFromMainRunLoop() {
    if (!sourceOnMainRunLoop_) return;
    CFRunLoopRemoveSource(CFRunLoopGetMain(), AXObserverGetRunLoopSource(observer_.get()),
                          kCFRunLoopCommonModes);
    sourceOnMainRunLoop_ = false;
}

void MacAXObserver::deliver(AXObserverRef, AXUIElementRef element, CFStringRef notification,
                            void* record) {
    auto* registration = static_cast<Registration*>(record);
    if (!registration) return;
    MacAXObserver& self = *registration->observer;
    AXElement handle = MacAXElement::retain(element);
    self.callback_(self, handle, fromCFString(notification), registration->refcon);
}

}  // namespace quelto::mac

#include "platform/macos/MacAccessibility.h"

#include <ApplicationServices/ApplicationServices.h>

#include "platform/macos/CFHolder.h"
#include "platform/macos/MacAXElement.h"
#include "platform/macos/MacAXObserver.h"

namespace quelto::mac {

AXElement MacAccessibility::createApplication(Pid pid) {
    return MacAXElement::adopt(AXUIElementCreateApplication(pid));
}

AXError MacAccessibility::setSystemWideMessagingTimeout(float seconds) {
    CFHolder<AXUIElementRef> systemWide(AXUIElementCreateSystemWide());
    if (!systemWide) return axerror::failure;
    return AXError(AXUIElementSetMessagingTimeout(systemWide.get(), seconds));
}

std::unique_ptr<AXObserver> MacAccessibility::createObserver(Pid pid, AXObserverCallback callback,
                                                             AXError& error) {
    return MacAXObserver::create(pid, callback, error);
}

bool MacAccessibility::isProcessTrusted() {
    return AXIsProcessTrusted();
}

bool MacAccessibility::isProcessTrustedWithPrompt() {
    const void* keys[] = {kAXTrustedCheckOptionPrompt};
    const void* values[] = {kCFBooleanTrue};
    CFHolder<CFDictionaryRef> options(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1,
                                                         &kCFTypeDictionaryKeyCallBacks,
                                                         &kCFTypeDictionaryValueCallBacks));
    return AXIsProcessTrustedWithOptions(options.get());
}

}  // namespace quelto::mac

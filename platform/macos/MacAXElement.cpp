#include "platform/macos/MacAXElement.h"

#include "platform/macos/CFStrings.h"
#include "platform/macos/MacAXValue.h"

namespace quelto::mac {

AXElement MacAXElement::adopt(AXUIElementRef element) {
    if (!element) return nullptr;
    return AXElement(new MacAXElement(CFHolder<AXUIElementRef>(element)));
}

AXElement MacAXElement::retain(AXUIElementRef element) {
    if (!element) return nullptr;
    return AXElement(new MacAXElement(CFHolder<AXUIElementRef>::retain(element)));
}

AXError MacAXElement::copyAttributeValue(const std::string& attribute,
                                         std::optional<AXValue>& value) const {
    value.reset();
    CFHolder<CFStringRef> name(createCFString(attribute));
    if (!name) return axerror::illegalArgument;
    CFHolder<CFTypeRef> copied;
    ::AXError error = AXUIElementCopyAttributeValue(element_.get(), name.get(), copied.out());
    // The platform may fill in a value even when it reports an error: it is converted and
    // handed back with the error, and released by its holder in every case.
    if (copied) value = convertCopiedValue(copied.get());
    return AXError(error);
}

AXError MacAXElement::setMessagingTimeout(float seconds) const {
    return AXError(AXUIElementSetMessagingTimeout(element_.get(), seconds));
}

bool MacAXElement::isSameElement(const AXElementObject& other) const {
    auto* mac = dynamic_cast<const MacAXElement*>(&other);
    return mac && CFEqual(element_.get(), mac->element_.get());
}

std::size_t MacAXElement::elementHash() const {
    return static_cast<std::size_t>(CFHash(element_.get()));
}

AXUIElementRef MacAXElement::refOf(const AXElement& element) {
    auto* mac = dynamic_cast<const MacAXElement*>(element.get());
    return mac ? mac->element_.get() : nullptr;
}

}  // namespace quelto::mac

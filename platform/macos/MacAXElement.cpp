#include "platform/macos/MacAXElement.h"

#include "platform/macos/CFStrings.h"
#include "platform/macos/MacAXValue.h"

namespace quelto::mac {

AXElement MacAXElement::adopt(AXUIElementRef element) {
    if (!element) return nullptr;
    return AXElement(new MacAXElement(element));
}

AXElement MacAXElement::retain(AXUIElementRef element) {
    if (!element) return nullptr;
    CFRetain(element);
    return adopt(element);
}

MacAXElement::~MacAXElement() {
    CFRelease(element_);
}

AXError MacAXElement::copyAttributeValue(const std::string& attribute,
                                         std::optional<AXValue>& value) const {
    value.reset();
    CFStringRef name = createCFString(attribute);
    if (!name) return axerror::illegalArgument;
    CFTypeRef copied = nullptr;
    ::AXError error = AXUIElementCopyAttributeValue(element_, name, &copied);
    CFRelease(name);
    // The platform may fill in a value even when it reports an error: it is converted and
    // handed back with the error, and released here in every case.
    if (copied) {
        value = convertCopiedValue(copied);
        CFRelease(copied);
    }
    return AXError(error);
}

AXError MacAXElement::setMessagingTimeout(float seconds) const {
    return AXError(AXUIElementSetMessagingTimeout(element_, seconds));
}

bool MacAXElement::isSameElement(const AXElementObject& other) const {
    auto* mac = dynamic_cast<const MacAXElement*>(&other);
    return mac && CFEqual(element_, mac->element_);
}

std::size_t MacAXElement::elementHash() const {
    return static_cast<std::size_t>(CFHash(element_));
}

AXUIElementRef MacAXElement::refOf(const AXElement& element) {
    auto* mac = dynamic_cast<const MacAXElement*>(element.get());
    return mac ? mac->element_ : nullptr;
}

}  // namespace quelto::mac

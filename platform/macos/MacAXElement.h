#pragma once
// An Accessibility element handle on macOS: one retained AXUIElementRef. Equality and hash are
// the platform's (CFEqual, CFHash), so two handles on the same interface element match.

#include <ApplicationServices/ApplicationServices.h>

#include <utility>

#include "platform/Accessibility.h"
#include "platform/macos/CFHolder.h"

namespace quelto::mac {

class MacAXElement final : public AXElementObject {
  public:
    // Takes over a reference the caller owns (a Create or Copy result).
    static AXElement adopt(AXUIElementRef element);
    // Retains a borrowed reference (a callback argument, an item of a copied array).
    static AXElement retain(AXUIElementRef element);

    MacAXElement(const MacAXElement&) = delete;
    MacAXElement& operator=(const MacAXElement&) = delete;

    AXError copyAttributeValue(const std::string& attribute,
                               std::optional<AXValue>& value) const override;
    AXError setMessagingTimeout(float seconds) const override;
    bool isSameElement(const AXElementObject& other) const override;
    std::size_t elementHash() const override;

    AXUIElementRef ref() const { return element_.get(); }

    // The platform element behind a handle; null for a null handle or one of another kind.
    static AXUIElementRef refOf(const AXElement& element);

  private:
    explicit MacAXElement(CFHolder<AXUIElementRef> element) : element_(std::move(element)) {}
    CFHolder<AXUIElementRef> element_;
};

}  // namespace quelto::mac

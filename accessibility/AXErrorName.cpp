// Short words for the Accessibility error codes that log lines and diagnostics name.

#include <string>

#include "platform/Accessibility.h"

namespace quelto {

std::string AXError::name() const {
    switch (code) {
        case 0:
            return "success";
        case -25202:
            return "invalidUIElement";
        case -25204:
            return "cannotComplete";
        case -25205:
            return "attributeUnsupported";
        case -25208:
            return "notImplemented";
        case -25211:
            return "apiDisabled";
        case -25212:
            return "noValue";
        default: {
            std::string text = "error ";
            text += std::to_string(code);
            return text;
        }
    }
}

}  // namespace quelto

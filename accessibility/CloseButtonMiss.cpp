// The texts log lines give for a window without a cached close-button frame.

#include "accessibility/CloseButtonMiss.h"

namespace quelto {

std::string CloseButtonMiss::description() const {
    switch (kind) {
        case Kind::unsupported:
            return "no AXCloseButton (" + error.name() + ") — custom chrome";
        case Kind::transientFailure:
            return "read failed (" + error.name() + ")";
        case Kind::notStandardWindow:
            return "not a standard window";
        case Kind::disabled:
            return "close button disabled";
        case Kind::noFrame:
            return "close button has no frame";
    }
    return "close button has no frame";
}

}  // namespace quelto

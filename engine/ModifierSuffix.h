#pragma once
// The bracketed note of modifier keys at the end of a "red dot clicked" line.

#include <string>

#include "platform/Types.h"

namespace quelto {

// Empty when none of option, shift, command and control is held; otherwise two spaces and
// "[option+shift — raw 0xa0000]": the names in that fixed order, then the whole flag word in
// lower-case hexadecimal.
std::string modifierSuffix(ModifierFlags modifiers);

}  // namespace quelto

#include "engine/ModifierSuffix.h"

#include <cstdio>

namespace quelto {

namespace {

struct NamedModifier {
    ModifierFlags mask;
    const char* name;
};

// The order in which held keys are named.
constexpr NamedModifier namedModifiers[] = {
    {modifier::option, "option"},
    {modifier::shift, "shift"},
    {modifier::command, "command"},
    {modifier::control, "control"},
};

}  // namespace

std::string modifierSuffix(ModifierFlags modifiers) {
    std::string names;
    for (const auto& m : namedModifiers) {
        if ((modifiers & m.mask) == 0) continue;
        if (!names.empty()) names += '+';
        names += m.name;
    }
    if (names.empty()) return {};
    char hex[32];
    std::snprintf(hex, sizeof hex, "%llx", static_cast<unsigned long long>(modifiers));
    return "  [" + names + " — raw 0x" + hex + "]";
}

}  // namespace quelto

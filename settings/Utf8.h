#pragma once
// Strict UTF-8 validation for text read from files.

#include <string_view>

namespace quelto {

// True when `bytes` is well-formed UTF-8: no stray or missing continuation bytes, no
// overlong forms, no surrogates, nothing above U+10FFFF.
bool isValidUtf8(std::string_view bytes);

}  // namespace quelto

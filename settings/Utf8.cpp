#include "settings/Utf8.h"

namespace quelto {

bool isValidUtf8(std::string_view bytes) {
    auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    auto continuation = [](unsigned char c) { return (c & 0xC0) == 0x80; };
    const std::size_t n = bytes.size();
    std::size_t i = 0;
    while (i < n) {
        unsigned char c = at(i);
        if (c < 0x80) {
            ++i;
            continue;
        }
        std::size_t length;
        unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
        if (c >= 0xC2 && c <= 0xDF) {
            length = 2;
        } else if (c >= 0xE0 && c <= 0xEF) {
            length = 3;
            if (c == 0xE0) low = 0xA0;   // overlong
            if (c == 0xED) high = 0x9F;  // surrogates
        } else if (c >= 0xF0 && c <= 0xF4) {
            length = 4;
            if (c == 0xF0) low = 0x90;   // overlong
            if (c == 0xF4) high = 0x8F;  // above U+10FFFF
        } else {
            return false;
        }
        if (n - i < length) return false;
        if (at(i + 1) < low || at(i + 1) > high) return false;
        for (std::size_t k = 2; k < length; ++k)
            if (!continuation(at(i + k))) return false;
        i += length;
    }
    return true;
}

}  // namespace quelto

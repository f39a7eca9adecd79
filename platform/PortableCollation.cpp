#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Collation.h"

namespace quelto {

namespace {

// One letter as the comparison sees it: its base letter in lower case (primary), the
// letter in lower case with its diacritic (secondary), and whether it was upper case.
struct Folded {
    char32_t base = 0;
    char32_t accented = 0;
    bool upper = false;
    bool mark = false;  // a combining mark: no primary weight of its own
};

// Latin-1 Supplement and Latin Extended-A, from U+00C0 to U+017F: each letter's base letter
// (lower case; ß, æ, ĳ, œ and þ stand for themselves and are expanded to two letters), its
// lower-case form, and whether it is upper case. Zeros for the two signs among them.
struct LatinLetter {
    char16_t base;
    char16_t lower;
    bool upper;
};
constexpr char32_t latinFirst = 0xC0;
constexpr char32_t latinLast = 0x17F;
const LatinLetter latinLetters[] = {
    {0x61, 0xE0, true},   {0x61, 0xE1, true},   {0x61, 0xE2, true},   {0x61, 0xE3, true},
    {0x61, 0xE4, true},   {0x61, 0xE5, true},   {0xE6, 0xE6, true},   {0x63, 0xE7, true},
    {0x65, 0xE8, true},   {0x65, 0xE9, true},   {0x65, 0xEA, true},   {0x65, 0xEB, true},
    {0x69, 0xEC, true},   {0x69, 0xED, true},   {0x69, 0xEE, true},   {0x69, 0xEF, true},
    {0x64, 0xF0, true},   {0x6E, 0xF1, true},   {0x6F, 0xF2, true},   {0x6F, 0xF3, true},
    {0x6F, 0xF4, true},   {0x6F, 0xF5, true},   {0x6F, 0xF6, true},   {0x0, 0x0, false},
    {0x6F, 0xF8, true},   {0x75, 0xF9, true},   {0x75, 0xFA, true},   {0x75, 0xFB, true},
    {0x75, 0xFC, true},   {0x79, 0xFD, true},   {0xFE, 0xFE, true},   {0xDF, 0xDF, false},
    {0x61, 0xE0, false},  {0x61, 0xE1, false},  {0x61, 0xE2, false},  {0x61, 0xE3, false},
    {0x61, 0xE4, false},  {0x61, 0xE5, false},  {0xE6, 0xE6, false},  {0x63, 0xE7, false},
    {0x65, 0xE8, false},  {0x65, 0xE9, false},  {0x65, 0xEA, false},  {0x65, 0xEB, false},
    {0x69, 0xEC, false},  {0x69, 0xED, false},  {0x69, 0xEE, false},  {0x69, 0xEF, false},
    {0x64, 0xF0, false},  {0x6E, 0xF1, false},  {0x6F, 0xF2, false},  {0x6F, 0xF3, false},
    {0x6F, 0xF4, false},  {0x6F, 0xF5, false},  {0x6F, 0xF6, false},  {0x0, 0x0, false},
    {0x6F, 0xF8, false},  {0x75, 0xF9, false},  {0x75, 0xFA, false},  {0x75, 0xFB, false},
    {0x75, 0xFC, false},  {0x79, 0xFD, false},  {0xFE, 0xFE, false},  {0x79, 0xFF, false},
    {0x61, 0x101, true},  {0x61, 0x101, false}, {0x61, 0x103, true},  {0x61, 0x103, false},
    {0x61, 0x105, true},  {0x61, 0x105, false}, {0x63, 0x107, true},  {0x63, 0x107, false},
    {0x63, 0x109, true},  {0x63, 0x109, false}, {0x63, 0x10B, true},  {0x63, 0x10B, false},
    {0x63, 0x10D, true},  {0x63, 0x10D, false}, {0x64, 0x10F, true},  {0x64, 0x10F, false},
    {0x64, 0x111, true},  {0x64, 0x111, false}, {0x65, 0x113, true},  {0x65, 0x113, false},
    {0x65, 0x115, true},  {0x65, 0x115, false}, {0x65, 0x117, true},  {0x65, 0x117, false},
    {0x65, 0x119, true},  {0x65, 0x119, false}, {0x65, 0x11B, true},  {0x65, 0x11B, false},
    {0x67, 0x11D, true},  {0x67, 0x11D, false}, {0x67, 0x11F, true},  {0x67, 0x11F, false},
    {0x67, 0x121, true},  {0x67, 0x121, false}, {0x67, 0x123, true},  {0x67, 0x123, false},
    {0x68, 0x125, true},  {0x68, 0x125, false}, {0x68, 0x127, true},  {0x68, 0x127, false},
    {0x69, 0x129, true},  {0x69, 0x129, false}, {0x69, 0x12B, true},  {0x69, 0x12B, false},
    {0x69, 0x12D, true},  {0x69, 0x12D, false}, {0x69, 0x12F, true},  {0x69, 0x12F, false},
    {0x49, 0x130, true},  {0x69, 0x131, false}, {0x133, 0x133, true}, {0x133, 0x133, false},
    {0x6A, 0x135, true},  {0x6A, 0x135, false}, {0x6B, 0x137, true},  {0x6B, 0x137, false},
    {0x71, 0x138, false}, {0x6C, 0x13A, true},  {0x6C, 0x13A, false}, {0x6C, 0x13C, true},
    {0x6C, 0x13C, false}, {0x6C, 0x13E, true},  {0x6C, 0x13E, false}, {0x6C, 0x140, true},
    {0x6C, 0x140, false}, {0x6C, 0x142, true},  {0x6C, 0x142, false}, {0x6E, 0x144, true},
    {0x6E, 0x144, false}, {0x6E, 0x146, true},  {0x6E, 0x146, false}, {0x6E, 0x148, true},
    {0x6E, 0x148, false}, {0x6E, 0x149, false}, {0x6E, 0x14B, true},  {0x6E, 0x14B, false},
    {0x6F, 0x14D, true},  {0x6F, 0x14D, false}, {0x6F, 0x14F, true},  {0x6F, 0x14F, false},
    {0x6F, 0x151, true},  {0x6F, 0x151, false}, {0x153, 0x153, true}, {0x153, 0x153, false},
    {0x72, 0x155, true},  {0x72, 0x155, false}, {0x72, 0x157, true},  {0x72, 0x157, false},
    {0x72, 0x159, true},  {0x72, 0x159, false}, {0x73, 0x15B, true},  {0x73, 0x15B, false},
    {0x73, 0x15D, true},  {0x73, 0x15D, false}, {0x73, 0x15F, true},  {0x73, 0x15F, false},
    {0x73, 0x161, true},  {0x73, 0x161, false}, {0x74, 0x163, true},  {0x74, 0x163, false},
    {0x74, 0x165, true},  {0x74, 0x165, false}, {0x167, 0x167, true}, {0x167, 0x167, false},
    {0x75, 0x169, true},  {0x75, 0x169, false}, {0x75, 0x16B, true},  {0x75, 0x16B, false},
    {0x75, 0x16D, true},  {0x75, 0x16D, false}, {0x75, 0x16F, true},  {0x75, 0x16F, false},
    {0x75, 0x171, true},  {0x75, 0x171, false}, {0x75, 0x173, true},  {0x75, 0x173, false},
    {0x77, 0x175, true},  {0x77, 0x175, false}, {0x79, 0x177, true},  {0x79, 0x177, false},
    {0x79, 0xFF, true},   {0x7A, 0x17A, true},  {0x7A, 0x17A, false}, {0x7A, 0x17C, true},
    {0x7A, 0x17C, false}, {0x7A, 0x17E, true},  {0x7A, 0x17E, false}, {0x73, 0x17F, false}};
static_assert(sizeof latinLetters / sizeof latinLetters[0] == latinLast - latinFirst + 1);

Folded fold(char32_t c) {
    Folded f{c, c, false, false};
    if (c >= 'A' && c <= 'Z') {
        f.base = f.accented = c + 0x20;
        f.upper = true;
    } else if (c >= 0x300 && c <= 0x36F) {
        f.mark = true;  // a decomposed diacritic (file names on a Mac are often decomposed)
    } else if (c >= latinFirst && c <= latinLast) {
        const LatinLetter& letter = latinLetters[c - latinFirst];
        if (letter.base != 0) {
            f.base = letter.base;
            f.accented = letter.lower;
            f.upper = letter.upper;
        }
    } else if (c >= 0x386 && c <= 0x3CE) {
        // Greek: capitals are 0x20 below their small letters; tonos and dialytika fold away.
        char32_t lower = c;
        if (c >= 0x391 && c <= 0x3AB) {
            lower = c + 0x20;
            f.upper = true;
        } else if (c == 0x386) {
            lower = 0x3AC;
            f.upper = true;
        } else if (c >= 0x388 && c <= 0x38A) {
            lower = c + 0x25;
            f.upper = true;
        } else if (c == 0x38C || c == 0x38E || c == 0x38F) {
            lower = c + 0x40 - (c == 0x38C ? 0 : 1);
            f.upper = true;
        }
        f.accented = lower;
        switch (lower) {
            case 0x3AC:
                f.base = 0x3B1;
                break;  // ά → α
            case 0x3AD:
                f.base = 0x3B5;
                break;  // έ → ε
            case 0x3AE:
                f.base = 0x3B7;
                break;  // ή → η
            case 0x3AF:
            case 0x3CA:
            case 0x390:
                f.base = 0x3B9;
                break;  // ί ϊ ΐ → ι
            case 0x3CC:
                f.base = 0x3BF;
                break;  // ό → ο
            case 0x3CD:
            case 0x3CB:
            case 0x3B0:
                f.base = 0x3C5;
                break;  // ύ ϋ ΰ → υ
            case 0x3CE:
                f.base = 0x3C9;
                break;  // ώ → ω
            case 0x3C2:
                f.base = 0x3C3;
                break;  // final ς → σ
            default:
                f.base = lower;
        }
    } else if (c >= 0x400 && c <= 0x45F) {
        // Cyrillic: А–Я are 0x20 below а–я, Ѐ–Џ 0x50 below ѐ–џ; ё, ѐ and й fold to е and и.
        char32_t lower = c;
        if (c >= 0x410 && c <= 0x42F) {
            lower = c + 0x20;
            f.upper = true;
        } else if (c <= 0x40F) {
            lower = c + 0x50;
            f.upper = true;
        }
        f.accented = lower;
        f.base = (lower == 0x451 || lower == 0x450) ? 0x435 : lower == 0x439 ? 0x438 : lower;
    }
    return f;
}

// Decodes well-formed UTF-8; none for anything else.
std::optional<std::u32string> decode(const std::string& s) {
    std::u32string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size();) {
        const auto b = static_cast<unsigned char>(s[i]);
        int extra = b < 0x80 ? 0 : (b >> 5) == 6 ? 1 : (b >> 4) == 14 ? 2 : (b >> 3) == 30 ? 3 : -1;
        if (extra < 0 || i + static_cast<std::size_t>(extra) >= s.size()) return std::nullopt;
        char32_t c = extra == 0 ? b : b & (0x3F >> extra);
        for (int k = 1; k <= extra; ++k) {
            const auto cont = static_cast<unsigned char>(s[i + k]);
            if ((cont & 0xC0) != 0x80) return std::nullopt;
            c = (c << 6) | (cont & 0x3F);
        }
        static const char32_t smallest[] = {0, 0x80, 0x800, 0x10000};
        if (c < smallest[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
            return std::nullopt;
        out.push_back(c);
        i += static_cast<std::size_t>(extra) + 1;
    }
    return out;
}

// The comparison keys of one name.
struct Keys {
    // Primary: base letters; a run of digits is '0' (so numbers sort where digits do), its
    // length without leading zeros, then its digits, so that runs compare by value.
    std::vector<std::uint32_t> primary;
    std::u32string secondary;    // lower case, diacritics kept (marks included)
    std::vector<bool> tertiary;  // per letter: upper case
};

bool isDigit(char32_t c) {
    return c >= '0' && c <= '9';
}

Keys keys(const std::u32string& text) {
    Keys k;
    for (std::size_t i = 0; i < text.size();) {
        if (isDigit(text[i])) {
            std::size_t end = i;
            while (end < text.size() && isDigit(text[end])) ++end;
            std::size_t first = i;
            while (first + 1 < end && text[first] == '0') ++first;
            k.primary.push_back('0');  // digits sort where the digit 0 does
            k.primary.push_back(static_cast<std::uint32_t>(end - first));
            for (std::size_t d = first; d < end; ++d) k.primary.push_back(text[d]);
            for (std::size_t d = i; d < end; ++d) k.secondary.push_back(text[d]);
            i = end;
            continue;
        }
        Folded f = fold(text[i]);
        ++i;
        k.secondary.push_back(f.accented);
        if (f.mark) continue;
        k.tertiary.push_back(f.upper);
        switch (f.base) {
            case 0xDF:
                k.primary.insert(k.primary.end(), {'s', 's'});
                break;
            case 0xE6:
                k.primary.insert(k.primary.end(), {'a', 'e'});
                break;
            case 0xFE:
                k.primary.insert(k.primary.end(), {'t', 'h'});
                break;
            case 0x133:
                k.primary.insert(k.primary.end(), {'i', 'j'});
                break;
            case 0x153:
                k.primary.insert(k.primary.end(), {'o', 'e'});
                break;
            default:
                k.primary.push_back(f.base);
        }
    }
    return k;
}

template <typename Sequence>
int compareSequences(const Sequence& a, const Sequence& b) {
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i)
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return 0;
}

}  // namespace

int compareNamesPortably(const std::string& a, const std::string& b) {
    if (a == b) return 0;
    std::optional<std::u32string> ua = decode(a);
    std::optional<std::u32string> ub = decode(b);
    if (ua && ub) {
        Keys ka = keys(*ua);
        Keys kb = keys(*ub);
        if (int c = compareSequences(ka.primary, kb.primary)) return c;
        if (int c = compareSequences(ka.secondary, kb.secondary)) return c;
        if (int c = compareSequences(ka.tertiary, kb.tertiary)) return c;
    } else if (ua || ub) {
        return ua ? -1 : 1;
    }
    return a < b ? -1 : 1;
}

int compareNames(Collation* collation, const std::string& a, const std::string& b) {
    return collation ? collation->compareNames(a, b) : compareNamesPortably(a, b);
}

}  // namespace quelto

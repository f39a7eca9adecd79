#pragma once
// The order of names in lists people read (the Apps tab): the system's own, as Finder sorts
// file names, reached through the seam; and the portable order that the simulated desktop
// and the tests use, which agrees with a Mac on Latin, Greek and Cyrillic names.

#include <string>

namespace quelto {

class Collation {
  public:
    virtual ~Collation() = default;
    // Negative when `a` goes before `b`, positive when after; zero only for identical
    // strings, so a sort by it is the same on every run.
    virtual int compareNames(const std::string& a, const std::string& b) = 0;
};

// The portable order, built to agree with Finder's (-[NSString localizedStandardCompare:])
// on Latin, Greek and Cyrillic names:
//  1. letters compared without case or diacritics ("Äpfel" next to "Apple", "ελιά" next to
//     "Ελιά", "ёж" next to "еж"), digit runs by their value ("App 2" before "App 10"), in
//     code point order otherwise (spaces and punctuation, digits, Latin, Greek, Cyrillic);
//  2. then the unaccented form before the accented one;
//  3. then lower case before upper case;
//  4. then, for a deterministic order, the UTF-8 bytes.
// Text that is not valid UTF-8 compares byte by byte, after valid text that ties with it.
int compareNamesPortably(const std::string& a, const std::string& b);

// `collation`'s order, or the portable one when there is none.
int compareNames(Collation* collation, const std::string& a, const std::string& b);

}  // namespace quelto

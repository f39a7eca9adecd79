#pragma once
// The system's order of names in lists: -[NSString localizedStandardCompare:], which Apple
// documents as the comparison for lists and tables sorted the way Finder sorts file names.
// It is localized and case-insensitive, like -localizedCaseInsensitiveCompare:, and besides
// orders digit runs by value ("App 2" before "App 10"), which is what a person expects of a
// list of application names and what Finder's Applications folder shows.

#include "platform/Collation.h"

namespace quelto::mac {

class MacCollation final : public Collation {
  public:
    int compareNames(const std::string& a, const std::string& b) override;
};

}  // namespace quelto::mac

#pragma once
// Hand-written configuration files for the chaos run, and what each one means. The meaning is
// worked out here from the lines as they are written, independently of the program's own
// parser, so that the run can tell whether a quit was allowed by the file as it stood.

#include <set>
#include <string>
#include <vector>

#include "tests/chaos/ChaosRandom.h"

namespace quelto::chaos {

// The part of the policy that decides whether anything may be quit.
struct Policy {
    bool live = true;
    bool armAll = false;
    std::set<std::string> armed;
    std::set<std::string> excluded;

    // Whether the file allows quitting an application with this bundle identifier (the
    // built-in never-quit list aside).
    bool allowsQuitting(const std::string& bundleID) const {
        if (!live || excluded.count(bundleID)) return false;
        return armAll || armed.count(bundleID) != 0;
    }
    std::string describe() const;
};

struct ConfigFile {
    enum class Kind { text, missing, notUtf8 };
    Kind kind = Kind::text;
    std::string text;
    Policy policy;  // what the program must take the file to mean
};

// A random file in the user's own hand: the keys in assorted spellings and cases, comments,
// blank and meaningless lines, unicode spaces, LF, CRLF or CR line ends, the bundle
// identifiers of `ids` armed and excluded; now and then no file at all, or one that is not
// UTF-8 (both mean the defaults: nothing armed).
ConfigFile randomConfig(ChaosRandom& random, const std::vector<std::string>& ids);

// Writes the file (or removes it) where the program reads its configuration.
void install(const ConfigFile& file);

}  // namespace quelto::chaos

#pragma once
// A hand edit of the configuration file, as a person makes it in a text editor: change the
// value of one key, add a line, or delete lines. Everything else in the file (comments,
// blank lines, order) stays as it was.

#include <optional>
#include <string>

namespace quelto::simtool {

struct ConfigEdit {
    enum class Kind {
        set,     // the last line with this key gets the new value (appended when there is none)
        add,     // a new line at the end
        remove,  // every line with this key (and this value, when one is given) goes
    };
    Kind kind = Kind::set;
    std::string key;
    std::optional<std::string> value;
};

// The file's text after the edit; a missing file is edited as an empty one.
std::string applyConfigEdit(const std::optional<std::string>& text, const ConfigEdit& edit);

}  // namespace quelto::simtool

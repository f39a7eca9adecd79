#pragma once
// The user's home directory, for expanding the leading tilde of the program's file paths.

#include <string>

namespace quelto {

// $HOME when it is set and not empty, else the password database's entry for this user.
// Never ends with a slash (the root directory gives the empty string), so "~/x" expands
// to homeDirectory() + "/x". Read afresh on every call; callers keep what they need.
std::string homeDirectory();

// `path` with a leading "~/" (or a lone "~") replaced by the home directory.
std::string expandTilde(const std::string& path);

}  // namespace quelto

#pragma once
// Whole-file writes that a reader never sees half done.

#include <string>
#include <string_view>

namespace quelto {

// Writes `contents` to a new temporary file beside `path`, then renames it over `path`, so
// a reader sees either the old file or the new one. The temporary is removed on failure.
// Returns whether the file was replaced. The directory must already exist.
bool writeFileAtomically(const std::string& path, std::string_view contents);

}  // namespace quelto

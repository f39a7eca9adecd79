#pragma once
// Whole-file writes that a reader never sees half done, and the loop that writes a buffer out.

#include <string>
#include <string_view>

namespace quelto {

// Writes `contents` to a new temporary file beside `path`, then renames it over `path`, so
// a reader sees either the old file or the new one. The temporary is removed on failure.
// Returns whether the file was replaced. The directory must already exist.
bool writeFileAtomically(const std::string& path, std::string_view contents);

// Writes all of `data` to the open file `fd`, resuming after partial writes and
// interruptions. Returns false at the first error, with part of `data` possibly written.
bool writeAll(int fd, std::string_view data);

}  // namespace quelto

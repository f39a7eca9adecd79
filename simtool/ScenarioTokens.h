#pragma once
// Splitting one line of a scenario into words. A word is a run of non-blank characters or a
// double-quoted string (\" and \\ inside it stand for " and \); everything after a # that is
// not inside quotes is a comment.

#include <optional>
#include <string>
#include <vector>

namespace quelto::simtool {

struct Token {
    std::string text;
    bool quoted = false;
};

struct TokenizedLine {
    std::vector<Token> tokens;
    // Set when the line cannot be split ("a quoted text has no closing quote").
    std::optional<std::string> error;
};

TokenizedLine tokenize(const std::string& line);

// The line with its comment removed and its blanks trimmed from both ends.
std::string withoutComment(const std::string& line);

// Writes a text as a quoted word that `tokenize` reads back unchanged.
std::string inQuotes(const std::string& text);

}  // namespace quelto::simtool

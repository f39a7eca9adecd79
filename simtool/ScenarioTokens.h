#pragma once
// Splitting a scenario into lines and one line into words. A word is a run of non-blank
// characters or a double-quoted string (\" and \\ inside it stand for " and \); everything after
// a # that is not inside quotes is a comment. Blanks are spaces, tabs and carriage returns.

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

// The lines of a text without their newlines; a final newline ends the last line rather than
// starting an empty one.
std::vector<std::string> splitLines(const std::string& text);

// The text with its blanks trimmed from both ends.
std::string trim(const std::string& text);

// The line with its comment removed and its blanks trimmed from both ends.
std::string withoutComment(const std::string& line);

// Writes a text as a quoted word that `tokenize` reads back unchanged.
std::string inQuotes(const std::string& text);

}  // namespace quelto::simtool

#include "simtool/ScenarioTokens.h"

namespace quelto::simtool {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

}  // namespace

TokenizedLine tokenize(const std::string& line) {
    TokenizedLine result;
    std::size_t i = 0;
    const std::size_t n = line.size();
    while (i < n) {
        while (i < n && isBlank(line[i])) ++i;
        if (i >= n || line[i] == '#') break;
        Token token;
        if (line[i] == '"') {
            token.quoted = true;
            ++i;
            bool closed = false;
            while (i < n) {
                char c = line[i];
                if (c == '\\' && i + 1 < n && (line[i + 1] == '"' || line[i + 1] == '\\')) {
                    token.text += line[i + 1];
                    i += 2;
                    continue;
                }
                if (c == '"') {
                    closed = true;
                    ++i;
                    break;
                }
                token.text += c;
                ++i;
            }
            if (!closed) {
                result.error = "a quoted text has no closing quote";
                return result;
            }
            if (i < n && !isBlank(line[i]) && line[i] != '#') {
                result.error = "a quoted text must be followed by a blank";
                return result;
            }
        } else {
            while (i < n && !isBlank(line[i]) && line[i] != '#') {
                if (line[i] == '"') {
                    result.error = "a quote in the middle of a word (put a blank before it)";
                    return result;
                }
                token.text += line[i++];
            }
        }
        result.tokens.push_back(std::move(token));
    }
    return result;
}

std::string withoutComment(const std::string& line) {
    bool inQuotes = false;
    std::size_t end = line.size();
    for (std::size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (inQuotes && c == '\\' && i + 1 < line.size()) {
            ++i;
            continue;
        }
        if (c == '"') inQuotes = !inQuotes;
        if (c == '#' && !inQuotes) {
            end = i;
            break;
        }
    }
    return trim(line.substr(0, end));
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        auto nl = text.find('\n', start);
        if (nl == std::string::npos) {
            lines.push_back(text.substr(start));
            break;
        }
        lines.push_back(text.substr(start, nl - start));
        start = nl + 1;
    }
    return lines;
}

std::string trim(const std::string& text) {
    std::size_t b = 0, e = text.size();
    while (b < e && isBlank(text[b])) ++b;
    while (e > b && isBlank(text[e - 1])) --e;
    return text.substr(b, e - b);
}

std::string inQuotes(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    out += '"';
    return out;
}

}  // namespace quelto::simtool

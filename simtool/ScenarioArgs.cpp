// Reading the words of a scenario line: the word cursor (Args) with its typed reads and
// one-message-per-line error reporting, the "did you mean" hints, and the diagnostics' text.

#include <algorithm>

#include "simtool/ScenarioParserContext.h"
#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

namespace {

std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> prev(b.size() + 1), cur(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) prev[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        cur[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            std::size_t sub = prev[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            cur[j] = std::min({prev[j] + 1, cur[j - 1] + 1, sub});
        }
        std::swap(prev, cur);
    }
    return prev[b.size()];
}

}  // namespace

std::string Diagnostic::text() const {
    // Appended piece by piece: `":" + std::to_string(line)` builds a temporary by inserting at
    // its front, which g++ 12 at -O2 and above wrongly reports as an overlapping copy
    // (-Wrestrict).
    std::string s = file;
    if (line > 0) {
        s += ':';
        s += std::to_string(line);
    }
    s += kind == Kind::error ? ": error: " : ": failed: ";
    s += message;
    return s;
}

std::optional<std::string> closestWord(const std::string& word,
                                       const std::vector<std::string>& candidates) {
    std::optional<std::string> best;
    std::size_t bestDistance = 0;
    for (const std::string& c : candidates) {
        std::size_t d = editDistance(word, c);
        if (!best || d < bestDistance) {
            best = c;
            bestDistance = d;
        }
    }
    if (!best) return std::nullopt;
    std::size_t limit = std::max<std::size_t>(1, std::min(word.size(), best->size()) / 3);
    if (bestDistance > limit) return std::nullopt;
    return best;
}

// ---- Args ----

Args::Args(Parser& parser, const std::vector<Token>& tokens, int line, const CommandHelp& help)
    : parser_(parser), tokens_(tokens), line_(line), help_(help) {}

const Token* Args::peek() const {
    if (failed_ || next_ >= tokens_.size()) return nullptr;
    return &tokens_[next_];
}

bool Args::peekIs(const std::string& keyword) const {
    const Token* t = peek();
    return t && !t->quoted && t->text == keyword;
}

bool Args::accept(const std::string& keyword) {
    if (!peekIs(keyword)) return false;
    ++next_;
    return true;
}

std::string Args::usage() const {
    return "usage: " + (usage_.empty() ? help_.usage : usage_);
}

void Args::fail(const std::string& message) {
    if (failed_) return;
    failed_ = true;
    parser_.error(line_, message);
}

std::optional<Token> Args::word(const std::string& what) {
    if (failed_) return std::nullopt;
    if (next_ >= tokens_.size()) {
        fail(help_.name + " needs " + what + " — " + usage());
        return std::nullopt;
    }
    return tokens_[next_++];
}

std::optional<std::string> Args::bare(const std::string& what) {
    auto t = word(what);
    if (!t) return std::nullopt;
    if (t->quoted) {
        fail(help_.name + " needs " + what + " here, not the quoted text " + inQuotes(t->text) +
             " — " + usage());
        return std::nullopt;
    }
    return t->text;
}

std::optional<std::string> Args::text(const std::string& what) {
    auto t = word(what);
    if (!t) return std::nullopt;
    if (!t->quoted) {
        fail(what + " is written in quotes, as in " + inQuotes(t->text) + " — " + usage());
        return std::nullopt;
    }
    return t->text;
}

std::optional<double> Args::duration(const std::string& what) {
    return parsed(what, parseDuration, "a duration (as in 2.5, 2.5s, 250ms or 2m)");
}

std::optional<Point> Args::point(const std::string& what) {
    return parsed(what, parsePoint, "a screen point (as in 120,80)");
}

std::optional<Size> Args::size(const std::string& what) {
    return parsed(what, parseSize, "a size (as in 800x600)");
}

std::optional<long long> Args::integer(const std::string& what) {
    return parsed(what, parseInteger, "a whole number (" + what + ")");
}

bool Args::end() {
    if (failed_) return false;
    if (next_ < tokens_.size()) {
        const Token& t = tokens_[next_];
        fail("unexpected " + (t.quoted ? inQuotes(t.text) : "\"" + t.text + "\"") + " — " +
             usage());
        return false;
    }
    return true;
}

// An Accessibility error by its name or code.
std::optional<AXError> accessibilityError(Args& args) {
    auto word = args.bare("an Accessibility error");
    if (!word) return std::nullopt;
    auto error = parseAXError(*word);
    if (!error)
        args.fail(inQuotes(*word) +
                  " is not an Accessibility error (a name such as cannotComplete, or a code "
                  "such as -25204)");
    return error;
}

}  // namespace quelto::simtool

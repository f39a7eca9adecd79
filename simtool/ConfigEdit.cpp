#include "simtool/ConfigEdit.h"

#include <vector>

#include "simtool/ScenarioTokens.h"

namespace quelto::simtool {

namespace {

std::string lower(std::string s) {
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

// The key and value of a line as the configuration reader sees them (comment cut off).
bool keyValue(const std::string& line, std::string& key, std::string& value) {
    std::string content = line.substr(0, line.find('#'));
    auto eq = content.find('=');
    if (eq == std::string::npos) return false;
    key = lower(trim(content.substr(0, eq)));
    value = trim(content.substr(eq + 1));
    return !key.empty();
}

}  // namespace

std::string applyConfigEdit(const std::optional<std::string>& text, const ConfigEdit& edit) {
    std::string source = text.value_or("");
    bool endsWithNewline = source.empty() || source.back() == '\n';
    std::vector<std::string> lines = splitLines(source);
    const std::string key = lower(trim(edit.key));
    const std::string written = trim(edit.key) + " = " + edit.value.value_or("");

    switch (edit.kind) {
        case ConfigEdit::Kind::set: {
            int last = -1;
            for (std::size_t i = 0; i < lines.size(); ++i) {
                std::string k, v;
                if (keyValue(lines[i], k, v) && k == key) last = static_cast<int>(i);
            }
            if (last >= 0)
                lines[static_cast<std::size_t>(last)] = written;
            else
                lines.push_back(written), endsWithNewline = true;
            break;
        }
        case ConfigEdit::Kind::add:
            lines.push_back(written);
            endsWithNewline = true;
            break;
        case ConfigEdit::Kind::remove: {
            std::vector<std::string> kept;
            for (const std::string& l : lines) {
                std::string k, v;
                bool matches =
                    keyValue(l, k, v) && k == key && (!edit.value || v == trim(*edit.value));
                if (!matches) kept.push_back(l);
            }
            lines = std::move(kept);
            break;
        }
    }
    std::string out;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        out += lines[i];
        if (i + 1 < lines.size() || endsWithNewline) out += "\n";
    }
    return out;
}

}  // namespace quelto::simtool

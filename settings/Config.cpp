#include "settings/Config.h"

#include <vector>

namespace quelto {

namespace {

// The file is UTF-8; every separator below is matched on its encoded bytes, which in valid
// UTF-8 can only ever mean that code point.

std::size_t byteAt(std::string_view s, std::size_t i) {
    return static_cast<unsigned char>(s[i]);
}

// Length of the line break starting at `i` (LF, VT, FF, CR, NEL, LINE SEPARATOR,
// PARAGRAPH SEPARATOR), or 0.
std::size_t newlineAt(std::string_view s, std::size_t i) {
    std::size_t c = byteAt(s, i);
    if (c >= 0x0A && c <= 0x0D) return 1;
    if (c == 0xC2 && i + 1 < s.size() && byteAt(s, i + 1) == 0x85) return 2;
    if (c == 0xE2 && i + 2 < s.size() && byteAt(s, i + 1) == 0x80 &&
        (byteAt(s, i + 2) == 0xA8 || byteAt(s, i + 2) == 0xA9))
        return 3;
    return 0;
}

// Horizontal white space: tab and every space separator (U+0020, U+00A0, U+1680,
// U+2000…U+200A, U+202F, U+205F, U+3000).
bool isHorizontalSpace(std::string_view s) {
    if (s.size() == 1) return s[0] == ' ' || s[0] == '\t';
    if (s.size() == 2) return s == "\u00A0";
    if (s.size() != 3) return false;
    if (s == "\u1680" || s == "\u202F" || s == "\u205F" || s == "\u3000") return true;
    return byteAt(s, 0) == 0xE2 && byteAt(s, 1) == 0x80 && byteAt(s, 2) >= 0x80 &&
           byteAt(s, 2) <= 0x8A;
}

std::size_t spaceAtFront(std::string_view s) {
    for (std::size_t n = 1; n <= 3 && n <= s.size(); ++n)
        if (isHorizontalSpace(s.substr(0, n))) return n;
    return 0;
}

std::size_t spaceAtBack(std::string_view s) {
    for (std::size_t n = 1; n <= 3 && n <= s.size(); ++n)
        if (isHorizontalSpace(s.substr(s.size() - n))) return n;
    return 0;
}

std::string_view trim(std::string_view s) {
    while (std::size_t n = spaceAtFront(s)) s.remove_prefix(n);
    while (std::size_t n = spaceAtBack(s)) s.remove_suffix(n);
    return s;
}

// ASCII lower-casing is exact here: the keys and values compared against are all ASCII,
// and no other character lower-cases to one of their letters.
std::string lowercased(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

void applyLine(Config& config, std::string_view line) {
    if (auto hash = line.find('#'); hash != std::string_view::npos) line = line.substr(0, hash);
    line = trim(line);
    if (line.empty()) return;
    auto equals = line.find('=');
    if (equals == std::string_view::npos) return;
    std::string key = lowercased(trim(line.substr(0, equals)));
    std::string_view value = trim(line.substr(equals + 1));

    if (key == "live") {
        config.live = lowercased(value) == "true" || value == "1";
    } else if (key == "mode") {
        if (auto mode = Config::modeFromRaw(lowercased(value))) config.mode = *mode;
    } else if (key == "arm") {
        if (value == "*")
            config.armAll = true;
        else if (!value.empty())
            config.armed.emplace(value);
    } else if (key == "escape") {
        if (auto escape = Config::escapeFromRaw(lowercased(value))) config.escape = *escape;
    } else if (key == "exclude") {
        if (!value.empty()) config.excluded.emplace(value);
    }
}

std::string joined(const std::set<std::string>& items) {
    std::string out;
    for (const auto& item : items) {
        if (!out.empty()) out += ", ";
        out += item;
    }
    return out;
}

}  // namespace

std::string_view Config::rawValue(Mode mode) {
    switch (mode) {
        case Mode::lastWindow:
            return "last-window";
        case Mode::redDot:
            return "red-dot";
    }
    return "last-window";
}

std::string_view Config::rawValue(Escape escape) {
    switch (escape) {
        case Escape::shift:
            return "shift";
        case Escape::option:
            return "option";
        case Escape::none:
            return "none";
    }
    return "shift";
}

std::optional<Config::Mode> Config::modeFromRaw(std::string_view raw) {
    if (raw == "last-window") return Mode::lastWindow;
    if (raw == "red-dot") return Mode::redDot;
    return std::nullopt;
}

std::optional<Config::Escape> Config::escapeFromRaw(std::string_view raw) {
    if (raw == "shift") return Escape::shift;
    if (raw == "option") return Escape::option;
    if (raw == "none") return Escape::none;
    return std::nullopt;
}

Config Config::parse(std::string_view text) {
    // A byte-order mark is not part of the text, as when the platform decodes UTF-8.
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    Config config;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (std::size_t n = newlineAt(text, i)) {
            applyLine(config, text.substr(start, i - start));
            i += n;
            start = i;
        } else {
            ++i;
        }
    }
    applyLine(config, text.substr(start));
    return config;
}

std::string Config::canonicalText() const {
    std::vector<std::string> lines = {
        "# Quelto configuration",
        "#",
        "# Edited by the app, and safe to edit by hand.",
        "# Changes take effect immediately; no restart needed.",
        "",
        "# Master switch. Nothing is ever quit while this is false.",
        std::string("live = ") + (live ? "true" : "false"),
        "",
        "# last-window : quit an app when its last window closes",
        "# red-dot     : quit an app whenever its red dot is clicked",
        "mode = " + std::string(rawValue(mode)),
        "",
        "# Which modifier closes a window without quitting: shift, option, none.",
        "escape = " + std::string(rawValue(escape)),
        "",
    };
    if (armAll) {
        lines.push_back("# Every app, except the exclusions below.");
        lines.push_back("arm = *");
        lines.push_back("");
    } else if (!armed.empty()) {
        lines.push_back("# Only these apps may be quit.");
        for (const auto& id : armed) lines.push_back("arm = " + id);
        lines.push_back("");
    } else {
        lines.push_back("# Nothing armed — add `arm = <bundle id>` or `arm = *`.");
        lines.push_back("");
    }
    lines.push_back("# Apps to leave alone, on top of the built-in list.");
    for (const auto& id : excluded) lines.push_back("exclude = " + id);
    lines.push_back("");

    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) text += '\n';
        text += lines[i];
    }
    return text;
}

const std::string& Config::templateText() {
    static const std::string text =
        "# Quelto configuration\n"
        "#\n"
        "# Changes take effect immediately; no restart needed.\n"
        "\n"
        "# Master switch. Nothing is ever quit while this is false.\n"
        "live = true\n"
        "\n"
        "# last-window : quit an app when its last window closes\n"
        "# red-dot     : quit an app whenever its red dot is clicked\n"
        "mode = last-window\n"
        "\n"
        "# What may be quit.\n"
        "#   arm = *                  every app, except the exclusions below\n"
        "#   arm = com.apple.Maps     just that one (repeatable) — use for testing\n"
        "arm = *\n"
        "\n"
        "# Apps to leave alone, on top of the built-in list (Finder, Dock,\n"
        "# System Settings, Control Center and the like are never quit).\n"
        "# Good candidates are apps that keep working with no window open.\n"
        "# exclude = com.apple.mail\n"
        "# exclude = com.apple.Music\n"
        "# exclude = com.spotify.client\n"
        "\n"
        "# Which modifier closes a window without quitting: shift, option, none.\n"
        "# Not option by default — macOS already uses option-click on the red dot\n"
        "# to close every window of an app, so combining the two leaves the app\n"
        "# running with nothing open.\n"
        "escape = shift";
    return text;
}

bool Config::mayQuit(const std::string& bundleID) const {
    if (!live) return false;
    if (excluded.count(bundleID)) return false;
    if (armAll) return true;
    return armed.count(bundleID) > 0;
}

std::string Config::summary() const {
    if (!live) return "DRY RUN — nothing will be quit";
    if (!armAll && armed.empty()) return "LIVE but nothing armed — nothing will be quit";
    std::string text = "LIVE — mode " + std::string(rawValue(mode));
    if (!armAll) return text + " — armed: " + joined(armed);
    text += " — all apps";
    if (!excluded.empty()) text += " — also excluding: " + joined(excluded);
    return text;
}

const std::set<std::string>& neverQuitBundleIDs() {
    static const std::set<std::string> ids = {
        "com.apple.finder",        "com.apple.mobilephone",
        "com.apple.FaceTime",      "com.apple.systempreferences",
        "com.apple.dock",          "com.apple.systemuiserver",
        "com.apple.controlcenter", "com.apple.notificationcenterui",
    };
    return ids;
}

}  // namespace quelto

#pragma once
// The user's quit policy: a plain value, parsed from and written as the text of its file
// (settings/ConfigStore.h reads and writes the file).

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace quelto {

// "QueltoConfigChanged": posted by the editors of the master switch and of the exclusions.
inline constexpr const char* queltoConfigChanged = "QueltoConfigChanged";

struct Config {
    enum class Mode { lastWindow, redDot };
    enum class Escape { shift, option, none };

    bool live = true;
    Mode mode = Mode::lastWindow;
    std::set<std::string> armed;  // ascending code-point order
    bool armAll = false;
    std::set<std::string> excluded;
    Escape escape = Escape::shift;

    // Raw values: "last-window", "red-dot"; "shift", "option", "none".
    static std::string_view rawValue(Mode mode);
    static std::string_view rawValue(Escape escape);
    // Exact, case-sensitive conversion; unknown strings give none.
    static std::optional<Mode> modeFromRaw(std::string_view raw);
    static std::optional<Escape> escapeFromRaw(std::string_view raw);

    // Parses file text exactly as `ConfigStore::load()` does (the bytes must be valid UTF-8).
    static Config parse(std::string_view text);

    // The canonical file text that `ConfigStore::save()` writes.
    std::string canonicalText() const;

    // The text `ConfigStore::writeTemplateIfMissing()` writes on the first run.
    static const std::string& templateText();

    bool mayQuit(const std::string& bundleID) const;
    std::string summary() const;

    friend bool operator==(const Config&, const Config&) = default;
};

// The applications that are never quit, whatever the file says.
const std::set<std::string>& neverQuitBundleIDs();

}  // namespace quelto

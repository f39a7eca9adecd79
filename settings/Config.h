#pragma once
// The user's quit policy and its plain-text file. Nothing keeps a long-lived copy: every
// consumer loads the file when it needs the settings, so hand edits take effect at once.

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

    // "~/Library/Application Support/Quelto" and its "config.txt", computed once.
    static const std::string& directory();
    static const std::string& path();

    // Reads the file; a missing, unreadable or undecodable file gives the defaults.
    static Config load();
    // What is wrong with a file that is there but reads as the defaults because it cannot be
    // read ("is not valid UTF-8", …: words to follow "config.txt"); none when it is readable
    // or missing.
    static std::optional<std::string> fileProblem();
    // Parses file text exactly as `load()` does (the bytes must be valid UTF-8).
    static Config parse(std::string_view text);

    // Rewrites the whole file in canonical form, atomically. Failures are swallowed. A file
    // that is there but could not be read is first moved aside (and the log says where),
    // never written over; when it cannot be moved, nothing is saved.
    void save() const;
    // The canonical file text that `save()` writes.
    std::string canonicalText() const;

    // Writes the template when no file exists; true when it had to (even if the write failed).
    static bool writeTemplateIfMissing();
    static const std::string& templateText();

    bool mayQuit(const std::string& bundleID) const;
    std::string summary() const;

    friend bool operator==(const Config&, const Config&) = default;
};

// The applications that are never quit, whatever the file says.
const std::set<std::string>& neverQuitBundleIDs();

}  // namespace quelto

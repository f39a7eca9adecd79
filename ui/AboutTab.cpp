// The About tab and the diagnostics text put on the clipboard for support.

#include "platform/BuildSettings.h"
#include "settings/Log.h"
#include "ui/MainWindowModel.h"
#include "ui/Presentation.h"

namespace quelto {

namespace {

constexpr std::size_t diagnosticsActivityLines = 10;

std::string joined(const std::set<std::string>& ids) {
    std::string out;
    for (const std::string& id : ids) out += (out.empty() ? "" : ", ") + id;
    return out;
}

}  // namespace

MainWindowModel::AboutLines MainWindowModel::aboutLines(const ShellContext& shell) {
    AboutLines lines;
    lines.versionLine =
        "Version " + bundleStringOrQuestionMark(shell.system, "CFBundleShortVersionString") +
        " (build " + bundleStringOrQuestionMark(shell.system, "CFBundleVersion") + ")";
    lines.tagline =
        "Quits an app when you close its last window, so nothing sits in the Dock doing nothing.";
    lines.siteButton = build::siteHost;
    lines.systemLine = systemLine(shell.system);
    lines.note =
        "Requires Accessibility access. Not sandboxed, so it cannot be sold through the Mac App "
        "Store.";
    return lines;
}

std::string MainWindowModel::diagnosticsText(const ShellContext& shell) {
    const Config config = shell.config.load();
    const bool trusted = shell.accessibility.isProcessTrusted();

    std::vector<std::string> lines;
    lines.push_back(
        "Quelto " + bundleStringOrQuestionMark(shell.system, "CFBundleShortVersionString") +
        "         (build " + bundleStringOrQuestionMark(shell.system, "CFBundleVersion") + ")");
    lines.push_back(systemLine(shell.system));
    lines.push_back(std::string("Accessibility: ") + (trusted ? "granted" : "NOT GRANTED"));
    lines.push_back("");
    lines.push_back("Settings");
    lines.push_back(std::string("  live: ") + (config.live ? "true" : "false"));
    lines.push_back("  mode: " + std::string(Config::rawValue(config.mode)));
    lines.push_back("  escape: " + std::string(Config::rawValue(config.escape)));
    lines.push_back("  arm: " + (config.armAll ? std::string("*") : joined(config.armed)));
    lines.push_back("  exclude: " + joined(config.excluded));
    lines.push_back("");
    lines.push_back("Recent activity");
    const auto& entries = shell.journal.entries();
    if (entries.empty()) lines.push_back("  (none)");
    for (std::size_t i = 0; i < entries.size() && i < diagnosticsActivityLines; ++i)
        lines.push_back("  " + entries[i].app + " — " + entries[i].cause + " — " +
                        entries[i].outcome);

    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) text += '\n';
        text += lines[i];
    }
    return text;
}

void MainWindowModel::copyDiagnostics() {
    const std::string text = diagnosticsText(shell_);
    if (Pasteboard* pasteboard = shell_.pasteboard) pasteboard->setString(text);
    log("diagnostics copied to the clipboard");
}

}  // namespace quelto

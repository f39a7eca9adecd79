#include "simtool/RunReport.h"

#include <algorithm>

#include "simtool/ScenarioValues.h"

namespace quelto::simtool {

std::size_t displayWidth(const std::string& text) {
    std::size_t n = 0;
    for (unsigned char c : text)
        if ((c & 0xC0) != 0x80) ++n;
    return n;
}

namespace {

std::string padRight(const std::string& s, std::size_t width) {
    std::size_t w = displayWidth(s);
    return w >= width ? s : s + std::string(width - w, ' ');
}

std::string padLeft(const std::string& s, std::size_t width) {
    std::size_t w = displayWidth(s);
    return w >= width ? s : std::string(width - w, ' ') + s;
}

std::string trimRight(std::string s) {
    while (!s.empty() && s.back() == ' ') s.pop_back();
    return s;
}

}  // namespace

std::vector<std::string> journalTable(const Activity::Entries& entries, int utcOffsetSeconds) {
    if (entries.empty()) return {"(no entries)"};
    const std::vector<std::string> header = {"Time", "Application", "Closed by",
                                             "Left", "Result",      "Quit"};
    std::vector<std::vector<std::string>> rows;
    for (const Activity::Entry& e : entries) {
        std::string time = formatTimeOfDay(e.at, utcOffsetSeconds).substr(0, 8);
        rows.push_back({time, e.app, e.cause, std::to_string(e.windowsLeft), e.outcome,
                        e.quit ? "yes" : "no"});
    }
    std::vector<std::size_t> widths(header.size());
    for (std::size_t c = 0; c < header.size(); ++c) {
        widths[c] = displayWidth(header[c]);
        for (const auto& r : rows) widths[c] = std::max(widths[c], displayWidth(r[c]));
    }
    auto line = [&](const std::vector<std::string>& cells) {
        std::string s;
        for (std::size_t c = 0; c < cells.size(); ++c) {
            if (c > 0) s += "  ";
            s += c == 3 ? padLeft(cells[c], widths[c]) : padRight(cells[c], widths[c]);
        }
        return trimRight(s);
    };
    std::vector<std::string> out;
    out.push_back(line(header));
    for (const auto& r : rows) out.push_back(line(r));
    return out;
}

std::string formatReport(const RunResult& result, const ReportOptions& options) {
    if (options.logOnly) return result.log;
    std::string out;
    out += "==> " + result.logPath + " <==\n";
    out += result.log.empty() ? "(empty)\n" : result.log;
    out += "\n==> Activity journal, newest first <==\n";
    for (const std::string& l : result.journalLines) out += l + "\n";
    out += "\n==> " + result.configPath + " <==\n";
    if (!result.config) {
        out += "(no file)\n";
    } else {
        out += *result.config;
        if (!result.config->empty() && result.config->back() != '\n') out += "\n";
    }
    if (result.mainThread) out += "\n==> Quelto’s main thread <==\n" + *result.mainThread + "\n";
    for (const Screen& s : result.screens) {
        out += "\n==> " + s.title + " · " + s.time.substr(0, 8) + " (line " +
               std::to_string(s.line) + ") <==\n";
        out += s.text;
        if (!s.text.empty() && s.text.back() != '\n') out += "\n";
    }
    return out;
}

}  // namespace quelto::simtool

#include "ui/Presentation.h"

#include <cstdio>

#include "platform/BuildSettings.h"
#include "settings/Log.h"

namespace quelto {

namespace {

std::string twoDigits(int n) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "%02d", n);
    return buf;
}

bool isHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

}  // namespace

bool parsesAsURL(std::string_view text) {
    if (text.empty()) return false;
    static constexpr std::string_view allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~:/?#[]@!$&'()*+,;=";
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '%') {
            if (i + 2 >= text.size() || !isHex(text[i + 1]) || !isHex(text[i + 2])) return false;
            i += 2;
            continue;
        }
        if (allowed.find(c) == std::string_view::npos) return false;
    }
    return true;
}

std::string formatClockTime(Clock& clock, Date date, bool seconds) {
    LocalTime t = clock.localTime(date);
    std::string s = twoDigits(t.hour) + ":" + twoDigits(t.minute);
    if (seconds) {
        s += ':';
        s += twoDigits(t.second);
    }
    return s;
}

std::string ownBundleIdentifier(SystemInfo* sys) {
    if (sys) {
        if (auto id = sys->bundleInfoString("CFBundleIdentifier")) return *id;
    }
    return build::bundleID;
}

std::string systemLine(SystemInfo* sys) {
    SystemInfo::OSVersion v;
    std::string machine;
    if (sys) {
        v = sys->operatingSystemVersion();
        machine = sys->machineName();
    }
    std::string shown = machine == "arm64" ? "Apple Silicon" : machine;
    return "macOS " + std::to_string(v.major) + "." + std::to_string(v.minor) + "." +
           std::to_string(v.patch) + " · " + shown;
}

std::string bundleStringOrQuestionMark(SystemInfo* sys, const std::string& key) {
    if (sys) {
        if (auto value = sys->bundleInfoString(key)) return *value;
    }
    return "?";
}

void reportLoginItemFailure(Alerts* alerts, const std::string& error) {
    log("could not change the login item: " + error);
    if (alerts) {
        alerts->present(
            AlertDescription{"Couldn’t change the login setting",
                             error + "\n\nYou can also set this yourself in System Settings → "
                                     "General → Login Items.",
                             {}},
            nullptr);
    }
}

}  // namespace quelto

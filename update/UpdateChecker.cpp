#include "update/UpdateChecker.h"

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/BuildSettings.h"
#include "settings/Log.h"
#include "update/AbsoluteURL.h"

namespace quelto {

namespace {

// The site set by the command line tool or a test; none means the build settings' site.
// Read and written on the main thread only.
std::optional<UpdateChecker::Site>& siteOverride() {
    static std::optional<UpdateChecker::Site> site;
    return site;
}

// The buttons of the checks in flight, by check. A check that ends enables its button only
// if it is still listed here, so a button that went away in the meantime is never touched.
// Main thread only.
struct ButtonsInFlight {
    std::uint64_t next = 1;
    std::map<std::uint64_t, UpdateButton*> buttons;
};

ButtonsInFlight& buttonsInFlight() {
    static ButtonsInFlight inFlight;
    return inFlight;
}

void enableAgain(std::uint64_t token) {
    auto& buttons = buttonsInFlight().buttons;
    auto it = buttons.find(token);
    if (it == buttons.end()) return;
    UpdateButton* button = it->second;
    buttons.erase(it);
    button->setEnabled(true);
}

// A JSON number that is an exact integer in the range of a signed 64-bit build number.
std::optional<std::int64_t> exactInteger(const nlohmann::json& value) {
    if (value.is_number_unsigned()) {
        auto u = value.get<std::uint64_t>();
        if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return std::nullopt;
        return static_cast<std::int64_t>(u);
    }
    if (value.is_number_integer()) return value.get<std::int64_t>();
    if (value.is_number_float()) {
        double d = value.get<double>();
        // 2^63 is exactly representable; every double below it that is whole fits.
        constexpr double limit = 9223372036854775808.0;
        if (!std::isfinite(d) || d != std::trunc(d) || d < -limit || d >= limit)
            return std::nullopt;
        return static_cast<std::int64_t>(d);
    }
    return std::nullopt;  // strings, booleans, null, arrays, objects
}

// Shows the alert (it runs from the main run loop, after the caller's block has returned)
// and hands its answer to `then`.
void showAlert(const UpdateContext& context, const AlertDescription& alert,
               std::function<void(long)> then) {
    if (Alerts* alerts = context.alerts)
        alerts->present(alert, std::move(then));
    else if (then)
        then(Alerts::firstButtonReturn);
}

void open(const UpdateContext& context, const std::string& url) {
    context.workspace.openURL(url);
}

}  // namespace

UpdateChecker::Site UpdateChecker::buildSettingsSite() {
    return Site{build::siteURL, build::siteHost};
}

UpdateChecker::Site UpdateChecker::site() {
    return siteOverride() ? *siteOverride() : buildSettingsSite();
}

void UpdateChecker::setSite(std::optional<Site> site) {
    siteOverride() = std::move(site);
}

std::optional<HttpRequest> UpdateChecker::request(const Site& site) {
    HttpRequest request;
    request.url = site.url + "/api/latest";
    if (!isValidURL(request.url)) return std::nullopt;
    request.method = "GET";
    request.headers = {{"Accept", "application/json"}};
    request.timeoutSeconds = timeoutSeconds;
    request.ignoreLocalCache = true;
    return request;
}

std::optional<UpdateChecker::Latest> UpdateChecker::parseReply(const HttpResult& result) {
    if (!result.body || result.statusCode != 200) return std::nullopt;
    nlohmann::json document = nlohmann::json::parse(*result.body, nullptr, false);
    if (document.is_discarded() || !document.is_object()) return std::nullopt;

    auto version = document.find("version");
    auto build = document.find("build");
    auto url = document.find("url");
    if (version == document.end() || !version->is_string()) return std::nullopt;
    if (build == document.end()) return std::nullopt;
    std::optional<std::int64_t> buildNumber = exactInteger(*build);
    if (!buildNumber) return std::nullopt;
    if (url == document.end() || !url->is_string()) return std::nullopt;
    const auto& address = url->get_ref<const std::string&>();
    if (!isValidURL(address)) return std::nullopt;

    Latest latest;
    latest.version = version->get<std::string>();
    latest.build = *buildNumber;
    latest.url = address;
    if (auto notes = document.find("notes"); notes != document.end() && notes->is_array()) {
        std::vector<std::string> items;
        bool allStrings = true;
        for (const auto& note : *notes) {
            if (!note.is_string()) {
                allStrings = false;
                break;
            }
            items.push_back(note.get<std::string>());
        }
        if (allStrings) latest.notes = std::move(items);
    }
    return latest;
}

std::int64_t UpdateChecker::parseBuildNumber(const std::optional<std::string>& text) {
    const std::string& s = text ? *text : std::string("0");
    std::size_t i = 0;
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
    if (i == s.size()) return 0;
    // Accumulate towards the negative side, whose range is one larger, so the most negative
    // number parses too.
    constexpr std::int64_t min = std::numeric_limits<std::int64_t>::min();
    std::int64_t value = 0;
    for (; i < s.size(); ++i) {
        char c = s[i];
        if (c < '0' || c > '9') return 0;
        int digit = c - '0';
        if (value < (min + digit) / 10) return 0;
        value = value * 10 - digit;
    }
    if (negative) return value;
    if (value == min) return 0;
    return -value;
}

AlertDescription UpdateChecker::updateAvailableAlert(const Latest& latest,
                                                     const std::string& currentVersion,
                                                     std::int64_t currentBuild) {
    AlertDescription alert;
    alert.messageText = "Quelto " + latest.version + " is available";
    alert.informativeText =
        "You have " + currentVersion + " (build " + std::to_string(currentBuild) + ").";
    if (!latest.notes.empty()) {
        alert.informativeText += "\n\nWhat’s new:\n";
        for (std::size_t i = 0; i < latest.notes.size(); ++i) {
            if (i > 0) alert.informativeText += "\n";
            alert.informativeText += "  •  " + latest.notes[i];
        }
    }
    alert.buttons = {"Download", "Not Now"};
    return alert;
}

AlertDescription UpdateChecker::upToDateAlert(const std::string& currentVersion,
                                              std::int64_t currentBuild) {
    AlertDescription alert;
    alert.messageText = "Quelto is up to date";
    alert.informativeText = "You have version " + currentVersion + " (build " +
                            std::to_string(currentBuild) + "), which is the latest.";
    return alert;
}

AlertDescription UpdateChecker::failureAlert(const std::optional<std::string>& detail,
                                             const std::string& siteHost) {
    AlertDescription alert;
    alert.messageText = "Couldn’t check for updates";
    if (detail) alert.informativeText = *detail + "\n\n";
    alert.informativeText += "Nothing is wrong with Quelto — it just couldn’t reach " + siteHost +
                             ". " + "You can always see the current version at " + siteHost +
                             "/changelog.";
    alert.buttons = {"OK", "Open Changelog"};
    return alert;
}

std::string UpdateChecker::currentVersion(const UpdateContext& context) {
    SystemInfo* system = context.system;
    std::optional<std::string> version =
        system ? system->bundleInfoString("CFBundleShortVersionString") : std::nullopt;
    return version ? *version : "?";
}

std::int64_t UpdateChecker::currentBuild(const UpdateContext& context) {
    SystemInfo* system = context.system;
    return parseBuildNumber(system ? system->bundleInfoString("CFBundleVersion") : std::nullopt);
}

void UpdateChecker::check(const UpdateContext& context, UpdateButton* from) {
    std::uint64_t token = 0;
    if (from) {
        token = buttonsInFlight().next++;
        buttonsInFlight().buttons.emplace(token, from);
        from->setEnabled(false);
    }
    log("checking for updates (this build is " + currentVersion(context) + ", build " +
        std::to_string(currentBuild(context)) + ")");

    std::optional<HttpRequest> req = request(site());
    HttpClient* http = context.http;
    if (!req || !http) {
        enableAgain(token);
        return;
    }
    // The reply arrives on whatever thread the client uses; everything after it happens on
    // the main queue.
    http->send(*req, [context, token](HttpResult result) {
        context.mainQueue.async([context, token, result = std::move(result)] {
            enableAgain(token);
            if (std::optional<Latest> latest = parseReply(result))
                present(context, *latest);
            else
                present(context, result.transportError);
        });
    });
}

void UpdateChecker::forgetButton(UpdateButton* button) {
    auto& buttons = buttonsInFlight().buttons;
    for (auto it = buttons.begin(); it != buttons.end();) {
        if (it->second == button)
            it = buttons.erase(it);
        else
            ++it;
    }
}

void UpdateChecker::present(const UpdateContext& context, const Latest& latest) {
    std::string version = currentVersion(context);
    std::int64_t build = currentBuild(context);
    if (build < latest.build) {
        log("update available: " + latest.version + " build " + std::to_string(latest.build) +
            " at " + latest.url);
        showAlert(context, updateAvailableAlert(latest, version, build),
                  [context, offered = latest.version, url = latest.url](long response) {
                      if (response != Alerts::firstButtonReturn) return;
                      log("opening the download for " + offered);
                      open(context, url);
                  });
    } else {
        log("up to date — the site offers " + latest.version + " build " +
            std::to_string(latest.build));
        showAlert(context, upToDateAlert(version, build), nullptr);
    }
}

void UpdateChecker::present(const UpdateContext& context,
                            const std::optional<std::string>& failure) {
    log("update check failed: " + (failure ? *failure : std::string("no detail")));
    Site where = site();
    showAlert(context, failureAlert(failure, where.host),
              [context, changelog = where.url + "/changelog"](long response) {
                  if (response == Alerts::secondButtonReturn) open(context, changelog);
              });
}

}  // namespace quelto

#pragma once
// The update checker: on the user's request, asks the product site for the latest published
// build, compares build numbers and tells the user the outcome in one modal alert, offering
// the download or the site's changelog. It never downloads or installs anything itself, and
// keeps no state from one check to the next.
//
// Everything runs on the main thread; the network reply comes back to the main queue before
// anything is shown. The pieces a check is made of (the request, the reply's validation, the
// build-number parsing and the three alerts) are public pure functions, so tests and the
// fuzzer can drive them directly.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/MainQueue.h"
#include "platform/Services.h"
#include "platform/Workspace.h"

namespace quelto {

// What a check reaches of the system; every service outlives the checks in flight.
struct UpdateContext {
    MainQueue& mainQueue;  // the reply comes back here
    Workspace& workspace;  // opens the download or the changelog
    // May be absent: no bundle information reads as version "?" and build 0; no HTTP client
    // ends the check at once, with no alert; no alerts answer every alert with its first
    // button.
    SystemInfo* system = nullptr;
    HttpClient* http = nullptr;
    Alerts* alerts = nullptr;
};

// The control that started a check (the About tab's "Check for Updates…" button). The
// checker disables it for the duration of the check and enables it again before any alert.
// A button that goes away while a check is in flight calls `UpdateChecker::forgetButton`.
class UpdateButton {
  public:
    virtual void setEnabled(bool enabled) = 0;

  protected:
    ~UpdateButton() = default;
};

class UpdateChecker {
  public:
    UpdateChecker() = delete;

    // What the site offers.
    struct Latest {
        std::string version;             // the marketing version shown to people
        std::int64_t build = 0;          // the build number: the only thing compared
        std::string url;                 // where the download is (a valid absolute address)
        std::vector<std::string> notes;  // release notes, one item each; may be empty
        friend bool operator==(const Latest&, const Latest&) = default;
    };

    // Where checks go: the product site's base address ("https://quelto.app") and its host
    // name as people write it ("quelto.app"), used in the failure text.
    struct Site {
        std::string url;
        std::string host;
        friend bool operator==(const Site&, const Site&) = default;
    };

    // The request's time-out, in seconds.
    static constexpr double timeoutSeconds = 20;

    // Starts a check and returns at once; the outcome arrives later on the main thread as
    // a modal alert. `from` is the button that started the check, or nullptr (the menus).
    static void check(const UpdateContext& context, UpdateButton* from = nullptr);

    // Tells the checkers in flight that `button` is gone: they will not enable it again.
    static void forgetButton(UpdateButton* button);

    // The site checks go to: the build settings' site unless another was set (the command
    // line tool and the tests point the checker at a site of their own).
    static Site site();
    static Site buildSettingsSite();
    // Sets the site for the checks that start from now on; none restores the build settings'.
    static void setSite(std::optional<Site> site);

    // The GET request a check sends to `site`: its "/api/latest" address, JSON accepted,
    // the time-out, no locally cached reply. None when the address is not a valid URL.
    static std::optional<HttpRequest> request(const Site& site);

    // The site's offer when `result` is a usable reply: a body, status exactly 200, a JSON
    // object with "version" (a string), "build" (a number that is an exact integer),
    // "url" (a valid absolute address) and, optionally, "notes" (an array of strings; any
    // other value gives no notes). None for anything else. The transport error, if any, is
    // not looked at: it only matters for the failure alert's detail.
    static std::optional<Latest> parseReply(const HttpResult& result);

    // A "CFBundleVersion" value as a build number: a decimal integer with an optional
    // leading "+" or "-"; anything else (missing, dotted, with spaces, overflowing) is 0.
    static std::int64_t parseBuildNumber(const std::optional<std::string>& text);

    // The three alerts.
    static AlertDescription updateAvailableAlert(const Latest& latest,
                                                 const std::string& currentVersion,
                                                 std::int64_t currentBuild);
    static AlertDescription upToDateAlert(const std::string& currentVersion,
                                          std::int64_t currentBuild);
    static AlertDescription failureAlert(const std::optional<std::string>& detail,
                                         const std::string& siteHost);

  private:
    // The running program's "CFBundleShortVersionString" ("?" when missing) and its
    // "CFBundleVersion" as a build number, read afresh each time.
    static std::string currentVersion(const UpdateContext& context);
    static std::int64_t currentBuild(const UpdateContext& context);

    static void present(const UpdateContext& context, const Latest& latest);
    static void present(const UpdateContext& context, const std::optional<std::string>& failure);
};

}  // namespace quelto

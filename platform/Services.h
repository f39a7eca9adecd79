#pragma once
// The smaller platform services: the application bundle and system facts, the login item,
// HTTP, modal alerts and the pasteboard.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quelto {

// Facts about this program's bundle and the machine it runs on.
class SystemInfo {
  public:
    virtual ~SystemInfo() = default;
    // A string of the main bundle's information dictionary ("CFBundleShortVersionString",
    // "CFBundleVersion", "CFBundleIdentifier", …); none when missing or not a string.
    virtual std::optional<std::string> bundleInfoString(const std::string& key) = 0;
    struct OSVersion {
        int major = 0;
        int minor = 0;
        int patch = 0;
    };
    virtual OSVersion operatingSystemVersion() = 0;
    // The kernel's machine name (uname -m): "arm64", "x86_64", …
    virtual std::string machineName() = 0;
};

// The main application's login item (SMAppService.mainApp).
class LoginItem {
  public:
    enum class Status { notRegistered, enabled, requiresApproval, notFound };
    virtual ~LoginItem() = default;
    virtual Status status() = 0;
    // Each returns the error's localized description when the call throws, else none.
    virtual std::optional<std::string> registerItem() = 0;
    virtual std::optional<std::string> unregisterItem() = 0;
};

struct HttpRequest {
    std::string url;
    std::string method = "GET";
    std::vector<std::pair<std::string, std::string>> headers;
    // How long the exchange may go without receiving anything (connecting included) before
    // it fails: an idle time-out, as NSURLRequest's, not a limit on the whole exchange.
    double timeoutSeconds = 60;
    bool ignoreLocalCache = false;
};

struct HttpResult {
    // The transport error's localized description when the request itself failed.
    std::optional<std::string> transportError;
    // The status code, when the response is an HTTP response.
    std::optional<int> statusCode;
    // The body, when one arrived, whole and no longer than `HttpClient::maxBodyBytes`.
    std::optional<std::string> body;
    // The reply's body (as decoded, so a compressed one counts by what it expands to) went
    // past `HttpClient::maxBodyBytes`: reading stopped there, and the result carries no body
    // and no transport error, so whoever asked sees a failure with no detail.
    bool bodyTooLarge = false;
};

class HttpClient {
  public:
    // The longest body a client reads: 1 MB. No reply Quelto asks for comes near it, and a
    // hostile or broken server cannot make it hold more.
    static constexpr std::size_t maxBodyBytes = std::size_t{1024} * 1024;

    virtual ~HttpClient() = default;
    // Starts the request and returns at once; `completion` runs later on any thread.
    virtual void send(const HttpRequest& request, std::function<void(HttpResult)> completion) = 0;
};

// What an alert shows. With no buttons the alert has its single default button.
struct AlertDescription {
    std::string messageText;
    std::string informativeText;
    std::vector<std::string> buttons;
    friend bool operator==(const AlertDescription&, const AlertDescription&) = default;
};

class Alerts {
  public:
    static constexpr long firstButtonReturn = 1000;
    static constexpr long secondButtonReturn = 1001;
    virtual ~Alerts() = default;
    // Shows the alert and returns at once. The alert runs modally from the main run loop
    // itself, never inside the caller's work: run from a block on the main queue, its modal
    // loop would hold that serial queue, and with it every delayed step of the engine, until
    // the user answered. `completion`, when given, then gets 1000 for the first button, 1001
    // for the second, …, on the main thread.
    virtual void present(const AlertDescription& alert, std::function<void(long)> completion) = 0;
};

class Pasteboard {
  public:
    virtual ~Pasteboard() = default;
    // Clears the general pasteboard, then sets `text` as a plain string.
    virtual void setString(const std::string& text) = 0;
};

}  // namespace quelto

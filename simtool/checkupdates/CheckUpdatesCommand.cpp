#include "simtool/checkupdates/CheckUpdatesCommand.h"

#include <mutex>
#include <optional>

#include "settings/Log.h"
#include "update/AbsoluteURL.h"
#include "update/UpdateChecker.h"

#if !defined(__APPLE__)
#include "platform/linux/BlockingMainQueue.h"
#include "platform/linux/ConsoleAlerts.h"
#include "platform/linux/ConsoleWorkspace.h"
#include "platform/linux/CurlHttpClient.h"
#include "platform/linux/FixedSystemInfo.h"
#include "platform/linux/QueueHoldingHttpClient.h"
#endif

namespace quelto {

const char* checkUpdatesUsage() {
    return "usage: quelto-sim check-updates --site URL --build N [--version V] [--host HOST]\n"
           "                                [--answer 1000|1001]\n"
           "  --site URL     the product site's base address; the check asks URL/api/latest\n"
           "  --build N      this program's build (CFBundleVersion), taken as is\n"
           "  --version V    this program's version (CFBundleShortVersionString); missing\n"
           "                 when not given\n"
           "  --host HOST    the site's name in the failure text (default: URL's host)\n"
           "  --answer R     the button to answer the alert with: 1000 (first, default) or\n"
           "                 1001 (second)\n";
}

namespace {

struct Options {
    std::string site;
    std::optional<std::string> host;
    std::optional<std::string> build;
    std::optional<std::string> version;
    long answer = 1000;
    bool help = false;
};

// Parses the flags; on failure returns none and sets `error`.
std::optional<Options> parseOptions(const std::vector<std::string>& args, std::string& error) {
    Options options;
    bool haveSite = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string flag = args[i];
        std::optional<std::string> value;
        if (std::string::size_type eq = flag.find('=');
            flag.rfind("--", 0) == 0 && eq != std::string::npos) {
            value = flag.substr(eq + 1);
            flag = flag.substr(0, eq);
        }
        if (flag == "--help" || flag == "-h") {
            options.help = true;
            continue;
        }
        if (flag != "--site" && flag != "--host" && flag != "--build" && flag != "--version" &&
            flag != "--answer") {
            error = "unknown argument \"" + args[i] + "\"";
            return std::nullopt;
        }
        if (!value) {
            if (i + 1 >= args.size()) {
                error = flag + " needs a value";
                return std::nullopt;
            }
            value = args[++i];
        }
        if (flag == "--site") {
            options.site = *value;
            haveSite = true;
        } else if (flag == "--host") {
            options.host = *value;
        } else if (flag == "--build") {
            options.build = *value;
        } else if (flag == "--version") {
            options.version = *value;
        } else {
            if (*value == "1000")
                options.answer = 1000;
            else if (*value == "1001")
                options.answer = 1001;
            else {
                error = "--answer must be 1000 (the first button) or 1001 (the second), not \"" +
                        *value + "\"";
                return std::nullopt;
            }
        }
    }
    if (options.help) return options;
    if (!haveSite) {
        error = "--site URL is required";
        return std::nullopt;
    }
    if (!options.build) {
        error = "--build N is required";
        return std::nullopt;
    }
    return options;
}

}  // namespace

int runCheckUpdates(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    std::string error;
    std::optional<Options> options = parseOptions(args, error);
    if (!options) {
        err << "check-updates: " << error << "\n" << checkUpdatesUsage();
        return 2;
    }
    if (options->help) {
        out << checkUpdatesUsage();
        return 0;
    }
    // Accept a site given with a trailing slash; the request path is appended to it.
    std::string siteURL = options->site;
    while (siteURL.size() > 1 && siteURL.back() == '/' &&
           isValidURL(siteURL.substr(0, siteURL.size() - 1)))
        siteURL.pop_back();
    std::optional<AbsoluteURL> parsed = AbsoluteURL::parse(siteURL);
    UpdateChecker::Site site{
        siteURL, options->host ? *options->host : (parsed ? parsed->hostAndPort() : "")};
    if (!parsed || !UpdateChecker::request(site)) {
        err << "check-updates: --site needs an absolute address with a host, such as "
               "https://quelto.app, not \""
            << options->site << "\"\n";
        return 2;
    }

#if defined(__APPLE__)
    (void)out;
    err << "check-updates: the command line check runs on Linux (libcurl); on macOS use the "
           "app's own “Check for Updates…”\n";
    return 1;
#else
    BlockingMainQueue queue;
    CurlHttpClient curl;
    QueueHoldingHttpClient http(curl, queue);

    // Log lines are collected from the log's writer thread and printed on this thread at
    // each point where the output goes on, so they read in order with the alert.
    std::mutex linesMutex;
    std::vector<std::string> lines;
    Log::shared().setMirror([&](const std::string& line) {
        std::lock_guard<std::mutex> lock(linesMutex);
        lines.push_back(line);
    });
    auto printLog = [&] {
        Log::shared().drain();
        std::lock_guard<std::mutex> lock(linesMutex);
        for (const std::string& line : lines) out << "log: " << line;
        lines.clear();
        out.flush();
    };

    ConsoleAlerts alerts(out, options->answer);
    alerts.setBeforePrinting(printLog);
    ConsoleWorkspace workspace(out);
    workspace.setBeforePrinting(printLog);
    FixedSystemInfo system;
    system.set("CFBundleVersion", options->build);
    system.set("CFBundleShortVersionString", options->version);

    const UpdateContext context{.mainQueue = queue,
                                .workspace = workspace,
                                .system = &system,
                                .http = &http,
                                .alerts = &alerts};
    std::optional<UpdateChecker::Site> savedSite;
    if (UpdateChecker::site() != UpdateChecker::buildSettingsSite())
        savedSite = UpdateChecker::site();
    UpdateChecker::setSite(site);

    UpdateChecker::check(context, nullptr);
    queue.run();

    UpdateChecker::setSite(savedSite);
    printLog();
    Log::shared().setMirror({});
    Log::shared().drain();
    return 0;
#endif
}

}  // namespace quelto

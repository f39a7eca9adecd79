#include "platform/linux/CurlHttpClient.h"

#include <curl/curl.h>

#include <chrono>
#include <cmath>
#include <string>
#include <utility>

#include "platform/BuildSettings.h"

namespace quelto {

namespace {

// libcurl's global set-up is not thread-safe; do it once, before the first request.
void initialiseCurlOnce() {
    static const bool initialised = [] {
        curl_global_init(CURL_GLOBAL_DEFAULT);
        return true;
    }();
    (void)initialised;
}

using SteadyClock = std::chrono::steady_clock;

// One exchange's reading: the body as it grows (the only copy of it until the result takes
// it over), whether it went past the limit, and when anything last arrived.
struct Transfer {
    std::string body;
    bool tooLarge = false;
    SteadyClock::time_point lastArrival = SteadyClock::now();
    SteadyClock::duration idleLimit = SteadyClock::duration::max();
    curl_off_t received = 0;
    curl_off_t sent = 0;
    bool idleTooLong = false;
};

size_t appendBody(char* data, size_t size, size_t count, void* userdata) {
    auto* transfer = static_cast<Transfer*>(userdata);
    size_t n = size * count;
    transfer->lastArrival = SteadyClock::now();
    // The body is counted as decoded, so a small compressed reply that expands without end
    // stops here too. Returning less than was given makes curl end the exchange.
    if (n > HttpClient::maxBodyBytes - transfer->body.size()) {
        transfer->tooLarge = true;
        return 0;
    }
    transfer->body.append(data, n);
    return n;
}

size_t noteHeader(char*, size_t size, size_t count, void* userdata) {
    static_cast<Transfer*>(userdata)->lastArrival = SteadyClock::now();
    return size * count;
}

// Called by curl while the exchange runs, at least about once a second while nothing moves:
// ends it once nothing has been received or sent for the idle limit.
int watchIdle(void* userdata, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
    auto* transfer = static_cast<Transfer*>(userdata);
    SteadyClock::time_point now = SteadyClock::now();
    if (received != transfer->received || sent != transfer->sent) {
        transfer->received = received;
        transfer->sent = sent;
        transfer->lastArrival = now;
        return 0;
    }
    if (now - transfer->lastArrival < transfer->idleLimit) return 0;
    transfer->idleTooLong = true;
    return 1;
}

struct EasyHandle {
    CURL* handle = curl_easy_init();
    curl_slist* headers = nullptr;
    ~EasyHandle() {
        if (headers) curl_slist_free_all(headers);
        if (handle) curl_easy_cleanup(handle);
    }
};

}  // namespace

CurlHttpClient::CurlHttpClient() {
    initialiseCurlOnce();
}

CurlHttpClient::~CurlHttpClient() {
    std::list<Worker> workers;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        workers.swap(workers_);
    }
    for (Worker& worker : workers)
        if (worker.thread.joinable()) worker.thread.join();
}

void CurlHttpClient::reapFinished() {
    std::list<Worker> finished;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (auto it = workers_.begin(); it != workers_.end();) {
            auto next = std::next(it);
            if (it->done->load()) finished.splice(finished.end(), workers_, it);
            it = next;
        }
    }
    for (Worker& worker : finished) worker.thread.join();
}

void CurlHttpClient::send(const HttpRequest& request, std::function<void(HttpResult)> completion) {
    reapFinished();
    auto done = std::make_shared<std::atomic<bool>>(false);
    std::thread thread([request, completion = std::move(completion), done] {
        completion(perform(request));
        done->store(true);
    });
    std::lock_guard<std::mutex> lock(mutex_);
    workers_.push_back(Worker{std::move(thread), std::move(done)});
}

HttpResult CurlHttpClient::perform(const HttpRequest& request) {
    initialiseCurlOnce();
    HttpResult result;
    EasyHandle easy;
    if (!easy.handle) {
        result.transportError = "could not start a network request";
        return result;
    }
    CURL* curl = easy.handle;
    char errorText[CURL_ERROR_SIZE] = {0};
    Transfer transfer;
    const std::string userAgent = std::string("Quelto/") + build::version;

    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str());
    // Several requests run at once on their own threads: no signals for name look-ups.
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_USERAGENT, userAgent.c_str());
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 16L);
#if LIBCURL_VERSION_NUM >= 0x075500
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
#else
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS,
                     static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
#endif
    curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");  // every encoding curl can decode
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, noteHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &transfer);

    if (request.method == "HEAD") {
        curl_easy_setopt(curl, CURLOPT_NOBODY, 1L);
    } else {
        // A reply that announces a longer body is refused before any of it is read.
        curl_easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE,
                         static_cast<curl_off_t>(HttpClient::maxBodyBytes));
        if (request.method != "GET")
            curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    }

    for (const auto& [name, value] : request.headers) {
        std::string line = name + ": " + value;
        curl_slist* grown = curl_slist_append(easy.headers, line.c_str());
        if (grown) easy.headers = grown;
    }
    if (easy.headers) curl_easy_setopt(curl, CURLOPT_HTTPHEADER, easy.headers);

    // The time-out is an idle one, as NSURLSession's: a slow reply that keeps arriving is
    // read to its end (the body limit bounds it); one that stops for that long fails.
    if (request.timeoutSeconds > 0 && std::isfinite(request.timeoutSeconds)) {
        double ms = std::ceil(request.timeoutSeconds * 1000.0);
        long timeout = ms > 2147483647.0 ? 2147483647L : static_cast<long>(ms);
        curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, timeout);
        transfer.idleLimit = std::chrono::milliseconds(timeout);
        curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, watchIdle);
        curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &transfer);
        curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    }

    transfer.lastArrival = SteadyClock::now();
    CURLcode code = curl_easy_perform(curl);
    long status = 0;
    if (curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK) status = 0;
    if (transfer.tooLarge || code == CURLE_FILESIZE_EXCEEDED) {
        // Not a network error: the site answered with more than an answer can be.
        if (status > 0) result.statusCode = static_cast<int>(status);
        result.bodyTooLarge = true;
        return result;
    }
    if (code != CURLE_OK) {
        if (transfer.idleTooLong)
            result.transportError = "The request timed out.";
        else
            result.transportError =
                errorText[0] ? std::string(errorText) : curl_easy_strerror(code);
        return result;
    }
    if (status > 0) result.statusCode = static_cast<int>(status);
    result.body = std::move(transfer.body);
    return result;
}

}  // namespace quelto

#pragma once
// The HTTP client on Linux, over libcurl: the command line tool's way to the product site.
// Each request runs on a thread of its own; its completion runs on that thread. The client
// waits for its requests to finish when it is destroyed.

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/Services.h"

namespace quelto {

class CurlHttpClient final : public HttpClient {
  public:
    CurlHttpClient();
    ~CurlHttpClient() override;
    CurlHttpClient(const CurlHttpClient&) = delete;
    CurlHttpClient& operator=(const CurlHttpClient&) = delete;

    // Sends `request` on a new thread: its method, headers and time-out (an idle one: the
    // exchange fails once nothing has arrived for that long, connecting included). libcurl
    // keeps no response cache, so every request reaches the server whatever
    // `ignoreLocalCache` says. Redirects are followed (http and https only) and compressed
    // bodies decoded. The result carries curl's error text when the exchange failed (and
    // then no status or body); `bodyTooLarge` and no body when the body, decoded, went past
    // `maxBodyBytes`; else the status code and the whole body.
    void send(const HttpRequest& request, std::function<void(HttpResult)> completion) override;

    // Runs `request` on the calling thread and returns its result.
    static HttpResult perform(const HttpRequest& request);

  private:
    struct Worker {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> done;
    };
    void reapFinished();

    std::mutex mutex_;
    std::list<Worker> workers_;
};

}  // namespace quelto

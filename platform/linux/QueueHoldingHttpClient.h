#pragma once
// An HTTP client that holds a blocking main queue open while each of its requests is in
// flight, so `BlockingMainQueue::run()` waits for the reply (and for the work the reply
// hands to the main queue) before it returns.

#include "platform/Services.h"
#include "platform/linux/BlockingMainQueue.h"

namespace quelto {

class QueueHoldingHttpClient final : public HttpClient {
  public:
    // Both must outlive every request sent through this client.
    QueueHoldingHttpClient(HttpClient& inner, BlockingMainQueue& queue)
        : inner_(inner), queue_(queue) {}

    void send(const HttpRequest& request, std::function<void(HttpResult)> completion) override;

  private:
    HttpClient& inner_;
    BlockingMainQueue& queue_;
};

}  // namespace quelto

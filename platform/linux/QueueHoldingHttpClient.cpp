#include "platform/linux/QueueHoldingHttpClient.h"

#include <utility>

namespace quelto {

void QueueHoldingHttpClient::send(const HttpRequest& request,
                                  std::function<void(HttpResult)> completion) {
    queue_.hold();
    BlockingMainQueue* queue = &queue_;
    inner_.send(request, [queue, completion = std::move(completion)](HttpResult result) {
        // The completion hands its work to the queue first; only then may the queue go idle.
        if (completion) completion(std::move(result));
        queue->release();
    });
}

}  // namespace quelto

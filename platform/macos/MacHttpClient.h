#pragma once
// The HTTP client on macOS: a data task of the shared URL session per request, read by a
// delegate of its own that stops past `HttpClient::maxBodyBytes` (counted as decoded). The
// request's time-out is NSURLRequest's: an idle one. The completion runs on the session's
// delegate queue, never on the caller's stack.

#include "platform/Services.h"

namespace quelto::mac {

class MacHttpClient final : public HttpClient {
  public:
    void send(const HttpRequest& request, std::function<void(HttpResult)> completion) override;
};

}  // namespace quelto::mac

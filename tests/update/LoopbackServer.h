#pragma once
// A tiny HTTP/1.1 server on 127.0.0.1 for the tests: it answers each request with whatever
// the test's handler returns, optionally after a delay or not at all, and records what it
// was asked. One connection at a time, "Connection: close". It stops when destroyed, and by
// itself once its lifetime is over, so a test that goes wrong never leaves it running.

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quelto::test {

class LoopbackServer {
  public:
    struct Request {
        std::string method;
        std::string target;  // "/api/latest"
        std::vector<std::pair<std::string, std::string>> headers;
        // The value of a header (names compared without regard to case), or "".
        std::string header(const std::string& name) const;
        bool hasHeader(const std::string& name) const;
    };

    struct Response {
        int status = 200;
        std::vector<std::pair<std::string, std::string>> headers;
        std::string body;
        // Seconds to wait before answering.
        double delaySeconds = 0;
        // Close the connection without any answer.
        bool hangUp = false;
        // Send the body one byte at a time, this many seconds apart (the head at once).
        double trickleSeconds = 0;
    };

    using Handler = std::function<Response(const Request&)>;

    explicit LoopbackServer(Handler handler, double lifetimeSeconds = 60);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    // False when the socket could not be set up (the port is then 0).
    bool listening() const { return fd_ >= 0; }
    int port() const { return port_; }
    // "http://127.0.0.1:{port}"
    std::string baseURL() const;

    std::vector<Request> requests() const;

    // A port on 127.0.0.1 where nothing listens: a connection there is refused.
    static int closedPort();

    // A handler that always gives the same response.
    static Handler always(Response response);

    // A gzip stream ("Content-Encoding: gzip") that decodes to `count` copies of `byte`:
    // each 258 of them cost 13 bits, so a few hundred kilobytes expand to many megabytes.
    static std::string gzipOfRepeated(char byte, std::size_t count);

  private:
    void serve();
    void handle(int client);
    bool waitFor(int fd, short events, int timeoutMs);
    bool stopping() const;
    bool sendAll(int client, const char* data, std::size_t size);
    // Waits `seconds`, or less when the server stops; false when it stopped.
    bool pause(double seconds);

    Handler handler_;
    int fd_ = -1;
    int port_ = 0;
    std::atomic<bool> stop_{false};
    double lifetime_;
    mutable std::mutex mutex_;
    std::vector<Request> requests_;
    std::thread thread_;
};

}  // namespace quelto::test

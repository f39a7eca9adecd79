// POSIX sockets with the Linux flags; the tests that use it run where the curl client does.
#if !defined(__APPLE__)

#include "LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdint>

namespace quelto::test {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string trim(const std::string& s) {
    std::size_t b = s.find_first_not_of(" \t");
    if (b == std::string::npos) return "";
    std::size_t e = s.find_last_not_of(" \t\r");
    return s.substr(b, e - b + 1);
}

const char* reasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 204:
            return "No Content";
        case 301:
            return "Moved Permanently";
        case 302:
            return "Found";
        case 304:
            return "Not Modified";
        case 400:
            return "Bad Request";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 500:
            return "Internal Server Error";
        case 502:
            return "Bad Gateway";
        case 503:
            return "Service Unavailable";
        default:
            return "Status";
    }
}

constexpr std::size_t maxRequestHead = 64 * 1024;

// Bits in deflate's order: each value's least significant bit first.
class BitWriter {
  public:
    void bits(std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) bit((value >> i) & 1u);
    }
    // A Huffman code goes most significant bit first.
    void code(std::uint32_t value, int length) {
        for (int i = length - 1; i >= 0; --i) bit((value >> i) & 1u);
    }
    std::string finish() {
        if (used_ > 0) out_.push_back(static_cast<char>(current_));
        current_ = 0;
        used_ = 0;
        return std::move(out_);
    }

  private:
    void bit(std::uint32_t b) {
        current_ |= static_cast<unsigned>(b) << used_;
        if (++used_ == 8) {
            out_.push_back(static_cast<char>(current_));
            current_ = 0;
            used_ = 0;
        }
    }
    std::string out_;
    unsigned current_ = 0;
    int used_ = 0;
};

// A literal byte in deflate's fixed Huffman code.
void literal(BitWriter& w, unsigned char byte) {
    if (byte < 144)
        w.code(0x30u + byte, 8);
    else
        w.code(0x190u + (byte - 144u), 9);
}

std::uint32_t crc32OfRepeated(unsigned char byte, std::size_t count) {
    std::uint32_t table[256];
    for (std::uint32_t n = 0; n < 256; ++n) {
        std::uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1u) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        table[n] = c;
    }
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < count; ++i) crc = table[(crc ^ byte) & 0xFFu] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}

void appendLittleEndian(std::string& out, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFFu));
}

}  // namespace

std::string LoopbackServer::gzipOfRepeated(char byte, std::size_t count) {
    const auto b = static_cast<unsigned char>(byte);
    BitWriter w;
    w.bits(1, 1);  // the final block
    w.bits(1, 2);  // compressed with the fixed Huffman codes
    std::size_t left = count;
    if (left > 0) {
        literal(w, b);
        --left;
    }
    // Then copies of the byte before: length 258 (symbol 285, no extra bits) at distance 1
    // (distance code 0, five bits).
    for (; left >= 258; left -= 258) {
        w.code(0xC5u, 8);
        w.code(0, 5);
    }
    for (; left > 0; --left) literal(w, b);
    w.code(0, 7);  // end of block

    std::string out = {'\x1f', '\x8b', 8, 0, 0, 0, 0, 0, 0, '\xff'};
    out += w.finish();
    appendLittleEndian(out, crc32OfRepeated(b, count));
    appendLittleEndian(out, static_cast<std::uint32_t>(count & 0xFFFFFFFFu));
    return out;
}

std::string LoopbackServer::Request::header(const std::string& name) const {
    for (const auto& [n, v] : headers)
        if (lower(n) == lower(name)) return v;
    return "";
}

bool LoopbackServer::Request::hasHeader(const std::string& name) const {
    return std::any_of(headers.begin(), headers.end(),
                       [&](const auto& h) { return lower(h.first) == lower(name); });
}

LoopbackServer::Handler LoopbackServer::always(Response response) {
    return [response](const Request&) { return response; };
}

LoopbackServer::LoopbackServer(Handler handler, double lifetimeSeconds)
    : handler_(std::move(handler)), lifetime_(lifetimeSeconds) {
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0) return;
    int yes = 1;
    ::setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    socklen_t len = sizeof addr;
    if (::bind(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
        ::listen(fd_, 16) != 0 ||
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
        ::close(fd_);
        fd_ = -1;
        return;
    }
    port_ = ntohs(addr.sin_port);
    thread_ = std::thread([this] { serve(); });
}

LoopbackServer::~LoopbackServer() {
    stop_.store(true);
    if (thread_.joinable()) thread_.join();
    if (fd_ >= 0) ::close(fd_);
}

std::string LoopbackServer::baseURL() const {
    return "http://127.0.0.1:" + std::to_string(port_);
}

std::vector<LoopbackServer::Request> LoopbackServer::requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

int LoopbackServer::closedPort() {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return 1;
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    int port = 1;  // privileged and unused on a test machine: refused as well
    if (::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) == 0)
        port = ntohs(addr.sin_port);
    ::close(fd);  // bound but never listening: nothing accepts on it any more
    return port;
}

bool LoopbackServer::stopping() const {
    return stop_.load();
}

bool LoopbackServer::waitFor(int fd, short events, int timeoutMs) {
    // Waits in short slices so a stop request is seen quickly.
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!stopping()) {
        pollfd p{fd, events, 0};
        int r = ::poll(&p, 1, 20);
        if (r > 0) return true;
        if (r < 0 && errno != EINTR) return false;
        if (std::chrono::steady_clock::now() >= end) return false;
    }
    return false;
}

void LoopbackServer::serve() {
    auto end = std::chrono::steady_clock::now() +
               std::chrono::milliseconds(static_cast<long>(lifetime_ * 1000));
    while (!stopping() && std::chrono::steady_clock::now() < end) {
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, 20) <= 0) continue;
        int client = ::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) continue;
        handle(client);
        ::close(client);
    }
}

void LoopbackServer::handle(int client) {
    // The request head, then as much body as Content-Length announces.
    std::string data;
    char buffer[16384];
    std::size_t headEnd;
    while ((headEnd = data.find("\r\n\r\n")) == std::string::npos) {
        if (data.size() > maxRequestHead || !waitFor(client, POLLIN, 5000)) return;
        ssize_t n = ::recv(client, buffer, sizeof buffer, 0);
        if (n <= 0) return;
        data.append(buffer, static_cast<std::size_t>(n));
    }

    Request request;
    std::string head = data.substr(0, headEnd);
    std::size_t lineEnd = head.find("\r\n");
    std::string requestLine = head.substr(0, lineEnd);
    std::size_t s1 = requestLine.find(' ');
    std::size_t s2 = requestLine.find(' ', s1 == std::string::npos ? 0 : s1 + 1);
    if (s1 == std::string::npos || s2 == std::string::npos) return;
    request.method = requestLine.substr(0, s1);
    request.target = requestLine.substr(s1 + 1, s2 - s1 - 1);
    std::size_t pos = lineEnd == std::string::npos ? head.size() : lineEnd + 2;
    while (pos < head.size()) {
        std::size_t next = head.find("\r\n", pos);
        std::string line =
            head.substr(pos, next == std::string::npos ? std::string::npos : next - pos);
        std::size_t colon = line.find(':');
        if (colon != std::string::npos)
            request.headers.emplace_back(line.substr(0, colon), trim(line.substr(colon + 1)));
        if (next == std::string::npos) break;
        pos = next + 2;
    }
    std::size_t contentLength = 0;
    if (std::string cl = request.header("Content-Length"); !cl.empty())
        contentLength = std::min<std::size_t>(std::stoul(cl), maxRequestHead);
    std::size_t bodyHave = data.size() - (headEnd + 4);
    while (bodyHave < contentLength) {
        if (!waitFor(client, POLLIN, 5000)) return;
        ssize_t n = ::recv(client, buffer, sizeof buffer, 0);
        if (n <= 0) return;
        bodyHave += static_cast<std::size_t>(n);
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(request);
    }

    Response response = handler_(request);
    if (!pause(response.delaySeconds) || response.hangUp) return;

    std::string out = "HTTP/1.1 " + std::to_string(response.status) + " " +
                      reasonPhrase(response.status) + "\r\n";
    for (const auto& [name, value] : response.headers) out += name + ": " + value + "\r\n";
    out += "Content-Length: " + std::to_string(response.body.size()) + "\r\n";
    out += "Connection: close\r\n\r\n";
    const bool withBody = request.method != "HEAD";
    if (response.trickleSeconds <= 0) {
        if (withBody) out += response.body;
        if (!sendAll(client, out.data(), out.size())) return;
    } else {
        if (!sendAll(client, out.data(), out.size())) return;
        for (std::size_t i = 0; withBody && i < response.body.size(); ++i)
            if (!pause(response.trickleSeconds) || !sendAll(client, &response.body[i], 1)) return;
    }
    ::shutdown(client, SHUT_WR);
}

bool LoopbackServer::sendAll(int client, const char* data, std::size_t size) {
    std::size_t sent = 0;
    while (sent < size) {
        if (!waitFor(client, POLLOUT, 5000)) return false;
        ssize_t n = ::send(client, data + sent, size - sent, MSG_NOSIGNAL);
        if (n <= 0) return false;
        sent += static_cast<std::size_t>(n);
    }
    return true;
}

bool LoopbackServer::pause(double seconds) {
    if (seconds > 0) {
        auto until = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(static_cast<long>(seconds * 1000));
        while (!stopping() && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return !stopping();
}

}  // namespace quelto::test

#endif  // !defined(__APPLE__)

#pragma once
// An absolute web address with a scheme and a host ("https://quelto.app/download/…"), as the
// update checker requires of both its request address and the download address a site sends.
// Anything that is not such an address (relative references, "mailto:" style addresses with
// no host, spaces, bad percent escapes, non-ASCII bytes, the empty string) is refused, so a
// valid address can be handed to the workspace as is.

#include <optional>
#include <string>
#include <string_view>

namespace quelto {

struct AbsoluteURL {
    std::string scheme;     // lower-cased: "https"
    std::string authority;  // everything between "//" and the path: "user@host:8080"
    std::string host;       // the host alone, as written: "quelto.app", "[::1]"
    std::string port;       // the digits after the host's colon, or empty

    // The parts of `text` when it is an absolute address with a non-empty host; none
    // otherwise.
    static std::optional<AbsoluteURL> parse(std::string_view text);

    // The host with its port, the way people write a site: "quelto.app", "127.0.0.1:8080".
    std::string hostAndPort() const { return port.empty() ? host : host + ":" + port; }
};

// Whether `text` is an absolute address with a scheme and a non-empty host.
inline bool isValidURL(std::string_view text) {
    return AbsoluteURL::parse(text).has_value();
}

}  // namespace quelto

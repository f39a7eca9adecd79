#include "update/AbsoluteURL.h"

#include <cctype>

namespace quelto {

namespace {

bool isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isHex(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isUnreserved(char c) {
    return isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

bool isSubDelim(char c) {
    switch (c) {
        case '!':
        case '$':
        case '&':
        case '\'':
        case '(':
        case ')':
        case '*':
        case '+':
        case ',':
        case ';':
        case '=':
            return true;
        default:
            return false;
    }
}

// Checks that every character of `part` is one of `allowed` or a complete percent escape.
template <typename Allowed>
bool wellFormed(std::string_view part, Allowed allowed) {
    for (std::size_t i = 0; i < part.size(); ++i) {
        char c = part[i];
        if (c == '%') {
            if (i + 2 >= part.size()) return false;
            if (!isHex(part[i + 1]) || !isHex(part[i + 2])) return false;
            i += 2;
        } else if (!allowed(c)) {
            return false;
        }
    }
    return true;
}

bool regNameChar(char c) {
    return isUnreserved(c) || isSubDelim(c);
}
bool userInfoChar(char c) {
    return isUnreserved(c) || isSubDelim(c) || c == ':';
}
bool pathChar(char c) {
    return isUnreserved(c) || isSubDelim(c) || c == ':' || c == '@' || c == '/';
}
bool queryChar(char c) {
    return pathChar(c) || c == '?';
}

bool validIPLiteral(std::string_view host) {
    // "[" … "]" holding an IPv6 address (hex digits, colons and dots), or "v1.…" forms.
    if (host.size() < 3 || host.front() != '[' || host.back() != ']') return false;
    std::string_view inner = host.substr(1, host.size() - 2);
    if (inner.front() == 'v' || inner.front() == 'V') {
        std::size_t dot = inner.find('.');
        if (dot == std::string_view::npos || dot < 2 || dot + 1 == inner.size()) return false;
        for (std::size_t i = 1; i < dot; ++i)
            if (!isHex(inner[i])) return false;
        for (std::size_t i = dot + 1; i < inner.size(); ++i)
            if (!userInfoChar(inner[i])) return false;
        return true;
    }
    bool colon = false;
    for (char c : inner) {
        if (c == ':')
            colon = true;
        else if (!isHex(c) && c != '.')
            return false;
    }
    return colon;
}

}  // namespace

std::optional<AbsoluteURL> AbsoluteURL::parse(std::string_view text) {
    // scheme ":" "//" authority path-abempty [ "?" query ] [ "#" fragment ]
    std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !isAlpha(text[0])) return std::nullopt;
    AbsoluteURL url;
    for (std::size_t i = 0; i < colon; ++i) {
        char c = text[i];
        if (!isAlpha(c) && !isDigit(c) && c != '+' && c != '-' && c != '.') return std::nullopt;
        url.scheme += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    std::string_view rest = text.substr(colon + 1);
    if (rest.substr(0, 2) != "//") return std::nullopt;
    rest.remove_prefix(2);

    std::size_t authorityEnd = rest.find_first_of("/?#");
    std::string_view authority = rest.substr(0, authorityEnd);
    std::string_view tail =
        authorityEnd == std::string_view::npos ? std::string_view{} : rest.substr(authorityEnd);

    std::string_view hostPort = authority;
    if (std::size_t at = authority.rfind('@'); at != std::string_view::npos) {
        if (!wellFormed(authority.substr(0, at), userInfoChar)) return std::nullopt;
        hostPort = authority.substr(at + 1);
    }
    std::string_view host = hostPort;
    std::string_view port;
    if (!hostPort.empty() && hostPort.front() == '[') {
        std::size_t close = hostPort.find(']');
        if (close == std::string_view::npos) return std::nullopt;
        host = hostPort.substr(0, close + 1);
        std::string_view after = hostPort.substr(close + 1);
        if (!after.empty()) {
            if (after.front() != ':') return std::nullopt;
            port = after.substr(1);
        }
        if (!validIPLiteral(host)) return std::nullopt;
    } else {
        if (std::size_t pc = hostPort.rfind(':'); pc != std::string_view::npos) {
            host = hostPort.substr(0, pc);
            port = hostPort.substr(pc + 1);
        }
        if (host.empty() || !wellFormed(host, regNameChar)) return std::nullopt;
    }
    if (port.size() > 5) return std::nullopt;
    for (char c : port)
        if (!isDigit(c)) return std::nullopt;
    if (!port.empty() && std::stoul(std::string(port)) > 65535) return std::nullopt;

    // The path, then an optional query, then an optional fragment (which holds no "#").
    std::size_t hash = tail.find('#');
    std::string_view beforeFragment = tail.substr(0, hash);
    if (hash != std::string_view::npos && !wellFormed(tail.substr(hash + 1), queryChar))
        return std::nullopt;
    std::size_t question = beforeFragment.find('?');
    if (!wellFormed(beforeFragment.substr(0, question), pathChar)) return std::nullopt;
    if (question != std::string_view::npos &&
        !wellFormed(beforeFragment.substr(question + 1), queryChar))
        return std::nullopt;

    url.authority = std::string(authority);
    url.host = std::string(host);
    url.port = std::string(port);
    return url;
}

}  // namespace quelto

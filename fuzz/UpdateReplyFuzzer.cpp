// The update reply's validation on arbitrary bodies: whatever a site (or anything between it
// and the user) sends, the check must not crash, throw or accept a reply that lacks what the
// alert needs. The input is the body of a reply with status 200; the same body is also
// offered with other statuses and without a body. An accepted reply is checked against an
// independent reading of the same JSON; the build-number parser and the address validator
// get the same bytes.

#include <nlohmann/json.hpp>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "update/AbsoluteURL.h"
#include "update/UpdateChecker.h"

using quelto::HttpResult;
using quelto::UpdateChecker;

namespace {

[[noreturn]] void fail(const char* what, std::string_view input) {
    std::fprintf(stderr, "update reply fuzzer: %s\n--- input (%zu bytes) ---\n%.*s\n---\n", what,
                 input.size(), static_cast<int>(input.size()), input.data());
    std::abort();
}

// A decimal integer with an optional leading sign, within 64 bits; anything else is 0.
std::int64_t referenceBuild(std::string_view s) {
    bool negative = false;
    if (!s.empty() && (s[0] == '+' || s[0] == '-')) {
        negative = s[0] == '-';
        s.remove_prefix(1);
    }
    if (s.empty()) return 0;
    for (char c : s)
        if (c < '0' || c > '9') return 0;
    std::string digits = (negative ? "-" : "") + std::string(s);
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) return 0;
    return value;
}

void checkAccepted(const UpdateChecker::Latest& latest, std::string_view body) {
    using nlohmann::json;
    json doc = json::parse(body.begin(), body.end(), nullptr, false);
    if (doc.is_discarded() || !doc.is_object())
        fail("accepted a body that is no JSON object", body);
    auto version = doc.find("version");
    if (version == doc.end() || !version->is_string() ||
        version->get<std::string>() != latest.version)
        fail("accepted a version that the body does not hold", body);
    auto url = doc.find("url");
    if (url == doc.end() || !url->is_string() || url->get<std::string>() != latest.url)
        fail("accepted a download address that the body does not hold", body);
    if (!quelto::isValidURL(latest.url)) fail("accepted an invalid download address", body);
    auto build = doc.find("build");
    if (build == doc.end() || !build->is_number()) fail("accepted a build that is no number", body);
    if (build->is_number_float() && static_cast<double>(latest.build) != build->get<double>())
        fail("accepted a build that the body does not hold", body);
    if (build->is_number_unsigned()) {
        std::uint64_t value = build->get<std::uint64_t>();
        if (latest.build < 0 || static_cast<std::uint64_t>(latest.build) != value)
            fail("accepted a build that the body does not hold", body);
    } else if (build->is_number_integer() && latest.build != build->get<std::int64_t>()) {
        fail("accepted a build that the body does not hold", body);
    }
    auto notes = doc.find("notes");
    bool allStrings = notes != doc.end() && notes->is_array();
    if (allStrings)
        for (const auto& note : *notes) allStrings = allStrings && note.is_string();
    if (allStrings) {
        if (latest.notes.size() != notes->size()) fail("the notes were not all kept", body);
        for (std::size_t i = 0; i < latest.notes.size(); ++i)
            if (latest.notes[i] != (*notes)[i].get<std::string>())
                fail("a note changed on the way", body);
    } else if (!latest.notes.empty()) {
        fail("notes that are not an array of strings were kept", body);
    }
    // The alerts are built from what was accepted.
    (void)UpdateChecker::updateAvailableAlert(latest, "1.0.0", 1);
    (void)UpdateChecker::upToDateAlert("1.0.0", latest.build);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view body(reinterpret_cast<const char*>(data), size);

    HttpResult reply;
    reply.statusCode = 200;
    reply.body = std::string(body);
    if (auto latest = UpdateChecker::parseReply(reply)) checkAccepted(*latest, body);

    // Only a 200 reply with a body can be accepted.
    for (int status : {201, 304, 404, 500}) {
        reply.statusCode = status;
        if (UpdateChecker::parseReply(reply))
            fail("accepted a reply whose status is not 200", body);
    }
    reply.statusCode.reset();
    if (UpdateChecker::parseReply(reply)) fail("accepted a reply that is not HTTP", body);
    HttpResult empty;
    empty.statusCode = 200;
    empty.transportError = std::string(body);
    if (UpdateChecker::parseReply(empty)) fail("accepted a reply without a body", body);
    (void)UpdateChecker::failureAlert(std::string(body), "quelto.app");

    // The running program's build number, read from the same bytes.
    std::int64_t build = UpdateChecker::parseBuildNumber(std::string(body));
    if (build != referenceBuild(body)) fail("the build number was misread", body);

    // The address validator: an address it accepts has a host.
    if (auto url = quelto::AbsoluteURL::parse(body)) {
        if (url->host.empty() || url->scheme.empty())
            fail("accepted an address without a host", body);
        (void)url->hostAndPort();
    }
    return 0;
}

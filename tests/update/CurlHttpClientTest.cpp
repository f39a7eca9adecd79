// The libcurl client against a real HTTP server on the loopback interface.
#if !defined(__APPLE__)

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>

#include "LoopbackServer.h"
#include "platform/BuildSettings.h"
#include "platform/linux/CurlHttpClient.h"

namespace quelto {
namespace {

using test::LoopbackServer;

HttpRequest get(const std::string& url, double timeout = 10) {
    HttpRequest request;
    request.url = url;
    request.headers = {{"Accept", "application/json"}, {"X-Quelto-Test", "yes"}};
    request.timeoutSeconds = timeout;
    request.ignoreLocalCache = true;
    return request;
}

// Sends through the client and waits for the completion (bounded, so a broken client fails
// the test instead of hanging it).
HttpResult sendAndWait(CurlHttpClient& client, const HttpRequest& request) {
    auto promise = std::make_shared<std::promise<HttpResult>>();
    auto future = promise->get_future();
    auto caller = std::this_thread::get_id();
    auto otherThread = std::make_shared<bool>(false);
    client.send(request, [promise, caller, otherThread](HttpResult result) {
        *otherThread = std::this_thread::get_id() != caller;
        promise->set_value(std::move(result));
    });
    if (future.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
        ADD_FAILURE() << "no completion";
        return {};
    }
    HttpResult result = future.get();
    EXPECT_TRUE(*otherThread) << "the completion ran on the caller's thread";
    return result;
}

TEST(CurlHttpClient, DeliversStatusAndBodyAndSendsTheHeaders) {
    LoopbackServer server(
        LoopbackServer::always({200, {{"Content-Type", "application/json"}}, R"({"ok":true})"}));
    ASSERT_TRUE(server.listening());
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/api/latest"));
    EXPECT_FALSE(result.transportError);
    EXPECT_EQ(result.statusCode, 200);
    EXPECT_EQ(result.body, R"({"ok":true})");
    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, "GET");
    EXPECT_EQ(requests[0].target, "/api/latest");
    EXPECT_EQ(requests[0].header("Accept"), "application/json");
    EXPECT_EQ(requests[0].header("X-Quelto-Test"), "yes");
    // The version the build was configured with, as every other place shows it.
    EXPECT_EQ(requests[0].header("User-Agent"), std::string("Quelto/") + build::version);
}

TEST(CurlHttpClient, OtherStatusesAreRepliesNotTransportErrors) {
    for (int status : {404, 500, 503, 204}) {
        LoopbackServer server(LoopbackServer::always({status, {}, status == 204 ? "" : "nope"}));
        CurlHttpClient client;
        HttpResult result = sendAndWait(client, get(server.baseURL() + "/api/latest"));
        EXPECT_FALSE(result.transportError) << status;
        EXPECT_EQ(result.statusCode, status);
        EXPECT_EQ(result.body, status == 204 ? "" : "nope");
    }
}

TEST(CurlHttpClient, EmptyBodyIsStillABody) {
    LoopbackServer server(LoopbackServer::always({200, {}, ""}));
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/"));
    EXPECT_EQ(result.statusCode, 200);
    ASSERT_TRUE(result.body);
    EXPECT_TRUE(result.body->empty());
}

TEST(CurlHttpClient, SlowReplyPastTheTimeOutIsATransportError) {
    LoopbackServer server(LoopbackServer::always({200, {}, "late", /*delaySeconds=*/5}));
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/api/latest", 0.3));
    ASSERT_TRUE(result.transportError);
    EXPECT_NE(result.transportError->find("timed out"), std::string::npos)
        << *result.transportError;
    EXPECT_FALSE(result.statusCode);
    EXPECT_FALSE(result.body);
}

TEST(CurlHttpClient, RefusedConnectionIsATransportErrorWithCurlsText) {
    CurlHttpClient client;
    int port = LoopbackServer::closedPort();
    HttpResult result =
        sendAndWait(client, get("http://127.0.0.1:" + std::to_string(port) + "/api/latest"));
    ASSERT_TRUE(result.transportError);
    EXPECT_NE(result.transportError->find("127.0.0.1"), std::string::npos)
        << *result.transportError;
    EXPECT_FALSE(result.statusCode);
    EXPECT_FALSE(result.body);
}

TEST(CurlHttpClient, ConnectionClosedWithoutReplyIsATransportError) {
    LoopbackServer::Response hangUp;
    hangUp.hangUp = true;
    LoopbackServer server(LoopbackServer::always(hangUp));
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/api/latest"));
    ASSERT_TRUE(result.transportError);
    EXPECT_FALSE(result.transportError->empty());
    EXPECT_FALSE(result.body);
}

TEST(CurlHttpClient, UnsupportedSchemeIsATransportError) {
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get("ftp://127.0.0.1/x"));
    ASSERT_TRUE(result.transportError);
    EXPECT_FALSE(result.transportError->empty());
}

// What a reply past the limit gives: no body and no transport error, so the update check
// fails without detail.
void expectRefusedAsTooLarge(const HttpResult& result) {
    EXPECT_TRUE(result.bodyTooLarge);
    EXPECT_FALSE(result.body);
    EXPECT_FALSE(result.transportError);
}

// What a reply within the limit gives: the whole body.
void expectWholeBody(const HttpResult& result, const std::string& body) {
    EXPECT_FALSE(result.transportError);
    EXPECT_FALSE(result.bodyTooLarge);
    ASSERT_TRUE(result.body);
    EXPECT_EQ(result.body->size(), body.size());
    EXPECT_TRUE(*result.body == body);
}

TEST(CurlHttpClient, TwoMegabyteBodyIsRefusedWithNeitherBodyNorError) {
    LoopbackServer server(
        LoopbackServer::always({200, {}, std::string(2 * HttpClient::maxBodyBytes, 'x')}));
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/big"));
    expectRefusedAsTooLarge(result);
    EXPECT_EQ(result.statusCode, 200);
}

TEST(CurlHttpClient, ExactlyOneMegabyteArrivesWhole) {
    std::string body(HttpClient::maxBodyBytes, '\0');
    for (std::size_t i = 0; i < body.size(); ++i) body[i] = static_cast<char>('a' + i % 26);
    LoopbackServer server(LoopbackServer::always({200, {}, body}));
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/limit"));
    ASSERT_EQ(body.size(), HttpClient::maxBodyBytes);
    expectWholeBody(result, body);
}

TEST(CurlHttpClient, OneByteOverTheLimitIsRefused) {
    LoopbackServer server(
        LoopbackServer::always({200, {}, std::string(HttpClient::maxBodyBytes + 1, 'x')}));
    CurlHttpClient client;
    expectRefusedAsTooLarge(sendAndWait(client, get(server.baseURL() + "/over")));
}

TEST(CurlHttpClient, CompressedBodyIsCountedAsItDecodes) {
    // Exactly the limit once decoded: read whole.
    std::string atLimit = LoopbackServer::gzipOfRepeated('q', HttpClient::maxBodyBytes);
    ASSERT_LT(atLimit.size(), 16u * 1024);
    LoopbackServer server(LoopbackServer::always({200, {{"Content-Encoding", "gzip"}}, atLimit}));
    CurlHttpClient client;
    expectWholeBody(sendAndWait(client, get(server.baseURL() + "/packed")),
                    std::string(HttpClient::maxBodyBytes, 'q'));
}

TEST(CurlHttpClient, GzipBombStopsAtTheLimit) {
    // About 100 kB on the wire, 16 MB once decoded: the client must stop at 1 MB.
    std::string bomb = LoopbackServer::gzipOfRepeated('\0', 16u * 1024 * 1024);
    ASSERT_LT(bomb.size(), HttpClient::maxBodyBytes / 8);
    LoopbackServer server(LoopbackServer::always({200, {{"Content-Encoding", "gzip"}}, bomb}));
    CurlHttpClient client;
    expectRefusedAsTooLarge(sendAndWait(client, get(server.baseURL() + "/bomb")));
}

TEST(CurlHttpClient, ReplyTricklingInFasterThanTheTimeOutIsReadToItsEnd) {
    // One byte every 0.4 s for longer than the whole time-out: the time-out is an idle one.
    LoopbackServer::Response slow{200, {}, "trickled"};
    slow.trickleSeconds = 0.4;
    LoopbackServer server(LoopbackServer::always(slow));
    CurlHttpClient client;
    auto started = std::chrono::steady_clock::now();
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/slow", 1.5));
    EXPECT_GT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(1500))
        << "the reply should have taken longer than the time-out";
    EXPECT_FALSE(result.transportError) << *result.transportError;
    EXPECT_EQ(result.statusCode, 200);
    EXPECT_EQ(result.body, "trickled");
}

TEST(CurlHttpClient, ReplyThatFallsSilentForTheTimeOutFails) {
    // The head arrives, then nothing more.
    LoopbackServer::Response silent{200, {}, "never"};
    silent.trickleSeconds = 30;
    LoopbackServer server(LoopbackServer::always(silent));
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/silent", 0.5));
    ASSERT_TRUE(result.transportError);
    EXPECT_EQ(*result.transportError, "The request timed out.");
    EXPECT_FALSE(result.body);
    EXPECT_FALSE(result.bodyTooLarge);
}

TEST(CurlHttpClient, FollowsRedirects) {
    LoopbackServer server([](const LoopbackServer::Request& request) {
        if (request.target == "/old")
            return LoopbackServer::Response{302, {{"Location", "/new"}}, ""};
        return LoopbackServer::Response{200, {}, "moved here"};
    });
    CurlHttpClient client;
    HttpResult result = sendAndWait(client, get(server.baseURL() + "/old"));
    EXPECT_EQ(result.statusCode, 200);
    EXPECT_EQ(result.body, "moved here");
}

TEST(CurlHttpClient, DestroyingTheClientWaitsForItsRequests) {
    LoopbackServer server(LoopbackServer::always({200, {}, "done", /*delaySeconds=*/0.2}));
    std::atomic<int> completed{0};
    {
        CurlHttpClient client;
        for (int i = 0; i < 2; ++i)
            client.send(get(server.baseURL() + "/"), [&](HttpResult) { ++completed; });
    }
    EXPECT_EQ(completed.load(), 2);
}

TEST(CurlHttpClient, PerformRunsOnTheCallersThread) {
    LoopbackServer server(LoopbackServer::always({201, {}, "made"}));
    HttpResult result = CurlHttpClient::perform(get(server.baseURL() + "/"));
    EXPECT_EQ(result.statusCode, 201);
    EXPECT_EQ(result.body, "made");
}

}  // namespace
}  // namespace quelto

#endif  // !defined(__APPLE__)

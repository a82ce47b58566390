#include "ctl/serve/http_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <nlohmann/json.hpp>

#include "ctl/serve/bridge_poller.h"
#include "ctl/serve/page_files.h"
#include "tests/ctl/json_schema.h"
#include "tests/ctl/serve/small_bridge.h"
#include "tests/support/http_client.h"
#include "tests/support/stepped_clock.h"

namespace norvad::ctl::test {
namespace {

using norvad::test::ContentOf;
using norvad::test::HttpClient;
using norvad::test::Request;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr auto soon = std::chrono::milliseconds(20);
constexpr auto never = std::chrono::hours(1);

// A server at a free port of loopback, which nothing but its clients' conduct ends: the clock of the daemon's answers
// stands, and each limit of time is far away unless a test is about it.
class Server : public testing::Test {
protected:
    Server() { limits.requestTime = limits.sendTime = limits.stateTime = limits.closeTime = limits.heartbeat = never; }

    void Start(const char* address = "127.0.0.1") {
        server = std::make_unique<HttpServer>(boost::asio::ip::tcp::endpoint(boost::asio::ip::make_address(address), 0),
                                              limits, clock, [this] {
                                                  ++wanted;
                                                  wanted.notify_all();
                                              });
    }
    void Publish() { server->Publish(poller.Poll()); }
    HttpClient Connect() { return HttpClient(server->Endpoint()); }

    // The answer to a request after which the server closes.
    std::string Ask(const std::string& request) {
        HttpClient client = Connect();
        client.Send(request);
        return client.ReadToEnd();
    }
    std::string Get(std::string_view target) { return Connect().Get(target); }

    Limits limits;
    norvad::test::SteppedClock clock;
    SmallBridge bridge;
    BridgePoller poller{bridge.client, clock};
    std::atomic<unsigned> wanted = 0;  // how often somebody wanted to know
    std::unique_ptr<HttpServer> server;
};

TEST_F(Server, ServesEveryFileOfThePage) {
    Start();
    HttpClient client = Connect();
    ASSERT_FALSE(PageFiles().empty());
    for (const PageFile& file : PageFiles()) {
        const std::string answer = client.Get(file.path);
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
        EXPECT_THAT(answer, HasSubstr("Content-Type: " + std::string(file.type) + "\r\n"));
        EXPECT_EQ(ContentOf(answer), file.content);
    }
    EXPECT_EQ(wanted, 0U);
}

TEST_F(Server, AnswersInTheShapeOfJsonOutput) {
    Start();
    Publish();
    HttpClient client = Connect();
    for (const char* view : {"bridge", "ports", "streams", "vlans", "domains", "clock"}) {
        const std::string answer = client.Get(std::string("/api/v1/") + view);
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n")) << view;
        EXPECT_THAT(answer, HasSubstr("Content-Type: application/json\r\n"));
        EXPECT_EQ(SchemaViolation(ContentOf(answer)), "") << answer;
        const auto document = nlohmann::json::parse(ContentOf(answer));
        EXPECT_TRUE(document.contains(view == std::string("bridge") ? "streams" : view)) << answer;
    }
}

TEST_F(Server, SelectsWhatTheQueryNames) {
    Start();
    Publish();
    const auto streams = [this](const std::string& query) {
        return nlohmann::json::parse(ContentOf(Get("/api/v1/streams?" + query)));
    };

    EXPECT_EQ(streams("")["streams"].size(), 2U);
    EXPECT_EQ(streams("port=0")["count"], 1);
    const auto page = streams("offset=1&limit=1");
    EXPECT_EQ(page["count"], 2);
    ASSERT_EQ(page["streams"].size(), 1U);
    EXPECT_EQ(page["streams"][0]["stream"], "02:00:00:00:00:a0:00:02");
    EXPECT_EQ(streams("stream=02:00:00:00:00:a0:00:01")["streams"][0]["talkerPort"], 0);
    EXPECT_TRUE(streams("offset=9")["streams"].empty());
    EXPECT_THAT(Get("/api/v1/streams?limit=many"), StartsWith("HTTP/1.1 400 "));
}

TEST_F(Server, WritesMetricsAlsoWithoutADaemon) {
    Start();
    Publish();
    EXPECT_THAT(Get("/metrics"), HasSubstr("\nnorvad3_up 1\n"));

    bridge.Vanish();
    Publish();
    const std::string answer = Get("/metrics");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer, HasSubstr("Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
    EXPECT_THAT(answer, HasSubstr("\nnorvad3_up 0\n"));
    EXPECT_THAT(answer, HasSubstr("{kind=\"daemon-gone\"} 1\n"));
}

TEST_F(Server, SaysWhyThereIsNothingToTell) {
    Start();
    bridge.Vanish();
    Publish();

    const std::string answer = Get("/api/v1/ports");

    EXPECT_THAT(answer, StartsWith("HTTP/1.1 503 Service Unavailable\r\n"));
    EXPECT_THAT(answer, HasSubstr("Retry-After: 1\r\n"));
    EXPECT_EQ(ContentOf(answer), "no daemon runs: there is no request queue /norvad.mq\n");
}

TEST_F(Server, HasTheDaemonAskedWhenWhatItKnowsIsOld) {
    Start();
    HttpClient first = Connect();
    first.Send(Request("GET", "/api/v1/clock", "Connection: close\r\n"));
    wanted.wait(0);
    Publish();
    EXPECT_THAT(first.ReadToEnd(), HasSubstr("SLAVE"));

    clock.AdvanceMs(Hub::freshMs);
    const unsigned before = wanted;
    HttpClient second = Connect();
    second.Send(Request("GET", "/api/v1/clock", "Connection: close\r\n"));
    wanted.wait(before);
    bridge.clock = "";
    Publish();
    EXPECT_THAT(second.ReadToEnd(), HasSubstr("\"clock\":null"));
}

TEST_F(Server, DoesNotWaitForTheDaemonForEver) {
    limits.stateTime = soon;
    Start();

    EXPECT_THAT(Get("/api/v1/ports"), HasSubstr("503 Service Unavailable"));
}

TEST_F(Server, SendsHeadersOnlyForHead) {
    Start();
    Publish();
    for (const char* target : {"/", "/metrics", "/api/v1/ports", "/api/v1/events", "/none"}) {
        const std::string answer = Ask(Request("HEAD", target, "Connection: close\r\n"));
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 ")) << target;
        EXPECT_TRUE(answer.ends_with("\r\n\r\n")) << answer;
        EXPECT_EQ(ContentOf(answer), "") << answer;
    }
    const std::string page = Ask(Request("HEAD", "/", "Connection: close\r\n"));
    EXPECT_THAT(page, HasSubstr("Content-Length: " + std::to_string(ContentOf(Get("/")).size())));
}

TEST_F(Server, RefusesAllOtherMethods) {
    Start();
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "get", "NONSENSE"}) {
        const std::string answer = Ask(Request(method, "/api/v1/ports"));
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 405 Method Not Allowed\r\n")) << method;
        EXPECT_THAT(answer, HasSubstr("Allow: GET, HEAD\r\n"));
    }
    EXPECT_THAT(Ask(Request("POST", "/", "Content-Length: 4\r\n") + "more"), StartsWith("HTTP/1.1 405 "));
    EXPECT_EQ(wanted, 0U);
}

TEST_F(Server, RefusesWhatIsNoPlainRequest) {
    Start();
    const std::pair<std::string, const char*> cases[] = {
        {"nonsense\r\n\r\n", "400 "},
        {"GET / HTTP/9.9\r\n\r\n", "400 "},
        {std::string("GET /\0 HTTP/1.1\r\n\r\n", 19), "400 "},
        {Request("GET", "http://localhost/"), "400 "},
        {Request("GET", "*"), "400 "},
        {"GET / HTTP/1.1\r\n\r\n", "400 "},
        {Request("GET", "/", "Host: localhost\r\n"), "400 "},
        {Request("GET", "/", "Content-Length: 4\r\n") + "more", "413 "},
        {Request("GET", "/", "Transfer-Encoding: chunked\r\n") + "0\r\n\r\n", "413 "},
        {Request("GET", "/" + std::string(limits.targetBytes, 'x')), "414 "},
        {Request("GET", "/", "Much: " + std::string(limits.headerBytes, 'x') + "\r\n"), "431 "},
        {Request("GET", "/" + std::string(2 * limits.headerBytes, 'x')), "431 "},
    };
    for (const auto& [request, status] : cases) {
        EXPECT_THAT(Ask(request), StartsWith(std::string("HTTP/1.1 ") + status)) << request.substr(0, 80);
    }
}

TEST_F(Server, HasNoDirectoryOfFiles) {
    Start();
    for (const char* target : {"/none", "/api", "/api/v1/", "/api/v1/ports/", "//", "/index.html", "/../etc/passwd",
                               "/..%2fetc%2fpasswd", "/.", "/%2e", "/METRICS"}) {
        EXPECT_THAT(Get(target), StartsWith("HTTP/1.1 404 Not Found\r\n")) << target;
    }
}

// A page from elsewhere can have its own name lead to this machine, and would then read what is served here.
TEST_F(Server, AnswersOnLoopbackToNamesOfThisMachineOnly) {
    Start();
    const auto statusFor = [this](const std::string& host) {
        return Ask("GET / HTTP/1.1\r\nHost: " + host + "\r\nConnection: close\r\n\r\n").substr(9, 3);
    };
    for (const char* host : {"localhost", "LocalHost:8021", "127.0.0.1:1", "127.0.0.1", "[::1]:8021", "[::1]"}) {
        EXPECT_EQ(statusFor(host), "200") << host;
    }
    for (const char* host : {"example.org", "example.org:8021", "localhost.example.org", "127.0.0.1.example.org",
                             "localhost:8021:1", "10.0.0.1", "::1", "", "localhost:80a"}) {
        EXPECT_EQ(statusFor(host), "421") << host;
    }
}

TEST_F(Server, AnswersElsewhereToAnyName) {
    Start("0.0.0.0");
    HttpClient client({boost::asio::ip::address_v4::loopback(), server->Endpoint().port()});
    client.Send("GET / HTTP/1.1\r\nHost: bridge.example.org\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(client.ReadToEnd(), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(Server, TellsTheBrowserToTrustNothingElse) {
    Start();
    Publish();
    HttpClient events = Connect();
    events.Send(Request("GET", "/api/v1/events"));
    ASSERT_TRUE(events.ReadUntil("\r\n\r\n"));
    for (const std::string& answer : {Get("/"), Get("/api/v1/ports"), Get("/none"), events.Received()}) {
        EXPECT_THAT(answer, HasSubstr("\r\nContent-Security-Policy: default-src 'none'; script-src 'self'; "
                                      "style-src 'self'; "));
        EXPECT_THAT(answer, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
        EXPECT_THAT(answer, HasSubstr("\r\nReferrer-Policy: no-referrer\r\n"));
        EXPECT_THAT(answer, HasSubstr("\r\nCross-Origin-Resource-Policy: same-origin\r\n"));
        EXPECT_THAT(answer, HasSubstr("\r\nCache-Control: no-store\r\n"));
        EXPECT_THAT(answer, Not(HasSubstr("Access-Control")));
    }
}

TEST_F(Server, AnswersRequestsThatComeTogetherInTheirOrder) {
    Start();
    Publish();
    const std::string answers = Ask(Request("GET", "/api/v1/ports") + Request("GET", "/none") +
                                    Request("GET", "/api/v1/vlans", "Connection: close\r\n"));

    const size_t ports = answers.find("\"ports\""), none = answers.find("404 Not"), vlans = answers.find("\"vlans\"");
    EXPECT_LT(ports, none);
    EXPECT_LT(none, vlans);
    EXPECT_NE(vlans, std::string::npos);
}

TEST_F(Server, CutsOffASlowSender) {
    limits.requestTime = soon;
    Start();
    HttpClient client = Connect();
    client.Send("GET / HTTP/1.1\r\nHost: local");

    EXPECT_EQ(client.ReadToEnd(), "");
}

TEST_F(Server, CutsOffASlowReader) {
    limits.sendTime = soon;
    limits.connections = 1;
    Start();
    for (unsigned i = 0; i < 50'000; ++i) {
        bridge.streams +=
            "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) "
            "Applicant VO Registrar IN\n";
    }
    Publish();
    HttpClient client = Connect();
    client.Send(Request("GET", "/api/v1/streams"));

    while (Get("/none").empty()) {  // as long as the first connection holds the only place
    }
    const std::string& answer = client.ReadToEnd();
    EXPECT_LT(ContentOf(answer).size(), std::stoul(answer.substr(answer.find("Content-Length: ") + 16)));
}

TEST_F(Server, ClosesConnectionsBeyondItsLimitUntilAnotherIsGone) {
    limits.connections = 2;
    Start();
    {
        HttpClient one = Connect(), two = Connect();
        ASSERT_THAT(one.Get("/none"), HasSubstr("404"));
        ASSERT_THAT(two.Get("/none"), HasSubstr("404"));
        HttpClient third = Connect();
        third.Send(Request("GET", "/none"));
        EXPECT_EQ(third.ReadToEnd(), "");
        EXPECT_THAT(one.Get("/none"), HasSubstr("404"));
    }
    while (Get("/none").empty()) {
    }
}

TEST_F(Server, SendsEventsAsTheyCome) {
    Start();
    Publish();
    HttpClient client = Connect();
    client.Send(Request("GET", "/api/v1/events"));
    ASSERT_TRUE(client.ReadUntil("event: state\n"));
    EXPECT_THAT(client.Received(), HasSubstr("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(client.Received(), HasSubstr("Content-Type: text/event-stream\r\n"));

    bridge.ports = "Port  0  status: is Down\n";
    const unsigned before = wanted;
    Publish();
    EXPECT_TRUE(client.ReadUntil(R"("kind":"link-down","port":0,"text":"port 0: link down"})"));
    wanted.wait(before);
}

TEST_F(Server, GoesOnBehindTheLastEventThatAClientSaw) {
    Start();
    Publish();
    bridge.ports = "Port  0  status: is Down\n";
    Publish();
    bridge.vlans += "[MVRP] Vlan:3 Applicant VO Registrar IN\n";
    Publish();
    HttpClient all = Connect();
    all.Send(Request("GET", "/api/v1/events"));
    ASSERT_TRUE(all.ReadUntil("event: state\n"));
    const size_t first = all.Received().find("id: ");
    const std::string id = all.Received().substr(first + 4, all.Received().find('\n', first) - first - 4);

    HttpClient rest = Connect();
    rest.Send(Request("GET", "/api/v1/events", "Last-Event-ID: " + id + "\r\n"));
    ASSERT_TRUE(rest.ReadUntil("event: state\n"));

    EXPECT_THAT(all.Received(), HasSubstr("link-down"));
    EXPECT_THAT(rest.Received(), Not(HasSubstr("id: " + id)));
    EXPECT_THAT(rest.Received(), HasSubstr("vlan-came"));
}

TEST_F(Server, KeepsASilentEventStreamAlive) {
    limits.heartbeat = soon;
    Start();
    HttpClient client = Connect();
    client.Send(Request("GET", "/api/v1/events"));

    EXPECT_TRUE(client.ReadUntil(": heartbeat\n\n: heartbeat\n\n"));
}

TEST_F(Server, LetsOnlySoManyFollowTheEvents) {
    limits.eventStreams = 1;
    Start();
    {
        HttpClient first = Connect();
        first.Send(Request("GET", "/api/v1/events"));
        ASSERT_TRUE(first.ReadUntil("event: history"));
        EXPECT_THAT(Ask(Request("GET", "/api/v1/events")), StartsWith("HTTP/1.1 503 "));
        EXPECT_THAT(Get("/"), StartsWith("HTTP/1.1 200 "));
    }
    for (bool follows = false; !follows;) {
        HttpClient next = Connect();
        next.Send(Request("GET", "/api/v1/events"));
        follows = next.ReadUntil("event: history");
    }
}

TEST_F(Server, EndsWhileClientsAreConnected) {
    Start();
    HttpClient idle = Connect(), waiting = Connect(), following = Connect();
    waiting.Send(Request("GET", "/api/v1/ports"));
    following.Send(Request("GET", "/api/v1/events"));
    ASSERT_TRUE(following.ReadUntil("event: history"));

    server.reset();

    EXPECT_EQ(idle.ReadToEnd(), "");
    EXPECT_EQ(waiting.ReadToEnd(), "");
}

TEST_F(Server, SaysThatItsAddressIsTaken) {
    Start();
    EXPECT_THROW(HttpServer(server->Endpoint(), limits, clock, [] {}), boost::system::system_error);
}

}  // namespace
}  // namespace norvad::ctl::test

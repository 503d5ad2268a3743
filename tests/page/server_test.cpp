// The page's server as clients meet it, by bytes over a socket: who is answered and who is refused, jobs,
// and clients that hold a connection.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <vector>

#include "tests/page/rawclient.h"
#include "tools/page/server/guard.h"

namespace {

using namespace testing_support;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

const std::string token = "0123456789abcdef0123456789abcdef";

class PageServer : public testing::Test {
protected:
    PageServer() { mayWorkEnd = false; }

    /// `|` in a text is a line's end, $P the port, $T the token's line, $O the own origin's.
    std::string Said(std::string text) const {
        const std::string host = "127.0.0.1:" + std::to_string(server.port);
        for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
                 {"\\|", "\r\n"},
                 {"\\$H", "Host: " + host + "\r\n"},
                 {"\\$T", "X-Tessarune-Token: " + token + "\r\n"},
                 {"\\$O", "Origin: http://" + host + "\r\n"},
                 {"\\$J", "Content-Type: application/json\r\n"},
                 {"\\$P", std::to_string(server.port)}})
            text = std::regex_replace(text, std::regex(from), to);
        return text;
    }
    std::string Get(const std::string& path) const {
        return Ask(server.port, Said("GET " + path + " HTTP/1.1|$H$T|"));
    }
    std::string Post(const std::string& path, const std::string& body, const std::string& type = "$J") const {
        return Ask(server.port, Said("POST " + path + " HTTP/1.1|$H$T$O" + type +
                                     "Content-Length: " + std::to_string(body.size()) + "||") +
                                    body);
    }
    Json JobOnceItIs(const std::string& state, int number) const {
        for (;;)
            if (Json job = BodyOf(Get("/api/job?id=" + std::to_string(number))); job["state"] == state)
                return job;
    }

    std::atomic<int> opened{0};
    page::Server server{{testFiles, testRoutes, "1.2.3"}, token, [this] { ++opened; }};
};

struct Case {
    const char* name;
    const char* request;
    int status;
};

void PrintTo(const Case& row, std::ostream* out) {
    *out << row.name;
}

const std::vector<Case> cases{
    {"Page", "GET / HTTP/1.1|$H|", 200},
    {"Script", "GET /main.js HTTP/1.1|$HSec-Fetch-Site: same-origin|Sec-Fetch-Mode: cors||", 200},
    {"PageByName", "GET / HTTP/1.1|Host: localhost:$P||", 200},
    {"HeadOfPage", "HEAD / HTTP/1.1|$H|", 200},
    {"PageOpenedByAFile",
     "GET / HTTP/1.1|$HSec-Fetch-Site: cross-site|Sec-Fetch-Mode: navigate|Sec-Fetch-Dest: document||", 200},
    {"PageInAFrame",
     "GET / HTTP/1.1|$HSec-Fetch-Site: cross-site|Sec-Fetch-Mode: navigate|Sec-Fetch-Dest: iframe||", 403},
    {"ScriptOfAnotherSite", "GET /main.js HTTP/1.1|$HSec-Fetch-Site: cross-site|Sec-Fetch-Mode: no-cors||",
     403},
    {"OtherPortOfThisMachine", "GET /main.js HTTP/1.1|$HSec-Fetch-Site: same-site||", 403},
    {"OtherHost", "GET / HTTP/1.1|Host: evil.example:$P||", 403},
    {"HostWithoutPort", "GET / HTTP/1.1|Host: 127.0.0.1||", 403},
    {"HostWithEscapes", "GET / HTTP/1.1|Host: 127.0.0.1%3A$P||", 403},
    {"TwoHosts", "GET / HTTP/1.1|$HHost: evil.example||", 400},
    {"NoHost", "GET / HTTP/1.0||", 403},
    {"OtherOrigin", "GET / HTTP/1.1|$HOrigin: http://evil.example||", 403},
    {"NoSuchFile", "GET /../../etc/passwd HTTP/1.1|$H|", 404},
    {"Answer", "GET /api/echo?a=1 HTTP/1.1|$H$T|", 200},
    {"AnswerByOwnOrigin", "GET /api/echo HTTP/1.1|$H$T$OSec-Fetch-Site: same-origin||", 200},
    {"AnswerWithoutToken", "GET /api/echo HTTP/1.1|$H|", 401},
    {"AnswerByAWrongToken", "GET /api/echo HTTP/1.1|$HX-Tessarune-Token: 0123456789abcdef0123456789abcdee||",
     401},
    {"AnswerByAShortToken", "GET /api/echo HTTP/1.1|$HX-Tessarune-Token: 0||", 401},
    {"TokenInTheAddress", "GET /api/echo?X-Tessarune-Token=0123456789abcdef0123456789abcdef HTTP/1.1|$H|",
     401},
    {"TokenInACookie",
     "GET /api/echo HTTP/1.1|$HCookie: X-Tessarune-Token=0123456789abcdef0123456789abcdef||", 401},
    {"TwoTokens", "GET /api/echo HTTP/1.1|$H$T$T|", 400},
    {"NoSuchAnswerWithoutToken", "GET /api/none HTTP/1.1|$H|", 401},
    {"NoSuchAnswer", "GET /api/none HTTP/1.1|$H$T|", 404},
    {"HeadOfAnAnswer", "HEAD /api/echo HTTP/1.1|$H$T|", 405},
    {"ChangeByReading", "GET /api/set HTTP/1.1|$H$T|", 405},
    {"Preflight",
     "OPTIONS /api/set HTTP/1.1|$HOrigin: http://evil.example|Access-Control-Request-Method: POST||", 405},
    {"Deletion", "DELETE / HTTP/1.1|$H$T$O|", 405},
    {"Change", "POST /api/set HTTP/1.1|$H$T$O$JContent-Length: 11||{\"value\":4}", 200},
    {"ChangeWithoutOrigin", "POST /api/set HTTP/1.1|$H$T$JContent-Length: 11||{\"value\":4}", 403},
    {"ChangeByNoOrigin", "POST /api/set HTTP/1.1|$H$TOrigin: null|$JContent-Length: 11||{\"value\":4}", 403},
    {"ChangeByAnotherPort",
     "POST /api/set HTTP/1.1|$H$TOrigin: http://127.0.0.1:1|$JContent-Length: 11||{\"value\":4}", 403},
    {"ChangeByAForm",
     "POST /api/set HTTP/1.1|$H$T$OContent-Type: text/plain|Content-Length: 11||{\"value\":4}", 415},
    {"ChangeCompressed",
     "POST /api/set HTTP/1.1|$H$T$O$JContent-Encoding: gzip|Content-Length: 11||{\"value\":4}", 415},
    {"ChangeOfNoLength", "POST /api/set HTTP/1.1|$H$T$O$J|{\"value\":4}", 411},
    {"ChangeInChunks", "POST /api/set HTTP/1.1|$H$T$O$JTransfer-Encoding: chunked||b|{\"value\":4}|0||", 411},
    {"ChangeOfOddLength", "POST /api/set HTTP/1.1|$H$T$O$JContent-Length: -1||", 411},
    {"ChangeTooLong", "POST /api/set HTTP/1.1|$H$T$O$JContent-Length: 1048577||", 413},
    {"ChangeFarTooLong", "POST /api/set HTTP/1.1|$H$T$O$JContent-Length: 99999999999999999999||", 413},
    {"UploadTooLong",
     "POST /api/upload HTTP/1.1|$H$T$OContent-Type: application/octet-stream|Content-Length: 67108865||",
     413},
    {"NoObject", "POST /api/set HTTP/1.1|$H$T$O$JContent-Length: 3||[1]", 400},
    {"NoJson", "POST /api/set HTTP/1.1|$H$T$O$JContent-Length: 4||{a:1", 400},
    {"WrongKind", "POST /api/set HTTP/1.1|$H$T$O$JContent-Length: 13||{\"value\":\"4\"}", 400},
    {"Nothing", "|", 400},
};

class EveryRequest : public PageServer, public testing::WithParamInterface<Case> {};

TEST_P(EveryRequest, GetsItsStatus_AndNoWayInForOthers) {
    const std::string response = Ask(server.port, Said(GetParam().request));
    EXPECT_EQ(StatusOf(response), GetParam().status) << response;
    EXPECT_THAT(
        response,
        AllOf(HasSubstr("Content-Security-Policy: default-src 'self';"), HasSubstr("frame-ancestors 'none'"),
              HasSubstr("X-Content-Type-Options: nosniff\r\n"), HasSubstr("Cache-Control: no-store\r\n"),
              HasSubstr("Connection: close\r\n"), Not(HasSubstr("Access-Control"))));
    if (GetParam().status < 400 || std::string(GetParam().request).starts_with("HEAD")) return;
    EXPECT_THAT(BodyOf(response)["error"].get<std::string>(), testing::EndsWith("."));
}

INSTANTIATE_TEST_SUITE_P(Requests, EveryRequest, testing::ValuesIn(cases),
                         [](const auto& row) { return row.param.name; });

TEST(Guard, RefusesPeersBeyondThisMachine_AndTheOtherFamilyWhereItIsNotServed) {
    page::Site site{80, false, token, {{"/", page::Method::Get, page::Body::None}}};
    const auto status = [&](const char* peer, const char* host) {
        return page::Judge({"GET", "/", peer, {{"Host", host}}}, site).status;
    };
    EXPECT_EQ(status("127.0.0.1", "127.0.0.1:80"), 200);
    EXPECT_EQ(status("192.168.0.7", "127.0.0.1:80"), 403);
    EXPECT_EQ(status("", "127.0.0.1:80"), 403);
    EXPECT_EQ(status("::1", "[::1]:80"), 403);
    site.hasV6 = true;
    EXPECT_EQ(status("::1", "[::1]:80"), 200);
    site.token.clear();
    site.resources[0].path = "/api/x";
    EXPECT_EQ(page::Judge({"GET", "/api/x", "::1", {{"Host", "[::1]:80"}}}, site).status, 401);
}

TEST_F(PageServer, Answers_AreWhatTheRoutesMakeOfQueryAndBody) {
    EXPECT_EQ(BodyOf(Get("/api/echo?name=a%20b&x=1+2")).dump(), R"({"query":{"name":"a b","x":"1 2"}})");
    EXPECT_EQ(BodyOf(Post("/api/set", R"({"value":1,"value":7})"))["value"], 7);
    EXPECT_EQ(BodyOf(Get("/api/alive"))["version"], "1.2.3");
    EXPECT_THAT(Get("/"), AllOf(HasSubstr("Content-Type: text/html"), testing::EndsWith("\r\n\r\n<p>page")));
    const std::string byV6 = Ask(server.port, Said("GET / HTTP/1.1|Host: [::1]:$P||"), true);
    EXPECT_EQ(StatusOf(byV6), server.hasV6 ? 200 : 0);
}

TEST_F(PageServer, Page_IsOpenOnceItWasLoadedAndThenUsedItsToken) {
    Get("/api/alive");
    Ask(server.port, Said("GET / HTTP/1.1|$H|"));
    Ask(server.port, Said("GET /api/alive HTTP/1.1|$H|"));
    EXPECT_EQ(opened, 0);
    Get("/api/alive");
    Get("/api/alive");
    EXPECT_EQ(opened, 1);
}

TEST_F(PageServer, BodyThatIsRefused_IsNoRequestOfItsOwn) {
    const std::string response =
        Ask(server.port, Said("POST /api/set HTTP/1.1|$HContent-Length: 99||GET / HTTP/1.1|$H|"));
    EXPECT_EQ(StatusOf(response), 403);
    EXPECT_EQ(response.find("HTTP/1.1", 1), std::string::npos);
}

TEST_F(PageServer, Job_TellsOfItselfAndItsEndIsKeptUntilTheNext) {
    EXPECT_EQ(
        BodyOf(Post("/api/upload", std::string(2 << 20, 'x'), "Content-Type: application/octet-stream|"))
            .dump(),
        R"({"job":1})");
    const Json running = JobOnceItIs("running", 1);
    EXPECT_EQ(running["what"], "/api/upload");
    const std::string refused = Post("/api/work", "{}");
    EXPECT_EQ(StatusOf(refused), 409);
    EXPECT_EQ(BodyOf(refused)["job"], 1);
    mayWorkEnd = true;
    const Json done = JobOnceItIs("done", 1);
    EXPECT_EQ(done["answer"]["bytes"], 2 << 20);
    EXPECT_EQ(done["share"], 0.25);
    EXPECT_EQ(done["text"], "half of a half");
    EXPECT_EQ(JobOnceItIs("done", 1), done);

    EXPECT_EQ(StatusOf(Post("/api/work", R"({"fault":1})")), 202);
    EXPECT_EQ(JobOnceItIs("failed", 2)["error"], "It broke.");
    EXPECT_EQ(StatusOf(Get("/api/job?id=1")), 404);
    EXPECT_EQ(StatusOf(Post("/api/work", "{")), 400);
    EXPECT_EQ(StatusOf(Get("/api/job?id=3")), 404);
}

TEST_F(PageServer, Job_EndsWhenItIsCancelled_AndWithTheServer) {
    Post("/api/work", "{}");
    EXPECT_EQ(StatusOf(Post("/api/job/cancel", R"({"job":2})")), 404);
    EXPECT_EQ(StatusOf(Post("/api/job/cancel", R"({"job":1})")), 200);
    EXPECT_FALSE(JobOnceItIs("cancelled", 1).contains("error"));
    Post("/api/work", "{}");
    EXPECT_TRUE(server.EndJob(1000ms));
    EXPECT_EQ(JobOnceItIs("cancelled", 2)["job"], 2);
}

TEST_F(PageServer, ClientsThatSayNothingOrHalf_KeepNobodyWaiting) {
    std::vector<page::Descriptor> slow;
    for (int i = 0; i < 100; ++i)
        slow.push_back(Connect(server.port));
    for (int i = 0; i < 6; ++i)
        Send(slow[static_cast<std::size_t>(99 - i)], Said("POST /api/set HTTP/1.1|$H"));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(StatusOf(Get("/api/alive")), 200);
    EXPECT_LT(Clock::now() - start, 1s);
}

TEST_F(PageServer, HeadThatHasNoEnd_IsGivenUp) {
    const page::Descriptor client = Connect(server.port);
    Send(client, "GET / HTTP/1.1\r\n");
    for (int i = 0; i < 40; ++i)
        Send(client, "X-More: " + std::string(1000, 'x') + "\r\n");
    EXPECT_EQ(StatusOf(Receive(client)), 400);
}

}  // namespace

#pragma once

// A client that sends bytes as they are, and a server of the page with a table of routes of its own.

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "tools/page/server/descriptor.h"
#include "tools/page/server/server.h"
#include "tools/support/wronguse.h"

namespace testing_support {

using page::Json;

inline page::Descriptor Connect(int port, bool isV6 = false) {
    page::Descriptor client(socket(isV6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in v4{AF_INET, htons(static_cast<std::uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
    sockaddr_in6 v6{AF_INET6, htons(static_cast<std::uint16_t>(port)), 0, in6addr_loopback, 0};
    const auto* const address = isV6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4);
    if (connect(client.value, address, isV6 ? sizeof v6 : sizeof v4) != 0) return {};
    return client;
}

inline void Send(const page::Descriptor& client, const std::string& bytes) {
    send(client.value, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

/// All that comes until the server closes the connection.
inline std::string Receive(const page::Descriptor& client) {
    std::string all;
    std::array<char, 65536> part{};
    for (ssize_t length = 0; (length = recv(client.value, part.data(), part.size(), 0)) > 0;)
        all.append(part.data(), static_cast<std::size_t>(length));
    return all;
}

inline std::string Ask(int port, const std::string& request, bool isV6 = false) {
    const page::Descriptor client = Connect(port, isV6);
    Send(client, request);
    return Receive(client);
}

inline int StatusOf(const std::string& response) {
    return response.starts_with("HTTP/1.1 ") ? std::stoi(response.substr(9)) : 0;
}

inline Json BodyOf(const std::string& response) {
    return Json::parse(response.substr(response.find("\r\n\r\n") + 4));
}

/// Whether the job of /api/work may end.
inline std::atomic<bool> mayWorkEnd{false};

inline Json Work(const page::Request& request, page::Report& report) {
    report.Step(0.25, "half of a half");
    while (!mayWorkEnd && !report.IsCancelled())
        std::this_thread::yield();
    if (report.IsCancelled()) throw tool::WrongUse("Not wanted.");
    if (request.body.contains("fault")) throw slib::BadStateException("It broke.");
    return {{"bytes", request.upload.size()}};
}

inline constexpr std::array<page::Route, 4> testRoutes{{
    {page::Method::Get, "/api/echo", page::Body::None, false,
     [](const page::Request& request, page::Report&) -> Json {
         return {{"query", request.query}};
     }},
    {page::Method::Post, "/api/set", page::Body::Object, false,
     [](const page::Request& request, page::Report&) -> Json {
         return {{"value", request.body.at("value").get<int>()}};
     }},
    {page::Method::Post, "/api/work", page::Body::Object, true, Work},
    {page::Method::Post, "/api/upload", page::Body::Bytes, true, Work},
}};

inline constexpr std::array<page::Asset, 2> testFiles{
    {{"/", "text/html; charset=utf-8", "<p>page"}, {"/main.js", "text/javascript", "run()"}}};

}  // namespace testing_support

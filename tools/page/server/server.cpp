#include "tools/page/server/server.h"

#include <httplib.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "tools/page/server/channel.h"
#include "tools/page/server/desk.h"
#include "tools/page/server/endsignal.h"
#include "tools/page/server/guard.h"
#include "tools/page/server/listener.h"
#include "tools/page/server/workers.h"

namespace page {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t mostHead = 32768;  // bytes
constexpr milliseconds headTime{5000}, bodyTime{30000};
constexpr const char* jsonType = "application/json";

// Nothing from elsewhere, in no frame, kept nowhere.
const httplib::Headers& CommonHeaders() {
    static const httplib::Headers headers{{"Content-Security-Policy",
                                           "default-src 'self'; base-uri 'none'; form-action 'none'; "
                                           "frame-ancestors 'none'; object-src 'none'"},
                                          {"X-Content-Type-Options", "nosniff"},
                                          {"Cache-Control", "no-store"},
                                          {"Referrer-Policy", "no-referrer"},
                                          {"X-Frame-Options", "DENY"},
                                          {"Cross-Origin-Opener-Policy", "same-origin"},
                                          {"Cross-Origin-Resource-Policy", "same-origin"},
                                          {"Cross-Origin-Embedder-Policy", "require-corp"}};
    return headers;
}

// A channel as the HTTP library reads and writes it.
class ChannelStream : public httplib::Stream {
public:
    ChannelStream(Channel& channel, std::string peer) : channel(channel), peer(std::move(peer)) {}

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* bytes, std::size_t count) override {
        const ssize_t length = channel.Read(bytes, count);
        if (isHead && length > 0) head.append(bytes, static_cast<std::size_t>(length));
        return length;
    }
    ssize_t write(const char* bytes, std::size_t count) override { return channel.Write(bytes, count); }
    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        ip = peer;
        port = 0;
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        ip.clear();
        port = 0;
    }
    socket_t socket() const override { return channel.socket.value; }

    Channel& channel;
    const std::string peer;
    std::string head;  // as it came: the library resolves escapes in it
    bool isHead = true;
};

// What a request has of its own, besides what the HTTP library hands over.
struct Exchange {
    ChannelStream stream;
    Verdict verdict;
};

// The one that the worker is at: the library's handlers have no place for it.
thread_local Exchange* exchangeHere = nullptr;

void Refuse(const Verdict& verdict, httplib::Response& response, int job = 0) {
    Json error{{"error", verdict.sentence}};
    if (job != 0) error["job"] = job;
    response.status = verdict.status;
    response.set_content(error.dump(), jsonType);
    if (!verdict.allow.empty()) response.set_header("Allow", verdict.allow);
}

}  // namespace

// The library's parser and its forms of answers; connections, threads and bounds are our own.
class Server::Http : private httplib::Server {
public:
    Http(const Content& content, std::string token, std::function<void()> onOpened);
    ~Http() override;

    EndSignal ending;
    Desk desk;
    std::atomic<Clock::time_point> lastUse{Clock::now()};
    Site site;

private:
    void Serve(Descriptor client);
    void TakeHead(httplib::Request& request);
    bool IsRefused(httplib::Response& response) const;
    HandlerResponse Begin(const httplib::Request& request, httplib::Response& response);
    void Reply(const httplib::Request& request, httplib::Response& response, std::string body);
    void TakeBody(const httplib::Request& request, httplib::Response& response,
                  const httplib::ContentReader& read);
    void NoteUse(const Head& head);

    const std::span<const Asset> files;
    const std::function<void()> onOpened;
    std::atomic<bool> wasLoaded{false};
    Workers workers;
    Listener listener;
};

Server::Http::Http(const Content& content, std::string token, std::function<void()> onOpened)
    : desk(content.routes, content.version),
      files(content.files),
      onOpened(std::move(onOpened)),
      workers([this](Descriptor client) { Serve(std::move(client)); }),
      listener(ending, [this](Descriptor client) { workers.Take(std::move(client)); }) {
    site = {listener.port, listener.hasV6, std::move(token), desk.Resources()};
    for (const Asset& file : files)
        site.resources.push_back({std::string(file.path), Method::Get, Body::None});
    set_default_headers(CommonHeaders());
    set_payload_max_length(MostBytes(Body::Bytes));
    set_pre_routing_handler([this](const auto& request, auto& response) { return Begin(request, response); });
    set_expect_100_continue_handler(
        [this](const auto&, auto& response) { return IsRefused(response) ? response.status : 100; });
    set_error_handler(HandlerWithResponse([](const httplib::Request&, httplib::Response& response) {
        if (response.body.empty()) Refuse(Refusal(response.status, "The request can't be read."), response);
        return HandlerResponse::Handled;
    }));
    Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                      const httplib::ContentReader& read) { TakeBody(request, response, read); });
    listener.Start();
}

// The listener ends first, and then nobody brings clients to the workers, who lose those that they have.
Server::Http::~Http() {
    ending.Raise();
}

// One request of a connection: a browser has others, and no body that was refused is taken for a request.
void Server::Http::Serve(Descriptor client) try {
    Channel channel(std::move(client), ending);
    Exchange exchange{{channel, channel.Peer()}, {}};
    exchangeHere = &exchange;
    channel.Expect(mostHead, headTime);
    bool isClosed = false;
    process_request(exchange.stream, true, isClosed,
                    [this](httplib::Request& request) { TakeHead(request); });
    channel.Finish();
} catch (const std::exception&) {
    // Such as no memory: the client loses its connection.
}

// Nothing is sent in parts or compressed: it stays on this machine.
void Server::Http::TakeHead(httplib::Request& request) {
    Exchange& exchange = *exchangeHere;
    ChannelStream& stream = exchange.stream;
    request.ranges.clear();
    for (const char* name : {"Range", "Accept-Encoding"})
        request.headers.erase(name);
    stream.isHead = false;
    const Head head{request.method, request.path, stream.peer, HeadersOf(stream.head)};
    exchange.verdict = Judge(head, site);
    stream.channel.Expect(exchange.verdict.bodyLength, bodyTime);
    if (exchange.verdict.status == status::fine) NoteUse(head);
}

bool Server::Http::IsRefused(httplib::Response& response) const {
    const Verdict& verdict = exchangeHere->verdict;
    if (verdict.status == status::fine) return false;
    Refuse(verdict, response);
    return true;
}

httplib::Server::HandlerResponse Server::Http::Begin(const httplib::Request& request,
                                                     httplib::Response& response) {
    if (IsRefused(response)) return HandlerResponse::Handled;
    const Resource& resource = *exchangeHere->verdict.resource;
    if (resource.method == Method::Post) return HandlerResponse::Unhandled;  // the body comes first
    const auto file = std::ranges::find(files, resource.path, &Asset::path);
    if (file == files.end())
        Reply(request, response, "");
    else
        response.set_content(file->content.data(), file->content.size(), std::string(file->type));
    return HandlerResponse::Handled;
}

void Server::Http::TakeBody(const httplib::Request& request, httplib::Response& response,
                            const httplib::ContentReader& read) {
    std::string body;
    const auto take = [&body](const char* bytes, std::size_t count) {
        body.append(bytes, count);
        return true;
    };
    const std::size_t length = exchangeHere->verdict.bodyLength;
    if (length > 0 && (!read(take) || body.size() != length))
        return Refuse(Refusal(status::badRequest, "The body of the request didn't come whole."), response);
    Reply(request, response, std::move(body));
}

void Server::Http::Reply(const httplib::Request& request, httplib::Response& response, std::string body) {
    const Answer answer = desk.Ask(exchangeHere->verdict.resource->path,
                                   Query(request.params.begin(), request.params.end()), std::move(body));
    if (answer.status >= status::badRequest)
        return Refuse(Refusal(answer.status, answer.sentence), response, answer.job);
    response.status = answer.status;
    response.set_content(answer.json, jsonType);
}

void Server::Http::NoteUse(const Head& head) {
    if (head.path == "/") wasLoaded = true;
    if (!head.path.starts_with("/api/")) return;
    lastUse = Clock::now();
    if (wasLoaded.exchange(false)) onOpened();
}

Server::Server(const Content& content, std::string token, std::function<void()> onOpened)
    : http(std::make_unique<Http>(content, std::move(token), std::move(onOpened))) {
    port = http->site.port;
    hasV6 = http->site.hasV6;
}

Server::~Server() = default;

bool Server::EndJob(milliseconds patience) {
    return http->desk.End(static_cast<std::uint32_t>(patience.count()));
}

Server::Clock::duration Server::Idle() const {
    return Clock::now() - http->lastUse.load();
}

}  // namespace page

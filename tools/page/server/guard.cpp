#include "tools/page/server/guard.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>
#include <optional>

#include "slib/text.h"
#include "slib/trimmed.h"

namespace page {
namespace {

constexpr std::string_view apiFolder = "/api/";
constexpr const char* elsewhere =
    "This address answers only to its own page. 'tessarune-config page' opens that.";

// The value of a header, whose name may be written in either case; nothing where there is none.
std::optional<std::string> Find(const Head& head, std::string_view name) {
    const auto found = std::ranges::find_if(
        head.headers, [&](const auto& header) { return slib::EqualIgnoringCase(header.first, name); });
    if (found == head.headers.end()) return std::nullopt;
    return found->second;
}

// Two of them could be read as the one here and as the other elsewhere.
bool IsRepeated(const Head& head) {
    constexpr std::array<std::string_view, 10> single{
        "Host",           "Origin",       "Sec-Fetch-Site", "Sec-Fetch-Mode", "Sec-Fetch-Dest",
        "Content-Length", "Content-Type", "Expect",         tokenHeader,      "Transfer-Encoding"};
    return std::ranges::any_of(single, [&](std::string_view name) {
        return std::ranges::count_if(head.headers, [&](const auto& header) {
                   return slib::EqualIgnoringCase(header.first, name);
               }) > 1;
    });
}

bool IsLoopback(const std::string& peer) {
    return peer.starts_with("127.") || peer == "::1";
}

std::vector<std::string> Hosts(const Site& site) {
    std::vector<std::string> hosts{"127.0.0.1", "localhost"};
    if (site.hasV6) hosts.emplace_back("[::1]");
    for (std::string& host : hosts)
        host += ":" + std::to_string(site.port);
    return hosts;
}

bool IsRead(const Head& head) {
    return head.method == "GET" || head.method == "HEAD";
}

// The page may be opened from anywhere, as from the file that hands over its token: it shows nothing then.
bool IsOpeningOfPage(const Head& head) {
    return head.path == "/" && IsRead(head) && Find(head, "Sec-Fetch-Mode") == "navigate" &&
           Find(head, "Sec-Fetch-Dest") == "document";
}

// Browsers say where a request comes from, and let no page change what they say.
bool ComesFromPage(const Head& head, const std::string& host) {
    const std::optional<std::string> site = Find(head, "Sec-Fetch-Site"), origin = Find(head, "Origin");
    if (site && *site != "same-origin" && !IsOpeningOfPage(head)) return false;
    return origin ? *origin == "http://" + host : IsRead(head);
}

// Takes as long for any text of the right length.
bool IsToken(const std::string& text, const std::string& token) {
    if (text.size() != token.size() || token.empty()) return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < token.size(); ++i)
        difference |= static_cast<unsigned char>(text[i]) ^ static_cast<unsigned char>(token[i]);
    return difference == 0;
}

const char* NameOf(Method method, bool isFile) {
    switch (method) {
        case Method::Get:
            return isFile ? "GET, HEAD" : "GET";
        case Method::Post:
            return "POST";
    }
    return "";
}

Verdict WrongMethod(std::string allow) {
    Verdict verdict = Refusal(status::wrongMethod, "This address takes " + allow + " only.");
    verdict.allow = std::move(allow);
    return verdict;
}

// Where there is no body there may be none either: it would stand where the next request begins.
Verdict JudgeNoBody(const Head& head, const Resource& resource) {
    if (Find(head, "Transfer-Encoding") || Find(head, "Content-Length").value_or("0") != "0")
        return Refusal(status::badRequest, "A GET request has no body.");
    return {status::fine, {}, {}, &resource, 0};
}

Verdict JudgeBody(const Head& head, const Resource& resource) {
    const bool isObject = resource.body == Body::Object;
    const std::string type = isObject ? "application/json" : "application/octet-stream";
    const std::string found = slib::toLower(Find(head, "Content-Type").value_or(""));
    if (found != type && !found.starts_with(type + ";"))
        return Refusal(status::wrongType, "The body's type has to be " + type + ".");
    if (Find(head, "Content-Encoding")) return Refusal(status::wrongType, "A body has to come as it is.");
    const std::string length = Find(head, "Content-Length").value_or("");
    Verdict verdict{status::fine, {}, {}, &resource, 0};
    const auto [end, error] =
        std::from_chars(length.data(), length.data() + length.size(), verdict.bodyLength);
    const bool isNumber = !length.empty() && end == length.data() + length.size();
    if (Find(head, "Transfer-Encoding") || (error == std::errc() && !isNumber) ||
        error == std::errc::invalid_argument)
        return Refusal(status::lengthRequired, "The request has to say how long its body is.");
    if (error == std::errc() && verdict.bodyLength <= MostBytes(resource.body)) return verdict;
    return Refusal(status::tooLarge, isObject ? "This is too much: at most 1 MiB can be taken."
                                              : "The file is too large: at most 64 MiB can be taken.");
}

}  // namespace

HeaderLines HeadersOf(std::string_view head) {
    HeaderLines lines;
    for (std::size_t end = head.find('\n'); end != std::string_view::npos; end = head.find('\n')) {
        head.remove_prefix(end + 1);
        const std::string_view line = head.substr(0, head.find('\n'));
        const std::size_t colon = line.find(':');
        if (colon != std::string_view::npos)
            lines.emplace_back(slib::Trimmed(line.substr(0, colon)), slib::Trimmed(line.substr(colon + 1)));
    }
    return lines;
}

std::size_t MostBytes(Body body) {
    switch (body) {
        case Body::None:
            return 0;
        case Body::Object:
            return std::size_t{1} << 20;
        case Body::Bytes:
            return std::size_t{64} << 20;
    }
    return 0;
}

Verdict Refusal(int status, std::string sentence) {
    return {status, std::move(sentence), {}, nullptr, 0};
}

Verdict Judge(const Head& head, const Site& site) {
    if (!IsLoopback(head.peer)) return Refusal(status::forbidden, elsewhere);
    if (IsRepeated(head)) return Refusal(status::badRequest, "A header of the request stands there twice.");
    const std::vector<std::string> hosts = Hosts(site);
    const auto host = std::ranges::find(hosts, Find(head, "Host").value_or(""));
    if (host == hosts.end()) return Refusal(status::forbidden, elsewhere);
    if (!IsRead(head) && head.method != "POST") return WrongMethod("GET, HEAD, POST");
    if (!ComesFromPage(head, *host)) return Refusal(status::forbidden, elsewhere);
    const bool isFile = !head.path.starts_with(apiFolder);
    if (!isFile && !IsToken(Find(head, tokenHeader).value_or(""), site.token))
        return Refusal(status::unauthorised,
                       "This page isn't open any more. 'tessarune-config page' opens it again.");
    const auto resource = std::ranges::find(site.resources, head.path, &Resource::path);
    if (resource == site.resources.end())
        return Refusal(status::notFound, "There is nothing at this address.");
    const bool isMethod = resource->method == Method::Post
                              ? head.method == "POST"
                              : head.method == "GET" || (isFile && head.method == "HEAD");
    if (!isMethod) return WrongMethod(NameOf(resource->method, isFile));
    return resource->body == Body::None && resource->method == Method::Get ? JudgeNoBody(head, *resource)
                                                                           : JudgeBody(head, *resource);
}

}  // namespace page

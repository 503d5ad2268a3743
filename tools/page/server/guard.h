#pragma once

// Who may ask the page's server for what: a pure function from the head of a request to yes, or to the status
// that refuses it. It knows nothing of sockets, so a table tests it. Any thread.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/page/api/api.h"

namespace page {

/// The statuses that the server gives, as HTTP has them.
namespace status {
inline constexpr int fine = 200;
inline constexpr int accepted = 202;
inline constexpr int badRequest = 400;
inline constexpr int unauthorised = 401;
inline constexpr int forbidden = 403;
inline constexpr int notFound = 404;
inline constexpr int wrongMethod = 405;
inline constexpr int conflict = 409;
inline constexpr int lengthRequired = 411;
inline constexpr int tooLarge = 413;
inline constexpr int wrongType = 415;
inline constexpr int failed = 500;
}  // namespace status

inline constexpr std::string_view tokenHeader = "X-Tessarune-Token";

/// What can be asked for at a path.
struct Resource {
    std::string path;  ///< "/", "/main.js", "/api/state"
    Method method = Method::Get;
    Body body = Body::None;
};

/// What the guard holds a request against; the same for the life of a server.
struct Site {
    int port = 0;
    bool hasV6 = false;  ///< it also listens on ::1
    std::string token;   ///< that all below /api/ needs
    std::vector<Resource> resources;
};

using HeaderLines = std::vector<std::pair<std::string, std::string>>;

/// The head of a request, as the client has sent it.
struct Head {
    std::string method, path;  ///< the path without the query, its escapes resolved
    std::string peer;          ///< the client's address as a text
    HeaderLines headers;
};

/// Names and values of the lines behind the first one of `head`, the bytes that the client has sent. Blanks
/// around them are left out, and so are lines without a colon.
HeaderLines HeadersOf(std::string_view head);

struct Verdict {
    int status = 200;                    ///< else what refuses the request
    std::string sentence;                ///< of a refusal, for a person
    std::string allow;                   ///< with 405: the methods that there are
    const Resource* resource = nullptr;  ///< of the site; null with a refusal
    std::size_t bodyLength = 0;          ///< bytes that follow the head, within the bound of the resource
};

/// The most bytes that a body of that kind has.
std::size_t MostBytes(Body body);

Verdict Judge(const Head& head, const Site& site);

/// As a status names it.
Verdict Refusal(int status, std::string sentence);

}  // namespace page

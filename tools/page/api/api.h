#pragma once

// What the page in the browser asks for and what it gets: one table of routes, each a function from JSON to
// JSON over the functions that tessarune-config has too. The server knows nothing of settings, and the
// answers know nothing of HTTP. Answers run one at a time; those of jobs on a thread of their own.

#include <cstddef>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <string_view>

namespace page {

using Json = nlohmann::ordered_json;

/// What a long work tells while it runs. Any thread.
class Report {
public:
    Report() = default;
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;
    virtual ~Report() = default;

    /// `share` is from 0 to 1, below 0 where it isn't known; `text` a few words on what is done now.
    virtual void Step(double share, std::string_view text) = 0;
    /// Whether the person doesn't want it any more; the work then ends as soon as it can, with nothing done.
    [[nodiscard]] virtual bool IsCancelled() const = 0;
};

struct Request {
    std::map<std::string, std::string> query;
    const Json& body;         ///< an object; an empty one where the request has none
    std::string_view upload;  ///< of a route that takes bytes
};

enum class Method { Get, Post };
enum class Body { None, Object, Bytes };

struct Route {
    Method method;
    std::string_view path;  ///< "/api/state"
    Body body;
    bool isJob;  ///< takes long: the request is answered by the job's number, the job's end has the answer
    /// What it throws becomes an error with its sentence: tool::WrongUse and bad JSON are the page's fault
    /// (400), the rest is the machine's (500). Nothing was changed then.
    Json (*answer)(const Request& request, Report& report);
};

/// All there are.
std::span<const Route> Routes();

}  // namespace page

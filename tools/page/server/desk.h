#pragma once

// Answers what the guard has let pass: by the table of routes, as a job where the route is one, and by the
// server's own few routes about jobs and itself. It knows nothing of HTTP but the numbers of its statuses.
// Any thread; answers are made one at a time, and a job's beside them on the job's own thread.

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "slib/mutex.h"
#include "tools/page/api/api.h"
#include "tools/page/server/guard.h"
#include "tools/page/server/jobs.h"

namespace page {

using Query = std::map<std::string, std::string>;

class Desk {
public:
    /// `routes` outlives it.
    Desk(std::span<const Route> routes, std::string version);

    /// All that it answers.
    [[nodiscard]] std::vector<Resource> Resources() const;

    /// `path` is one of those. `body` is what the client has sent, still to be read.
    Answer Ask(const std::string& path, Query query, std::string body);

    /// Cancels the job and waits for so long. False when it goes on.
    bool End(std::uint32_t milliseconds) { return jobs.End(milliseconds); }

private:
    struct OwnRoute {
        Method method;
        std::string_view path;
        Body body;
        Json (Desk::*answer)(const Query& query, const Json& body);
    };
    static std::span<const OwnRoute> OwnRoutes();

    Json Alive(const Query& query, const Json& body);
    Json Leave(const Query& query, const Json& body);
    Json ShowJob(const Query& query, const Json& body);
    Json CancelJob(const Query& query, const Json& body);
    Answer Begin(const Route& route, Query query, std::string body);

    std::span<const Route> routes;
    std::string version;
    slib::Mutex answering;
    Jobs jobs;
};

}  // namespace page

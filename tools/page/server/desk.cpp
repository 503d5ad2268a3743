#include "tools/page/server/desk.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

#include "tools/support/jsonobject.h"
#include "tools/support/wronguse.h"

namespace page {
namespace {

// There is none of that number any more.
class NoSuchJob : public slib::StringException {
public:
    using StringException::StringException;
};

// Bytes that are no UTF-8, as in old names of files, are replaced.
std::string Text(const Json& document) {
    return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// What `work` returns, or the status of what it throws.
template <typename Work>
Answer Answered(const Work& work) {
    try {
        return {status::fine, Text(work()), {}, 0};
    } catch (const NoSuchJob& failure) {
        return {status::notFound, {}, failure.what(), 0};
    } catch (const tool::WrongUse& failure) {
        return {status::badRequest, {}, failure.what(), 0};
    } catch (const Json::exception&) {
        return {status::badRequest, {}, "A value of the request has the wrong kind. Load the page again.", 0};
    } catch (const std::exception& failure) {
        return {status::failed, {}, failure.what(), 0};
    }
}

Json BodyOf(Body kind, const std::string& body) {
    return kind == Body::Object ? tool::ParseJsonObject(body) : Json::object();
}

// Of routes that are no jobs.
class NoReport : public Report {
public:
    void Step(double, std::string_view) override {}
    [[nodiscard]] bool IsCancelled() const override { return false; }
};

Json Describe(const JobView& job) {
    Json document{{"job", job.number},
                  {"what", job.what},
                  {"state", NameOf(job.state)},
                  {"share", job.share},
                  {"text", job.text}};
    if (job.state == JobState::Done) document["answer"] = Json::parse(job.answer);
    if (!job.sentence.empty()) document["error"] = job.sentence;
    return document;
}

}  // namespace

Desk::Desk(std::span<const Route> routes, std::string version)
    : routes(routes), version(std::move(version)) {}

std::span<const Desk::OwnRoute> Desk::OwnRoutes() {
    static constexpr std::array<OwnRoute, 4> own{{
        {Method::Get, "/api/alive", Body::None, &Desk::Alive},
        {Method::Post, "/api/leave", Body::Object, &Desk::Leave},
        {Method::Get, "/api/job", Body::None, &Desk::ShowJob},
        {Method::Post, "/api/job/cancel", Body::Object, &Desk::CancelJob},
    }};
    return own;
}

std::vector<Resource> Desk::Resources() const {
    std::vector<Resource> resources;
    for (const Route& route : routes)
        resources.push_back({std::string(route.path), route.method, route.body});
    for (const OwnRoute& route : OwnRoutes())
        resources.push_back({std::string(route.path), route.method, route.body});
    return resources;
}

Answer Desk::Ask(const std::string& path, Query query, std::string body) {
    const std::span<const OwnRoute> own = OwnRoutes();
    if (const auto found = std::ranges::find(own, path, &OwnRoute::path); found != own.end())
        return Answered([&] { return (this->*found->answer)(query, BodyOf(found->body, body)); });
    const auto route = std::ranges::find(routes, path, &Route::path);
    if (route == routes.end()) return {status::notFound, {}, "There is nothing at this address.", 0};
    if (route->isJob) return Begin(*route, std::move(query), std::move(body));
    return Answered([&] {
        const Json object = BodyOf(route->body, body);
        NoReport report;
        const slib::Lock lock(answering);
        return route->answer({std::move(query), object, body}, report);
    });
}

// The request is read before the job starts, so that a wrong one is refused at once.
Answer Desk::Begin(const Route& route, Query query, std::string body) {
    Answer answer = Answered([&]() -> Json {
        Json object = BodyOf(route.body, body);
        auto work = [&route, query = std::move(query), object = std::move(object),
                     upload = std::move(body)](Report& report) {
            return Answered([&] { return route.answer({query, object, upload}, report); });
        };
        const std::optional<int> number = jobs.Start(std::string(route.path), std::move(work));
        return {{"job", number.value_or(0)}};
    });
    if (answer.status != status::fine) return answer;
    if (const int job = Json::parse(answer.json)["job"]; job == 0)
        return {status::conflict,
                {},
                "Something else is still going on. Wait for its end, or cancel it.",
                jobs.Latest()};
    answer.status = status::accepted;
    return answer;
}

Json Desk::Alive(const Query&, const Json&) {
    return {{"version", version}};
}

// A hint, for another tab may still show the page.
Json Desk::Leave(const Query&, const Json&) {
    return Json::object();
}

Json Desk::ShowJob(const Query& query, const Json&) {
    const auto id = query.find("id");
    const std::string text = id == query.end() ? "" : id->second;
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    if (const std::optional<JobView> job = jobs.Look(number)) return Describe(*job);
    throw NoSuchJob("What was going on has ended, and something else has begun since.");
}

Json Desk::CancelJob(const Query&, const Json& body) {
    if (!jobs.Cancel(body.at("job").get<int>())) throw NoSuchJob("That isn't going on any more.");
    return Json::object();
}

}  // namespace page

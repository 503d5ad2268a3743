#include "tools/manage/profiles.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/reading.h"
#include "tools/page/api/recordings.h"
#include "tools/support/gamestatus.h"
#include "tools/support/statusjson.h"

namespace page {
namespace {

std::string MeantProfile(const Json& body) {
    return tool::ProfileName(tool::ReadProfiles(), NameIn(body, "name"));
}

}  // namespace

Json Games(const Request&, Report&) {
    const std::vector<tool::GameStatus> games = tool::StatusOfGames();
    Json answer = tool::GamesJson(games);
    for (std::size_t i = 0; i < games.size(); ++i)
        answer["games"][i]["recording"] = DescribeRecording(games[i]);
    return answer;
}

Json ChangeProfile(const Request& request, Report&) {
    const std::string key = NameIn(request.body, "switch"), value = WordIn(request.body, "value");
    tool::ChangeProfile({MeantProfile(request.body), key, value, "", ""});
    return Json::object();
}

Json ResetProfile(const Request& request, Report&) {
    tool::ResetProfile(MeantProfile(request.body));
    return Json::object();
}

}  // namespace page

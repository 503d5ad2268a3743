#include "tools/manage/profiles.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/reading.h"
#include "tools/support/gamestatus.h"
#include "tools/support/statusjson.h"

namespace page {
namespace {

std::string MeantProfile(const Json& body) {
    return tool::ProfileName(tool::ReadProfiles(), NameIn(body, "name"));
}

}  // namespace

Json Games(const Request&, Report&) {
    return tool::GamesJson(tool::StatusOfGames());
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

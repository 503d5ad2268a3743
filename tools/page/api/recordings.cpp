#include "tools/page/api/recordings.h"

#include <cmath>
#include <limits>

#include "slib/enumtexts.h"
#include "tools/manage/recordings.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/reading.h"

namespace page {
namespace {

using What = goal::RecordingRequest::What;

constexpr auto whatTexts = slib::MakeEnumTexts<What>("field", "output", "both");

pid_t GameIn(const Json& body) {
    return static_cast<pid_t>(WholeIn(body, "pid", 1, std::numeric_limits<pid_t>::max()));
}

}  // namespace

Json DescribeRecording(const tool::GameStatus& game) {
    const std::optional<tool::AskedRecording> asked = tool::FindRecording(game);
    if (!asked) return nullptr;
    return {{"what", whatTexts.TextOf(asked->what)},
            {"file", asked->path},
            {"seconds", std::floor(asked->seconds * 10) / 10}};
}

// No path comes from the page: a name, and the folder is the user's own.
Json StartRecording(const Request& request, Report&) {
    const pid_t game = GameIn(request.body);
    const What what = ChoiceIn(request.body, "what", whatTexts);
    const std::string path = tool::FreshRecordingPath(NameIn(request.body, "name"), what);
    return {{"file", tool::StartRecording(path, what, game).path}};
}

Json StopRecording(const Request& request, Report&) {
    return {{"wasAsked", tool::StopRecording(GameIn(request.body))}};
}

}  // namespace page

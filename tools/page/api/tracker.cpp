#include "orb3core/settings/choicetexts.h"
#include "tools/manage/tracking.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/reading.h"

namespace page {
namespace {

constexpr unsigned mostPort = 65535;

std::optional<std::uint16_t> PortIn(const Json& body) {
    const std::optional<unsigned> port = OptionalWholeIn(body, "port", 1, mostPort);
    return port ? std::optional(static_cast<std::uint16_t>(*port)) : std::nullopt;
}

}  // namespace

Json ChangeTracker(const Request& request, Report&) {
    const auto& texts = orb3::choiceTexts<orb3::HeadTracking>;
    const auto mode = OptionalChoiceIn(request.body, "mode", texts);
    const tool::Tracking tracking = tool::SetTracking(mode, PortIn(request.body));
    return {{"mode", texts.TextOf(tracking.mode)}, {"port", tracking.port}};
}

Json CentreTracker(const Request&, Report&) {
    tool::CentreTracking();
    return Json::object();
}

}  // namespace page

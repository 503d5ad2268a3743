#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "orb3core/setup/layoutselection.h"
#include "slib/exception.h"
#include "tools/manage/doctor.h"
#include "tools/manage/logentries.h"
#include "tools/manage/start.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/reading.h"

namespace page {
namespace {

constexpr std::size_t mostEntries = 500;

void AddOutcome(const tool::Outcome& outcome, Json& start) {
    const orb3::spk::Layout& layout = *orb3::FindSelectedLayout(outcome.after);
    audiopipe::Pipe& pipe = *outcome.output.pipe;
    start["device"] = layout.pipeDevice;
    start["layout"] = layout.format;
    start["rate"] = std::lround(pipe.GetSampleRate());
    start["blockFrames"] = outcome.blockFrames;
    start["latencyFrames"] = outcome.LatencyFrames();
    start["order"] = outcome.order;
}

// As far as it comes.
Json TryStart() {
    Json start{{"device", ""},       {"layout", ""}, {"rate", 0},   {"blockFrames", 0},
               {"latencyFrames", 0}, {"order", 0},   {"error", ""}, {"lines", Json::array()}};
    tool::KeptLog log;
    try {
        const tool::FormatLibrary library(log);
        const orb3::Frameworks frameworks = tool::MakeFrameworks(log);
        const tool::Outcome outcome = tool::TryStart(library, frameworks, 0, log);
        AddOutcome(outcome, start);
        tool::CheckRate(outcome, frameworks);
    } catch (const slib::Exception& failure) {
        start["error"] = failure.what();
    }
    for (const tool::KeptLog::Line& line : log.Lines())
        start["lines"].push_back({{"text", line.text}, {"isError", line.isError}});
    return start;
}

}  // namespace

Json Check(const Request&, Report& report) {
    Json findings = Json::array();
    bool isFine = true;
    for (const auto& [check, finding] : tool::LookAtAll("", StepsOf(report))) {
        isFine = isFine && finding.isFine;
        findings.push_back({{"title", check->title},
                            {"isFine", finding.isFine},
                            {"text", finding.text},
                            {"remedy", finding.remedy}});
    }
    return {{"isFine", isFine}, {"findings", std::move(findings)}, {"start", TryStart()}};
}

Json ShowLog(const Request& request, Report&) {
    const auto kind = request.query.find("kind");
    const std::string shown = kind == request.query.end() ? "all" : kind->second;
    if (shown != "all" && shown != "errors") throw tool::WrongUse("'kind' must be errors or all.");
    std::vector<tool::LogEntry> entries = tool::ReadLogEntries();
    if (shown == "errors") std::erase_if(entries, [](const tool::LogEntry& entry) { return !entry.isError; });
    const std::size_t first = entries.size() - std::min(entries.size(), mostEntries);
    Json array = Json::array();
    for (std::size_t i = first; i < entries.size(); ++i)
        array.push_back({{"time", tool::ToUtc(entries[i].time)},
                         {"isError", entries[i].isError},
                         {"program", entries[i].program},
                         {"text", entries[i].text},
                         {"cure", entries[i].cure}});
    return {{"entries", std::move(array)}};
}

}  // namespace page

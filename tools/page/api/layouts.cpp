#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "slib/exception.h"
#include "slib/text.h"
#include "tools/manage/connection.h"
#include "tools/manage/selecting.h"
#include "tools/manage/speakers.h"
#include "tools/manage/storedvalues.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/child.h"
#include "tools/page/api/reading.h"

namespace page {
namespace {

orb3::spk::Layout InForce() {
    const orb3::Configuration configuration = tool::PeekDocument();
    return tool::FindLayout(configuration, "");
}

// The command's own words for what the page asks for.
std::vector<std::string> TestWords(const Json& body, unsigned speaker) {
    std::vector<std::string> words{"speaker-test"};
    if (FlagIn(body, "noise")) words.emplace_back("--noise");
    const bool isDirect = FlagIn(body, "direct");
    if (isDirect) words.emplace_back("--direct");
    if (speaker > 0) {
        const orb3::spk::Layout layout = InForce();
        if (speaker > layout.channels.size())
            throw tool::WrongUse("'" + layout.format + "' has no speaker " + std::to_string(speaker) + ".");
        if (!isDirect) words.emplace_back("--speaker");
        words.push_back(isDirect ? layout.channels[speaker - 1].pipePlaybackChannel
                                 : std::to_string(speaker));
    }
    if (const auto seconds = OptionalNumberIn(body, "seconds", 0.1, 60))
        words.insert(words.end(), {"--seconds", slib::FormatNumber(*seconds)});
    return words;
}

}  // namespace

Json SelectLayout(const Request& request, Report&) {
    if (FlagIn(request.body, "auto")) {
        tool::FollowSystem();
        return {{"layout", nullptr}, {"warnings", Json::array()}};
    }
    const orb3::spk::Layout layout = tool::SelectLayout(
        {NameIn(request.body, "layout"), WordIn(request.body, "device"), WordIn(request.body, "method")});
    return {{"layout", layout.format}, {"warnings", tool::BassWarnings(layout)}};
}

Json ChangeSpeaker(const Request& request, Report&) {
    tool::SpeakerChange change;
    change.speaker = std::to_string(WholeIn(request.body, "speaker", 1, 128));
    change.output = WordIn(request.body, "output");
    change.gain = OptionalNumberIn(request.body, "gain", 0, 1e6);
    if (change.output.empty() && !change.gain)
        throw tool::WrongUse("Name what to change of the speaker: 'output' or 'gain'.");
    tool::ChangeSpeaker(change, FlagIn(request.body, "force") ? tool::Force::Yes : tool::Force::No);
    return {{"warnings", tool::BassWarnings(InForce())}};
}

Json TestSpeakers(const Request& request, Report& report) {
    const unsigned speaker = WholeIn(request.body, "speaker", 0, 128);
    const std::vector<std::string> words = TestWords(request.body, speaker);
    report.Step(-1, speaker == 0 ? "all speakers" : "speaker " + std::to_string(speaker));
    RunConfig(words, report);
    return Json::object();
}

}  // namespace page

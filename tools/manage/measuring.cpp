#include "tools/manage/measuring.h"

#include <cmath>

#include "numeric/performancerating.h"
#include "orb3core/settings/autoselectsettings.h"
#include "platform/processorcount.h"
#include "slib/log.h"
#include "slib/text.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/logring.h"

namespace tool {
namespace {

// "Autoselecting game settings using performance rating 8@127." (orb3::SelectSettings)
std::optional<MeasuredPower> PowerInLog() {
    const std::string mark = "using performance rating ";
    std::optional<MeasuredPower> power;
    for (const std::string& line : Lines(ReadLogRing())) {
        const std::size_t at = line.find(mark), sign = line.find('@', at);
        if (at == std::string::npos || sign == std::string::npos) continue;
        const int processors = slib::ParseInt(line.substr(at + mark.size()));
        if (processors > 0)
            power = MeasuredPower{static_cast<unsigned>(processors),
                                  slib::ParseInt(line.substr(sign + 1)) / 100.0};
    }
    return power;
}

}  // namespace

MeasuredPower MeasureMachine() {
    const MeasuredPower power{platform::ProcessorCount(),
                              std::round(hcml::performance::MeasurePower() * 100) / 100};
    ChangeHistory([&](History& history) { history.power = power; });
    return power;
}

std::optional<MeasuredPower> LastPower() {
    const History history = ReadHistory();
    return history.power ? history.power : PowerInLog();
}

void TakeSettingsFor(const MeasuredPower& power) {
    const ChangeStep step("the settings for this machine");
    ChangeDocument([&](orb3::Configuration& configuration) {
        orb3::GoalConfig& settings = configuration.goalConfig;
        slib::Log nowhere;
        slib::ErrorLog log(&nowhere);
        orb3::GoalConfig chosen{.sound = settings.sound};
        orb3::SelectSettings(chosen, power.processors, power.rating, &log);
        settings.order = chosen.order;
        orb3::SetEffectsQuality(settings, orb3::GetEffectsQuality(chosen));
        settings.onlyOneReverb = chosen.onlyOneReverb;
        settings.sampleRateConversion = chosen.sampleRateConversion;
        settings.suggestedBufferLength = chosen.suggestedBufferLength;
        settings.suggestedBufferCount = chosen.suggestedBufferCount;
    });
}

std::string PowerText(const MeasuredPower& power) {
    return std::to_string(power.processors) + (power.processors == 1 ? " processor" : " processors") +
           ", a rating of " + slib::FormatNumber(power.rating) + " each";
}

}  // namespace tool

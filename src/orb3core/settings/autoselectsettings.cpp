#include "orb3core/settings/autoselectsettings.h"

#include <array>
#include <limits>
#include <string>

#include "numeric/performancerating.h"
#include "platform/processorcount.h"

namespace orb3 {
namespace {

struct EffectsTier {
    EffectsQuality quality;
    bool onlyOneReverb;
    SampleRateConversion sampleRateConversion;
};

constexpr EffectsTier least{EffectsQuality::Low, true, SampleRateConversion::Linear};
constexpr EffectsTier low{EffectsQuality::Medium, false, SampleRateConversion::Linear};
constexpr EffectsTier middle{EffectsQuality::High, false, SampleRateConversion::SincLow};
constexpr EffectsTier most{EffectsQuality::High, false, SampleRateConversion::SincMedium};
constexpr EffectsTier best{EffectsQuality::High, false, SampleRateConversion::SincBest};

struct Row {
    double bound;  // of the power, which lies below it
    const EffectsTier& effects;
    int order;
    int bufferCount;
};

constexpr std::array<Row, 7> rows{{
    {1.2, least, 1, 7},
    {1.5, low, 1, 7},
    {2.4, low, 2, 3},
    {3.4, middle, 2, 3},
    {4.2, middle, 3, 3},
    {4.7, middle, 4, 3},
    {std::numeric_limits<double>::infinity(), most, 4, 3},
}};

// On top of them, from that power on.
constexpr double refinedPower = 20;
constexpr Row refinedRow{std::numeric_limits<double>::infinity(), best, 4, 3};

const Row& RowOf(double power, Sound sound) {
    if (sound == Sound::Refined && power >= refinedPower) return refinedRow;
    for (const Row& row : rows)
        if (power < row.bound) return row;
    return rows.back();
}

void Apply(const Row& row, GoalConfig& goalConfig) {
    goalConfig = GoalConfig{.sound = goalConfig.sound};
    goalConfig.order = row.order;
    SetEffectsQuality(goalConfig, row.effects.quality);
    goalConfig.onlyOneReverb = row.effects.onlyOneReverb;
    goalConfig.sampleRateConversion = row.effects.sampleRateConversion;
    goalConfig.suggestedBufferLength = 256;
    goalConfig.suggestedBufferCount = row.bufferCount;
}

}  // namespace

void SelectSettings(GoalConfig& goalConfig, unsigned processors, double rating, slib::Log* log) {
    log->Write("Autoselecting game settings using performance rating " + std::to_string(processors) + "@" +
                   std::to_string(static_cast<long long>(rating * 100 + 0.5)) + ".",
               false);
    Apply(RowOf(processors * rating, goalConfig.sound), goalConfig);
}

void SelectProvisionalSettings(GoalConfig& goalConfig) {
    Apply(rows.back(), goalConfig);
}

void AutoselectSettings(GoalConfig& goalConfig, slib::Log* log) {
    SelectSettings(goalConfig, platform::ProcessorCount(), hcml::performance::MeasurePower(), log);
}

}  // namespace orb3

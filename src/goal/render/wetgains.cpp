#include "goal/render/wetgains.h"

#include <algorithm>
#include <functional>

#include "numeric/floattuplevector.h"

namespace goal {
namespace {

// In which the tail of an effect that has left its slot fades out.
constexpr double tailSeconds = 0.1;

// What a tail's gain falls in a block.
float TailStepOf(const RenderContext& context) {
    return static_cast<float>(context.blockFrames / (tailSeconds * context.sampleRate));
}

// A line over a block.
struct TailLine {
    float from = 1, to = 1;

    bool IsAtOne() const { return from == 1 && to == 1; }
    void Multiply(float* row, std::uint32_t frames) const {
        const float step = (to - from) / static_cast<float>(frames);
        for (std::uint32_t i = 0; i < frames; ++i)
            row[i] *= from + step * static_cast<float>(i + 1);
    }
};

// The effect itself applies the slot's gain, as it is set, and that of a tail falls in lines.
class PlainWetGains final : public WetGains {
public:
    explicit PlainWetGains(const RenderContext& context) : tailStep(TailStepOf(context)) {}

    float Move(SlotEffect& effect, EffectStay stay) override {
        line.from = effect.tailGain;
        line.to = stay == EffectStay::InSlot ? 1
                  : stay == EffectStay::Tail ? std::max(effect.tailGain - tailStep, 0.0F)
                                             : 0;
        effect.tailGain = line.to;
        return effect.slotGain;
    }

    void Apply(hcml::ac::Bus& wet, std::uint32_t channelCount) const override {
        if (line.from == line.to) return;
        for (std::uint32_t c = 0; c < channelCount; ++c)
            line.Multiply(wet.channels[c], wet.frames);
    }

private:
    const float tailStep;
    TailLine line;
};

// The slot's gain moves smoothly, and takes a tail that is in the way out within 15 ms.
class SmoothWetGains final : public WetGains {
public:
    explicit SmoothWetGains(const RenderContext& context)
        : sampleRate(context.sampleRate), tailStep(TailStepOf(context)), gains(context.blockFrames) {}

    float Move(SlotEffect& effect, EffectStay stay) override {
        const float target = stay == EffectStay::TailInTheWay ? 0 : effect.slotGain;
        if (!effect.wetGain) effect.wetGain.emplace(target, gainSeconds, sampleRate);
        SmoothValue& gain = *effect.wetGain;
        gain.Aim(target);
        isOne = !gain.IsMoving() && gain.Current() == 1;
        if (!isOne) gain.Fill(gains.data, gains.size);
        line.from = effect.tailGain;
        line.to = stay == EffectStay::InSlot ? 1 : std::max(effect.tailGain - tailStep, 0.0F);
        if (stay == EffectStay::TailInTheWay && gain.Current() < inaudible) line.to = 0;
        effect.tailGain = line.to;
        return 1;
    }

    void Apply(hcml::ac::Bus& wet, std::uint32_t channelCount) const override {
        for (std::uint32_t c = 0; c < channelCount; ++c) {
            if (!isOne)
                std::transform(gains.data, gains.data + wet.frames, wet.channels[c], wet.channels[c],
                               std::multiplies());
            if (!line.IsAtOne()) line.Multiply(wet.channels[c], wet.frames);
        }
    }

private:
    static constexpr double gainSeconds = 0.001;  // time constant
    static constexpr double inaudible = 1e-4;

    const double sampleRate;  // Hz
    const float tailStep;
    hcml::FloatTupleVector gains;  // of the current block
    bool isOne = true;             // and then `gains` isn't filled
    TailLine line;
};

}  // namespace

std::unique_ptr<WetGains> WetGains::Make(const RenderContext& context) {
    if (context.isRefined) return std::make_unique<SmoothWetGains>(context);
    return std::make_unique<PlainWetGains>(context);
}

}  // namespace goal

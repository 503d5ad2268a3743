#include "goal/fx/equalizer_v3.h"

#include <algorithm>
#include <cmath>

#include "numeric/ambisonicorder.h"
#include "numeric/kernels/gainkernel.h"

namespace goal::fx {
namespace {

// The section with other coefficients, and what it holds in their terms. As a pair of integrators (A. Simper
// and V. Zavalishin, "The Art of VA Filter Design", 2012) it would hold (s0 + s1)/2 times C and (s0 - s1)/2
// times sqrt(A*C), with C and A the denominator at 0 Hz and at half the rate. These stay, as charges of
// capacitors would.
void Retune(hcml::SecondOrderSection& section, const hcml::SecondOrderCoefficients& to) {
    const auto low = [](const hcml::SecondOrderCoefficients& c) { return 1 + c.a1 + c.a2; };
    const auto high = [](const hcml::SecondOrderCoefficients& c) { return 1 - c.a1 + c.a2; };
    const double ratio = low(section) / low(to);
    const double sum = (section.s0 + section.s1) * ratio;
    const double difference = (section.s0 - section.s1) * std::sqrt(ratio * high(section) / high(to));
    static_cast<hcml::SecondOrderCoefficients&>(section) = to;
    section.s0 = (sum + difference) / 2;
    section.s1 = (sum - difference) / 2;
}

}  // namespace

EqualizerState_v3::EqualizerState_v3(const EqualizerParameters& parameters, const RenderContext& context)
    : EffectProcessorState(parameters.effectType, EffectInput::Field, EffectOutput::Field),
      design(context.sampleRate),
      values(parameters),
      cascades(hcml::ChannelsOfOrder(context.order)),
      before(cascades.size()),
      rows(cascades.size()),
      fade(context.sampleRate),
      fading(context.blockFrames, static_cast<std::uint32_t>(cascades.size())),
      faded(context.blockFrames, static_cast<std::uint32_t>(cascades.size())) {
    const auto coefficients = design.Sections(values);
    for (Cascade& cascade : cascades)
        cascade.SetCoefficients(coefficients);
}

void EqualizerState_v3::process(const EffectProcessArgs& args) {
    const Values& wanted = static_cast<const EqualizerParameters&>(*args.parameters);
    if (wanted != values && !fade.IsRunning()) Change(wanted);
    if (fade.IsRunning())
        RunFading(args);
    else
        Run(cascades, args.input, args.output, args.frames, args.slotGain);
}

void EqualizerState_v3::Change(const Values& wanted) {
    values = wanted;
    before = cascades;
    fade.Start();
    const auto coefficients = design.Sections(values);
    for (Cascade& cascade : cascades)
        for (std::size_t s = 0; s < coefficients.size(); ++s)
            Retune(cascade.sections[s], coefficients[s]);
}

void EqualizerState_v3::Run(std::vector<Cascade>& bank, const float* const* input, float* const* output,
                            std::uint32_t frames, float gain) {
    for (std::size_t c = 0; c < bank.size(); ++c)
        rows[c] = {input[c], output[c], bank[c].sections.data()};
    hcml::AddCascades(rows.data(), static_cast<std::uint32_t>(rows.size()), frames, gain);
    for (Cascade& cascade : bank)
        std::ranges::for_each(cascade.sections, Settle);
}

void EqualizerState_v3::RunFading(const EffectProcessArgs& args) {
    const std::uint32_t count = std::min(fade.Left(), args.frames);
    fading.clear();
    faded.clear();
    Run(cascades, args.input, fading.channels, args.frames, 1);
    Run(before, args.input, faded.channels, count, 1);
    for (std::size_t c = 0; c < cascades.size(); ++c) {
        fade.Blend(faded.channels[c], fading.channels[c], count);
        hcml::MultiplyAddRow(args.output[c], fading.channels[c], args.slotGain, args.vectors);
    }
    fade.Advance(count);
}

}  // namespace goal::fx

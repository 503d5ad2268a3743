#include "goal/fx/earlyreflections.h"

#include <algorithm>
#include <cmath>

#include "goal/dsp/blockglide.h"
#include "goal/dsp/finitesamples.h"

namespace goal::fx {
namespace {

// The samples of one tap in a run, and those of one channel of the output.
struct TapRows {
    std::array<const float*, 4> rows;
};
using OutputRows = std::array<float*, 4>;

struct Gains {
    float gain;
    std::array<float, 3> pan;
    float spread;
};

// What tap a brings is turned an eighth of a circle to the right, what b brings to the left, and c mirrors.
void MixDirectional(const TapRows& a, const TapRows& b, const TapRows& c, const Gains& gains,
                    const OutputRows& output, std::uint32_t count) {
    constexpr float k = 0.707107F;
    float* __restrict w = output[0], * __restrict x = output[1], * __restrict y = output[2], * __restrict z = output[3];
    const auto [aw, ax, ay, az] = a.rows;
    const auto [bw, bx, by, bz] = b.rows;
    const auto [cw, cx, cy, cz] = c.rows;
    for (std::uint32_t i = 0; i < count; ++i) {
        const float sum = aw[i] + bw[i] + 0.5F * cw[i];
        w[i] = gains.gain * sum;
        x[i] = gains.pan[0] * sum + gains.spread * (k * (ax[i] + ay[i]) + k * (bx[i] - by[i]) - 0.5F * cx[i]);
        y[i] = gains.pan[1] * sum + gains.spread * (k * (ay[i] - ax[i]) + k * (bx[i] + by[i]) - 0.5F * cy[i]);
        z[i] = gains.pan[2] * sum + gains.spread * (az[i] + bz[i] - 0.5F * cz[i]);
    }
}

// Tap a comes from the left, b from the right and c from behind.
void MixMono(const TapRows& a, const TapRows& b, const TapRows& c, const Gains& gains,
             const OutputRows& output, std::uint32_t count) {
    float* __restrict w = output[0], * __restrict x = output[1], * __restrict y = output[2];
    const float *aw = a.rows[0], *bw = b.rows[0], *cw = c.rows[0];
    for (std::uint32_t i = 0; i < count; ++i) {
        const float sum = aw[i] + bw[i] + 0.5F * cw[i];
        w[i] = gains.gain * sum;
        x[i] = gains.pan[0] * sum - gains.spread * 0.5F * cw[i];
        y[i] = gains.pan[1] * sum + gains.spread * (aw[i] - bw[i]);
    }
    std::fill_n(output[3], count, 0.0F);
}

}  // namespace

EarlyReflections::EarlyReflections(float sampleRate, bool directional, std::uint32_t blockFrames)
    : sampleRate(sampleRate), directional(directional), fading(GlideFrames(sampleRate, blockFrames), 4) {
    const std::uint32_t length = static_cast<std::uint32_t>(0.65 * sampleRate + 2.5) + blockFrames;
    for (std::size_t c = 0; c < (directional ? 4 : 1); ++c)
        earlyFrames[c] = DelayRing<float>(length);
}

EarlyReflections::Taps EarlyReflections::TapsFor(const ReverbParametersBase& parameters) const {
    const auto direct = static_cast<std::uint32_t>(parameters.reflectionsDelay * sampleRate + 1.5F);
    const auto late = static_cast<std::uint32_t>(parameters.lateReverbDelay * sampleRate + 0.5F);
    const float gain = 0.5F * parameters.reflectionsGain;
    const auto& [right, up, front] = parameters.reflectionsPan;
    const float length = std::sqrt(right * right + up * up + front * front);
    return {.a = direct,
            .b = direct + (5 * late >> 4) + 1,
            .c = direct + (13 * late >> 4) + 2,
            .gain = gain,
            .pan = {front * gain, -right * gain, up * gain},
            .spread = gain * (1 - (length + 1e-20F))};
}

void EarlyReflections::Render(const Taps& taps, Range range, std::uint32_t frames,
                              hcml::ac::Bus& target) const {
    const Gains gains{taps.gain, taps.pan, taps.spread};
    for (std::uint32_t done = 0; done < range.count;) {
        const std::uint32_t since = frames - 1 - range.first - done;  // frames written after this one
        std::uint32_t count = range.count - done;
        std::array<TapRows, 3> rows{};
        for (std::size_t t = 0; t < 3; ++t) {
            const std::uint32_t delay = std::array{taps.a, taps.b, taps.c}[t] + since;
            count = std::min(count, earlyFrames[0].RunPast(delay));
            for (std::size_t c = 0; c < (directional ? 4 : 1); ++c)
                rows[t].rows[c] = earlyFrames[c].Past(delay);
        }
        OutputRows output{};
        for (std::size_t c = 0; c < 4; ++c)
            output[c] = target.channels[c] + range.first + done;
        (directional ? MixDirectional : MixMono)(rows[0], rows[1], rows[2], gains, output, count);
        done += count;
    }
}

void EarlyReflections::FadeFromPrevious(std::uint32_t frames, hcml::ac::Bus& output) {
    const std::uint32_t count = std::min(GlideFrames(sampleRate, frames), fading.frames);
    Render(previous, {0, count}, frames, fading);
    for (std::uint32_t c = 0; c < 4; ++c)
        FadeFrom(fading.channels[c], output.channels[c], count);
}

void EarlyReflections::Write(const float* const* input, std::uint32_t frames) {
    for (std::size_t c = 0; c < (directional ? 4 : 1); ++c)
        WriteFinite(earlyFrames[c], input[c], frames);
}

void EarlyReflections::Run(const ReverbParametersBase& parameters, const float* const* input,
                           std::uint32_t frames, hcml::ac::Bus& output) {
    Write(input, frames);
    const Taps taps = TapsFor(parameters);
    Render(taps, {0, frames}, frames, output);
    if (started && taps != previous) FadeFromPrevious(frames, output);
    previous = taps;
    started = true;
}

}  // namespace goal::fx

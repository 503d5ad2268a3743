#include "goal/fx/latenetwork.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/finitesamples.h"

namespace goal::fx {
namespace {

using hcml::networkTaps;

// The lines' mean length in seconds: of the smallest room, and what density adds.
constexpr double leastMean = 0.020;
constexpr double meanOfDensity = 0.020;
constexpr double shortestMean = 0.0015;
constexpr double longestMean = leastMean + meanOfDensity;

// Times round in which a room dies away, at least: what a short room asks of its lines.
constexpr double leastRounds = 30;

// The mean lengths lie on a grid, so that a small change of the room leaves the lines where they are.
constexpr double lengthStep = 1.05;

// The lengths over their mean, each a little off an even spacing of their logarithms.
constexpr std::array<double, LateNetwork::maximumLines> lengthRatios{0.553, 0.590, 0.639, 0.675, 0.733, 0.779,
                                                                     0.842, 0.897, 0.965, 1.026, 1.107, 1.178,
                                                                     1.269, 1.352, 1.458, 1.551};

// The lengths of the all-passes, over the mean length of the lines, and their coefficient at full diffusion.
constexpr double leastDiffuser = 0.12;
constexpr double moreDiffuser = 0.21;
constexpr float mostDiffusion = 0.6F;

// Of the shortest line, in what part of its length the taps of the input lie.
constexpr double tapPart = 0.8;

// How much longer a line may become on the way to a prime, and by all the primes before it.
constexpr std::uint32_t primesApart = 300;

// Between two moves of what a delay line remembers.
constexpr std::uint32_t roomFrames = 4096;

constexpr std::uint32_t mostPartFrames = 128;
constexpr std::uint32_t fadePartFrames = 32;

// How far the moving angles go to both sides, in radians, and how often in a second.
constexpr float swing = 2.4048F;
constexpr std::array<double, LateNetwork::maximumLines / 2> swingRates{0.23, 0.31, 0.37, 0.43,
                                                                       0.53, 0.59, 0.67, 0.73};

constexpr float quarterPi = std::numbers::pi_v<float> / 4;

bool IsPrime(std::uint32_t n) {
    if (n % 2 == 0) return n == 2;
    for (std::uint32_t i = 3; i * i <= n; i += 2)
        if (n % i == 0) return false;
    return n > 1;
}

std::uint32_t PrimeFrom(std::uint32_t n) {
    while (!IsPrime(n))
        ++n;
    return n;
}

double MeanLength(const LateRoom& room, std::uint32_t lineCount) {
    const double free =
        (leastMean + meanOfDensity * room.density) * (lineCount == LateNetwork::maximumLines ? 1 : 0.75);
    const double held = std::min({free, room.decay.time / leastRounds, LongestLine(room.decay)});
    const double steps =
        std::ceil(std::log(std::max(held, shortestMean) / longestMean) / std::log(lengthStep));
    return longestMean * std::pow(lengthStep, steps);
}

// A number from 0 to 1 that looks like chance, and is the same everywhere.
double Scattered(std::uint32_t n) {
    n = (n + 1) * 0x9E3779B1U;
    n = (n ^ (n >> 15)) * 0x85EBCA6BU;
    n = (n ^ (n >> 13)) * 0xC2B2AE35U;
    return (n ^ (n >> 16)) * 0x1p-32;
}

// The four bits of a line's number the other way round: neighbours among the lines aren't among the taps.
std::uint32_t Reversed(std::uint32_t line, std::uint32_t lineCount) {
    std::uint32_t result = 0;
    for (std::uint32_t bit = 1; bit < lineCount; bit *= 2)
        result = result * 2 + (line / bit) % 2;
    return result;
}

using hcml::NetworkLanes;
using hcml::NetworkShelves;

// Calls `body` with the same coefficient of each.
template <typename Body, typename... Shelves>
void ForEachCoefficient(const Body& body, Shelves&... all) {
    body(all.n0...);
    body(all.n1...);
    body(all.n2...);
    body(all.d1...);
    body(all.d2...);
    body(all.a1...);
    body(all.a2...);
    body(all.a3...);
    body(all.bandGain...);
    body(all.lowGain...);
}

NetworkShelves Between(const NetworkShelves& from, const NetworkShelves& to, float weight) {
    NetworkShelves result;
    const auto blend = [weight](const NetworkLanes& a, const NetworkLanes& b, NetworkLanes& target) {
        for (std::uint32_t i = 0; i < hcml::maximumNetworkLines; ++i)
            target[i] = a[i] + weight * (b[i] - a[i]);
    };
    ForEachCoefficient(blend, from, to, result);
    return result;
}

// What is to be added after each of `frames` frames.
NetworkShelves StepsTo(const NetworkShelves& from, const NetworkShelves& to, std::uint32_t frames) {
    NetworkShelves result;
    const auto step = [frames](const NetworkLanes& a, const NetworkLanes& b, NetworkLanes& target) {
        for (std::uint32_t i = 0; i < hcml::maximumNetworkLines; ++i)
            target[i] = (b[i] - a[i]) / static_cast<float>(frames);
    };
    ForEachCoefficient(step, from, to, result);
    return result;
}

Phase PhaseOfAngle(float radians) {
    return static_cast<Phase>(
        static_cast<std::int64_t>(radians * static_cast<float>(0x1p32 / (2 * std::numbers::pi))));
}

constexpr Phase quarterTurn = 0x40000000;

float Sine(float angle) {
    return SineAt(PhaseOfAngle(angle));
}

float Cosine(float angle) {
    return SineAt(PhaseOfAngle(angle) + quarterTurn);
}

}  // namespace

LateNetwork::LateNetwork(float sampleRate, bool isFull, std::uint32_t blockFrames,
                         const CrossfadeCourse& course)
    : lineCount(isFull ? maximumLines : maximumLines / 2),
      lines(blockFrames, lineCount),
      sampleRate(sampleRate),
      course(course),
      history(static_cast<std::uint32_t>(longestMean * sampleRate)),
      fed(history + blockFrames),
      inputs(blockFrames, lineCount),
      oldInputs(blockFrames, lineCount),
      delayed(mostPartFrames, maximumLines),
      absorbed(mostPartFrames, maximumLines),
      diffused(mostPartFrames, lineCount) {
    const auto longest = static_cast<std::uint32_t>(1.6 * longestMean * sampleRate) + primesApart;
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        // Not all at one moment make room.
        delays[k] = SlidingDelay(longest, roomFrames + k * mostPartFrames);
        diffusers[k] = SlidingDelay(longest / 4, roomFrames + k * mostPartFrames);
    }
    for (std::uint32_t p = 0; p < lineCount / 2; ++p)
        phases[p] = p * 0x2F5B1C3DU;
}

LateNetwork::Plan LateNetwork::MakePlan(const LateRoom& room) const {
    Plan plan;
    SetDelays(room, plan);
    SetTaps(room, plan);
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        const LineFilter filter = DesignAbsorption(room.decay, sampleRate, plan.lengths[k]);
        filter.Set(plan.absorption, k);
        plan.hasLow = plan.hasLow || filter.low != 0;
        plan.left[k] =
            static_cast<float>(std::sqrt(EnergyLeft(plan.lengths[k].diffuser, room.decay.time, sampleRate)));
    }
    plan.diffusion = mostDiffusion * std::sqrt(room.diffusion);
    plan.angle = quarterPi * (0.1F + 0.9F * std::pow(room.diffusion, 0.35F));
    return plan;
}

void LateNetwork::SetDelays(const LateRoom& room, Plan& plan) const {
    const double mean = MeanLength(room, lineCount) * sampleRate;
    std::uint32_t last = 0;
    plan.shortest = ~0U;
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        const double ratio = lengthRatios[k * maximumLines / lineCount];
        last = PrimeFrom(std::max(static_cast<std::uint32_t>(mean * ratio), last + 1));
        const double diffuser = mean * (leastDiffuser + moreDiffuser * Scattered(k + 500));
        plan.lengths[k] = {last, PrimeFrom(static_cast<std::uint32_t>(diffuser))};
        plan.shortest = std::min({plan.shortest, last, plan.lengths[k].diffuser});
    }
}

// The taps are velvet noise (Karjalainen and Järveläinen, 2007), decaying as the room does. Their energy
// comes to 1/(1 - what is left after a round) of it in the network. It is to be 1, halfway (in dB) between a
// sound in the middle and pink noise.
void LateNetwork::SetTaps(const LateRoom& room, Plan& plan) const {
    double left = 0;
    for (std::uint32_t k = 0; k < lineCount; ++k)
        left += EnergyLeft(plan.lengths[k].delay + plan.lengths[k].diffuser, room.decay.time, sampleRate) /
                lineCount;
    const double wanted = (1 - left) / (lineCount * std::sqrt(room.decay.PinkEnergy()));
    const double slot = tapPart * plan.lengths[0].delay / (networkTaps * lineCount);
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        double energy = 0;
        for (std::uint32_t t = 0; t < networkTaps; ++t) {
            const std::uint32_t place = t * lineCount + Reversed(k, lineCount);
            const double delay = slot * (place + (place == 0 ? 0 : Scattered(place)));
            const double sign = Scattered(place + 1000) < 0.5 ? -1 : 1;
            const double gain = sign * (t == 0 ? 1 : room.diffusion) *
                                std::sqrt(EnergyLeft(delay, room.decay.time, sampleRate));
            plan.tapDelays[k][t] = static_cast<std::uint32_t>(delay);
            plan.tapGains[k][t] = static_cast<float>(gain);
            energy += gain * gain;
        }
        const auto scale = static_cast<float>(std::sqrt(wanted / energy));
        for (float& gain : plan.tapGains[k])
            gain *= scale;
    }
}

void LateNetwork::Follow(const LateRoom& room) {
    if (!fade.Follow(room)) return;
    from = to;
    to = MakePlan(room);
    if (fade.isFading) return;
    for (std::uint32_t p = 0; p < lineCount / 2; ++p) {
        const float angle = to.angle + swing * SineAt(phases[p]);
        chords[p] = {.cosine = Cosine(angle), .sine = Sine(angle)};
    }
}

void LateNetwork::Run(const LateRoom& room, const float* input, std::uint32_t frames) {
    Follow(room);
    Feed(input, frames);
    for (std::uint32_t i = 0; i < frames;)
        i += RunPart(i, frames - i);
    FlushMemory();
}

void LateNetwork::Feed(const float* input, std::uint32_t frames) {
    std::transform(input, input + frames, fed.data + history, FiniteSample);
    SumTaps(to, frames, inputs);
    if (fade.isFading) {
        SumTaps(from, frames, oldInputs);
        for (std::uint32_t k = 0; k < lineCount; ++k)
            Blend(course.From(fade.position), oldInputs.channels[k], inputs.channels[k], frames);
    }
    std::copy(fed.data + frames, fed.data + frames + history, fed.data);
}

void LateNetwork::SumTaps(const Plan& plan, std::uint32_t frames, hcml::ac::Bus& rows) {
    hcml::NetworkInput taps;
    for (std::uint32_t k = 0; k < lineCount; ++k)
        for (std::uint32_t t = 0; t < networkTaps; ++t) {
            taps.taps[k][t] = fed.data + history - plan.tapDelays[k][t];
            taps.gains[k][t] = plan.tapGains[k][t];
        }
    hcml::SumNetworkTaps(taps, rows.channels, lineCount, frames);
}

std::uint32_t LateNetwork::RunPart(std::uint32_t first, std::uint32_t most) {
    const std::uint32_t frames = PartFrames(most);
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        delays[k].MakeRoom(frames);
        diffusers[k].MakeRoom(frames);
    }
    Absorb(frames);
    Mix(first, frames);
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        delays[k].Advance(frames);
        diffusers[k].Advance(frames);
    }
    fade.Advance(frames, course);
    return frames;
}

// The most frames, of `most`, in which no line reads what it writes and all that moves moves evenly.
std::uint32_t LateNetwork::PartFrames(std::uint32_t most) const {
    const std::uint32_t frames = std::min({most, mostPartFrames - stretchFrame, to.shortest});
    if (!fade.isFading) return frames;
    return std::min({frames, fadePartFrames, course.frames - fade.position, from.shortest});
}

float LateNetwork::WeightAfter(std::uint32_t frames) const {
    if (!fade.isFading) return 1;
    const std::uint32_t position = fade.position + frames;
    return position == 0 ? 0 : *course.From(position - 1);
}

float LateNetwork::Moving(float Plan::*value, float weight) const {
    return fade.isFading ? from.*value + weight * (to.*value - from.*value) : to.*value;
}

// What comes out in the next `frames`; in a fade in which the delay changes, in `scratch`.
const float* LateNetwork::Past(const SlidingDelay& memory, std::uint32_t oldDelay, std::uint32_t delay,
                               std::uint32_t frames, float* scratch) const {
    const float* const past = memory.Past(delay);
    if (!fade.isFading || oldDelay == delay) return past;
    std::copy_n(past, frames, scratch);
    Blend(course.From(fade.position), memory.Past(oldDelay), scratch, frames);
    return scratch;
}

NetworkShelves LateNetwork::AbsorptionAt(float weight) const {
    NetworkShelves result = fade.isFading ? Between(from.absorption, to.absorption, weight) : to.absorption;
    // What the mix grows by in the turns of the second form.
    const float cosine = Cosine(Moving(&Plan::angle, weight));
    float scale = 1;
    for (std::uint32_t distance = 2; distance < lineCount; distance *= 2)
        scale *= cosine;
    for (NetworkLanes* const lanes : {&result.n0, &result.n1, &result.n2})
        for (float& value : *lanes)
            value *= scale;
    return result;
}

void LateNetwork::Absorb(std::uint32_t frames) {
    hcml::NetworkAbsorption run;
    run.frames = frames;
    for (std::uint32_t k = 0; k < maximumLines; ++k) {
        run.ahead[k] = absorbed.channels[k];
        run.past[k] = k < lineCount ? Past(delays[k], from.lengths[k].delay, to.lengths[k].delay, frames,
                                           delayed.channels[k])
                                    : delayed.channels[k];
    }
    const NetworkShelves now = AbsorptionAt(WeightAfter(0));
    const bool hasLow = to.hasLow || (fade.isFading && from.hasLow);
    if (!fade.isFading) return hcml::RunNetworkAbsorption(run, lineCount, now, hasLow, memory);
    const NetworkShelves steps = StepsTo(now, AbsorptionAt(WeightAfter(frames)), frames);
    hcml::RunMovingNetworkAbsorption(run, lineCount, now, steps, hasLow, memory);
}

void LateNetwork::Mix(std::uint32_t first, std::uint32_t frames) {
    const float weightBefore = WeightAfter(0), weightAfter = WeightAfter(frames);
    const float before = Moving(&Plan::angle, weightBefore), after = Moving(&Plan::angle, weightAfter);
    const float toStep = 1 / static_cast<float>(frames);
    hcml::NetworkMix mix;
    mix.frames = frames;
    mix.tangent = Sine(before) / Cosine(before);
    mix.tangentStep = (Sine(after) / Cosine(after) - mix.tangent) * toStep;
    mix.diffusion = Moving(&Plan::diffusion, weightBefore);
    mix.diffusionStep = (Moving(&Plan::diffusion, weightAfter) - mix.diffusion) * toStep;
    MoveAngles(after, frames, mix);
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        mix.past[k] = absorbed.channels[k];
        mix.input[k] = inputs.channels[k] + first;
        mix.ahead[k] = delays[k].Ahead();
        mix.outputs[k] = lines.channels[k] + first;
        mix.left[k] = fade.isFading ? from.left[k] + weightBefore * (to.left[k] - from.left[k]) : to.left[k];
        if (fade.isFading)
            mix.leftSteps[k] = (weightAfter - weightBefore) * (to.left[k] - from.left[k]) * toStep;
        mix.diffused[k] = Past(diffusers[k], from.lengths[k].diffuser, to.lengths[k].diffuser, frames,
                               diffused.channels[k]);
        mix.diffusing[k] = diffusers[k].Ahead();
    }
    hcml::RunNetworkMix(mix, lineCount);
}

// The angles go in chords from end to end of stretches that don't depend on the blocks; in a fade, of its
// parts.
void LateNetwork::MoveAngles(float angle, std::uint32_t frames, hcml::NetworkMix& mix) {
    const bool isNew = fade.isFading || chordFrames == 0;
    if (isNew) chordFrames = fade.isFading ? frames : mostPartFrames - stretchFrame;
    const float toStep = 1 / static_cast<float>(chordFrames);
    for (std::uint32_t p = 0; p < lineCount / 2; ++p) {
        const auto step = static_cast<Phase>(swingRates[p] / sampleRate * 0x1p32);
        Chord& chord = chords[p];
        if (isNew) {
            const float end = angle + swing * SineAt(phases[p] + chordFrames * step);
            chord.cosineStep = (Cosine(end) - chord.cosine) * toStep;
            chord.sineStep = (Sine(end) - chord.sine) * toStep;
        }
        mix.cosines[p] = chord.cosine;
        mix.sines[p] = chord.sine;
        mix.cosineSteps[p] = chord.cosineStep;
        mix.sineSteps[p] = chord.sineStep;
        chord.cosine += chord.cosineStep * static_cast<float>(frames);
        chord.sine += chord.sineStep * static_cast<float>(frames);
        phases[p] += frames * step;
    }
    chordFrames -= frames;
    stretchFrame = (stretchFrame + frames) % mostPartFrames;
}

void LateNetwork::FlushMemory() {
    for (NetworkLanes* const lanes : {&memory.z1, &memory.z2, &memory.i1, &memory.i2})
        std::transform(*lanes, *lanes + lineCount, *lanes, [](float value) { return KeptInMemory(value); });
}

}  // namespace goal::fx

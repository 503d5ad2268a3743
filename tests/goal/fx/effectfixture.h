#pragma once

// One running effect, driven as the renderer drives it: made from parameters, fed block by block. For the
// tests of all effects.

#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "goal/fx/effectprocessorstate.h"
#include "numeric/bus.h"
#include "tests/support/allocationcounter.h"
#include "tests/support/signals.h"

namespace testing_support {

/// Where an effect runs.
struct EffectPlace {
    double sampleRate = 48000;
    std::uint32_t blockFrames = 512;
    std::uint32_t order = 3;
    bool isDirectional = false;  ///< useDirectionalEarlyReflections
    bool isFull = true;          ///< useFullLateReflections
    bool isRefined = true;
};

/// How long a stretch of a test lasts, in seconds: `usual`, or in a soak what TESSARUNE_SOAK_SECONDS says.
inline double StretchSeconds(double usual) {
    const char* soak = std::getenv("TESSARUNE_SOAK_SECONDS");
    return soak == nullptr ? usual : std::atof(soak);
}

/// Whether the parameter takes that value, in its form.
inline bool SetParameter(goal::EffectProcessorParameters& parameters, std::int32_t name, float value) {
    return parameters.setParameterf(name, value) || parameters.setParameteri(name, int(value));
}

/// The least and the greatest value that a parameter takes, of all the limits that there are. Both are 0 for
/// one that takes none of them.
inline std::pair<float, float> RangeOf(goal::EffectProcessorParameters& parameters, std::int32_t name) {
    std::vector<float> taken;
    for (const float limit :
         {-180.f, -1.f,   0.f,    0.004f, 0.01f, 0.016f, 0.04f, 0.075f, 0.1f,   0.126f, 0.207f, 0.25f,
          0.3f,   0.404f, 0.892f, 0.99f,  1.f,   2.f,    3.16f, 4.f,    7.943f, 10.f,   20.f,   50.f,
          80.f,   180.f,  200.f,  800.f,  1e3f,  3e3f,   4e3f,  8e3f,   16e3f,  20e3f,  24e3f})
        if (SetParameter(parameters, name, limit)) taken.push_back(limit);
    return taken.empty() ? std::pair(0.f, 0.f) : std::pair(taken.front(), taken.back());
}

/// The response at `angle` of the one-pole low-pass whose gain is 1 at angle 0 and `gain` at `gainAngle`: the
/// pole is found by halving.
inline std::complex<double> OnePoleAt(double angle, double gain, double gainAngle) {
    const auto at = [](double pole, double w) { return (1 - pole) / (1.0 - pole * std::polar(1.0, -w)); };
    double low = 0, high = 1;
    for (int i = 0; i < 60; ++i)
        (std::abs(at((low + high) / 2, gainAngle)) > gain ? low : high) = (low + high) / 2;
    return at(low, angle);
}

class RunningEffect {
public:
    explicit RunningEffect(const goal::EffectProcessorParameters& parameters, const EffectPlace& place = {})
        : place(place) {
        state = parameters.createState({.sampleRate = place.sampleRate,
                                        .order = place.order,
                                        .useFullLateReflections = place.isFull,
                                        .useDirectionalEarlyReflections = place.isDirectional,
                                        .blockFrames = place.blockFrames,
                                        .listenerBasis = &listenerBasis,
                                        .isRefined = place.isRefined});
    }
    RunningEffect(const RunningEffect&) = delete;  // the state refers to the fields

    /// What the effect adds to silence. `input` has as many channels as the effect's input at most; those
    /// that it lacks are silent. The last block is as short as what is left of the signal.
    Channels Feed(const goal::EffectProcessorParameters& parameters, const Channels& input) {
        const auto field = static_cast<std::uint32_t>((place.order + 1) * (place.order + 1));
        const std::uint32_t inputs[] = {1, place.isDirectional ? 4u : 1u, field};
        const std::uint32_t outputs[] = {1, 2, 4, 6, 8, field, 1, 1};
        const std::uint32_t outputChannels = outputs[static_cast<std::size_t>(state->outputKind)];
        Channels result(outputChannels);
        for (std::size_t first = 0; first < input[0].size(); first += place.blockFrames) {
            const std::size_t count = std::min<std::size_t>(place.blockFrames, input[0].size() - first);
            const auto frames = static_cast<std::uint32_t>(count);
            hcml::ac::Bus in(frames, inputs[static_cast<std::size_t>(state->inputKind)]);
            hcml::ac::Bus out(frames, outputChannels);
            for (std::size_t c = 0; c < input.size(); ++c)
                std::copy_n(&input[c][first], frames, in.channels[c]);
            const std::size_t before = AllocationsOfThisThread();
            state->process({&parameters, in.channels, out.channels, in.frames, in.vectors, slotGain});
            allocations += AllocationsOfThisThread() - before;
            for (std::uint32_t c = 0; c < outputChannels; ++c)
                result[c].insert(result[c].end(), out.channels[c], out.channels[c] + frames);
        }
        return result;
    }

    Channels Feed(const goal::EffectProcessorParameters& parameters, const Signal& input) {
        return Feed(parameters, Channels{input});
    }

    const EffectPlace place;
    goal::Basis listenerBasis;
    std::unique_ptr<goal::EffectProcessorState> state;
    float slotGain = 1;
    std::size_t allocations = 0;  ///< of all calls of `process` so far
};

}  // namespace testing_support

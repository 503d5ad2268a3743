#pragma once

// One effect that runs block by block as in the renderer: 512 frames at 48 kHz into a bus of order 4, fed
// with noise. For the benchmark programs.

#include <cstdint>
#include <memory>
#include <span>

#include "goal/fx/effectprocessorstate.h"

/// The settings that cost time in a reverb.
struct EffectQuality {
    const char* name;
    bool useDirectionalEarlyReflections;
    bool useFullLateReflections;
};

std::span<const EffectQuality> EffectQualities();

struct BenchedEffect {
    const char* name;
    std::int32_t type;  ///< an AL_EFFECT_ value
    bool hasQualities;  ///< it is another one in each quality
};

std::span<const BenchedEffect> BenchedEffects();

class EffectRun {
public:
    static constexpr std::uint32_t frames = 512;
    static constexpr double sampleRate = 48000;  // Hz

    /// `isRefined` says in which of the two sounds.
    EffectRun(std::int32_t type, const EffectQuality& quality, bool isRefined = true);
    EffectRun(const EffectRun&) = delete;
    EffectRun& operator=(const EffectRun&) = delete;

    /// The next block.
    void Process();

private:
    goal::Basis listener;
    std::unique_ptr<goal::EffectProcessorParameters> parameters;
    std::unique_ptr<goal::EffectProcessorState> state;
    hcml::ac::Bus input;
    hcml::ac::Bus output;
};

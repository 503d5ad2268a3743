#include "goal/fx/comblines.h"

#include <algorithm>
#include <cmath>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/blockglide.h"

namespace goal::fx {
namespace {

// Loop lengths in tenths of a second, and how much of them comes before the output.
struct LineShape {
    float length;
    float tap;
};

constexpr std::array<LineShape, 4> fewLines{{{1.23666666667F, 0.980358056379F},
                                             {0.909583333333F, 0.874780262668F},
                                             {1.06875F, 0.844646404928F},
                                             {0.785F, 0.696389185521F}}};
constexpr std::array<LineShape, CombLines::maximumLines> manyLines{{{1.02854354625F, 0.551971022387F},
                                                                    {0.879097721329F, 0.915744888153F},
                                                                    {1.16645833858F, 0.915776679336F},
                                                                    {0.82249994959F, 0.633618011007F},
                                                                    {0.936461700062F, 0.312728031336F},
                                                                    {0.844582898993F, 0.978544860807F},
                                                                    {1.25770833337F, 0.9725328634F},
                                                                    {0.808484072899F, 0.354802191685F},
                                                                    {1.07283089135F, 0.935612663435F},
                                                                    {1.18333254758F, 0.661705057887F}}};

// The lines that are heard in each output: one of the first four, and three of those that two outputs share.
constexpr std::array<std::array<std::uint8_t, 4>, CombLines::outputCount> linesOfOutput{
    {{0, 4, 7, 8}, {1, 4, 5, 9}, {2, 5, 6, 8}, {3, 6, 7, 9}}};

constexpr float sharedInputGain = 0.5F;

using hcml::CombCoefficients;

// Calls `body` with the same coefficient of each.
template <typename Body, typename... Coefficients>
void ForEachCoefficient(const Body& body, Coefficients&... all) {
    body(all.feed...);
    body(all.input...);
    body(all.hfA...);
    body(all.hfB...);
    body(all.direct...);
    body(all.smooth...);
    body(all.lfA...);
    body(all.lfB...);
    body(all.low...);
}

CombCoefficients StepsBetween(const CombCoefficients& from, const CombCoefficients& to,
                              std::uint32_t frames) {
    CombCoefficients steps;
    ForEachCoefficient(
        [frames](const hcml::CombLanes& first, const hcml::CombLanes& last, hcml::CombLanes& step) {
            for (std::uint32_t i = 0; i < hcml::maximumCombLines; ++i)
                step[i] = (last[i] - first[i]) / static_cast<float>(frames);
        },
        from, to, steps);
    return steps;
}

void AddRows(const std::array<const float*, 4>& rows, std::uint32_t frames, float* __restrict output) {
    const auto [a, b, c, d] = rows;
    for (std::uint32_t i = 0; i < frames; ++i)
        output[i] = a[i] + b[i] + c[i] + d[i];
}

}  // namespace

CombLines::CombLines(float sampleRate, bool fullLate, std::uint32_t blockFrames)
    : lineCount(fullLate ? manyLines.size() : fewLines.size()),
      sampleRate(sampleRate),
      unused(blockFrames),
      lineOutputs(blockFrames, lineCount) {
    for (std::uint32_t i = 0; i < lineCount; ++i)
        MakeLine(i, blockFrames);
}

void CombLines::MakeLine(std::uint32_t line, std::uint32_t blockFrames) {
    const bool isFull = lineCount == manyLines.size();
    const LineShape& shape = isFull ? manyLines[line] : fewLines[line];
    const float exact = shape.length * 0.1F * sampleRate;
    const auto length = static_cast<std::uint32_t>(exact);
    CombLine& made = lines[line];
    made.ring = DelayRing<float>(length + blockFrames);
    made.ring.Advance(line * 112);  // else all lines would write to the same few sets of the nearest cache
    made.delay = length - 1;
    made.outputTap = static_cast<std::uint32_t>(exact * shape.tap);
    made.inputExponent = static_cast<float>(made.outputTap) / static_cast<float>(length) - 1;
    made.inputGain = line < outputCount ? 1 : sharedInputGain;
}

void CombLines::Set(const CombDecay& decay, float activeLines, const FilterGainTables& tables) {
    if (wasSet && decay == lastDecay && activeLines == lastActiveLines) return;
    lastDecay = decay;
    lastActiveLines = activeLines;
    const auto wholeLines = static_cast<std::uint32_t>(activeLines);
    const float rest = activeLines - static_cast<float>(wholeLines);
    for (std::uint32_t i = 0; i < lineCount; ++i) {
        const float weight = i == wholeLines ? std::sqrt(rest) : static_cast<float>(i < wholeLines);
        SetLine(i, weight > 0 ? MakeCombLoop(decay, lines[i].delay + 1.0, weight, tables) : CombLoop{});
    }
    wasSet = true;
    moving = true;
}

// The input has the level of a sound that came round until it is at the output tap.
void CombLines::SetLine(std::uint32_t line, const CombLoop& loop) {
    CombLine& set = lines[line];
    const auto& [feedback, high, low] = loop;
    const bool isOn = std::abs(feedback) >= 1e-8F;
    set.level = isOn ? 1 : 0;
    target.feed[line] = isOn ? feedback : 0;
    target.input[line] =
        isOn ? WithoutDenormal(feedback * set.inputGain * std::pow(-feedback, set.inputExponent)) : 0;
    target.hfA[line] = WithoutDenormal(high.a);
    target.hfB[line] = WithoutDenormal(high.b);
    target.direct[line] = high.boost > 0 ? 1 + high.boost : 0;
    target.smooth[line] = high.boost > 0 ? -high.boost : 1;
    target.lfA[line] = WithoutDenormal(low.a);
    target.lfB[line] = WithoutDenormal(low.b);
    target.low[line] = low.boost > 0 ? low.boost : -1;
}

void CombLines::Run(const float* input, std::uint32_t frames, float* const* outputs) {
    if (!started) current = target;
    const std::uint32_t glideFrames = started && moving ? GlideFrames(sampleRate, frames) : 0;
    RunLoops(input, frames, glideFrames);
    FlushMemory();
    std::array<const float*, maximumLines> rows{};
    for (std::uint32_t i = 0; i < lineCount; ++i)
        rows[i] = ReadLine(i, frames, glideFrames);
    Mix(rows.data(), frames, outputs);
    started = true;
    moving = false;
}

void CombLines::RunLoops(const float* input, std::uint32_t frames, std::uint32_t glideFrames) {
    CombCoefficients steps;
    if (glideFrames > 0) steps = StepsBetween(current, target, glideFrames);
    hcml::CombRun run;
    for (std::uint32_t i = 0; i < frames; i += run.frames) {
        const bool isGliding = i < glideFrames;
        run.frames = PrepareRun(run, input + i, (isGliding ? glideFrames : frames) - i);
        if (isGliding)
            hcml::RunMovingCombLines(run, lineCount, current, steps, memory);
        else
            hcml::RunCombLines(run, lineCount, current, memory);
        for (std::uint32_t k = 0; k < lineCount; ++k)
            lines[k].ring.Advance(run.frames);
        if (i + run.frames == glideFrames) current = target;
    }
}

// The most frames, of `frames`, that no ring's end breaks and no line reads in the run that wrote them.
std::uint32_t CombLines::PrepareRun(hcml::CombRun& run, const float* input, std::uint32_t frames) {
    run.input = input;
    for (std::uint32_t i = 0; i < hcml::maximumCombLines; ++i) {
        run.past[i] = run.ahead[i] = unused.data;
        if (i >= lineCount) continue;
        CombLine& line = lines[i];
        run.past[i] = line.ring.Past(line.delay);
        run.ahead[i] = line.ring.Ahead();
        frames = std::min({frames, line.delay + 1, line.ring.RunPast(line.delay), line.ring.RunAhead()});
    }
    return frames;
}

void CombLines::FlushMemory() {
    for (std::uint32_t i = 0; i < lineCount; ++i) {
        memory.y1[i] = KeptInMemory(memory.y1[i]);
        memory.y2[i] = KeptInMemory(memory.y2[i]);
    }
}

// What is heard of a line: nothing of one that is off, and one that has just been turned fades.
const float* CombLines::ReadLine(std::uint32_t line, std::uint32_t frames, std::uint32_t glideFrames) {
    CombLine& read = lines[line];
    const BlockGlide level(started ? read.currentLevel : read.level, read.level, glideFrames);
    read.currentLevel = read.level;
    if (level.frames == 0 && level.to == 0) return unused.data;
    float* samples = lineOutputs.channels[line];
    read.ring.ReadAll(read.outputTap, samples, frames);
    for (std::uint32_t i = 0; i < level.frames; ++i)
        samples[i] *= level.At(i);
    if (level.to == 0) std::fill(samples + level.frames, samples + frames, 0.0F);
    return samples;
}

void CombLines::Mix(const float* const* rows, std::uint32_t frames, float* const* outputs) const {
    for (std::uint32_t j = 0; j < outputCount; ++j) {
        const auto& of = linesOfOutput[j];
        if (lineCount == outputCount)
            std::copy_n(rows[j], frames, outputs[j]);
        else
            AddRows({rows[of[0]], rows[of[1]], rows[of[2]], rows[of[3]]}, frames, outputs[j]);
    }
}

}  // namespace goal::fx

#include "goal/dsp/filterstage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "goal/dsp/antidenormal.h"
#include "numeric/kernels/gainkernel.h"
#include "slib/exception.h"

namespace goal {
namespace {

// All through: the section is left out and keeps no memory.
bool IsOpen(std::uint32_t row) {
    return row == FilterGainTables::openRow;
}

bool IsOpenAt(float gain) {
    return IsOpen(FilterRowIndex(gain));
}

// The gains that the path is to have.
struct Targets {
    float gain;
    float gainHF;
    float gainLF;
};

// What one call works on.
struct Work {
    const float* const* input;
    float* const* output;
    std::uint32_t channels;
    std::uint32_t frames;
    const FilterGainTables& tables;
    SourceFilterState& state;
    bool secondOrder;
    float floorScale;

    std::uint32_t Step() const { return tables.stepFrames; }
    float Floor() const { return tables.floor * floorScale; }
};

// A section's memory on one channel. The first order keeps y1 and zero, the second y2 and y1 - y2, which is
// the small difference of two large numbers at low frequencies, or the states of two integrators.
struct SectionMemory {
    float& first;
    float& second;

    void Clear() const {
        first = 0;
        second = 0;
    }
};

SectionMemory HighMemory(const Work& work, std::uint32_t channel) {
    std::array<float, 4>& memory = work.state.memory[channel];
    return {memory[0], memory[1]};
}

SectionMemory LowMemory(const Work& work, std::uint32_t channel) {
    std::array<float, 4>& memory = work.state.memory[channel];
    return {memory[2], memory[3]};
}

// y = a*x + b*y1 on each sample, which goes to emit(i, x, y). Four samples are worked out as if nothing came
// before them, and then what came before is added by powers of b: the only chain from group to group is one
// multiply and one add.
template <typename Emit>
void RunFirstOrder(const float* input, std::size_t count, float a, float b, SectionMemory memory, Emit emit) {
    float y = memory.second == 0 ? memory.first : 0;  // a second-order section's memory is of another scale
    const float b2 = b * b;
    const float b3 = b2 * b;
    const float b4 = b2 * b2;
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const float x0 = input[i];
        const float x1 = input[i + 1];
        const float x2 = input[i + 2];
        const float x3 = input[i + 3];
        const float p0 = a * x0;
        const float p1 = a * x1 + b * p0;
        const float p2 = a * x2 + b * p1;
        const float p3 = a * x3 + b * p2;
        emit(i, x0, p0 + b * y);
        emit(i + 1, x1, p1 + b2 * y);
        emit(i + 2, x2, p2 + b3 * y);
        y = p3 + b4 * y;
        emit(i + 3, x3, y);
    }
    for (; i < count; ++i) {
        const float x = input[i];
        y = a * x + b * y;
        emit(i, x, y);
    }
    memory.first = KeptInMemory(y);
    memory.second = 0;
}

// w = x - b1*y1 - b2*y2 on each sample, by differences: emit(i, y2, y1 - y2, w - y1).
template <typename Emit>
void RunSecondOrder(const float* input, std::size_t count, SecondOrderRow row, SectionMemory memory,
                    Emit emit) {
    float older = memory.first;
    float difference = memory.second;
    for (std::size_t i = 0; i < count; ++i) {
        const float next = (input[i] - row.sum * older) + row.slope * difference;
        emit(i, older, difference, next);
        older += difference;
        difference = next;
    }
    memory.first = KeptInMemory(older);
    memory.second = KeptInMemory(difference);
}

// The second order as two trapezoidal integrators (Zavalishin, 2012), whose cut-off may move without a jump:
// emit(i, x, band, low) of which the band is that of the first one.
template <typename Input, typename Emit>
void RunIntegrators(Input input, std::size_t count, float k, SectionMemory memory, Emit emit) {
    constexpr auto damping = std::numbers::sqrt2_v<float>;
    const float a1 = 1 / (1 + k * (k + damping));
    const float a2 = k * a1;
    const float a3 = k * a2;
    float low = memory.first;
    float band = memory.second;
    for (std::size_t i = 0; i < count; ++i) {
        const float x = input(i);
        const float rest = x - low;
        const float v1 = a1 * band + a2 * rest;
        const float v2 = low + a2 * band + a3 * rest;
        band = 2 * v1 - band;
        low = 2 * v2 - low;
        emit(i, x, v1, v2);
    }
    memory.first = KeptInMemory(low);
    memory.second = KeptInMemory(band);
}

// The high section of the second order, times `gain`.
void RunHighSecondOrder(const FilterGainTables& tables, std::uint32_t row, const float* input, float* output,
                        std::size_t count, float gain, SectionMemory memory) {
    const SecondOrderRow& at = tables.hfSecondOrder[row];
    if (tables.isRefined)
        return RunIntegrators([=](std::size_t i) { return input[i]; }, count, at.k, memory,
                              [=](std::size_t i, float, float, float low) { output[i] = gain * low; });
    const float scale = gain * at.a;
    RunSecondOrder(input, count, at, memory, [=](std::size_t i, float older, float difference, float next) {
        output[i] = scale * ((4 * older + 3 * difference) + next);
    });
}

// The low section of the second order, in place.
void RunLowSecondOrder(const FilterGainTables& tables, std::uint32_t row, float* samples, std::size_t count,
                       SectionMemory memory) {
    const SecondOrderRow& at = tables.lfSecondOrder[row];
    if (tables.isRefined)
        return RunIntegrators([=](std::size_t i) { return samples[i]; }, count, at.k, memory,
                              [=](std::size_t i, float x, float band, float low) {
                                  samples[i] = x - std::numbers::sqrt2_v<float> * band - low;
                              });
    const float a = at.a;
    RunSecondOrder(samples, count, at, memory, [=](std::size_t i, float, float difference, float next) {
        samples[i] = a * (next - difference);
    });
}

void Scale(const float* input, float* output, std::size_t count, float gain) {
    if (gain == 0) {
        std::fill_n(output, count, 0.0F);
    } else if (gain != 1) {
        hcml::MultiplySamples(output, input, gain, count);
    } else if (input != output) {
        std::copy_n(input, count, output);
    }
}

// From `from` on, to the end of the last group of four if these are the block's last frames.
std::size_t WholeGroups(const Work& work, std::uint32_t from, std::uint32_t count) {
    if (count < work.frames - from) return count;
    return (std::size_t{work.frames} + 3) / 4 * 4 - from;
}

// By a gain that moves in a line.
void ScaleAlong(const float* input, float* output, std::size_t count, float first, float last) {
    const float slope = (last - first) / static_cast<float>(count);
    for (std::size_t i = 0; i < count; ++i)
        output[i] = input[i] * (first + slope * static_cast<float>(i + 1));
}

// The gain and the high section on a range of frames of all channels, at the gains of the state, or on the
// way to them: the gain was `gainBefore`. What it acts on first is what the memory is of.
void RunHighAlong(const Work& work, std::uint32_t from, std::uint32_t count, float gainBefore) {
    const std::uint32_t row = FilterRowIndex(work.state.gainHF);
    for (std::uint32_t c = 0; c < work.channels; ++c) {
        const float* input = work.input[c] + from;
        float* output = work.output[c] + from;
        const SectionMemory memory = HighMemory(work, c);
        if (IsOpen(row) || !work.secondOrder) ScaleAlong(input, output, count, gainBefore, work.state.gain);
        if (IsOpen(row)) {
            memory.Clear();
        } else if (work.secondOrder) {
            RunHighSecondOrder(work.tables, row, input, output, count, 1, memory);
            ScaleAlong(output, output, count, gainBefore, work.state.gain);
        } else {
            const FirstOrderRow& at = work.tables.hfFirstOrder[row];
            RunFirstOrder(output, count, at.a, at.b, memory,
                          [=](std::size_t i, float, float y) { output[i] = y; });
        }
    }
}

// The same at the gains of the state. `opens` says that they get to be open here: the plain stage has the
// last row of its tables act on what the section still holds.
void RunHigh(const Work& work, std::uint32_t from, std::uint32_t count, bool opens = false) {
    const float gain = work.state.gain;
    const std::uint32_t row = FilterRowIndex(work.state.gainHF);
    for (std::uint32_t c = 0; c < work.channels; ++c) {
        const float* input = work.input[c] + from;
        float* output = work.output[c] + from;
        const SectionMemory memory = HighMemory(work, c);
        if (IsOpen(row) && !opens) {
            Scale(input, output, WholeGroups(work, from, count), gain);
            memory.Clear();
        } else if (work.secondOrder) {
            RunHighSecondOrder(work.tables, row, input, output, count, gain, memory);
        } else {
            const FirstOrderRow& at = work.tables.hfFirstOrder[row];
            RunFirstOrder(input, count, gain * at.a, at.b, memory,
                          [=](std::size_t i, float, float y) { output[i] = y; });
        }
    }
}

// Gives the high section the memory of an input that was always as it is at frame `from`: an open section
// keeps none, and one that began to close with an empty memory would click.
void PrimeHigh(const Work& work, std::uint32_t from) {
    const float scale = work.secondOrder ? 1 : work.state.gain;
    for (std::uint32_t c = 0; c < work.channels; ++c)
        HighMemory(work, c).first = KeptInMemory(work.input[c][from] * scale);
}

// What the low section takes off dies away by itself once it is open: at first order what its low-pass
// remembers, at second order its answer to silence. `from` as below.
void DieAway(const Work& work, std::uint32_t from, std::uint32_t count) {
    constexpr float inaudible = 1e-6F;
    constexpr std::uint32_t longRun =
        32;  // frames; the second order's answer may cross zero in a shorter one
    float greatest = 0;
    for (std::uint32_t c = 0; c < work.channels; ++c) {
        float* samples = work.output[c] + from;
        const SectionMemory memory = LowMemory(work, c);
        if (work.secondOrder) {
            const float k = work.tables.lfSecondOrder[work.state.lowTail].k;
            RunIntegrators([](std::size_t) { return 0.0F; }, count, k, memory,
                           [&](std::size_t i, float, float band, float low) {
                               const float rest = std::numbers::sqrt2_v<float> * band + low;
                               samples[i] -= rest;
                               greatest = std::max(greatest, std::fabs(rest));
                           });
        } else {
            const float b = work.tables.lfFirstOrder[work.state.lowTail].b;
            for (std::uint32_t i = 0; i < count; ++i) {
                memory.first *= b;
                samples[i] -= memory.first;
            }
            greatest = std::max(greatest, std::fabs(memory.first));
        }
    }
    if (count < longRun || greatest > inaudible) return;
    for (std::uint32_t c = 0; c < work.channels; ++c)
        LowMemory(work, c).Clear();
    work.state.lowTail = 0;
}

// The low section in place on a range of frames of all channels, at the gain of the state. `opens` as above.
void RunLow(const Work& work, std::uint32_t from, std::uint32_t count, bool opens = false) {
    const std::uint32_t row = FilterRowIndex(work.state.gainLF);
    if (IsOpen(row) && work.state.lowTail != 0) return DieAway(work, from, count);
    work.state.lowTail = 0;
    for (std::uint32_t c = 0; c < work.channels; ++c) {
        float* samples = work.output[c] + from;
        const SectionMemory memory = LowMemory(work, c);
        if (IsOpen(row) && !opens) {
            memory.Clear();
        } else if (work.secondOrder) {
            RunLowSecondOrder(work.tables, row, samples, count, memory);
        } else {
            const FirstOrderRow& at = work.tables.lfFirstOrder[row];
            RunFirstOrder(samples, count, at.a, at.b, memory,
                          [=](std::size_t i, float x, float y) { samples[i] = x - y; });
        }
    }
}

void AgainstDenormals(const Work& work) {
    for (std::uint32_t c = 0; c < work.channels; ++c)
        ApplyAntiDenormalPattern(work.output[c], work.frames);
}

// Both passes walk in steps while a gain moves and a whole step fits; the rest of the block is at constant
// gains. Returns the frame from which the gains are constant.
std::uint32_t WalkHigh(const Work& work, const Targets& targets) {
    SourceFilterState& state = work.state;
    const std::uint32_t step = work.Step();
    std::uint32_t position = 0;
    while ((state.gain != targets.gain || state.gainHF != targets.gainHF) && work.frames - position >= step) {
        const bool wasOpen = IsOpenAt(state.gainHF);
        const bool opens = !work.tables.isRefined && state.gainHF != targets.gainHF;
        const float gainBefore = state.gain;
        state.gain = work.tables.Step(state.gain, targets.gain, work.floorScale);
        state.gainHF = work.tables.Step(state.gainHF, targets.gainHF, work.floorScale);
        if (work.tables.isRefined && wasOpen && !IsOpenAt(state.gainHF)) PrimeHigh(work, position);
        if (work.tables.isRefined && gainBefore != state.gain)
            RunHighAlong(work, position, step, gainBefore);
        else
            RunHigh(work, position, step, opens);
        position += step;
    }
    return position;
}

bool IsHighNearSilence(const Work& work) {
    return work.state.gain < work.Floor() || work.state.gainHF < work.Floor();
}

void FinishHigh(const Work& work, std::uint32_t position) {
    RunHigh(work, position, work.frames - position);
    if (IsHighNearSilence(work)) AgainstDenormals(work);
}

void PassLow(const Work& work, const Targets& targets) {
    SourceFilterState& state = work.state;
    const std::uint32_t step = work.Step();
    std::uint32_t position = 0;
    while (state.gainLF != targets.gainLF && work.frames - position >= step) {
        const std::uint32_t before = FilterRowIndex(state.gainLF);
        state.gainLF = work.tables.Step(state.gainLF, targets.gainLF, work.floorScale);
        if (work.tables.isRefined && !IsOpen(before) && IsOpenAt(state.gainLF)) state.lowTail = before;
        RunLow(work, position, step, !work.tables.isRefined);
        position += step;
    }
    RunLow(work, position, work.frames - position);
    if (state.gainLF < work.Floor()) AgainstDenormals(work);
}

void SetGains(SourceFilterState& state, const Targets& gains) {
    state.gain = gains.gain;
    state.gainHF = gains.gainHF;
    state.gainLF = gains.gainLF;
}

// One of the gains is 0 and stays so.
bool IsSilent(const SourceFilterState& state, const Targets& targets) {
    return (state.gain == 0 && targets.gain == 0) || (state.gainHF == 0 && targets.gainHF == 0) ||
           (state.gainLF == 0 && targets.gainLF == 0);
}

// As a path that was silent is left.
bool IsAsleep(const SourceFilterState& state) {
    return state.gain == 0 && state.gainHF == 0 && state.gainLF == 0;
}

// What comes before the passes.
bool PrepareOrFindSilent(const Work& work, const Targets& targets) {
    SourceFilterState& state = work.state;
    if (work.channels > state.memory.size()) slib::ThrowUnreachable();
    const auto channelCount = static_cast<std::int32_t>(work.channels);
    if (state.channelCount != channelCount) {
        state.memory = {};
        state.lowTail = 0;
        state.channelCount = channelCount;
        SetGains(state, targets);
    }
    if (!IsSilent(state, targets)) {
        if (work.tables.isRefined && IsAsleep(state)) SetGains(state, {0, targets.gainHF, targets.gainLF});
        return false;
    }
    state.memory = {};
    state.lowTail = 0;
    SetGains(state, {0, 0, 0});
    return true;
}

// True: silent.
bool Filter(const Work& work, const Targets& targets) {
    if (PrepareOrFindSilent(work, targets)) return true;
    FinishHigh(work, WalkHigh(work, targets));
    PassLow(work, targets);
    return false;
}

// Where the gains are constant, all that is left to run is one first-order section.
bool IsOneSection(const Work& work, const Targets& targets) {
    const SourceFilterState& state = work.state;
    return !work.secondOrder && !IsOpenAt(state.gainHF) && IsOpenAt(state.gainLF) &&
           IsOpenAt(targets.gainLF) && state.lowTail == 0 && !IsHighNearSilence(work);
}

// The section from `position` on, in place, so that the input may change before it runs.
hcml::FirstOrderSection SectionFrom(const Work& work, std::uint32_t position) {
    const float* input = work.input[0] + position;
    float* samples = work.output[0] + position;
    if (input != samples) std::copy_n(input, work.frames - position, samples);
    const FirstOrderRow& row = work.tables.hfFirstOrder[FilterRowIndex(work.state.gainHF)];
    return {.input = samples,
            .output = samples,
            .b0 = work.state.gain * row.a,
            .a = row.b,
            .y1 = HighMemory(work, 0).first};
}

// The high and the low gain can't boost.
float ShelfTarget(float gain) {
    return std::min(UsableGain(gain), 1.0F);
}

Targets TargetsFor(const FilterParameters& record, const FilterStageSettings& settings) {
    return {UsableGain(record.gain * settings.gainFactor), ShelfTarget(record.gainHF * settings.hfFactor),
            ShelfTarget(record.gainLF)};
}

bool IsSecondOrder(const FilterParameters& record, const FilterStageSettings& settings) {
    return (record.order == 0 ? settings.defaultOrder : record.order) == 2;
}

Work OneChannel(const FilterParameters& record, SourceFilterState& state, const hcml::FloatTupleVector& input,
                const hcml::FloatTupleVector& output, const FilterGainTables& tables,
                const FilterStageSettings& settings) {
    return {&input.data,        &output.data, 1, input.size, tables, state, IsSecondOrder(record, settings),
            settings.floorScale};
}

}  // namespace

bool filterChannels(const FilterParameters& record, SourceFilterState& state, const hcml::ac::Bus& input,
                    hcml::ac::Bus& output, const FilterGainTables& tables,
                    const FilterStageSettings& settings) {
    output.resize(input.frames, input.channelCount);
    const Work work{input.channels,
                    output.channels,
                    input.channelCount,
                    input.frames,
                    tables,
                    state,
                    IsSecondOrder(record, settings),
                    settings.floorScale};
    return Filter(work, TargetsFor(record, settings));
}

bool filterOne(const FilterParameters& record, SourceFilterState& state, const hcml::FloatTupleVector& input,
               hcml::FloatTupleVector& output, const FilterGainTables& tables,
               const FilterStageSettings& settings) {
    output.resize(input.size);
    return Filter(OneChannel(record, state, input, output, tables, settings), TargetsFor(record, settings));
}

bool FilterOneLater(const FilterParameters& record, SourceFilterState& state,
                    const hcml::FloatTupleVector& input, hcml::FloatTupleVector& output,
                    const FilterGainTables& tables, const FilterStageSettings& settings,
                    SectionBatch& waiting) {
    output.resize(input.size);
    const Work work = OneChannel(record, state, input, output, tables, settings);
    const Targets targets = TargetsFor(record, settings);
    if (PrepareOrFindSilent(work, targets)) return true;
    const std::uint32_t position = WalkHigh(work, targets);
    if (position <= waiting.head && IsOneSection(work, targets)) {
        RunHigh(work, position, waiting.head - position);
        waiting.Add(SectionFrom(work, waiting.head), state);
        return false;
    }
    FinishHigh(work, position);
    PassLow(work, targets);
    return false;
}

bool PassesAsItIs(const FilterParameters& record, SourceFilterState& state,
                  const FilterStageSettings& settings) {
    const Targets targets = TargetsFor(record, settings);
    if (targets.gain != 1 || targets.gainHF != 1 || targets.gainLF != 1) return false;
    const bool isUsed = state.channelCount == 1;
    if (isUsed && (state.gain != 1 || state.gainHF != 1 || state.gainLF != 1 || state.lowTail != 0))
        return false;
    state.memory[0] = {};
    state.channelCount = 1;
    SetGains(state, targets);
    return true;
}

void reset(SourceFilterState& state) {
    state.memory = {};
    state.lowTail = 0;
    state.channelCount = -1;
    SetGains(state, {1, 1, 1});
}

}  // namespace goal

#include "goal/render/sourcerenderer_v2.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "goal/dsp/antidenormal.h"
#include "goal/dsp/filterstage.h"
#include "goal/render/bformatrotation.h"
#include "numeric/kernels/gainkernel.h"

namespace goal {
namespace {

// What an update may deviate from what the last ones let expect and still be a movement: of the distance, or
// of the length of a direction; and of a gain. More is a jump.
constexpr float greatestTurn = 0.35F;
constexpr float greatestGainStep = 0.25F;
constexpr float anything = 1e14F;

float Length(const Vector3& v) {
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

// True where the line jumped. What isn't finite is no movement.
template <std::size_t size>
bool Follow(UpdateLine<size>& line, const std::array<float, size>& wanted, float limit,
            const UpdatePace& pace) {
    if (!line.IsNews(wanted)) return false;
    const bool isFirst = !line.HasValue();
    float square = 0;
    const std::array<float, size> expected = line.Expected();
    for (std::size_t i = 0; i < size; ++i)
        square += (wanted[i] - expected[i]) * (wanted[i] - expected[i]);
    if (!isFirst && limit <= anything && std::sqrt(square) <= limit) {
        line.Aim(wanted, pace);
        return false;
    }
    line.Jump(wanted);
    return !isFirst;
}

// How many parts of a block have a pitch of their own, so that the steps between them aren't heard.
std::uint32_t PitchParts(float from, float to, std::uint32_t frames) {
    if (from == to || !(from > 0) || !(to > 0)) return 1;
    const float change = std::fabs(to - from) / to;
    return static_cast<std::uint32_t>(
        std::clamp(std::round(std::sqrt(8 * change * static_cast<float>(frames))), 1.0F, 8.0F));
}

// What the direct path of a source at `gain` is to have.
float DirectGain(const Voice& voice, float gain) {
    return voice.isEnding ? 0 : UsableGain(voice.source.directFilter.gain * gain);
}

FilterParameters ShelvesOf(const FilterParameters& filter) {
    FilterParameters shelves = filter;
    shelves.gain = 1;
    return shelves;
}

}  // namespace

SourceRenderer_v2::SourceRenderer_v2(const RenderStages& stages)
    : stages(stages),
      pace(stages.sampleRate, stages.blockFrames),
      mover(stages.sampleRate, stages.blockFrames),
      sends(mover, stages.tables, stages.blockFrames, stages.defaultFilterOrder),
      turned(stages.blockFrames, 1) {}

Basis SourceRenderer_v2::Listen(const RenderSnapshot& snapshot) {
    const Vector3 &at = snapshot.listenerAt, &up = snapshot.listenerUp;
    const float limit = greatestTurn * std::min(Length(at), Length(up));
    hasListenerJumped = Follow(orientation, {at[0], at[1], at[2], up[0], up[1], up[2]}, limit, pace);
    const std::array<float, 6>& heard = orientation.Advance(pace);
    Follow(listenerVelocity, snapshot.listenerVelocity, anything, pace);
    heardListenerVelocity = listenerVelocity.Advance(pace);
    return BuildBasis({heard[0], heard[1], heard[2]}, {heard[3], heard[4], heard[5]});
}

// True where the source has jumped.
bool SourceRenderer_v2::FollowPlace(const Source& source, const RenderSnapshot& snapshot,
                                    SourceMotion& motion, SourcePlace& place) {
    const SourcePlace wanted = PlaceOf(source, snapshot);
    const bool hasJumped = FollowOffset(source, wanted, motion.place);
    const PlaceLine::Value& heard = motion.place.Advance(pace);
    place = {{heard[0], heard[1], heard[2]},
             wanted.direction,
             {heard[4], heard[5], heard[6]},
             heardListenerVelocity,
             heard[gainOfPlace]};
    if (source.coneInnerHalfAngle < pi) {
        Follow(motion.direction, wanted.direction, anything, pace);
        place.direction = motion.direction.Advance(pace);
    }
    return hasJumped || hasListenerJumped;
}

bool SourceRenderer_v2::FollowOffset(const Source& source, const SourcePlace& wanted, PlaceLine& line) const {
    const Vector3 &to = wanted.offset, &along = wanted.velocity;
    const PlaceLine::Value value{to[0], to[1], to[2], wanted.gain, along[0], along[1], along[2]};
    if (!line.IsNews(value)) return false;
    const bool isFirst = !line.HasValue();
    const PlaceLine::Value &last = line.Last(), expected = line.Expected(), step = line.LastStep();
    const float distance = std::min(Length(to), Length({last[0], last[1], last[2]}));
    const float limit = std::max(greatestTurn * distance, 0.5F * Length({step[0], step[1], step[2]}));
    const float off = Length({to[0] - expected[0], to[1] - expected[1], to[2] - expected[2]});
    // What isn't finite is no movement.
    if (isFirst ||
        !(limit <= anything && off <= limit && std::isfinite(wanted.gain) && std::isfinite(Length(along)))) {
        line.Jump(value);
        return !isFirst;
    }
    const float perFrame = 1 / static_cast<float>(stages.sampleRate);
    PlaceLine::Value velocity{};
    for (std::size_t i = 0; i < 3; ++i)
        velocity[i] = perFrame * (along[i] - (source.relative ? 0 : wanted.listenerVelocity[i]));
    const bool isGainJump = std::fabs(wanted.gain - expected[gainOfPlace]) > greatestGainStep;
    line.Aim(value, pace, velocity, 3);
    if (isGainJump) line.JumpComponent(gainOfPlace, wanted.gain);
    return isGainJump;
}

void SourceRenderer_v2::Render(Voice& voice, const RenderSnapshot& snapshot, hcml::ac::Bus& spatial) {
    if (voice.source.queue[0]->channels == 1)
        RenderMono(voice, snapshot, spatial);
    else
        RenderMultiChannel(voice, snapshot, spatial);
    voice.memory.keepsAttack = false;
}

void SourceRenderer_v2::RenderMono(Voice& voice, const RenderSnapshot& snapshot, hcml::ac::Bus& spatial) {
    SourceGeometry geometry;
    if (!Locate(voice, snapshot, geometry)) return;
    hcml::FloatTupleVector& row = stages.batch.Row();
    const float scale = Read(voice, geometry, row);
    Measure(stages, geometry, row, DirectGain(voice, geometry.gain) * scale, voice.memory.meter);
    Send(voice, snapshot, geometry, row, scale);
    if (FilterDirect(voice, geometry, row)) AddDirect(voice, geometry, scale, spatial);
}

bool SourceRenderer_v2::Locate(Voice& voice, const RenderSnapshot& snapshot, SourceGeometry& geometry) {
    SourcePlace place;
    SourceMotion& motion = voice.memory.motion;
    motion.hasJumped = FollowPlace(voice.source, snapshot, motion, place);
    geometry = LocateSource(voice.source, place, snapshot, stages.listener, stages.radiusTable, stages.order);
    if (IsFinite(geometry)) return true;
    voice.memory.direct.coefficientsValid = false;
    voice.memory.meter = SourceMeter();
    return false;
}

// The pitch moves in steps that are too small to be heard.
float SourceRenderer_v2::Read(Voice& voice, const SourceGeometry& geometry, hcml::FloatTupleVector& row) {
    SourceRendererState& state = voice.memory;
    const float before = state.motion.pitch > 0 ? state.motion.pitch : geometry.pitch;
    const std::uint32_t parts = PitchParts(before, geometry.pitch, row.size);
    state.motion.pitch = geometry.pitch;
    float scale = 0;
    for (std::uint32_t part = 0, at = 0; part < parts; ++part) {
        const std::uint32_t end = row.size * (part + 1) / parts;
        if (voice.source.state != SourceState::Playing) {
            std::fill(row.data + at, row.data + row.size, 0.0F);
            break;
        }
        const float way = (static_cast<float>(part) + 0.5F) / static_cast<float>(parts);
        const float pitch = parts == 1 ? geometry.pitch : before + way * (geometry.pitch - before);
        const ReadRate rate{static_cast<double>(pitch), stages.sampleRate};
        scale = std::max(scale, stages.reader.ReadMono(voice.source, state.previousFrame, state.converter,
                                                       rate, row.data + at, end - at));
        at = end;
    }
    ApplyAntiDenormalPattern(row);
    return scale;
}

void SourceRenderer_v2::Send(Voice& voice, const RenderSnapshot& snapshot, const SourceGeometry& geometry,
                             const hcml::FloatTupleVector& row, float scale) {
    sends.SendMono(voice, snapshot, geometry, row, scale);
}

bool SourceRenderer_v2::FilterDirect(Voice& voice, const SourceGeometry& geometry,
                                     hcml::FloatTupleVector& row) {
    SourceFilterState& path = voice.memory.direct;
    if (IsAtZero(path) && DirectGain(voice, geometry.gain) == 0) {
        reset(path);
        return false;
    }
    if (!path.coefficientsValid && !voice.memory.keepsAttack) BeginSilent(path);
    const FilterParameters shelves = ShelvesOf(voice.source.directFilter);
    const FilterStageSettings settings{.hfFactor = geometry.gainHF,
                                       .defaultOrder = stages.defaultFilterOrder};
    if (PassesAsItIs(shelves, path, settings)) return true;
    if (!FilterOneLater(shelves, path, row, stages.tables, settings, stages.batch.Waiting())) return true;
    path.coefficientsValid = false;
    return false;
}

void SourceRenderer_v2::AddDirect(Voice& voice, const SourceGeometry& geometry, float scale,
                                  hcml::ac::Bus& spatial) {
    const float gain = DirectGain(voice, geometry.gain);
    std::array<float, hcml::mostBusChannels> weights;
    for (std::uint32_t c = 0; c < spatial.channelCount; ++c)
        weights[c] = geometry.encode[c] * gain;
    const bool jumps = voice.isEnding ? voice.blocksToFade == FadeBlocks() : voice.memory.motion.hasJumped;
    mover.Add(voice.memory.direct, weights.data(), jumps, scale, stages.batch, spatial);
}

void SourceRenderer_v2::RenderMultiChannel(Voice& voice, const RenderSnapshot& snapshot,
                                           hcml::ac::Bus& spatial) {
    Source& source = voice.source;
    SourceRendererState& state = voice.memory;
    SourcePlace place;
    FollowPlace(source, snapshot, state.motion, place);
    const float sourceGain = place.gain;
    if (!IsFinite(sourceGain, std::min(source.pitch, largestPitch))) return;
    const Arrangement key = source.queue[0]->arrangementKey;
    ArrayBus& bus = stages.arrays[key];
    const float scale = ReadChannels(stages, source, state, bus);
    sends.SendMultiChannel(voice, snapshot, bus.input, IsBFormat(key), sourceGain, scale);
    if (IsBFormat(key)) Rotate(voice, key, bus);
    const float gain = DirectGain(voice, sourceGain);
    Measure(stages, bus.input, gain * scale, state.meter);
    if (!FilterChannels(voice, key, bus, gain, scale)) return;
    if (key == Arrangement::Stereo && source.hasStereoAngles)
        Pan(voice, bus, spatial);
    else
        AddToArray(bus.filtered, bus);
}

// A turn goes on the way from one matrix to the next.
void SourceRenderer_v2::Rotate(Voice& voice, Arrangement key, ArrayBus& bus) {
    const Source& source = voice.source;
    const RotationMatrix matrix = BFormatRotation(
        stages.listener, BuildBasis(source.orientationAt, source.orientationUp), source.relative);
    PathWeights& path = voice.memory.motion.turn[0];
    std::array<float, 9> wanted;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        wanted[i] = matrix[i / 3][i % 3];
    const WeightMove move = mover.Move(path, wanted.data(), 9, hasListenerJumped);
    const std::uint32_t inputs = key == Arrangement::BFormat2D ? 2 : 3;
    bus.filtered.resize(stages.blockFrames, 4);
    bus.filtered.clear();
    bus.filtered.add(0, bus.input.channels[0], 1);
    for (std::uint32_t i = 0; i < 9; ++i) {
        const std::uint32_t row = i / 3, column = i % 3;
        if (column >= inputs) continue;
        const float* const input = bus.input.channels[column + 1];
        if (move.course == nullptr) {
            bus.filtered.add(row + 1, input, path.coefficients[i]);
        } else {
            hcml::MultiplyRows(turned.channels[0], input, move.course, turned.vectors);
            bus.filtered.add(row + 1, input, move.from[i]);
            bus.filtered.add(row + 1, turned.channels[0], path.coefficients[i] - move.from[i]);
        }
    }
}

// Shelves and gain. False where nothing comes through.
bool SourceRenderer_v2::FilterChannels(Voice& voice, Arrangement key, ArrayBus& bus, float gain,
                                       float scale) {
    SourceFilterState& path = voice.memory.direct;
    if (gain == 0 && IsAtZero(path)) {
        reset(path);
        return false;
    }
    if (!path.coefficientsValid && !voice.memory.keepsAttack) BeginSilent(path);
    const FilterStageSettings settings{.defaultOrder = stages.defaultFilterOrder};
    if (filterChannels(ShelvesOf(voice.source.directFilter), path, IsBFormat(key) ? bus.filtered : bus.input,
                       bus.filtered, stages.tables, settings)) {
        path.coefficientsValid = false;
        return false;
    }
    const bool jumps = voice.isEnding && voice.blocksToFade == FadeBlocks();
    const WeightMove move = mover.Move(path, &gain, 1, jumps);
    const float to = path.coefficients[0] * scale, from = move.from[0] * scale;
    for (std::uint32_t c = 0; c < bus.filtered.channelCount; ++c)
        ApplyAlong(bus.filtered.channels[c], from, to, move.course, bus.filtered.vectors);
    return true;
}

void SourceRenderer_v2::Pan(Voice& voice, const ArrayBus& bus, hcml::ac::Bus& spatial) {
    for (std::uint32_t side = 0; side < 2; ++side) {
        const auto weights = StereoWeights(voice.source.stereoAngles[side], stages.order);
        std::copy_n(bus.filtered.channels[side], std::size_t{bus.filtered.vectors} * 4,
                    stages.batch.Row().data);
        mover.Add(voice.memory.motion.turn[side], weights.data(), false, 1, stages.batch, spatial);
    }
}

void SourceRenderer_v2::Finish(const RenderSnapshot& snapshot, RenderOutput& output) {
    const bool jumps = Follow(listenerGain, {snapshot.listenerGain}, greatestGainStep, pace);
    const float gain = UsableGain(listenerGain.Advance(pace)[0]);
    const auto apply = [&](PathWeights& weights, float* const* channels, std::uint32_t count,
                           std::uint32_t vectors) {
        const WeightMove move = mover.Move(weights, &gain, 1, jumps);
        for (std::uint32_t c = 0; c < count; ++c)
            ApplyAlong(channels[c], move.from[0], weights.coefficients[0], move.course, vectors);
    };
    apply(spatialGain, output.spatial.channels, output.spatial.channelCount, output.spatial.vectors);
    // A gain that isn't heard starts afresh when it is heard again.
    if (output.lowFrequencyWritten)
        apply(lowFrequencyGain, &output.lowFrequency.data, 1, output.lowFrequency.tuples);
    else
        lowFrequencyGain.coefficientsValid = false;
    if (output.dialogueWritten)
        apply(dialogueGain, &output.dialogue.data, 1, output.dialogue.tuples);
    else
        dialogueGain.coefficientsValid = false;
}

}  // namespace goal

#include "goal/statusreport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

#include "platform/clock.h"

namespace goal {
namespace {

using Names = std::pair<std::string_view, std::string_view>;

constexpr std::array<Names, 21> shortNames{{{"Front Left of Centre", "FLC"},
                                            {"Front Right of Centre", "FRC"},
                                            {"Top Front Left", "TFL"},
                                            {"Top Front Right", "TFR"},
                                            {"Top Front Centre", "TFC"},
                                            {"Top Back Left", "TBL"},
                                            {"Top Back Right", "TBR"},
                                            {"Top Back Centre", "TBC"},
                                            {"Top Centre", "TC"},
                                            {"Front Left", "FL"},
                                            {"Front Right", "FR"},
                                            {"Front Centre", "FC"},
                                            {"Bass (LFE Only)", "LFE"},
                                            {"Back Left", "BL"},
                                            {"Back Right", "BR"},
                                            {"Back Centre", "BC"},
                                            {"Side Left", "SL"},
                                            {"Side Right", "SR"},
                                            {"Left", "L"},
                                            {"Right", "R"},
                                            {"Output", "M"}}};

StatusOutput Describe(const orb3::OutputSetUp& output, const orb3::TransformedPipeUPT& decoder,
                      std::uint32_t order) {
    StatusOutput description{.device = output.pipe->name,
                             .layout = output.formatName,
                             .sampleRate = static_cast<std::uint32_t>(output.pipe->GetSampleRate() + 0.5),
                             .blockFrames = decoder.blockFrames,
                             .order = order,
                             .outputs = {}};
    for (std::uint32_t channel = 0; channel < decoder.OutputCount(); ++channel)
        description.outputs.push_back(ShortChannelName(output.pipe->GetPlaybackChannelName(channel)));
    return description;
}

// The renderer has X ahead, Y left, Z up.
Vector3 InAxesOfGames(const Vector3& direction) {
    return {0 - direction[1], direction[2], 0 - direction[0]};
}

StatusSource Describe(std::uint32_t index, const Voice& voice) {
    const SourceMeter& meter = voice.memory.meter;
    return {.number = index + 1,
            .isRelative = voice.source.relative,
            .isLooping = voice.source.looping,
            .channels = voice.channels,
            .direction = InAxesOfGames(meter.direction),
            .distance = meter.distance,
            .meanSquare = meter.meanSquare};
}

}  // namespace

// Of a longer name the beginning, and the number or the letter that tells it from others.
std::string ShortChannelName(const std::string& name) {
    constexpr std::size_t most = StatusOutputFields(0).name.length, beginning = 4;
    const auto* const known = std::ranges::find(shortNames, name, &Names::first);
    if (known != shortNames.end()) return std::string(known->second);
    const std::size_t last = name.find_last_of(" -") + 1;
    if (name.size() <= most || last == 0 || name.size() - last > most - beginning) return name;
    return name.substr(0, beginning) + name.substr(last);
}

void LoadGauge::Note(double seconds) {
    constexpr double meanTime = 0.5, window = 1;  // s
    last = static_cast<float>(seconds / blockSeconds);
    mean += static_cast<float>(std::min(blockSeconds / meanTime, 1.0)) * (last - mean);
    greatest = std::max(greatest, last);
    windowTime += blockSeconds;
    if (windowTime < window) return;
    windowTime = 0;
    greatestBefore = std::exchange(greatest, 0.0F);
}

StatusReport::StatusReport(StatusPage& page, const orb3::OutputSetUp& output,
                           orb3::TransformedPipeUPT& decoder, std::uint32_t order)
    : page(page),
      output(output),
      decoder(decoder),
      description(Describe(output, decoder, order)),
      load(decoder.blockFrames / output.pipe->GetSampleRate()) {
    page.NoteOutput(description, share);
}

StatusReport::~StatusReport() {
    page.NoteRunEnd(share);
}

void StatusReport::BeginRendering() {
    renderingSince = platform::NowNanoseconds();
}

void StatusReport::EndRendering() {
    rendered = 1e-9 * static_cast<double>(platform::NowNanoseconds() - renderingSince);
}

void StatusReport::NoteBlock(const RenderSnapshot& snapshot, bool isPaced) {
    NoteLoad(static_cast<std::uint64_t>(platform::NowNanoseconds()), isPaced);
    NoteOutput();
    NoteEffects(snapshot);
    NoteSources(snapshot);
    if (page.IsFree()) page.NoteOutput(description, share);
    page.NoteBlock(block, share);
}

// A decoder with a thread of its own works beside the renderer, so that what took longer counts. An output
// that doesn't tell how long it is waited for has what the renderer took.
void StatusReport::NoteLoad(std::uint64_t now, bool isPaced) {
    const bool isFirst = block.time == 0;
    const double passed = 1e-9 * static_cast<double>(now - std::exchange(block.time, now));
    const double waitedNow = output.pipe->GetWaitedTime();
    const double waitedSince = waitedNow - std::exchange(waited, waitedNow);
    // With the first block the output was started.
    if (isFirst || !isPaced) return;
    load.Note(waitedNow < 0 ? rendered : std::max(passed - waitedSince, rendered));
    block.load = load.last;
    block.loadMean = load.mean;
    block.loadMax = load.Greatest();
}

void StatusReport::NoteOutput() {
    const audiopipe::OutputState state = output.pipe->GetOutputState();
    const std::uint32_t ahead = state.ringFrames + state.serverFrames;
    block.lateBlocks = state.lateBlocks;
    block.ringFrames = state.ringFrames;
    block.serverFrames = state.serverFrames;
    block.latencyFrames = ahead - std::min(ahead, decoder.blockFrames) + decoder.LatencyFrames();
    block.isOutputAway = state.isAway;
    block.limiterGain = decoder.ReadLevels(block.outputs);
}

void StatusReport::NoteEffects(const RenderSnapshot& snapshot) {
    block.effectCount = 0;
    snapshot.activeSlots.ForEach([&](std::uint32_t i) {
        const RenderedSlot& slot = snapshot.slots[i];
        if (!slot.effect || block.effectCount == block.effects.size()) return;
        block.effects[block.effectCount++] = {i + 1, slot.effect->parameters->effectType, slot.gain};
    });
}

void StatusReport::NoteSources(const RenderSnapshot& snapshot) {
    block.sourcesPlaying = block.sourceCount = 0;
    snapshot.playing.ForEach([&](std::uint32_t i) {
        ++block.sourcesPlaying;
        if (block.sourceCount < block.sources.size())
            block.sources[block.sourceCount++] = Describe(i, *snapshot.voices[i]);
    });
}

}  // namespace goal

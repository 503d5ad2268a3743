#include "tools/support/gamestatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

#include "AL/tessarune.h"
#include "goal/statusfiles.h"
#include "orb3core/store/configstore.h"
#include "platform/runtimefolder.h"

namespace tool {
namespace {

using Layout = goal::StatusLayout;
using Page = std::array<std::byte, Layout::size>;

// A terminal carries out what stands between its texts.
std::string Printable(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return text;
}

// As much as can be; 0 for what is no number.
double Within(double least, double value, double greatest) {
    return std::isfinite(value) ? std::clamp(value, least, greatest) : 0;
}

double LevelOf(float value) {
    constexpr double greatest = 1e6;  // +120 dB, as the renderer has it
    return Within(0, value, greatest);
}

double LoadOf(float value) {
    constexpr double greatest = 1e4;
    return Within(0, value, greatest);
}

std::string EffectName(std::uint16_t type) {
    constexpr std::array<std::pair<std::uint16_t, const char*>, 15> names{
        {{AL_EFFECT_REVERB, "Reverb"},
         {AL_EFFECT_CHORUS, "Chorus"},
         {AL_EFFECT_DISTORTION, "Distortion"},
         {AL_EFFECT_ECHO, "Echo"},
         {AL_EFFECT_FLANGER, "Flanger"},
         {AL_EFFECT_FREQUENCY_SHIFTER, "Frequency Shifter"},
         {AL_EFFECT_VOCAL_MORPHER, "Vocal Morpher"},
         {AL_EFFECT_PITCH_SHIFTER, "Pitch Shifter"},
         {AL_EFFECT_RING_MODULATOR, "Ring Modulator"},
         {AL_EFFECT_AUTOWAH, "Auto-wah"},
         {AL_EFFECT_COMPRESSOR, "Compressor"},
         {AL_EFFECT_EQUALIZER, "Equalizer"},
         {AL_EFFECT_EAXREVERB, "EAX Reverb"},
         {AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT, "Low Frequency"},
         {AL_EFFECT_DEDICATED_DIALOGUE, "Dialogue"}}};
    const auto* const found = std::ranges::find(names, type, [](const auto& name) { return name.first; });
    return found == names.end() ? "Effect " + std::to_string(type) : found->second;
}

std::size_t CountOf(std::span<const std::byte> page, goal::StatusNumber<std::uint32_t> field,
                    std::size_t most) {
    return std::min<std::size_t>(Get(page, field), most);
}

GameSource SourceAt(std::span<const std::byte> page, const goal::StatusSourceFields& fields) {
    constexpr double furthest = 1e12;  // units
    const std::uint32_t flags = Get(page, fields.flags);
    return {.number = Get(page, fields.number),
            .channels = Get(page, fields.channels),
            .isRelative = (flags & Layout::sourceIsRelative) != 0,
            .isLooping = (flags & Layout::sourceIsLooping) != 0,
            .x = Within(-1, Get(page, fields.x), 1),
            .y = Within(-1, Get(page, fields.y), 1),
            .z = Within(-1, Get(page, fields.z), 1),
            .distance = Within(0, Get(page, fields.distance), furthest),
            .level = LevelOf(Get(page, fields.level))};
}

void ReadLists(std::span<const std::byte> page, GameStatus& status) {
    for (std::size_t i = 0; i < CountOf(page, Layout::outputCount, Layout::mostOutputs); ++i) {
        const goal::StatusOutputFields fields(i);
        status.outputs.push_back({Printable(Get(page, fields.name)), LevelOf(Get(page, fields.peak)),
                                  LevelOf(Get(page, fields.rms))});
    }
    for (std::size_t i = 0; i < CountOf(page, Layout::effectCount, Layout::mostEffects); ++i) {
        const goal::StatusEffectFields fields(i);
        status.effects.push_back(
            {Get(page, fields.slot), EffectName(Get(page, fields.type)), LevelOf(Get(page, fields.gain))});
    }
    for (std::size_t i = 0; i < CountOf(page, Layout::sourceCount, Layout::mostSources); ++i)
        status.sources.push_back(SourceAt(page, goal::StatusSourceFields(i)));
}

void ReadRun(std::span<const std::byte> page, GameStatus& status) {
    status.blocks = Get(page, Layout::blocks);
    status.blockTime = Get(page, Layout::blockTime);
    status.lateBlocks = Get(page, Layout::lateBlocks);
    status.sourcesPlaying = Get(page, Layout::sourcesPlaying);
    status.mostPlaying = Get(page, Layout::mostPlaying);
    status.greatestLoad = LoadOf(Get(page, Layout::greatestLoad));
    status.greatestPeak = LevelOf(Get(page, Layout::greatestPeak));
    status.latencyFrames = Get(page, Layout::latencyFrames);
    status.ringFrames = Get(page, Layout::ringFrames);
    status.serverFrames = Get(page, Layout::serverFrames);
    status.loadMean = LoadOf(Get(page, Layout::loadMean));
    status.loadMax = LoadOf(Get(page, Layout::loadMax));
    const double gain = Within(0, Get(page, Layout::limiterGain), 1);
    status.limiterGain = gain > 0 ? gain : 1;  // a limiter never silences; 0 is that there is none
    status.isOutputAway = (Get(page, Layout::flags) & Layout::outputAway) != 0;
    ReadLists(page, status);
}

bool IsPageFile(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_size == static_cast<off_t>(Layout::size);
}

bool ReadAt(int descriptor, std::size_t place, std::span<std::byte> bytes) {
    return pread(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(place)) ==
           static_cast<ssize_t>(bytes.size());
}

}  // namespace

double Decibels(double level) {
    constexpr double silence = -144;
    return level > 0 ? std::max(20 * std::log10(level), silence) : silence;
}

std::optional<GameStatus> ParseStatusPage(std::span<const std::byte> page) {
    if (page.size() != Layout::size || Get(page, Layout::magic) != Layout::magicText ||
        Get(page, Layout::version) != Layout::currentVersion || Get(page, Layout::pageSize) != Layout::size)
        return std::nullopt;
    const auto text = [&](goal::StatusText field) { return Printable(Get(page, field)); };
    GameStatus status;
    status.pid = static_cast<pid_t>(Get(page, Layout::pid));
    status.startTime = Get(page, Layout::startTime);
    status.pidSpace = Get(page, Layout::pidSpace);
    status.program = text(Layout::program);
    status.libraryVersion = text(Layout::libraryVersion);
    status.profile = text(Layout::profile);
    status.profileChanges = text(Layout::profileChanges);
    status.contextsMade = Get(page, Layout::contextsMade);
    status.contextsAlive = Get(page, Layout::contextsAlive);
    status.contextsFailed = Get(page, Layout::contextsFailed);
    status.lastFailure = text(Layout::lastFailure);
    status.device = text(Layout::device);
    status.layout = text(Layout::layout);
    status.sampleRate = Get(page, Layout::sampleRate);
    status.blockFrames = Get(page, Layout::blockFrames);
    status.order = Get(page, Layout::order);
    for (std::size_t i = 0; i < status.refusals.size(); ++i)
        status.refusals[i] = Get(page, goal::RefusalField(i));
    ReadRun(page, status);
    return status;
}

// The file is read and not mapped, since a mapping ends its reader when somebody cuts the file.
std::optional<GameStatus> ReadStatusPage(int descriptor) {
    constexpr int mostAttempts = 20;
    constexpr std::chrono::milliseconds pause{5};
    if (!IsPageFile(descriptor)) return std::nullopt;
    Page page{};
    Page after{};
    const std::span<std::byte> sequence = std::span(after).subspan(Layout::sequence.at, 4);
    for (int i = 0; i < mostAttempts; ++i) {
        if (i > 0) std::this_thread::sleep_for(pause);
        if (!ReadAt(descriptor, Layout::sequence.at, sequence)) return std::nullopt;
        const std::uint32_t before = Get(after, Layout::sequence);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (!ReadAt(descriptor, 0, page)) return std::nullopt;
        std::atomic_thread_fence(std::memory_order_acquire);
        if (!ReadAt(descriptor, Layout::sequence.at, sequence)) return std::nullopt;
        if (before % 2 == 0 && before == Get(after, Layout::sequence)) break;
    }
    return ParseStatusPage(page);
}

std::optional<GameStatus> ReadStatusPage(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) return std::nullopt;
    std::optional<GameStatus> status = ReadStatusPage(descriptor);
    close(descriptor);
    return status;
}

std::vector<GameStatus> StatusOfGames() {
    std::vector<GameStatus> games;
    for (const std::filesystem::path& folder : platform::RuntimeFolders(orb3::storeRoot)) {
        goal::RemoveStaleStatusFiles(folder);
        for (const std::filesystem::path& file : goal::ListStatusFiles(folder))
            if (std::optional<GameStatus> status = ReadStatusPage(file)) games.push_back(std::move(*status));
    }
    return games;
}

}  // namespace tool

#include "goal/statuspage.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "goal/statusfiles.h"
#include "goal/statuslayout.h"
#include "goal/version.h"
#include "orb3core/store/configstore.h"
#include "platform/processid.h"
#include "platform/runningprogram.h"
#include "platform/runtimefolder.h"

namespace goal {
namespace {

using Layout = StatusLayout;

static_assert(Layout::size == platform::SharedPage::size);

void Add(std::span<std::byte> page, StatusNumber<std::uint32_t> field, std::uint32_t change) {
    Put(page, field, Get(page, field) + change);
}

void RaiseTo(std::span<std::byte> page, StatusNumber<float> field, float value) {
    if (value > Get(page, field)) Put(page, field, value);
}

void Clear(std::span<std::byte> page, std::size_t from, std::size_t to) {
    std::ranges::fill(page.subspan(from, to - from), std::byte{0});
}

// Of the run that is shown, but for the names of its outputs.
void PutRun(std::span<std::byte> page, const StatusBlock& block) {
    Put(page, Layout::latencyFrames, block.latencyFrames);
    Put(page, Layout::ringFrames, block.ringFrames);
    Put(page, Layout::serverFrames, block.serverFrames);
    Put(page, Layout::loadMean, block.loadMean);
    Put(page, Layout::loadMax, block.loadMax);
    Put(page, Layout::limiterGain, block.limiterGain);
    Put(page, Layout::flags, block.isOutputAway ? Layout::outputAway : 0);
    Put(page, Layout::effectCount, block.effectCount);
    Put(page, Layout::sourceCount, block.sourceCount);
}

void PutOutputs(std::span<std::byte> page, const StatusBlock& block) {
    const std::size_t count = std::min<std::size_t>(Get(page, Layout::outputCount), Layout::mostOutputs);
    for (std::size_t i = 0; i < count; ++i) {
        Put(page, StatusOutputFields(i).peak, block.outputs[i].peak);
        Put(page, StatusOutputFields(i).rms, std::sqrt(block.outputs[i].meanSquare));
    }
}

void PutEffects(std::span<std::byte> page, const StatusBlock& block) {
    for (std::size_t i = 0; i < block.effectCount; ++i) {
        const StatusEffectFields fields(i);
        Put(page, fields.slot, static_cast<std::uint16_t>(block.effects[i].slot));
        Put(page, fields.type, static_cast<std::uint16_t>(block.effects[i].type));
        Put(page, fields.gain, block.effects[i].gain);
    }
}

void PutSource(std::span<std::byte> page, const StatusSource& source, const StatusSourceFields& fields) {
    Put(page, fields.number, source.number);
    Put(page, fields.flags,
        (source.isRelative ? Layout::sourceIsRelative : 0) |
            (source.isLooping ? Layout::sourceIsLooping : 0));
    Put(page, fields.x, source.direction[0]);
    Put(page, fields.y, source.direction[1]);
    Put(page, fields.z, source.direction[2]);
    Put(page, fields.distance, source.distance);
    Put(page, fields.level, std::sqrt(source.meanSquare));
    Put(page, fields.channels, source.channels);
}

std::atomic_ref<std::uint32_t> SequenceOf(std::span<std::byte> page) {
    return std::atomic_ref(*reinterpret_cast<std::uint32_t*>(page.data() + Layout::sequence.at));
}

}  // namespace

StatusPage::StatusPage() {
    Put(own, Layout::magic, Layout::magicText);
    Put(own, Layout::version, Layout::currentVersion);
    Put(own, Layout::pageSize, static_cast<std::uint32_t>(Layout::size));
    Put(own, Layout::libraryVersion,
        std::to_string(versionMajor) + "." + std::to_string(versionMinor) + "." +
            std::to_string(versionPatch));
}

std::span<std::byte> StatusPage::Page() {
    const std::span<std::byte> published = shared.Bytes();
    return published.empty() ? std::span<std::byte>(own) : published;
}

// A reader takes what it read between two looks at the same even number.
template <typename Work>
void StatusPage::Change(const Work& work) noexcept {
    const slib::Lock lock(mutex);
    const std::span<std::byte> page = Page();
    const std::atomic_ref<std::uint32_t> sequence = SequenceOf(page);
    const std::uint32_t before = sequence.load(std::memory_order_relaxed);
    sequence.store(before + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    work(page);
    sequence.store(before + 2, std::memory_order_release);
}

// The process is looked at here, since a forked child is another one.
void StatusPage::Describe() {
    const pid_t pid = getpid();
    Put(own, Layout::pid, static_cast<std::uint32_t>(pid));
    Put(own, Layout::startTime, platform::StartTimeOf(pid).value_or(0));
    Put(own, Layout::pidSpace, platform::PidSpaceOf(pid));
    Put(own, Layout::program, platform::GameName());
}

// A process may execute another program, and so have several pages in its time.
void StatusPage::LinkForStarter() const {
    constexpr int mostPages = 16;
    const char* const folder = secure_getenv(statusLinksVariable);
    if (folder == nullptr || *folder != '/') return;
    const std::string name = std::to_string(getpid()) + ".";
    for (int i = 0; i < mostPages; ++i)
        if (shared.Link(std::filesystem::path(folder) / (name + std::to_string(i) + statusFileEnding)))
            return;
}

void StatusPage::PublishOnce() noexcept {
    const slib::Lock lock(mutex);
    if (wasTried.exchange(true)) return;
    try {
        const std::filesystem::path folder = platform::MakeRuntimeFolder(orb3::storeRoot);
        if (folder.empty()) return;
        Describe();
        RemoveStaleStatusFiles(folder);
        if (shared.Create(folder / StatusFileName(getpid()), own)) LinkForStarter();
    } catch (const std::exception&) {  // no memory: there is no page
    }
}

void StatusPage::Withdraw() noexcept {
    const slib::Lock lock(mutex);
    wasTried.store(true);
    shared.RemoveName();
    std::ranges::copy(shared.Bytes(), own.begin());
    shared.Unmap();
}

// Another thread may have held the lock. What is known of the game stays, what happened in the parent
// doesn't.
void StatusPage::ContinueInChild() noexcept SLIB_UNCHECKED_LOCKS {
    std::ranges::copy(shared.Bytes(), own.begin());
    shared.Forget();
    try {
        std::construct_at(&mutex);
    } catch (const std::exception&) {
        slib::Mutex::GiveUpAll();
    }
    wasTried.store(false);
    shown.store(nullptr, std::memory_order_relaxed);
    Put(own, Layout::sequence, std::uint32_t{0});
    const auto first = own.begin() + Layout::contextsMade.at;
    std::fill(first, own.begin() + Layout::profile.at, std::byte{0});
    std::fill(own.begin() + Layout::lastFailure.at, own.end(), std::byte{0});
}

void StatusPage::NoteContextMade() noexcept {
    Change([](std::span<std::byte> page) {
        Add(page, Layout::contextsMade, 1);
        Add(page, Layout::contextsAlive, 1);
    });
}

void StatusPage::NoteContextEnded() noexcept {
    Change([](std::span<std::byte> page) {
        Add(page, Layout::contextsAlive, std::uint32_t(-1));
        if (Get(page, Layout::contextsAlive) == 0) Put(page, Layout::flags, 0U);
    });
}

void StatusPage::NoteContextFailed(std::string_view reason) noexcept {
    Change([&](std::span<std::byte> page) {
        Add(page, Layout::contextsFailed, 1);
        Put(page, Layout::lastFailure, reason);
        if (Get(page, Layout::contextsAlive) == 0) Put(page, Layout::flags, 0U);
    });
}

void StatusPage::NoteOutput(const StatusOutput& output, const StatusShare& share) noexcept {
    Change([&](std::span<std::byte> page) {
        shown.store(&share, std::memory_order_relaxed);
        Put(page, Layout::device, output.device);
        Put(page, Layout::layout, output.layout);
        Put(page, Layout::sampleRate, output.sampleRate);
        Put(page, Layout::blockFrames, output.blockFrames);
        Put(page, Layout::order, output.order);
        Clear(page, Layout::latencyFrames.at, Layout::size);
        Put(page, Layout::limiterGain, 1.0F);
        Put(page, Layout::outputCount, static_cast<std::uint32_t>(output.outputs.size()));
        for (std::size_t i = 0; i < std::min(output.outputs.size(), Layout::mostOutputs); ++i)
            Put(page, StatusOutputFields(i).name, output.outputs[i]);
    });
}

void StatusPage::NoteBlock(const StatusBlock& block, StatusShare& share) {
    const auto greatest = std::ranges::max_element(block.outputs, {}, &orb3::OutputLevel::peak);
    Change([&](std::span<std::byte> page) {
        Put(page, Layout::blocks, Get(page, Layout::blocks) + 1);
        Put(page, Layout::blockTime, block.time);
        Add(page, Layout::lateBlocks, block.lateBlocks - std::exchange(share.lateBlocks, block.lateBlocks));
        Add(page, Layout::sourcesPlaying,
            block.sourcesPlaying - std::exchange(share.sourcesPlaying, block.sourcesPlaying));
        Put(page, Layout::mostPlaying,
            std::max(Get(page, Layout::mostPlaying), Get(page, Layout::sourcesPlaying)));
        RaiseTo(page, Layout::greatestLoad, block.load);
        RaiseTo(page, Layout::greatestPeak, greatest->peak);
        if (shown.load(std::memory_order_relaxed) != &share) return;
        PutRun(page, block);
        PutOutputs(page, block);
        PutEffects(page, block);
        for (std::size_t i = 0; i < block.sourceCount; ++i)
            PutSource(page, block.sources[i], StatusSourceFields(i));
    });
}

void StatusPage::NoteRunEnd(StatusShare& share) noexcept {
    Change([&](std::span<std::byte> page) {
        Add(page, Layout::sourcesPlaying, -std::exchange(share.sourcesPlaying, 0U));
        if (shown.load(std::memory_order_relaxed) != &share) return;
        shown.store(nullptr, std::memory_order_relaxed);
        Clear(page, Layout::latencyFrames.at, Layout::size);
    });
}

void StatusPage::NoteOutputAway() noexcept {
    Change([&](std::span<std::byte> page) {
        if (IsFree()) Put(page, Layout::flags, Layout::outputAway);
    });
}

void StatusPage::NoteRefusal(std::size_t switchIndex) noexcept {
    if (switchIndex >= Layout::mostRefusals) return;
    Change([&](std::span<std::byte> page) { Add(page, RefusalField(switchIndex), 1); });
}

void StatusPage::SetProfile(std::string_view name, std::string_view changes) noexcept {
    Change([&](std::span<std::byte> page) {
        Put(page, Layout::profile, name);
        Put(page, Layout::profileChanges, changes);
    });
}

}  // namespace goal

#include "goal/statuspage.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

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
    Change([](std::span<std::byte> page) { Add(page, Layout::contextsAlive, std::uint32_t(-1)); });
}

void StatusPage::NoteContextFailed(std::string_view reason) noexcept {
    Change([&](std::span<std::byte> page) {
        Add(page, Layout::contextsFailed, 1);
        Put(page, Layout::lastFailure, reason);
    });
}

void StatusPage::NoteOutput(const StatusOutput& output) noexcept {
    Change([&](std::span<std::byte> page) {
        Put(page, Layout::device, output.device);
        Put(page, Layout::layout, output.layout);
        Put(page, Layout::sampleRate, output.sampleRate);
        Put(page, Layout::blockFrames, output.blockFrames);
        Put(page, Layout::order, output.order);
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

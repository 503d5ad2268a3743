#pragma once

// What a process that uses the library tells about itself while it runs, in a page that programs of the same
// user read (docs/status-page.md). Written by the calls and by the server's thread, without calls of the
// system, under a lock that is held for a moment; read by others under a sequence number. What can't be
// published costs nothing else: the page is then this process's own. Nothing here throws.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>

#include "goal/statusblock.h"
#include "platform/sharedpage.h"
#include "slib/mutex.h"
#include "slib/realtime.h"

namespace goal {

/// What a run has added to the sums of all contexts. The server's, which keeps it where it is.
struct StatusShare {
    std::uint32_t sourcesPlaying = 0, lateBlocks = 0;
};

/// One for the process. Any thread.
class StatusPage {
public:
    StatusPage();
    StatusPage(const StatusPage&) = delete;
    StatusPage& operator=(const StatusPage&) = delete;

    /// Publishes the page, the first time that this is called; later on it costs nothing. For the first alc
    /// call: a process that only loads the library publishes none.
    void Publish() noexcept {
        if (!wasTried.load(std::memory_order_relaxed)) PublishOnce();
    }

    /// Takes the page back, at the end; there will be none any more.
    void Withdraw() noexcept;

    /// As Withdraw, but for what only the end of the process makes superfluous. May run in the handler of a
    /// signal.
    void RemoveName() noexcept { shared.RemoveName(); }

    /// In a child that the game forked, before anything else runs there: the page stays the parent's.
    void ContinueInChild() noexcept;

    void NoteContextMade() noexcept;
    void NoteContextEnded() noexcept;
    void NoteContextFailed(std::string_view reason) noexcept;

    /// The run of `share` begins, and is the one that is shown.
    void NoteOutput(const StatusOutput& output, const StatusShare& share) noexcept;
    /// A block of it. What isn't a sum is written where the run is shown. Allocates nothing.
    void NoteBlock(const StatusBlock& block, StatusShare& share) SLIB_NONBLOCKING;
    /// It ends, and nothing of it is shown any more.
    void NoteRunEnd(StatusShare& share) noexcept;
    /// No run is shown: another one that goes on may call NoteOutput once more.
    bool IsFree() const { return shown.load(std::memory_order_relaxed) == nullptr; }
    /// Time passes without a run, as while the output is waited for.
    void NoteOutputAway() noexcept;

    /// Counts a call that was refused and wouldn't be with this switch (orb3::gameSwitches).
    void NoteRefusal(std::size_t switchIndex) noexcept;

    /// The profile of the game, and the settings that it changes, as text; cut where they are too long.
    void SetProfile(std::string_view name, std::string_view changes) noexcept;

private:
    template <typename Work>
    void Change(const Work& work) noexcept;
    void PublishOnce() noexcept;
    void Describe();
    void LinkForStarter() const;
    std::span<std::byte> Page() SLIB_REQUIRES(mutex);

    slib::Mutex mutex;
    // Until it is published, and afterwards. Numbers are aligned in it.
    alignas(std::uint64_t) std::array<std::byte, platform::SharedPage::size> own{};
    platform::SharedPage shared;
    std::atomic<bool> wasTried{false};
    std::atomic<const StatusShare*> shown{nullptr};  // changed with the lock held
};

}  // namespace goal

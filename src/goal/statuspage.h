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

#include "platform/sharedpage.h"
#include "slib/mutex.h"

namespace goal {

/// What a run plays to.
struct StatusOutput {
    std::string_view device, layout;
    std::uint32_t sampleRate = 0;   ///< Hz
    std::uint32_t blockFrames = 0;  ///< of a block
    std::uint32_t order = 0;        ///< of the bus
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
    void NoteOutput(const StatusOutput& output) noexcept;

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
};

}  // namespace goal

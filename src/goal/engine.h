#pragma once

// What all contexts and calls of the process share: the one device, the configuration, and the two outer
// locks.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "goal/machinery.h"
#include "goal/sound/bufferpool.h"
#include "goal/trackerinput.h"
#include "orb3core/settings/sharedconfiguration.h"
#include "slib/log.h"
#include "slib/mutex.h"
#include "slib/retirelist.h"

namespace goal {

struct Context;
class StatusPage;

/// The contexts of the device: one, unless the game's profile allows several. Each has a place, by which the
/// buffers know who reads them. Holds no memory of its own.
class ContextTable {
public:
    static constexpr std::size_t most = BufferPool::mostReaders;

    /// The one in the lowest place; null for none.
    Context* First() const {
        const auto* const found = std::ranges::find_if(places, [](const Context* c) { return c != nullptr; });
        return found != places.end() ? *found : nullptr;
    }

    /// The place of `context`; `most` when it isn't here, or is null.
    std::size_t PlaceOf(const Context* context) const {
        if (context == nullptr) return most;
        return static_cast<std::size_t>(std::ranges::find(places, context) - places.begin());
    }
    bool Has(const Context* context) const { return PlaceOf(context) != most; }

    std::size_t Count() const { return most - static_cast<std::size_t>(std::ranges::count(places, nullptr)); }
    bool IsFull() const { return std::ranges::find(places, nullptr) == places.end(); }

    /// Gives `context` the lowest free place, and returns that. Not when the table is full.
    std::size_t Add(Context* context) {
        auto* const place = std::ranges::find(places, nullptr);
        *place = context;
        return static_cast<std::size_t>(place - places.begin());
    }

    void Remove(const Context* context) {
        if (Has(context)) places[PlaceOf(context)] = nullptr;
    }

    /// Runs `work(context)` for each.
    template <typename Work>
    void ForEach(const Work& work) const {
        for (Context* const context : places)
            if (context != nullptr) work(*context);
    }

private:
    std::array<Context*, most> places{};
};

/// The one device. Buffers live in it and outlive a context.
struct Device {
    BufferPool bufferPool;
    ContextTable contexts;
};

/// Lock order: contextLifetimeMutex, apiMutex, then a context's stateMutex, then its timingMutex; the
/// configuration's mutex is taken below any of these, for single reads.
struct Engine {
    /// `log` and `machinery` are borrowed and outlive the engine. `autoselect` chooses the settings of a
    /// first start.
    Engine(slib::Log* log, Machinery* machinery, orb3::Autoselect autoselect = {})
        : log(log), machinery(machinery), configuration(log, std::move(autoselect)) {}

    slib::Log* log;
    Machinery* machinery;
    slib::Mutex contextLifetimeMutex;  ///< the coming and going of contexts
    slib::Mutex apiMutex;              ///< serialises all calls of all of the game's threads
    orb3::SharedConfiguration configuration;
    Device device SLIB_GUARDED_BY(apiMutex);
    std::atomic<std::uint64_t> contextsMade{0};
    std::atomic<bool> isStepped{
        false};              ///< contexts to come render a block when they are asked to (goal/blockgate.h)
    TrackerInputs trackers;  ///< that the runs listen to
    StatusPage* status = nullptr;  ///< borrowed; null where nothing is told
    slib::RetireList retired;      ///< what the server has done with; every call frees it
};

}  // namespace goal

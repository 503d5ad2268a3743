#include "platform/playclock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace platform {
namespace {

// The part of the way to what the output says that the cursor is moved at once. An output that is faster than
// the clock pulls the cursor along by that; one that is slower holds it up at what was handed over.
constexpr double pull = 1.0 / 8;
constexpr double longestPull = 0.1;  // s; from further away it jumps, for the sound went another way

// A longer reach than usual is forgotten over some hundreds of chunks.
std::uint32_t Longest(std::uint32_t before, std::uint32_t now) {
    return std::max(now, before - before / 256);
}

}  // namespace

void PlayClock::Begin(std::int64_t position, std::uint32_t reach, std::int64_t now) {
    isFresh = true;
    Publish({.play = static_cast<double>(position), .handed = position, .reach = reach}, now);
}

void PlayClock::HandOver(std::uint32_t frames, std::uint32_t delay, std::int64_t now) {
    Reading next = At(newest.load(std::memory_order_relaxed), now);
    const double heard = static_cast<double>(next.handed) - delay;
    const bool isFar = std::abs(heard - next.play) > longestPull * rate;
    next.play += (heard - next.play) * (std::exchange(isFresh, false) || isFar ? 1 : pull);
    next.handed += frames;
    next.reach = Longest(next.reach, frames + delay);
    Publish(next, now);
}

void PlayClock::Idle(std::uint32_t frames, std::uint32_t delay, std::int64_t now) {
    Reading next = At(newest.load(std::memory_order_relaxed), now);
    next.reach = Longest(next.reach, frames + delay);
    Publish(next, now);
}

void PlayClock::Expect(std::uint32_t reach, std::int64_t now) {
    Reading next = At(newest.load(std::memory_order_relaxed), now);
    next.reach = reach;
    Publish(next, now);
}

PlayClock::Reading PlayClock::Read(std::int64_t now) const {
    for (;;) {
        const std::uint32_t number = newest.load(std::memory_order_acquire);
        const Reading reading = At(number, now);
        // The mark is overwritten a whole round later, and who has read something of that, each field in its
        // order, sees a number of that round here.
        if (newest.load(std::memory_order_relaxed) - number < marks.size() - 1) return reading;
    }
}

PlayClock::Reading PlayClock::At(std::uint32_t number, std::int64_t now) const {
    const Mark& mark = marks[number % marks.size()];
    Reading reading{.play = mark.play.load(std::memory_order_acquire),
                    .handed = mark.handed.load(std::memory_order_acquire),
                    .reach = mark.reach.load(std::memory_order_acquire),
                    .count = number};
    const std::int64_t passed = std::max<std::int64_t>(now - mark.time.load(std::memory_order_acquire), 0);
    reading.play = std::min(reading.play + static_cast<double>(passed) * rate / 1e9,
                            static_cast<double>(reading.handed));
    return reading;
}

void PlayClock::Publish(const Reading& reading, std::int64_t now) {
    const std::uint32_t number = newest.load(std::memory_order_relaxed) + 1;
    Mark& mark = marks[number % marks.size()];
    mark.handed.store(reading.handed, std::memory_order_release);
    mark.play.store(reading.play, std::memory_order_release);
    mark.time.store(now, std::memory_order_release);
    mark.reach.store(reading.reach, std::memory_order_release);
    newest.store(number, std::memory_order_release);
}

}  // namespace platform

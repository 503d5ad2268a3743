#pragma once

// The delay line of the effects: a ring that remembers the samples last written. One thread owns it; only the
// constructor allocates.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>

#include "numeric/genericvector.h"
#include "slib/realtime.h"

namespace goal {

/// ring[0] is the sample last written and ring[n] the one n samples before that, zero if nothing was written
/// so long ago. T is plain data.
///
/// Sample by sample, Write and ring[n] do. A loop over a run of samples takes pointers instead: Past(n) to
/// what ring[n] is before each write of the run, and Ahead() to where the writes go, both in the order of
/// time, and Advance when the run is written. Neither pointer goes round the end: a run has at most
/// RunPast(n) and RunAhead() samples, and no more than n + 1 if it reads what it writes.
template <typename T>
class DelayRing {
public:
    std::uint32_t mask = 0;   ///< the count of samples, a power of two, less 1
    std::uint32_t index = 0;  ///< of the sample last written

    /// A ring of one sample.
    DelayRing() : DelayRing(1) {}

    /// Zeros, of the power of two at or above `leastLength`, which is above 0. Throws
    /// slib::OutOfMemoryException.
    explicit DelayRing(std::uint32_t leastLength) : samples(std::bit_ceil(leastLength)) {
        mask = samples.size - 1;
        reset();
    }

    void Write(T sample) {
        index = (index + 1) & mask;
        samples.data[index] = std::move(sample);
    }

    /// n up to `mask`.
    const T& operator[](std::uint32_t n) const { return samples.data[(index - n) & mask]; }

    const T* Past(std::uint32_t n) const { return samples.data + ((index - n) & mask); }
    std::uint32_t RunPast(std::uint32_t n) const { return samples.size - ((index - n) & mask); }

    T* Ahead() { return samples.data + ((index + 1) & mask); }
    std::uint32_t RunAhead() const { return samples.size - ((index + 1) & mask); }
    void Advance(std::uint32_t count) { index = (index + count) & mask; }

    /// Writes `count` samples in order.
    void WriteAll(const T* source, std::uint32_t count) SLIB_NONBLOCKING {
        while (count > 0) {
            const std::uint32_t run = std::min(count, RunAhead());
            std::copy_n(source, run, Ahead());
            Advance(run);
            source += run;
            count -= run;
        }
    }

    /// What ring[n] was after each of the last `count` writes, in the order of time; n + count up to the
    /// count of samples.
    void ReadAll(std::uint32_t n, T* target, std::uint32_t count) const SLIB_NONBLOCKING {
        while (count > 0) {
            const std::uint32_t oldest = n + count - 1;
            const std::uint32_t run = std::min(count, RunPast(oldest));
            std::copy_n(Past(oldest), run, target);
            target += run;
            count -= run;
        }
    }

    /// Forgets all samples.
    void reset() {
        samples.fill(T{});
        index = 0;
    }

private:
    hcml::GenericVector<T, 1> samples;
};

}  // namespace goal

#pragma once

// Where the late reverberation comes from: each line of the network from a direction of its own, on the
// spatial bus at its full order. Together the directions make a diffuse field, the same from all sides, which
// is fixed in the world however the head turns. Part of the reverb. Run on the server's thread inside the
// block: only the constructor allocates.

#include <array>
#include <cstdint>

#include "goal/dsp/crossfade.h"
#include "goal/fx/latenetwork.h"
#include "goal/state/basis.h"
#include "numeric/bus.h"
#include "slib/realtime.h"

namespace goal::fx {

/// What a game asks of the field.
struct LateField {
    float gain = 1;     ///< of all of it, linear
    float density = 1;  ///< narrows it, 0 to 1
    Vector3 pan{};      ///< turns and focuses it; of length 0 to 1, in the listener's frame: right, up, front
    Vector3 right{1, 0, 0}, up{0, 1, 0}, back{0, 0, 1};  ///< of the listener
    bool operator==(const LateField&) const = default;
};

class LateDirections {
public:
    /// For the network's lines, a bus of that order and blocks of at most `blockFrames`. The course outlives
    /// the object. Throws slib::OutOfMemoryException.
    LateDirections(std::uint32_t lineCount, std::uint32_t order, std::uint32_t blockFrames,
                   const CrossfadeCourse& course);

    /// Adds `lines` to the (order + 1)² channels of `output`, of `vectors` groups of four floats. A field
    /// that has changed fades over from the old one.
    void Run(const LateField& field, const hcml::ac::Bus& lines, float* const* output, std::uint32_t frames,
             std::uint32_t vectors) SLIB_NONBLOCKING;

private:
    static constexpr std::uint32_t mostChannels = 25;
    using Gains = std::array<float, mostChannels>;  // of one line

    void SetGains(const LateField& field);
    void MixPairs(const hcml::ac::Bus& lines, float* const* output, std::uint32_t vectors);

    const std::uint32_t lineCount;
    const std::uint32_t order;
    const CrossfadeCourse& course;
    Crossfade<LateField> fade;
    std::array<Gains, std::size_t{2} * LateNetwork::maximumLines> gains{};  // of all lines; then the old ones
    std::array<Gains, LateNetwork::maximumLines / 2> pairGains{};           // of even degree, and then of odd
    hcml::ac::Bus weighted;  // the lines by the weights of the new field, and by the rest; or sums of pairs
};

}  // namespace goal::fx

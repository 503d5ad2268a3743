#pragma once

// The rotation of a whole sound field on the channels of the bus. Made once for an order; a matrix is made on
// the audio thread whenever the rotation changes, and allocates nothing.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "numeric/ambisonicorder.h"
#include "numeric/quaternion.h"
#include "slib/realtime.h"

namespace hcml {

class FieldRotation {
public:
    /// Directions at which the polynomials are compared, more than a part has channels.
    static constexpr std::uint32_t directionCount = 20;

    /// What a part's matrix has room for: channel `from` goes into channel `to` with the factor
    /// [from * partStride + to], both counted within the part.
    static constexpr std::uint32_t partStride = 16, mostPartChannels = 15;
    using PartMatrix = std::array<float, std::size_t{partStride} * mostPartChannels>;
    using Matrix = std::array<PartMatrix, 2>;

    /// The channels of even degree, or those of odd degree: a rotation keeps the two apart.
    struct Part {
        std::vector<std::uint32_t> channels;
        /// Of the channels' values at the directions the pseudo-inverse, channels by directions.
        std::array<std::array<double, directionCount>, mostPartChannels> inverse{};
    };

    /// `order` is from 1 to 4. Throws std::bad_alloc, and what hcml::inverse throws.
    explicit FieldRotation(unsigned order);

    /// The matrix that makes of the weights of each direction u those of the direction `rotation` times u:
    /// directionPolynomials(R u) = M directionPolynomials(u), to about 1e-7. The polynomials of a degree and
    /// those below it with the same parity are the ones of a sphere turned with it, so M is their values
    /// at turned sample directions times the pseudo-inverse of the values at the directions themselves.
    void Make(const RotationMatrix& rotation, Matrix& matrix) const SLIB_NONBLOCKING;

    /// The matrix of the rotation of `first`, then that of `second`, at a sixth of the time that Make takes.
    /// `both` is another object than these.
    void Join(const Matrix& first, const Matrix& second, Matrix& both) const SLIB_NONBLOCKING;

    const unsigned order;
    const std::array<Part, 2> parts;  ///< even, odd

private:
    const std::array<std::array<double, 3>, directionCount> directions;  // unit vectors
};

}  // namespace hcml

#pragma once

// Turns the whole sound field against the listener's head, so that sources, reverb and beds stay where they
// are while the head turns. Right before the decoder, on the server's thread; allocates nothing.
//
//     field -> M(from) + course * (M(to) - M(from)) -> decoder
//
// The matrix moves along the block from the head's place at its beginning to that at its end, in a line for
// each sample. A line isn't a circle: where the turn is quick the block is taken in several of them.

#include <cstdint>
#include <vector>

#include "numeric/bus.h"
#include "numeric/fieldrotation.h"
#include "numeric/quaternion.h"
#include "slib/realtime.h"

namespace goal {

class HeadTurn {
public:
    /// For fields of an order from 1 to 4 and blocks of `blockFrames` frames. Throws std::bad_alloc and
    /// slib::OutOfMemoryException.
    HeadTurn(unsigned order, std::uint32_t blockFrames);

    /// The field as the head hears it that is turned to `head` by the end of the block, and was where the
    /// last block left it at its beginning. `field` is of the order and length of this object; it is returned
    /// itself while the head looks ahead.
    const hcml::ac::Bus& Turn(const hcml::ac::Bus& field, const hcml::Quaternion& head) SLIB_NONBLOCKING;

private:
    using Matrix = hcml::FieldRotation::Matrix;

    void MoveOver(const hcml::ac::Bus& field, std::uint32_t first, std::uint32_t vectors);
    void Add(const hcml::ac::Bus& from, const Matrix& matrix, std::uint32_t first, std::uint32_t vectors);

    const hcml::FieldRotation rotation;
    hcml::Quaternion head;  // at the end of the last block
    Matrix current{};       // of that
    Matrix step{};          // of a line of several
    Matrix next{}, difference{};
    hcml::ac::Bus turned;
    hcml::ac::Bus faded;        // the field times the course
    std::vector<float> course;  // 0 to 1 over a block, or a part of it
};

}  // namespace goal

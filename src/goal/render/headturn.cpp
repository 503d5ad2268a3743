#include "goal/render/headturn.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "numeric/kernels/gainkernel.h"
#include "numeric/kernels/mixkernel.h"

namespace goal {
namespace {

using hcml::FieldRotation;
using hcml::Quaternion;
using Rows = std::array<float*, FieldRotation::mostPartChannels>;

// A line over this angle stays within -75 dB of its circle at order 4.
constexpr double anglePerLine = 0.6 * std::numbers::pi / 180;
constexpr double mostLines = 4;

Rows RowsOf(const hcml::ac::Bus& bus, const FieldRotation::Part& part, std::uint32_t first) {
    Rows rows{};
    for (std::size_t i = 0; i < part.channels.size(); ++i)
        rows[i] = bus.channels[part.channels[i]] + std::size_t{4} * first;
    return rows;
}

}  // namespace

HeadTurn::HeadTurn(unsigned order, std::uint32_t blockFrames)
    : rotation(order),
      turned(blockFrames, hcml::ChannelsOfOrder(order)),
      faded(turned),
      course(std::size_t{4} * turned.vectors) {
    rotation.Make(ToMatrix(head), current);
}

const hcml::ac::Bus& HeadTurn::Turn(const hcml::ac::Bus& field, const Quaternion& to) {
    if (to == head) {
        if (to == Quaternion()) return field;
        turned.clear();
        Add(field, current, 0, turned.vectors);
        return turned;
    }
    turned.clear();
    const auto lines = static_cast<std::uint32_t>(
        std::clamp(std::ceil(AngleBetween(head, to) / anglePerLine), 1.0, mostLines));
    // All lines but the last one are as long, and turn by the same.
    const std::uint32_t length = (turned.vectors + lines - 1) / lines;
    const double share = static_cast<double>(length) / turned.vectors;
    if (lines > 1) rotation.Make(ToMatrix(Inverse(Inverse(head) * Between(head, to, share))), step);
    for (std::uint32_t first = 0; first < turned.vectors; first += length) {
        const bool isLast = first + length >= turned.vectors;
        if (isLast)
            rotation.Make(ToMatrix(Inverse(to)), next);  // anew, so that no error grows
        else
            rotation.Join(current, step, next);
        MoveOver(field, first, isLast ? turned.vectors - first : length);
        current = next;
    }
    head = to;
    return turned;
}

void HeadTurn::MoveOver(const hcml::ac::Bus& field, std::uint32_t first, std::uint32_t vectors) {
    for (std::size_t part = 0; part < next.size(); ++part)
        for (std::size_t i = 0; i < next[part].size(); ++i)
            difference[part][i] = next[part][i] - current[part][i];
    const auto frames = static_cast<std::size_t>(vectors) * 4;
    const float perFrame = 1 / static_cast<float>(frames);
    for (std::size_t i = 0; i < frames; ++i)
        course[i] = static_cast<float>(i + 1) * perFrame;
    for (std::uint32_t c = 0; c < field.channelCount; ++c) {
        const std::size_t at = std::size_t{4} * first;
        hcml::MultiplyRows(faded.channels[c] + at, field.channels[c] + at, course.data(), vectors);
    }
    Add(field, current, first, vectors);
    Add(faded, difference, first, vectors);
}

void HeadTurn::Add(const hcml::ac::Bus& from, const Matrix& matrix, std::uint32_t first,
                   std::uint32_t vectors) {
    for (std::size_t p = 0; p < matrix.size(); ++p) {
        const FieldRotation::Part& part = rotation.parts[p];
        const Rows sources = RowsOf(from, part, first), targets = RowsOf(turned, part, first);
        const auto count = static_cast<std::uint32_t>(part.channels.size());
        hcml::MixSources({targets.data(), count, sources.data(), count, matrix[p].data(),
                          FieldRotation::partStride, vectors});
    }
}

}  // namespace goal

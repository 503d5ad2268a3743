#include "goal/fx/latedirections.h"

#include <algorithm>
#include <cmath>

#include "numeric/directionpolynomials.h"
#include "numeric/kernels/mixkernel.h"

namespace goal::fx {
namespace {

// Eight axes, whose sixteen ends sum to a diffuse field exactly up to the third degree and nearly up to the
// fifth: the least of the potentials of the second and fourth degree (Benedetto and Fickus, 2003).
constexpr std::array<Vector3, LateNetwork::maximumLines / 2> axes{{{-0.0756643F, -0.6251295F, -0.7768449F},
                                                                   {0.3317414F, 0.7616751F, -0.5565956F},
                                                                   {0.3135596F, 0.1235448F, -0.9414972F},
                                                                   {-0.6723655F, -0.0010782F, -0.7402185F},
                                                                   {0.8787445F, 0.4748758F, 0.0479689F},
                                                                   {-0.6712324F, 0.6447208F, -0.3657624F},
                                                                   {0.0862252F, -0.9832410F, -0.1606311F},
                                                                   {-0.8751106F, 0.2740202F, 0.3988663F}}};

// The diagonals of a cube, for eight lines.
constexpr float third = 0.57735027F;
constexpr std::array<Vector3, LateNetwork::maximumLines / 4> fewAxes{
    {{third, third, third}, {third, third, -third}, {third, -third, third}, {-third, third, third}}};

// Of the orders above 0, at density 0.
constexpr float leastWidth = 0.7F;

// The share of the orders above 0 in the power at the ears, in a diffuse field.
constexpr float headShare = 0.57F;

// A narrow field is less loud at the ears for the same pressure at the head's place: halfway between the two.
float LevelOf(float width) {
    constexpr float ofDiffuseField = 1.047F;  // what presets lose by their short decays at both ends
    return ofDiffuseField / std::sqrt(std::sqrt(1 - headShare + headShare * width * width));
}

float Dot(const Vector3& a, const Vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// In the axes of the world.
Vector3 DirectionOf(std::uint32_t line, std::uint32_t lineCount) {
    const std::uint32_t axis = line % (lineCount / 2);
    Vector3 direction = lineCount == LateNetwork::maximumLines ? axes[axis] : fewAxes[axis];
    if (line >= lineCount / 2)
        for (float& value : direction)
            value = -value;
    return direction;
}

// A bent function of the line's bits (Rothaus, 1976): with these signs the mix gives the sum of all lines as
// much of each.
float SignOf(std::uint32_t line) {
    const bool bit0 = (line & 1) != 0, bit1 = (line & 2) != 0, bit2 = (line & 4) != 0, bit3 = (line & 8) != 0;
    return (bit0 && bit1) != (bit2 && bit3) ? -1.0F : 1.0F;
}

bool IsOdd(std::uint32_t channel) {
    return (channel >= 1 && channel < 4) || (channel >= 9 && channel < 16);
}

void AddAndSubtract(const float* __restrict a, const float* __restrict b, float* __restrict sum,
                    float* __restrict difference, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        sum[i] = a[i] + b[i];
        difference[i] = a[i] - b[i];
    }
}

void Split(const float* __restrict samples, const float* __restrict weights, float* __restrict part,
           float* __restrict rest, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        part[i] = samples[i] * weights[i];
        rest[i] = samples[i] - part[i];
    }
}

}  // namespace

LateDirections::LateDirections(std::uint32_t lineCount, std::uint32_t order, std::uint32_t blockFrames,
                               const CrossfadeCourse& course)
    : lineCount(lineCount), order(order), course(course), weighted(blockFrames, 2 * lineCount) {}

void LateDirections::SetGains(const LateField& field) {
    const auto& [right, up, front] = field.pan;
    const Vector3 pan{front, -right, up};
    const float panned = std::min(std::sqrt(Dot(pan, pan)), 1.0F);
    const float width = leastWidth + (1 - leastWidth) * std::max(field.density, panned);
    for (std::uint32_t k = 0; k < lineCount; ++k) {
        const Vector3 world = DirectionOf(k, lineCount);
        Vector3 direction{-Dot(field.back, world), -Dot(field.right, world), Dot(field.up, world)};
        for (std::uint32_t axis = 0; axis < 3; ++axis)
            direction[axis] = (1 - panned) * direction[axis] + pan[axis];
        const float length = std::sqrt(Dot(direction, direction)) + 1e-9F;
        float* const row = gains[k].data();
        hcml::directionPolynomials(direction[0] / length, direction[1] / length, direction[2] / length, order,
                                   row);
        const float gain = LevelOf(width) * field.gain * SignOf(k);
        row[0] *= gain;
        for (std::uint32_t c = 1; c < (order + 1) * (order + 1); ++c)
            row[c] *= gain * width;
    }
}

// Opposite directions have the same polynomials of even degree, and those of odd degree but for the sign.
void LateDirections::MixPairs(const hcml::ac::Bus& lines, float* const* output, std::uint32_t vectors) {
    std::array<float*, mostChannels> channels{};
    std::array<std::uint32_t, 2> counts{};  // of degree even, odd
    for (std::uint32_t c = 0; c < (order + 1) * (order + 1); ++c)
        if (!IsOdd(c)) channels[counts[0]++] = output[c];
    for (std::uint32_t c = 0; c < (order + 1) * (order + 1); ++c)
        if (IsOdd(c)) channels[counts[0] + counts[1]++] = output[c];
    const std::uint32_t pairs = lineCount / 2;
    for (std::uint32_t p = 0; p < pairs; ++p) {
        const bool areAlike = SignOf(p) == SignOf(p + pairs);
        AddAndSubtract(lines.channels[p], lines.channels[p + pairs],
                       weighted.channels[areAlike ? p : p + pairs],
                       weighted.channels[areAlike ? p + pairs : p], 4 * vectors);
        std::uint32_t even = 0, odd = counts[0];
        for (std::uint32_t c = 0; c < (order + 1) * (order + 1); ++c)
            pairGains[p][IsOdd(c) ? odd++ : even++] = gains[p][c];
    }
    hcml::MixSources(
        {channels.data(), counts[0], weighted.channels, pairs, pairGains[0].data(), mostChannels, vectors});
    hcml::MixSources({channels.data() + counts[0], counts[1], weighted.channels + pairs, pairs,
                      pairGains[0].data() + counts[0], mostChannels, vectors});
}

void LateDirections::Run(const LateField& field, const hcml::ac::Bus& lines, float* const* output,
                         std::uint32_t frames, std::uint32_t vectors) {
    if (fade.Follow(field)) {
        std::copy_n(gains.begin(), lineCount, gains.begin() + lineCount);
        SetGains(field);
    }
    const std::uint32_t channels = (order + 1) * (order + 1);
    for (std::uint32_t k = 0; k < lineCount; ++k)
        std::fill(lines.channels[k] + frames, lines.channels[k] + std::size_t{4} * vectors, 0.0F);
    const bool isPanned = fade.to.pan != Vector3{};
    if (!fade.isFading && !isPanned) return MixPairs(lines, output, vectors);
    hcml::Mix mix{output, channels, lines.channels, lineCount, gains[0].data(), mostChannels, vectors};
    if (fade.isFading) {
        const float* const weights = course.From(fade.position);
        for (std::uint32_t k = 0; k < lineCount; ++k)
            Split(lines.channels[k], weights, weighted.channels[k], weighted.channels[lineCount + k],
                  4 * vectors);
        mix.sources = weighted.channels;
        mix.sourceCount = 2 * lineCount;
    }
    hcml::MixSources(mix);
    fade.Advance(frames, course);
}

}  // namespace goal::fx

#include "numeric/fieldrotation.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "numeric/directionpolynomials.h"
#include "numeric/genericmatrix.h"
#include "numeric/matrixoperations.h"

namespace hcml {
namespace {

constexpr std::uint32_t directionCount = FieldRotation::directionCount;
constexpr std::uint32_t stride = FieldRotation::partStride;

// Evenly about the upper half of the sphere, along a spiral (Fibonacci lattice). The lower half tells nothing
// new of polynomials of one parity.
std::array<std::array<double, 3>, directionCount> SampleDirections() {
    constexpr double goldenTurn = 2 * std::numbers::pi * (2 - std::numbers::phi);
    std::array<std::array<double, 3>, directionCount> points;
    for (std::uint32_t i = 0; i < directionCount; ++i) {
        const double z = (i + 0.5) / directionCount;
        const double ring = std::sqrt(1 - z * z);
        points[i] = {ring * std::cos(goldenTurn * i), ring * std::sin(goldenTurn * i), z};
    }
    return points;
}

// Of one part at all directions: rows of whole vectors, with zeros behind the part's channels.
using Values = std::array<std::array<double, stride>, directionCount>;

void Evaluate(const std::array<double, 3>& direction, unsigned order,
              const std::array<FieldRotation::Part, 2>& parts, std::uint32_t row,
              std::array<Values, 2>& values) {
    std::array<double, mostBusChannels> weights;
    directionPolynomials(direction[0], direction[1], direction[2], order, weights.data());
    for (std::size_t p = 0; p < parts.size(); ++p)
        for (std::size_t i = 0; i < parts[p].channels.size(); ++i)
            values[p][row][i] = weights[parts[p].channels[i]];
}

bool IsOfPart(std::uint32_t channel, std::size_t part) {
    return static_cast<std::uint32_t>(std::sqrt(channel)) % 2 == part;  // channels of degree l begin at l²
}

// (V V^T)^-1 V of the values V, channels by directions.
void Invert(const Values& values, FieldRotation::Part& part) {
    const auto count = static_cast<std::uint32_t>(part.channels.size());
    GenericMatrix<double, 1> products(count, count);
    for (std::uint32_t a = 0; a < count; ++a)
        for (std::uint32_t b = 0; b < count; ++b) {
            products(a, b) = 0;
            for (const auto& row : values)
                products(a, b) += row[a] * row[b];
        }
    const GenericMatrix<double, 1> inverted = inverse(products, 0);
    for (std::uint32_t a = 0; a < count; ++a)
        for (std::uint32_t b = 0; b < count; ++b)
            for (std::uint32_t k = 0; k < directionCount; ++k)
                part.inverse[a][k] += inverted(a, b) * values[k][b];
}

std::array<FieldRotation::Part, 2> MakeParts(unsigned order) {
    std::array<FieldRotation::Part, 2> parts;
    for (std::size_t p = 0; p < parts.size(); ++p)
        for (std::uint32_t channel = 0; channel < ChannelsOfOrder(order); ++channel)
            if (IsOfPart(channel, p)) parts[p].channels.push_back(channel);
    std::array<Values, 2> values{};
    const auto directions = SampleDirections();
    for (std::uint32_t k = 0; k < directionCount; ++k)
        Evaluate(directions[k], order, parts, k, values);
    for (std::size_t p = 0; p < parts.size(); ++p)
        Invert(values[p], parts[p]);
    return parts;
}

// Of channel `from`: its shares in all channels of the part.
void MakeRow(const std::array<double, directionCount>& inverse, const Values& turned, float* row) {
    std::array<double, stride> sums{};
    for (std::uint32_t k = 0; k < directionCount; ++k)
        for (std::uint32_t to = 0; to < stride; ++to)
            sums[to] += inverse[k] * turned[k][to];
    std::transform(sums.begin(), sums.end(), row, [](double sum) { return static_cast<float>(sum); });
}

}  // namespace

FieldRotation::FieldRotation(unsigned order)
    : order(order), parts(MakeParts(order)), directions(SampleDirections()) {}

void FieldRotation::Make(const RotationMatrix& rotation, Matrix& matrix) const {
    std::array<Values, 2> turned{};
    for (std::uint32_t k = 0; k < directionCount; ++k) {
        const std::array<double, 3>& u = directions[k];
        std::array<double, 3> v;
        for (std::size_t axis = 0; axis < v.size(); ++axis)
            v[axis] = rotation[axis][0] * u[0] + rotation[axis][1] * u[1] + rotation[axis][2] * u[2];
        Evaluate(v, order, parts, k, turned);
    }
    for (std::size_t p = 0; p < parts.size(); ++p)
        for (std::size_t from = 0; from < parts[p].channels.size(); ++from)
            MakeRow(parts[p].inverse[from], turned[p], matrix[p].data() + from * stride);
}

void FieldRotation::Join(const Matrix& first, const Matrix& second, Matrix& both) const {
    for (std::size_t p = 0; p < parts.size(); ++p) {
        const std::size_t count = parts[p].channels.size();
        for (std::size_t from = 0; from < count; ++from) {
            std::array<float, stride> sums{};
            for (std::size_t between = 0; between < count; ++between)
                for (std::size_t to = 0; to < stride; ++to)
                    sums[to] += first[p][from * stride + between] * second[p][between * stride + to];
            std::ranges::copy(sums, both[p].begin() + static_cast<std::ptrdiff_t>(from * stride));
        }
    }
}

}  // namespace hcml

#include "library/sphericalbasis.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "numeric/realsphericalharmonic.h"
#include "orb3core/acoustics/fsascheme.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;

struct GaussNode {
    double x, weight;  // the weights of all nodes sum to 2
};

// Newton's iteration from Tricomi's estimate for root `i` of the Legendre polynomial of degree `n`.
GaussNode GaussLegendreNode(int i, int n) {
    double x = std::cos(pi * (i + 0.75) / (n + 0.5)), slope = 1;
    for (int round = 0; round < 10; ++round) {
        const double value = hcml::AssociatedLegendre(n, 0, x);
        slope = n * (hcml::AssociatedLegendre(n - 1, 0, x) - x * value) / ((1 - x) * (1 + x));
        x -= value / slope;
    }
    return {x, 2 / ((1 - x) * (1 + x) * slope * slope)};
}

}  // namespace

Direction DirectionAt(double azimuth, double elevation) {
    return {std::cos(elevation) * std::cos(azimuth), std::cos(elevation) * std::sin(azimuth),
            std::sin(elevation)};
}

double AzimuthOf(const Direction& direction) {
    return std::atan2(direction.y(), direction.x());
}

double AngleBetween(const Direction& a, const Direction& b) {
    return 2 * std::atan2((a - b).norm(), (a + b).norm());
}

unsigned DegreeOf(unsigned channel) {
    return static_cast<unsigned>(std::sqrt(static_cast<double>(channel)));
}

Eigen::MatrixXd FsaMatrix(const std::vector<Direction>& directions, unsigned order) {
    const orb3::FSAScheme scheme(order);
    Eigen::MatrixXd values(static_cast<Index>(directions.size()), scheme.harmonics.size);
    for (Index d = 0; d < values.rows(); ++d) {
        const Direction& direction = directions[static_cast<std::size_t>(d)];
        const double azimuth = AzimuthOf(direction), height = std::clamp(direction.z(), -1.0, 1.0);
        for (Index c = 0; c < values.cols(); ++c)
            values(d, c) = evaluate(scheme.harmonics.data[c], azimuth, height);
    }
    return values;
}

Eigen::MatrixXd PlaneWaveMatrix(const std::vector<Direction>& directions, unsigned order) {
    return 4 * pi * FsaMatrix(directions, order);
}

Quadrature HorizonPoints(unsigned count) {
    Quadrature points{{}, Eigen::VectorXd::Constant(count, 1.0 / count)};
    for (unsigned i = 0; i < count; ++i)
        points.directions.push_back(DirectionAt(2 * pi * i / count, 0));
    return points;
}

Quadrature GaussRings(unsigned degree) {
    const int rings = static_cast<int>(degree / 2 + 1);
    const unsigned steps = 4 * (degree / 4 + 1);
    Quadrature points{{}, Eigen::VectorXd(static_cast<Index>(rings) * steps)};
    for (int ring = 0; ring < rings; ++ring) {
        const GaussNode node = GaussLegendreNode(ring, rings);
        points.weights.segment(Index{ring} * steps, steps).setConstant(node.weight / 2 / steps);
        for (unsigned i = 0; i < steps; ++i)
            points.directions.push_back(DirectionAt(2 * pi * i / steps, std::asin(node.x)));
    }
    return points;
}

Quadrature SpiralPoints(unsigned count) {
    Quadrature points{{}, Eigen::VectorXd::Constant(count, 1.0 / count)};
    for (unsigned i = 0; i < count; ++i) {
        const double height = 1 - (2 * i + 1.0) / count;
        const double turns = i / std::numbers::phi;
        points.directions.push_back(DirectionAt(2 * pi * (turns - std::floor(turns)), std::asin(height)));
    }
    return points;
}

}  // namespace design

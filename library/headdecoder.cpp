#include "library/headdecoder.h"

#include <algorithm>
#include <cmath>

#include "library/erb.h"
#include "library/headfourier.h"
#include "slib/exception.h"

namespace design {
namespace {

using Eigen::Index;

unsigned OrderOf(const HeadTransform& transform) {
    const std::uint32_t inputs = transform.impulses.rows;
    const auto side = static_cast<unsigned>(std::lround(std::sqrt(inputs)));
    if (transform.impulses.columns != 2 || side == 0 || side * side != inputs) {
        throw slib::BadParameterException("A decoder for headphones has (N+1)² inputs and two outputs.");
    }
    return side - 1;
}

// Half spectra of the responses to one output, inputs by bins.
Eigen::MatrixXcd FilterSpectra(const HeadTransform& transform, std::uint32_t output) {
    const std::uint32_t ring = transform.Length();
    HeadFourier fourier(std::max<Index>(headTransformLength, ring));
    const auto before =
        static_cast<Index>(transform.start + transform.width > ring ? ring - transform.start : 0);
    Eigen::MatrixXcd spectra(transform.impulses.rows, fourier.bins);
    for (std::uint32_t input = 0; input < transform.impulses.rows; ++input) {
        const Eigen::Map<const Eigen::VectorXd> impulse(transform.impulses(input, output).data, ring);
        Eigen::VectorXd signal = Eigen::VectorXd::Zero(fourier.length);
        signal.head(ring - before) = impulse.head(ring - before);
        signal.tail(before) = impulse.tail(before);
        spectra.row(input) = fourier.Spectrum(signal);
    }
    return spectra;
}

}  // namespace

HeadSpectra DecodedSpectra(const HeadTransform& transform, const std::vector<Direction>& directions) {
    const Eigen::MatrixXd waves = PlaneWaveMatrix(directions, OrderOf(transform));
    HeadSpectra decoded;
    decoded.name = "Decoder";
    decoded.sampleRate = transform.sampleRate;
    decoded.directions = directions;
    decoded.measured = waves.rows();
    decoded.areas = Eigen::VectorXd::Constant(waves.rows(), 1 / static_cast<double>(waves.rows()));
    for (std::uint32_t ear : {0u, 1u})
        decoded.ears[ear] = waves * FilterSpectra(transform, ear);
    return decoded;
}

double DiffuseEnergy(const HeadTransform& transform) {
    OrderOf(transform);
    Eigen::RowVectorXd power;
    for (const std::uint32_t ear : {0u, 1u}) {
        const Eigen::RowVectorXd own = FilterSpectra(transform, ear).cwiseAbs2().colwise().sum();
        power = ear == 0 ? own : (power + own).eval();
    }
    const ErbBands bands = MakeErbBands(100, 16000, transform.sampleRate, power.size());
    return (bands.weights * power.transpose()).mean();
}

double FrontalEnergy(const HeadTransform& transform) {
    const HeadSpectra front = DecodedSpectra(transform, {DirectionAt(0, 0)});
    const ErbBands bands = MakeErbBands(100, 16000, front.sampleRate, front.Bins());
    return (bands.weights * (front.ears[0].cwiseAbs2() + front.ears[1].cwiseAbs2()).transpose()).mean();
}

}  // namespace design

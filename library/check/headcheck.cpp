#include "library/check/headcheck.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "library/erb.h"
#include "library/headfourier.h"
#include "slib/exception.h"

namespace design {
namespace {

using Eigen::Index;

constexpr double horizonHeight = 0.0436;  // the sine of 2.5 degrees
constexpr double lowBand = 100, middleBand = 8000, highBand = 16000;

// Band levels in dB; directions by bands.
Eigen::MatrixXd BandLevels(const Eigen::MatrixXcd& spectra, const ErbBands& bands) {
    return 10 * (spectra.cwiseAbs2() * bands.weights.transpose()).array().max(1e-20).log10();
}

ErrorFigures Figures(Eigen::VectorXd values) {
    std::sort(values.begin(), values.end());
    const auto at = [&](double share) {
        return values[static_cast<Index>(share * static_cast<double>(values.size() - 1))];
    };
    return {at(0.5), values.mean(), at(0.95)};
}

HeadSpectra MeasuredPart(const HeadSpectra& head) {
    HeadSpectra part = head;
    part.directions.resize(static_cast<std::size_t>(head.measured));
    for (Eigen::MatrixXcd& ear : part.ears)
        ear.conservativeResize(head.measured, Eigen::NoChange);
    return part;
}

ErbBands BandsOf(const HeadSpectra& spectra) {
    return MakeErbBands(lowBand, highBand, spectra.sampleRate, spectra.Bins());
}

// Mean over both ears of the absolute level differences, less the mean difference; directions by bands.
Eigen::MatrixXd BandErrors(const HeadSpectra& decoded, const HeadSpectra& reference) {
    const Index directions = reference.measured;
    Eigen::MatrixXd difference(2 * directions, BandsOf(reference).centres.size());
    for (Index ear : {0, 1}) {
        const auto side = static_cast<std::size_t>(ear);
        difference.middleRows(ear * directions, directions) =
            BandLevels(decoded.ears[side], BandsOf(decoded)) -
            BandLevels(reference.ears[side], BandsOf(reference));
    }
    difference = (difference.array() - difference.mean()).abs();
    return (difference.topRows(directions) + difference.bottomRows(directions)) / 2;
}

// How much louder the left ear is in dB; directions by bands.
Eigen::MatrixXd InterauralLevels(const HeadSpectra& spectra) {
    const ErbBands bands = BandsOf(spectra);
    return BandLevels(spectra.ears[LeftEar], bands) - BandLevels(spectra.ears[RightEar], bands);
}

}  // namespace

HeadErrors CheckHead(const HeadTransform& transform, const HeadSpectra& head) {
    if (transform.sampleRate != head.sampleRate) {
        throw slib::BadParameterException("A decoder can be checked at the rate of its head only.");
    }
    const HeadSpectra reference = MeasuredPart(head);
    const HeadSpectra decoded = DecodedSpectra(transform, reference.directions);
    const Eigen::MatrixXd error = BandErrors(decoded, reference);
    const Index low = (BandsOf(reference).centres.array() <= middleBand).count();
    HeadErrors errors;
    errors.delay = Figures((InterauralDelays(decoded) - InterauralDelays(reference)).cwiseAbs());
    errors.low = Figures(error.leftCols(low).rowwise().mean());
    errors.high = Figures(error.rightCols(error.cols() - low).rowwise().mean());
    errors.whole = Figures(error.rowwise().mean());
    errors.interaural =
        Figures((InterauralLevels(decoded) - InterauralLevels(reference)).cwiseAbs().rowwise().mean());
    errors.frontLevel = 10 * std::log10(FrontalEnergy(transform));
    return errors;
}

std::vector<HorizontalDifference> HorizontalDifferences(const HeadSpectra& spectra) {
    const Eigen::VectorXd delays = InterauralDelays(spectra);
    const Eigen::VectorXd levels = InterauralLevels(spectra).rowwise().mean();
    std::vector<HorizontalDifference> differences;
    for (Index i = 0; i < delays.size(); ++i) {
        const Direction& direction = spectra.directions[static_cast<std::size_t>(i)];
        if (std::abs(direction.z()) > horizonHeight) continue;
        differences.push_back({AzimuthOf(direction), delays[i], levels[i]});
    }
    std::ranges::sort(differences, {}, &HorizontalDifference::azimuth);
    return differences;
}

}  // namespace design

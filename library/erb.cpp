#include "library/erb.h"

#include <cmath>

namespace design {

double ErbBandwidth(double frequency) {
    return 24.7 * (4.37e-3 * frequency + 1);
}

double ErbRate(double frequency) {
    return 21.4 * std::log10(4.37e-3 * frequency + 1);
}

double ErbRateFrequency(double rate) {
    return (std::pow(10, rate / 21.4) - 1) / 4.37e-3;
}

ErbBands MakeErbBands(double low, double high, double sampleRate, Eigen::Index bins) {
    const double first = ErbRate(low);
    const auto count = static_cast<Eigen::Index>(std::floor(ErbRate(high) - first + 1e-9)) + 1;
    const Eigen::ArrayXd frequencies = Eigen::ArrayXd::LinSpaced(bins, 0, sampleRate / 2);
    ErbBands bands{Eigen::VectorXd(count), Eigen::MatrixXd(count, bins)};
    for (Eigen::Index band = 0; band < count; ++band) {
        const double centre = ErbRateFrequency(first + static_cast<double>(band));
        const double width = 1.019 * ErbBandwidth(centre);
        const Eigen::ArrayXd shape = (1 + ((frequencies - centre) / width).square()).pow(-4);
        bands.centres[band] = centre;
        bands.weights.row(band) = shape / shape.sum();
    }
    return bands;
}

}  // namespace design

#include "library/headresampler.h"

#include <algorithm>
#include <cmath>

#include "library/windowedsinc.h"

namespace design {
namespace {

constexpr double zeroCrossings = 64;  // a side
constexpr double kaiserBeta = 11;
constexpr double cutoff = 0.95;  // of half the lower rate, so that the slope ends there

}  // namespace

Eigen::MatrixXd Resample(const Eigen::MatrixXd& signals, double fromRate, double toRate, Eigen::Index count) {
    Eigen::MatrixXd result = Eigen::MatrixXd::Zero(count, signals.cols());
    if (fromRate == toRate) {
        const Eigen::Index kept = std::min(count, signals.rows());
        result.topRows(kept) = signals.topRows(kept);
        return result;
    }
    const double bandwidth = cutoff * std::min(1.0, toRate / fromRate);
    const double reach = zeroCrossings / bandwidth;
    const KaiserWindow window(kaiserBeta);
    for (Eigen::Index i = 0; i < count; ++i) {
        const double at = static_cast<double>(i) * fromRate / toRate;
        const auto first = std::max<Eigen::Index>(0, static_cast<Eigen::Index>(std::ceil(at - reach)));
        const auto end = std::min(signals.rows(), static_cast<Eigen::Index>(std::floor(at + reach)) + 1);
        if (first >= end) break;
        Eigen::RowVectorXd kernel(end - first);
        for (Eigen::Index k = first; k < end; ++k) {
            const double distance = at - static_cast<double>(k);
            kernel[k - first] = bandwidth * Sinc(bandwidth * distance) * window(distance / reach);
        }
        result.row(i).noalias() = kernel * signals.middleRows(first, end - first);
    }
    return result * (fromRate / toRate);
}

}  // namespace design

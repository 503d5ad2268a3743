#include "library/magls.h"

#include <Eigen/Dense>
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numbers>

#include "library/diffusefield.h"
#include "library/earrefinement.h"
#include "library/headfourier.h"
#include "numeric/ambisonicorder.h"
#include "slib/exception.h"

namespace design {
namespace {

using Complex = std::complex<double>;
using Eigen::Index;

constexpr int rounds = 6;                  // of magnitudes and covariance in turn: enough to settle
constexpr double transitionOctaves = 0.5;  // to either side of the crossover
constexpr double quietestCounted = 0.02;   // of the mean power: no weight grows beyond what this has
constexpr double tiny = 1e-12;

// Unit phases; those of silence are 0.
Eigen::ArrayXcd Phases(const Eigen::ArrayXcd& values) {
    return values / (values.abs() + tiny);
}

// A product with the parts of complex numbers side by side, which is quicker than with them mixed.
Eigen::VectorXcd RealTimes(const Eigen::MatrixXd& matrix, const Eigen::VectorXcd& values) {
    using Parts = Eigen::Matrix<double, Eigen::Dynamic, 2, Eigen::RowMajor>;
    const Eigen::Map<const Parts> parts(reinterpret_cast<const double*>(values.data()), values.size(), 2);
    Eigen::VectorXcd product(matrix.rows());
    Eigen::Map<Parts>(reinterpret_cast<double*>(product.data()), product.size(), 2).noalias() =
        matrix * parts;
    return product;
}

// The rising half of a cosine window.
Eigen::VectorXd Rise(Index count) {
    const auto steps = static_cast<double>(count);
    return 0.5 -
           0.5 * (Eigen::ArrayXd::LinSpaced(count, 0.5, steps - 0.5) * (std::numbers::pi / steps)).cos();
}

// Works bin by bin upwards, since each starts from the phases of the one below.
class MaglsDesigner {
public:
    MaglsDesigner(const HeadSpectra& head, const MaglsOptions& options)
        : head(head),
          options(options),
          waves(PlaneWaveMatrix(head.directions, options.order)),
          mirror(MirrorSigns(options.order)),
          crossover(options.crossover > 0 ? options.crossover : std::min(700.0 * options.order, 1800.0)),
          refinement(head, waves, mirror) {
        filters.fill(Eigen::MatrixXcd::Zero(waves.cols(), head.Bins()));
        decoded = Eigen::MatrixXcd::Zero(waves.rows(), 2);
    }

    HeadTransform Design() {
        for (Index bin = 0; bin < head.Bins(); ++bin)
            FitBin(bin);
        HeadTransform transform = Rings();
        const double gain = std::sqrt(options.frontalEnergy / FrontalEnergy(transform));
        for (auto& ring : transform.impulses) {
            for (double& sample : ring)
                sample *= gain;
        }
        return transform;
    }

private:
    const HeadSpectra& head;
    const MaglsOptions& options;
    const Eigen::MatrixXd waves;   // directions by channels
    const Eigen::VectorXd mirror;  // factors of the channels in a sound field with left and right exchanged
    const double crossover;        // Hz
    const EarRefinement refinement;
    std::array<Eigen::MatrixXcd, 2> filters;  // channels by bins
    Eigen::MatrixX2cd decoded;                // the ears at the directions, in the bin at work

    // Harmonics of negative order are odd from left to right, the others even.
    static Eigen::VectorXd MirrorSigns(unsigned order) {
        Eigen::VectorXd signs(hcml::ChannelsOfOrder(order));
        for (unsigned channel = 0; channel < signs.size(); ++channel) {
            const unsigned degree = DegreeOf(channel);
            signs[channel] = channel < degree * degree + degree ? -1 : 1;
        }
        return signs;
    }

    // 1 where the head's phases hold, 0 where they are free.
    double PhaseShare(Index bin) const {
        const double octaves =
            std::log2(std::max(static_cast<double>(bin), 0.5) * head.BinWidth() / crossover);
        return std::clamp(0.5 - octaves / (2 * transitionOctaves), 0.0, 1.0);
    }

    // The least-squares map from an ear's values at the directions to its filters in this bin. Errors weigh
    // less where the ear hears more.
    Eigen::MatrixXd Fit(const Eigen::ArrayXd& level) const {
        const double power = (head.areas.array() * level.square()).sum() + tiny;
        const Eigen::VectorXd weight = head.areas.array() / (level.square() / power + quietestCounted).sqrt();
        const Eigen::MatrixXd weighted = waves.transpose() * weight.asDiagonal();
        return (weighted * waves).ldlt().solve(weighted);
    }

    std::size_t FittedEars() const { return head.symmetric ? 1 : 2; }

    void FitBin(Index bin) {
        const double freedom = 1 - PhaseShare(bin);
        const std::array<Eigen::MatrixXd, 2> fits = Fits(bin);
        const Eigen::MatrixX2cd below = decoded;
        for (int round = 0; round < (freedom > 0 ? rounds : 1); ++round) {
            FitLevels(fits, bin, freedom);
            Mix(bin, CovarianceMix(bin, freedom));
        }
        Refine(bin, freedom);
        Mix(bin, Straightening(below, freedom) * Eigen::Matrix2cd::Identity());
    }

    std::array<Eigen::MatrixXd, 2> Fits(Index bin) const {
        std::array<Eigen::MatrixXd, 2> fits;
        for (std::size_t ear = 0; ear < FittedEars(); ++ear)
            fits[ear] = Fit(head.ears[ear].col(bin).cwiseAbs());
        return fits;
    }

    void FitLevels(const std::array<Eigen::MatrixXd, 2>& fits, Index bin, double freedom) {
        for (std::size_t ear = 0; ear < FittedEars(); ++ear) {
            filters[ear].col(bin) = RealTimes(fits[ear], Aim(ear, bin, freedom));
        }
        if (head.symmetric) filters[RightEar].col(bin) = mirror.cwiseProduct(filters[LeftEar].col(bin));
        for (std::size_t ear : {0u, 1u}) {
            decoded.col(static_cast<Index>(ear)) = RealTimes(waves, filters[ear].col(bin));
        }
    }

    // What an ear should get from each direction: the level of the head, with phases between those of the
    // head and those decoded so far.
    Eigen::VectorXcd Aim(std::size_t ear, Index bin, double freedom) const {
        const Eigen::ArrayXcd exact = head.ears[ear].col(bin).array();
        if (freedom == 0) return exact;
        const Eigen::ArrayXcd own = Phases(decoded.col(static_cast<Index>(ear)).array());
        return exact.abs() * Phases((1 - freedom) * Phases(exact) + freedom * own);
    }

    // As far as the phases are free.
    void Refine(Index bin, double freedom) {
        if (freedom == 0) return;
        const EarFilters start{filters[LeftEar].col(bin), filters[RightEar].col(bin)};
        const EarFilters refined = refinement.Refine(bin, start);
        for (const std::size_t ear : {0U, 1U}) {
            filters[ear].col(bin) += freedom * (refined[ear] - start[ear]);
            decoded.col(static_cast<Index>(ear)) = RealTimes(waves, filters[ear].col(bin));
        }
    }

    void Mix(Index bin, const Eigen::Matrix2cd& mixing) {
        Eigen::MatrixX2cd both(waves.cols(), 2);
        both << filters[LeftEar].col(bin), filters[RightEar].col(bin);
        both *= mixing.transpose();
        filters[LeftEar].col(bin) = both.col(0);
        filters[RightEar].col(bin) =
            head.symmetric ? mirror.cwiseProduct(both.col(0)).eval() : both.col(1).eval();
        decoded *= mixing.transpose();
    }

    // Gives a diffuse field the covariance at the ears that the head has.
    Eigen::Matrix2cd CovarianceMix(Index bin, double freedom) const {
        if (freedom == 0) return Eigen::Matrix2cd::Identity();
        const Eigen::Matrix2cd target =
            EarCovariance(head.areas, head.ears[LeftEar].col(bin), head.ears[RightEar].col(bin));
        const Eigen::Matrix2cd actual = EarCovariance(head.areas, decoded.col(0), decoded.col(1));
        return (1 - freedom) * Eigen::Matrix2cd::Identity() + freedom * CovarianceMatch(actual, target);
    }

    // Takes back the turn that all free phases share against the bin below, which would stretch the
    // responses over time to no use.
    Complex Straightening(const Eigen::MatrixX2cd& below, double freedom) const {
        const Complex turn =
            head.areas.cast<Complex>().dot(below.conjugate().cwiseProduct(decoded).rowwise().sum());
        return std::polar(1.0, -freedom * std::arg(turn));
    }

    // Fades a response in over the first half of its latency and out over its last eighth.
    Eigen::VectorXd Window() const {
        Eigen::VectorXd window = Eigen::VectorXd::Ones(options.ringLength);
        const Index rise = options.startLatency / 2, fall = options.ringLength / 8;
        window.head(rise) = Rise(rise);
        window.tail(fall) = Rise(fall).reverse();
        return window;
    }

    HeadTransform Rings() const {
        const std::uint32_t length = options.ringLength, latency = options.startLatency;
        HeadTransform transform;
        transform.sampleRate = head.sampleRate;
        transform.start = (length - latency) % length;
        transform.width = length;
        transform.impulses.resize(static_cast<std::uint32_t>(waves.cols()), 2);
        HeadFourier fourier(2 * (head.Bins() - 1));
        const Eigen::VectorXd window = Window();
        for (std::uint32_t input = 0; input < transform.impulses.rows; ++input) {
            for (std::uint32_t ear : {0u, 1u}) {
                const Eigen::VectorXd signal = fourier.Signal(filters[ear].row(input).transpose());
                auto& ring = transform.impulses(input, ear);
                ring.resize(length);
                Eigen::Map<Eigen::VectorXd> values(ring.data, length);
                values.head(length - latency) = signal.head(length - latency);
                values.tail(latency) = signal.tail(latency);
                for (std::uint32_t k = 0; k < length; ++k)
                    values[(transform.start + k) % length] *= window[k];
            }
        }
        return transform;
    }
};

void CheckOptions(const HeadSpectra& head, const MaglsOptions& options) {
    const auto require = [](bool condition, const char* fault) {
        if (!condition)
            throw slib::BadParameterException(std::string("A head's decoder can't be designed: ") + fault);
    };
    require(!head.directions.empty() && head.Bins() > 1, "the head is empty.");
    require(options.order >= 1, "its order is 0.");
    require(hcml::ChannelsOfOrder(options.order) <= head.directions.size(),
            "the head has too few directions for its order.");
    require(std::has_single_bit(options.ringLength) && options.ringLength >= 128 &&
                options.ringLength <= 2 * (head.Bins() - 1),
            "the length of its rings isn't a power of two between 128 and the head's length.");
    require(options.startLatency < options.ringLength / 2, "its start latency is above half its length.");
    require(options.frontalEnergy > 0 && std::isfinite(options.frontalEnergy), "its energy isn't above 0.");
    require(options.crossover >= 0 && std::isfinite(options.crossover), "its crossover is below 0.");
}

}  // namespace

HeadTransform DesignMagls(const HeadSpectra& head, const MaglsOptions& options) {
    CheckOptions(head, options);
    return MaglsDesigner(head, options).Design();
}

}  // namespace design

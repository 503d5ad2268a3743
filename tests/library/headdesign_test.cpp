// Binaural decoders: the rigid sphere against closed forms and published limits, the steps of the design
// against independent ones, and the figures that the decoders of both heads reach.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <fstream>
#include <numbers>

#include "library/check/headcheck.h"
#include "library/diffusefield.h"
#include "library/erb.h"
#include "library/headcoverage.h"
#include "library/headfourier.h"
#include "library/headpreparation.h"
#include "library/magls.h"
#include "library/sofareader.h"
#include "library/speakerdecoder.h"
#include "library/spherehead.h"
#include "library/virtualspeakers.h"
#include "numeric/ambisonicorder.h"
#include "slib/exception.h"
#include "tests/support/failure.h"
#include "tests/support/temporaryfolder.h"

namespace design {
namespace {

using Complex = std::complex<double>;
using Eigen::Index;
using std::numbers::pi;

const char* const measuredHead = "/usr/share/libmysofa/default.sofa";  // of Debian's libmysofa1
constexpr double radius = 0.0875;

/// The whole field at the surface, incident and scattered, as textbooks write it.
Complex SurfaceByDefinition(double size, double cosine) {
    const auto derived = [&](auto function, unsigned l) {
        return (l == 0 ? 0.0 : l * function(l - 1, size) / (2 * l + 1.0)) -
               (l + 1) * function(l + 1, size) / (2 * l + 1.0);
    };
    const auto bessel = [](unsigned l, double x) { return std::sph_bessel(l, x); };
    const auto neumann = [](unsigned l, double x) { return std::sph_neumann(l, x); };
    Complex sum = 0;
    for (unsigned l = 0; l < 2 * size + 20; ++l) {
        const Complex hankel(bessel(l, size), -neumann(l, size));
        const Complex slope(derived(bessel, l), -derived(neumann, l));
        const Complex field = bessel(l, size) - derived(bessel, l) / slope * hankel;
        sum += std::pow(Complex(0, 1), l) * (2 * l + 1.0) * std::legendre(l, cosine) * field;
    }
    return sum;
}

TEST(SphereHead, SurfacePressure_IsTheSumOfIncidentAndScatteredField) {
    const Eigen::Vector4d cosines(1, 0.4, -0.7, -1);
    const Eigen::Vector4d frequencies(0, 80, 1500, 20000);
    const Eigen::MatrixXcd pressure = SphereSurfacePressure(radius, cosines, frequencies);
    for (Index i = 0; i < 4; ++i) {
        EXPECT_NEAR(std::abs(pressure(i, 0) - 1.0), 0, 1e-12);
        for (Index k = 1; k < 4; ++k) {
            const double size = 2 * pi * frequencies[k] * radius / headSpeedOfSound;
            EXPECT_NEAR(std::abs(pressure(i, k) - SurfaceByDefinition(size, cosines[i])), 0, 1e-9);
        }
    }
}

TEST(Erb, Scale_HasThePublishedValues) {
    EXPECT_NEAR(ErbBandwidth(1000), 132.6, 0.1);
    EXPECT_NEAR(ErbRate(1000), 15.62, 0.01);
    EXPECT_NEAR(ErbRateFrequency(ErbRate(5000)), 5000, 1e-6);
}

TEST(DiffuseField, CovarianceMatch_ReachesTheTargetByTheLeastChange) {
    Eigen::Matrix2cd actual, target;
    actual << 2, Complex(0.5, 0.8), Complex(0.5, -0.8), 1;
    target << 1, Complex(-0.2, 0.3), Complex(-0.2, -0.3), 3;
    const Eigen::Matrix2cd mixing = CovarianceMatch(actual, target);
    EXPECT_LT((mixing * actual * mixing.adjoint() - target).norm(), 1e-4);
    EXPECT_LT((mixing - mixing.adjoint()).norm(), 1e-4);  // the solution of least change is Hermitian
    EXPECT_LT((CovarianceMatch(target, target) - Eigen::Matrix2cd::Identity()).norm(), 1e-4);
    const Eigen::Matrix2cd alike = Eigen::Matrix2cd::Ones(), toAlike = CovarianceMatch(actual, alike);
    EXPECT_LT((toAlike * actual * toAlike.adjoint() - alike).norm(), 1e-4);
}

TEST(SofaReader, ADummyHead_HearsTheLeftAtTheLeftFirst) {
    const HeadImpulses head = ReadSofa(measuredHead);
    EXPECT_EQ(head.sampleRate, 44100);
    EXPECT_NE(head.credit.find("Gardner and Keith Martin (1994)"), std::string::npos) << head.credit;
    const Index left = NearestOf(head.directions, DirectionAt(pi / 2, 0)).index;
    Index nearTap = 0, farTap = 0;
    head.ears[LeftEar].col(left).cwiseAbs().maxCoeff(&nearTap);
    head.ears[RightEar].col(left).cwiseAbs().maxCoeff(&farTap);
    EXPECT_GT(farTap, nearTap + 20);
}

TEST(SofaReader, ADamagedFile_IsRefusedByName) {
    const std::string bytes = testing_support::ReadFile(measuredHead);
    const testing_support::TemporaryFolder folder;
    const std::string path = folder.path / "damaged.sofa";
    for (const std::size_t size : {std::size_t{0}, std::size_t{3000}, bytes.size() / 2}) {
        std::ofstream(path, std::ios::binary) << bytes.substr(0, size);
        EXPECT_NE(testing_support::Failure([&] { ReadSofa(path); }).find(path), std::string::npos);
    }
}

TEST(HeadPreparation, WhereNothingWasMeasured_SoundsAboutAsTheNearestThatWas) {
    const HeadSpectra head = PrepareMeasuredHead(ReadSofa(measuredHead), 44100);
    const ErbBands bands = MakeErbBands(100, 8000, 44100, head.Bins());
    const std::vector<Direction> measured(head.directions.begin(), head.directions.begin() + head.measured);
    ASSERT_LT(head.measured, head.areas.size());
    for (Index i = head.measured; i < head.areas.size(); ++i) {
        const Index near = NearestOf(measured, head.directions[static_cast<std::size_t>(i)]).index;
        for (const Eigen::MatrixXcd& ear : head.ears) {
            const Eigen::ArrayXd ratio = (bands.weights * ear.row(i).cwiseAbs2().transpose()).array() /
                                         (bands.weights * ear.row(near).cwiseAbs2().transpose()).array();
            EXPECT_LT((10 * ratio.log10()).abs().mean(), 6) << i;  // dB
        }
    }
}

TEST(HeadPreparation, DelaysOfAFile_CountAsIfTheResponsesHadThem) {
    HeadImpulses moved = ReadSofa(measuredHead), told = moved;
    moved.ears[RightEar].bottomRows(500) = moved.ears[RightEar].topRows(500).eval();
    told.delays[RightEar].setConstant(12 / told.sampleRate);
    const HeadSpectra first = PrepareMeasuredHead(moved, 44100), second = PrepareMeasuredHead(told, 44100);
    EXPECT_FALSE(second.symmetric);
    EXPECT_LT((InterauralDelays(first) - InterauralDelays(second)).cwiseAbs().maxCoeff(), 2e-6);
    told.delays[LeftEar][7] = 0.006;
    EXPECT_THROW(PrepareMeasuredHead(told, 44100), slib::BadDataException);
}

struct Figures {
    const char* head;
    double sampleRate;
    unsigned order;
    // Medians: microseconds; dB to 8 kHz, from there to 16 kHz; and the mean difference between the ears, dB.
    double delay, low, high, interaural;
};

class HeadFigures : public testing::TestWithParam<Figures> {};

TEST_P(HeadFigures, Decoder_ReachesTheFiguresOfItsOrder) {
    const Figures& wanted = GetParam();
    const HeadSpectra head = wanted.head == std::string("measured")
                                 ? PrepareMeasuredHead(ReadSofa(measuredHead), wanted.sampleRate)
                                 : PrepareSphereHead(SphereHead(), wanted.sampleRate);
    MaglsOptions options;
    options.order = wanted.order;
    options.frontalEnergy = 2;
    const HeadTransform transform = DesignMagls(head, options);
    EXPECT_NO_THROW(transform.validate());
    const HeadErrors errors = CheckHead(transform, head);
    EXPECT_LT(errors.delay.median * 1e6, wanted.delay);
    EXPECT_LT(errors.low.median, wanted.low);
    EXPECT_LT(errors.high.median, wanted.high);
    EXPECT_LT(errors.interaural.mean, wanted.interaural);
    EXPECT_NEAR(errors.frontLevel, 10 * std::log10(2), 0.01);
    for (unsigned channel = 0; channel < hcml::ChannelsOfOrder(wanted.order); ++channel) {
        const unsigned degree = DegreeOf(channel);
        const double sign = channel < degree * degree + degree ? -1 : 1;
        for (std::uint32_t k = 0; k < transform.Length(); ++k)
            ASSERT_EQ(transform.impulses(channel, LeftEar)[k],
                      sign * transform.impulses(channel, RightEar)[k]);
    }
}

INSTANTIATE_TEST_SUITE_P(SphereAndDummyHead, HeadFigures,
                         testing::Values(Figures{"sphere", 44100, 4, 1.5, 0.2, 0.25, 0.3},
                                         Figures{"measured", 48000, 1, 95, 2.1, 4.1, 2.8},
                                         Figures{"measured", 48000, 2, 40, 1.35, 2.9, 1.7},
                                         Figures{"measured", 44100, 4, 5, 0.7, 1.4, 0.9}));

TEST(Magls, AHeadWithoutSymmetry_KeepsItsTwoEarsAndItsDiffuseField) {
    HeadSpectra head = PrepareSphereHead(SphereHead(), 48000);
    head.symmetric = false;
    head.ears[RightEar] *= 0.5;
    MaglsOptions options;
    options.order = 3;
    const HeadSpectra decoded = DecodedSpectra(DesignMagls(head, options), head.directions);
    double worst = 0;
    for (Index bin : {20, 120, 250, 340}) {
        Eigen::Matrix2cd wanted = EarCovariance(head.areas, head.ears[0].col(bin), head.ears[1].col(bin));
        Eigen::Matrix2cd got = EarCovariance(head.areas, decoded.ears[0].col(bin), decoded.ears[1].col(bin));
        worst = std::max(worst, (got / got.trace() - wanted / wanted.trace()).norm());
        EXPECT_NEAR(10 * std::log10(std::abs(got(0, 0) / got(1, 1))), 6.02, 0.6);
    }
    EXPECT_LT(worst, 0.05);
}

// Waves from everywhere, of the same power: what of them reaches an ear in each auditory band.
TEST(VirtualSpeakers, ADiffuseField_ReachesTheEarsWithoutColour) {
    const HeadSpectra head = PrepareMeasuredHead(ReadSofa(measuredHead), 48000);
    SpeakerLayout room;
    for (const SpeakerLayout& layout : StandardLayouts())
        if (layout.family == slib::StandardFormat::Surround71) room = layout;
    const HeadTransform gains = DesignSpeakerDecoder(room, 4, SpeakerMethod::Energy, 48000).transform;
    const HeadTransform ears = EarsOfSpeakers(head, room, gains);
    const Eigen::MatrixXd waves = PlaneWaveMatrix(SpiralPoints(300).directions, 4);
    HeadFourier fourier(ears.Length());
    Eigen::VectorXd power = Eigen::VectorXd::Zero(fourier.bins);
    for (Index wave = 0; wave < waves.rows(); ++wave)
        for (const std::uint32_t ear : {0U, 1U}) {
            Eigen::VectorXd sum = Eigen::VectorXd::Zero(ears.Length());
            for (std::uint32_t s = 0; s < ears.impulses.rows; ++s)
                for (std::uint32_t c = 0; c < gains.impulses.rows; ++c)
                    sum += waves(wave, c) * gains.impulses(c, s)[0] *
                           Eigen::VectorXd::Map(ears.impulses(s, ear).data, ears.Length());
            power += fourier.Spectrum(sum).cwiseAbs2();
        }
    const Eigen::ArrayXd levels =
        10 * (MakeErbBands(100, 16000, 48000, fourier.bins).weights * power).array().log10();
    EXPECT_LT((levels - levels.mean()).abs().maxCoeff(), 1);
}

TEST(HeadCheck, HorizontalDifferences_OfTheSphereFollowTheLowFrequencyLimit) {
    std::vector<Direction> horizon = HorizonPoints(24).directions;
    horizon.push_back(DirectionAt(0, 1));
    SphereHead head;
    head.earAzimuth = pi / 2;
    const auto differences = HorizontalDifferences(MakeSphereSpectra(head, horizon, 48000, 513));
    ASSERT_EQ(differences.size(), 24u);
    for (const HorizontalDifference& at : differences) {
        const double unit = head.radius / headSpeedOfSound * std::sin(at.azimuth);
        EXPECT_NEAR(at.delay, 2.85 * unit, 40e-6) << at.azimuth;  // between the limits, 3 and about 2.6
        EXPECT_GE(at.level * unit, -1e-9);
    }
}

}  // namespace
}  // namespace design

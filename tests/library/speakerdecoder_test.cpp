#include "library/speakerdecoder.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <complex>
#include <numbers>

#include "library/check/acousticcheck.h"
#include "library/fieldbasis.h"
#include "library/roompreview.h"
#include "numeric/ambisonicorder.h"
#include "slib/exception.h"

namespace design {
namespace {

using std::numbers::pi;
using Transform = orb3::strans::TimeDomainTransform<double, 1>;

constexpr double testRate = 48000;
constexpr FrequencyBand highBand{6000, 12000, 3};

const std::string raisedPair = "Raised Pair", raisedRing = "Raised Ring";

// High above the ear, so that there is nothing ahead, behind or below.
SpeakerLayout Raised(const std::string& name, const std::vector<double>& azimuths) {
    SpeakerLayout layout{.name = name, .speakers = {}};
    for (const double azimuth : azimuths)
        layout.speakers.push_back(
            {.label = std::to_string(azimuth), .direction = DirectionAt(azimuth * pi / 180, 60 * pi / 180)});
    return layout;
}

SpeakerLayout Layout(const std::string& name) {
    for (const auto& layouts : {StandardLayouts(), RegularLayouts()})
        for (const SpeakerLayout& layout : layouts)
            if (layout.name == name) return layout;
    if (name == raisedPair) return Raised(name, {30, -30});
    if (name == raisedRing) return Raised(name, {0, 60, 120, 180, -120, -60});
    throw slib::BadParameterException(name);
}

std::vector<Direction> AllAround(const SpeakerLayout& layout) {
    return layout.IsFlat() ? HorizonPoints(180).directions : SpiralPoints(400).directions;
}

// An output's answer to a plane wave from an azimuth (degrees) on the horizon: the channels of orders 0 and 1
// are written out, others are left to the designer's own matrix.
std::complex<double> Answer(const Transform& transform, unsigned output, double azimuth, double frequency) {
    const auto order = static_cast<unsigned>(std::lround(std::sqrt(transform.impulses.rows))) - 1;
    const double a = azimuth * pi / 180;
    Eigen::RowVectorXd wave = PlaneWaveMatrix({DirectionAt(a, 0)}, order).row(0);
    wave.head<4>() << std::sqrt(4 * pi), -std::sqrt(12 * pi) * std::sin(a), 0,
        -std::sqrt(12 * pi) * std::cos(a);
    std::complex<double> sum = 0;
    for (std::uint32_t c = 0; c < transform.impulses.rows; ++c)
        for (std::uint32_t i = 0; i < transform.Length(); ++i) {
            const double time =
                i < transform.start || transform.start == 0 ? i : double(i) - transform.Length();
            sum += wave[c] * transform.impulses.data[c * transform.impulses.columns + output].data[i] *
                   std::polar(1.0, -2 * pi * frequency * time / transform.sampleRate);
        }
    return sum;
}

// Regular rings and the cube, at the orders that they carry.
TEST(RegularDecoder, EnergyVectors_ReachTheLimitOfTheOrder) {
    const std::pair<const char*, unsigned> designs[] = {
        {"Quad", 1}, {"Hexagon", 2}, {"Octagon", 3}, {"Cube", 1}, {"Surround 7.1", 2}};
    for (const auto& [name, order] : designs)
        for (SpeakerMethod method : {SpeakerMethod::Energy, SpeakerMethod::DualBand}) {
            SCOPED_TRACE(name + std::to_string(order));
            const SpeakerLayout layout = Layout(name);
            const SpeakerDecoder decoder = DesignSpeakerDecoder(layout, order, method, testRate);
            const AcousticSummary summary =
                Summarise(CheckDirections(layout, decoder.transform, highBand, AllAround(layout)));
            EXPECT_GT(summary.leastLength, 0.98 * MaxEnergyLength(order, layout.IsFlat()));
            EXPECT_LT(summary.greatestError, 1);
            EXPECT_NEAR(summary.leastLevel, summary.greatestLevel, 0.05);
        }
}

TEST(RoomPreview, OfRegularLayouts_IsLevelAndAsSharpAsTheOrderAllows) {
    const std::pair<const char*, unsigned> rooms[] = {
        {"Quad", 1}, {"Hexagon", 2}, {"Octagon", 3}, {"Cube", 1}};
    for (const auto& [name, order] : rooms) {
        const SpeakerLayout room = Layout(name);
        const RoomPreview preview = PreviewRoom(room, order);
        ASSERT_EQ(preview.horizontal.size(), 72u);
        for (const PreviewPoint& point : preview.horizontal) {
            EXPECT_NEAR(point.level, 0, 0.01);
            EXPECT_NEAR(point.sharpness, MaxEnergyLength(order, room.IsFlat()), 1e-6);
            EXPECT_NEAR(point.error, 0, 1e-4);
        }
    }
}

TEST(RoomPreview, OfAGap_ShowsItWhereItIs) {
    SpeakerLayout room{.name = "Front", .speakers = {}};
    for (const double azimuth : {40.0, 0.0, -40.0, -80.0, 80.0})
        room.speakers.push_back(
            {.label = std::to_string(azimuth), .direction = DirectionAt(azimuth * pi / 180, 0)});
    const RoomPreview preview = PreviewRoom(room, 3, 45);
    EXPECT_LT(preview.horizontal[0].error, 1);
    EXPECT_GT(preview.horizontal[4].error, 60);  // behind
    EXPECT_LT(preview.horizontal[4].sharpness, 0.5 * preview.horizontal[0].sharpness);
    EXPECT_NEAR(preview.vertical[4].error, preview.horizontal[4].error, 1e-6);
    EXPECT_THROW(PreviewRoom(room, 5), slib::BadParameterException);
}

TEST(QuadOfOrderOne, Gains_AreCardioidsTowardsTheSpeakers) {
    const std::pair<SpeakerMethod, double> cases[] = {{SpeakerMethod::Basic, 2},
                                                      {SpeakerMethod::Energy, std::numbers::sqrt2}};
    for (const auto& [method, slope] : cases) {
        const Transform transform = DesignSpeakerDecoder(Layout("Quad"), 1, method, testRate).transform;
        const double scale = std::sqrt(4 * pi / (4 + 2 * slope * slope));
        for (double azimuth : {0.0, 70.0, 200.0}) {
            const double speakers[] = {45, -45, 135, -135};
            for (unsigned k = 0; k < 4; ++k)
                EXPECT_NEAR(Answer(transform, k, azimuth, 0).real(),
                            scale * (1 + slope * std::cos((azimuth - speakers[k]) * pi / 180)), 1e-9);
        }
    }
}

class SurroundDecoder : public testing::TestWithParam<std::string> {};

TEST_P(SurroundDecoder, Front_IsRightAndTheLevelFlatAllAroundInEveryBand) {
    const SpeakerLayout layout = Layout(GetParam());
    const FrequencyBand bands[] = {{60, 120, 2}, {400, 800, 3}, {800, 1800, 3}, highBand};
    for (unsigned order = 1; order <= 4; ++order)
        for (const auto& [method, itsOrder, priority, transform] : DesignSpeakerDecoders(
                 layout, order, {SpeakerMethod::Energy, SpeakerMethod::DualBand}, {48000})) {
            SCOPED_TRACE(order);
            const AcousticSummary front =
                Summarise(CheckDirections(layout, transform, highBand, FrontDirections(30, 31)));
            EXPECT_LT(front.greatestError, 2);
            for (const FrequencyBand& band : bands) {
                const AcousticSummary around =
                    Summarise(CheckDirections(layout, transform, band, AllAround(layout)));
                EXPECT_GT(around.leastLevel, -0.5);
                EXPECT_LT(around.greatestLevel, order == 1 && band.high < highBand.low ? 0.6 : 0.5);
                EXPECT_LT(around.meanError, 6);
            }
            EXPECT_GT(Summarise(CheckDirections(layout, transform, highBand, AllAround(layout))).meanLength,
                      (order == 1 ? 0.62 : 0.7) * MaxEnergyLength(order, true));
        }
}

TEST_P(SurroundDecoder, BasicVelocity_IsAPlaneWavesAndThatOfDualBandPointsTheSameWay) {
    const SpeakerLayout layout = Layout(GetParam());
    for (unsigned order = 1; order <= 4; ++order)
        for (const auto& [method, itsOrder, priority, transform] :
             DesignSpeakerDecoders(layout, order, {SpeakerMethod::Basic, SpeakerMethod::DualBand}, {48000})) {
            SCOPED_TRACE(order);
            for (const DirectionFigures& figures :
                 CheckDirections(layout, transform, {60, 120, 2}, AllAround(layout))) {
                if (method == SpeakerMethod::Basic) {
                    EXPECT_NEAR(figures.velocityLength, 1, 0.01);
                }
                EXPECT_LT(figures.velocityError, method == SpeakerMethod::Basic ? 0.5 : 5);
            }
        }
}

INSTANTIATE_TEST_SUITE_P(Layouts, SurroundDecoder,
                         testing::Values("Surround 5.1", "Surround 5.1 (ITU)", "Surround 7.1",
                                         "Surround 7.1 (Wide)"));

class AnyDecoder : public testing::TestWithParam<std::string> {};

TEST_P(AnyDecoder, EveryMethodAndOrder_IsCalibratedSaneAndOfTheRightShape) {
    const SpeakerLayout layout = Layout(GetParam());
    for (unsigned order = 1; order <= 4; ++order)
        for (const SpeakerDecoder& decoder :
             DesignSpeakerDecoders(layout, order, MethodsFor(layout), {44100})) {
            const SpeakerMethod method = decoder.method;
            SCOPED_TRACE(DescribeMethod(method).tag + " " + std::to_string(order));
            const Transform& transform = decoder.transform;
            EXPECT_TRUE(std::has_single_bit(transform.Length()));
            EXPECT_EQ(transform.impulses.rows, hcml::ChannelsOfOrder(order));
            const auto ahead = CheckDirections(layout, transform, {300, 15000, 12}, {Direction::UnitX()});
            EXPECT_NEAR(ahead[0].level, 0, 0.3);
            std::vector<Direction> directions = SpiralPoints(100).directions;
            directions.push_back(Direction::UnitZ());
            for (double frequency : {50.0, 1000.0, 10000.0}) {
                const AcousticSummary all =
                    Summarise(CheckDirections(layout, transform, {frequency, frequency, 1}, directions));
                EXPECT_LT(all.loudestSpeaker, 2);
                EXPECT_GT(all.leastLevel, method == SpeakerMethod::Energy ? -3.1 : -9.1);
                EXPECT_LT(all.greatestLevel, 6.5);
            }
            for (std::uint32_t k = 0; k < transform.impulses.columns; ++k)
                if (layout.kind == LayoutKind::Speakers && !layout.speakers[k].IsDecoded()) {
                    EXPECT_EQ(std::abs(Answer(transform, k, 40, 500)), 0);
                }
        }
}

INSTANTIATE_TEST_SUITE_P(Layouts, AnyDecoder,
                         testing::Values("Mono", "Stereo", "Surround Stereo", "Quad", "Surround 5.1",
                                         "Surround 5.1 (ITU)", "Surround 7.1", "Surround 7.1 (Wide)",
                                         "Hexagon", "Octagon", "Cube", raisedPair, raisedRing));

TEST(SurroundStereo, SourcesBehind_AreInOppositeQuarterTurnsAndSourcesAheadInPhase) {
    const Transform transform =
        DesignSpeakerDecoder(Layout("Surround Stereo"), 3, SpeakerMethod::AllRound, testRate).transform;
    for (double frequency : {200.0, 1000.0, 10000.0}) {
        const auto at = [&](unsigned output, double azimuth) {
            return Answer(transform, output, azimuth, frequency);
        };
        EXPECT_LT(std::abs(at(0, 0) - std::conj(at(1, 0))), 1e-6);
        EXPECT_NEAR(std::arg(at(0, 0)), 0, 0.05);
        EXPECT_NEAR(std::arg(at(0, 180)), pi / 2, 0.05);
        EXPECT_NEAR(std::arg(at(1, 180)), -pi / 2, 0.05);
        EXPECT_GT(std::abs(at(0, 110)), 1.25 * std::abs(at(1, 110)));
    }
}

TEST(UnequalDistances, NearSpeakers_AreLoweredAndDelayed) {
    SpeakerLayout layout = Layout("Quad");
    layout.speakers[0].distance = 3.464;
    layout.speakers[1].distance = 1.732;  // 5 ms nearer
    layout.speakers[2].distance = layout.speakers[3].distance = 2.9;
    const Transform even =
        DesignSpeakerDecoder(Layout("Quad"), 2, SpeakerMethod::DualBand, testRate).transform;
    const Transform uneven = DesignSpeakerDecoder(layout, 2, SpeakerMethod::DualBand, testRate).transform;
    const double gains[] = {1, 0.5, 2.9 / 3.464, 2.9 / 3.464};
    for (unsigned k = 0; k < 4; ++k)
        for (double frequency : {100.0, 3000.0}) {
            const double delay = (1 - gains[k]) * 0.010;
            const auto expected =
                gains[k] * Answer(even, k, 20, frequency) * std::polar(1.0, -2 * pi * frequency * delay);
            EXPECT_LT(std::abs(Answer(uneven, k, 20, frequency) - expected), 1e-3);
        }
}

// From the middle to the side the near speaker gains on the far one, bass and treble alike; behind is the
// mirror image of ahead.
TEST(Stereo, ASourceThatPassesTheSide_MovesOnOutwardsAndFoldsEvenlyBehind) {
    for (unsigned order = 1; order <= 4; ++order) {
        SCOPED_TRACE(order);
        const Transform transform =
            DesignSpeakerDecoder(Layout("Stereo"), order, SpeakerMethod::DualBand, testRate).transform;
        const auto levelAt = [&](double azimuth, double frequency) {
            return 20 * std::log10(std::abs(Answer(transform, 0, azimuth, frequency)) /
                                   std::abs(Answer(transform, 1, azimuth, frequency)));
        };
        for (double azimuth = 5; azimuth <= 90; azimuth += 5) {
            EXPECT_GT(levelAt(azimuth, 5000), levelAt(azimuth - 5, 5000)) << azimuth;
            EXPECT_NEAR(levelAt(azimuth, 100), levelAt(azimuth, 5000), 4) << azimuth;
            EXPECT_NEAR(levelAt(180 - azimuth, 5000), levelAt(azimuth, 5000), 0.01) << azimuth;
        }
        EXPECT_GT(levelAt(90, 5000), order == 1 ? 10 : 25);
    }
}

TEST(SmallSpeakers, TheirBass_GoesToTheSubWoofersAndAddsUpToWhatItWas) {
    const SpeakerLayout plain = Layout("Surround 5.1");
    SpeakerLayout managed = plain;
    managed.bassCrossover = 100;
    for (RoomSpeaker& speaker : managed.speakers) {
        if (speaker.role == orb3::spk::Role::BassLFE)
            speaker.role = orb3::spk::Role::BassManaged;
        else if (speaker.role != orb3::spk::Role::FrontCentre)
            speaker.type = orb3::spk::SpeakerType::Small;
    }
    const Transform whole = DesignSpeakerDecoder(plain, 2, SpeakerMethod::DualBand, testRate).transform;
    const Transform parts = DesignSpeakerDecoder(managed, 2, SpeakerMethod::DualBand, testRate).transform;
    const unsigned bass = 3;
    for (double frequency : {30.0, 70.0, 100.0, 140.0, 400.0, 3000.0}) {
        SCOPED_TRACE(frequency);
        std::complex<double> wanted = 0, sum = 0;
        for (unsigned k = 0; k < 6; ++k) {
            wanted += Answer(whole, k, 50, frequency);
            sum += Answer(parts, k, 50, frequency);
        }
        EXPECT_NEAR(std::abs(sum) / std::abs(wanted), 1, 0.01);
        // Half the amplitude at the crossover, 24 dB an octave from there (Linkwitz 1976).
        const double ratio = std::pow(frequency / 100, 4), high = ratio / (1 + ratio);
        EXPECT_NEAR(std::abs(Answer(parts, 0, 50, frequency)) / std::abs(Answer(whole, 0, 50, frequency)),
                    high, 0.01);
        const std::complex<double> small = wanted - Answer(whole, 2, 50, frequency);
        EXPECT_NEAR(std::abs(Answer(parts, bass, 50, frequency)) / std::abs(small), 1 - high, 0.01);
    }
}

// Each speaker's wave is a spherical one: its velocity is its pressure times 1 + 1 / (i k r).
TEST(NearSpeakers, MeasuredDistances_LeaveThePlaneWavesVelocity) {
    SpeakerLayout layout = Layout("Hexagon");
    for (RoomSpeaker& speaker : layout.speakers)
        speaker.hasDistance = true;
    const Transform transform = DesignSpeakerDecoder(layout, 2, SpeakerMethod::Basic, testRate).transform;
    for (double frequency : {50.0, 80.0, 200.0, 1000.0}) {
        const std::complex<double> nearness = 1.0 + 346.4 / std::complex<double>(0, 2 * pi * frequency);
        std::complex<double> pressure = 0, velocity = 0;
        for (unsigned k = 0; k < 6; ++k) {
            const std::complex<double> gain = Answer(transform, k, 20, frequency);
            const double angle = AzimuthOf(layout.speakers[k].direction) - 20 * pi / 180;
            pressure += gain;
            velocity += gain * nearness * std::cos(angle);
        }
        EXPECT_NEAR(20 * std::log10(std::abs(velocity / pressure)), 0, 0.2) << frequency;
        EXPECT_NEAR(std::arg(velocity / pressure), 0, 0.05) << frequency;
    }
}

}  // namespace
}  // namespace design

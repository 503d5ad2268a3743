// What a user adds for himself: heads, read in a child and fitted to the size of his own, and headphones.

#include "library/ownlibrary.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <complex>
#include <fstream>
#include <numbers>
#include <random>
#include <sstream>

#include "library/erb.h"
#include "library/headcoverage.h"
#include "library/headpreparation.h"
#include "library/interauraldelay.h"
#include "library/magls.h"
#include "library/sofachild.h"
#include "library/sofareader.h"
#include "library/spherehead.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/library/formatlibraries.h"
#include "slib/exception.h"
#include "tests/support/failure.h"
#include "tests/support/temporaryfolder.h"

namespace design {
namespace {

using Eigen::Index;
using std::numbers::pi;
using Transform = orb3::strans::TimeDomainTransform<double, 1>;

const char* const measuredFile = "/usr/share/libmysofa/default.sofa";  // of Debian's libmysofa1
const orb3::aspace::BasicAcousticFactory acoustics;

TEST(SofaChild, AHead_IsReadAsWithoutOne) {
    const HeadImpulses head = ReadSofa(measuredFile), fromChild = ReadSofaInChild(measuredFile);
    EXPECT_EQ(fromChild.credit, head.credit);
    EXPECT_EQ(fromChild.sampleRate, head.sampleRate);
    EXPECT_EQ(fromChild.directions, head.directions);
    for (const std::size_t ear : {0u, 1u}) {
        EXPECT_EQ(fromChild.ears[ear], head.ears[ear]);
        EXPECT_EQ(fromChild.delays[ear], head.delays[ear]);
    }
}

// Bytes of the file's own structure exchanged: the reader may follow them anywhere.
TEST(SofaChild, AFileMadeToDoHarm_IsRefusedByNameOrRead) {
    const std::string whole = testing_support::ReadFile(measuredFile);
    const testing_support::TemporaryFolder folder;
    const std::string path = folder.path / "harm.sofa";
    std::minstd_rand random(5);
    int refused = 0;
    for (int file = 0; file < 30; ++file) {
        std::string bytes = whole.substr(0, 60000);
        for (int change = 0; change < 40; ++change)
            bytes[random() % 3000] = static_cast<char>(random());
        bytes.replace(0, 100, whole, 0, 100);
        std::ofstream(path, std::ios::binary) << bytes;
        const std::string failure = testing_support::Failure([&] { ReadSofaInChild(path); });
        if (failure.empty()) continue;
        ++refused;
        EXPECT_NE(failure.find(path), std::string::npos) << failure;
    }
    EXPECT_GT(refused, 20);
}

TEST(HeadSize, EffectiveRadius_OfASphereIsItsOwn) {
    SphereHead large;
    large.radius = 0.1;
    EXPECT_NEAR(EffectiveRadius(PrepareSphereHead(large, 48000)), 0.1, 0.001);
}

// A third of the directions, which makes the design three times as fast.
HeadSpectra Thinned(const HeadSpectra& head) {
    HeadSpectra thin = head;
    thin.directions.clear();
    for (std::size_t i = 0; i < head.directions.size(); i += 3)
        thin.directions.push_back(head.directions[i]);
    const auto count = static_cast<Index>(thin.directions.size());
    for (const std::size_t ear : {0u, 1u})
        thin.ears[ear] = head.ears[ear](Eigen::seqN(0, count, 3), Eigen::all).eval();
    thin.areas = NearestAreas(thin.directions);
    thin.measured = count;
    return thin;
}

TEST(HeadSize, ScaledDelays_AreThoseOfTheFinishedDecoder) {
    const HeadSpectra head = Thinned(PrepareMeasuredHead(ReadSofa(measuredFile), 48000));
    const Eigen::VectorXd before = InterauralDelays(head);
    const double radius = EffectiveRadius(head), ratio = 1.12;
    EXPECT_GT(radius, 0.08);
    EXPECT_LT(radius, 0.1);
    HeadSpectra scaled = head;
    ScaleInterauralDelays(scaled, ratio);
    const HeadSpectra decoded =
        DecodedSpectra(DesignMagls(scaled, {.order = 4, .frontalEnergy = 1}), head.directions);
    const Eigen::VectorXd after = InterauralDelays(decoded);
    EXPECT_NEAR(after.dot(before) / before.squaredNorm(), ratio, 0.01);
    EXPECT_LT((after - ratio * before).cwiseAbs().mean(), 15e-6);
}

std::vector<ParametricFilter> Filters(const std::string& text) {
    std::istringstream stream(text);
    return ReadParametricFilters(stream, "eq.txt");
}

// dB that the left ear of an equaliser passes at a frequency.
double LevelAt(const Transform& transform, double frequency) {
    std::complex<double> sum = 0;
    for (std::uint32_t i = 0; i < transform.Length(); ++i)
        sum += transform.impulses(0, 0)[i] * std::polar(1.0, -2 * pi * frequency * i / transform.sampleRate);
    return 20 * std::log10(std::abs(sum));
}

// The analogue prototypes that the sections are bilinear transforms of (Bristow-Johnson 1994), at the
// frequency that the transform warps to; s is relative to the centre.
double PrototypeLevel(const std::string& kind, double gain, double q, double centre, double at, double rate) {
    using Complex = std::complex<double>;
    const Complex s(0, std::tan(pi * at / rate) / std::tan(pi * centre / rate));
    const double a = std::pow(10, gain / 40), r = std::sqrt(a) / q;
    Complex value = 0;
    if (kind == "PK") value = (s * s + s * (a / q) + 1.0) / (s * s + s / (a * q) + 1.0);
    if (kind == "LSC") value = a * (s * s + r * s + a) / (a * s * s + r * s + 1.0);
    if (kind == "HSC") value = a * (a * s * s + r * s + 1.0) / (s * s + r * s + a);
    if (kind == "LP") value = 1.0 / (s * s + s / q + 1.0);
    if (kind == "HP") value = s * s / (s * s + s / q + 1.0);
    if (kind == "NO") value = (s * s + 1.0) / (s * s + s / q + 1.0);
    return 20 * std::log10(std::abs(value));
}

struct FilterCase {
    const char* kind;
    double frequency, gain, q;
};

class EveryFilter : public testing::TestWithParam<FilterCase> {};

TEST_P(EveryFilter, Level_IsThatOfItsClosedFormButForALevelOfAll) {
    const FilterCase& c = GetParam();
    std::ostringstream line;
    line << "Filter 1: ON " << c.kind << " Fc " << c.frequency << " Hz ";
    if (c.gain != 0) line << "Gain " << c.gain << " dB ";
    line << "Q " << c.q;
    for (const double rate : {44100.0, 48000.0}) {
        const Transform transform = DesignHeadphoneEqualiser({Filters(line.str()), {}, 0}, rate);
        const auto wanted = [&](double at) {
            return PrototypeLevel(c.kind, c.gain, c.q, c.frequency, at, rate);
        };
        const double all = LevelAt(transform, 1000) - wanted(1000);
        for (const double at : {30.0, 60.0, 100.0, 200.0, 500.0, 2000.0, 4000.0, 9000.0, 15000.0, 20000.0})
            if (wanted(at) > -40) {
                EXPECT_NEAR(LevelAt(transform, at) - all, wanted(at), 0.1) << at << " " << rate;
            }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryFilter,
                         testing::Values(FilterCase{"PK", 105, 5.5, 0.7}, FilterCase{"PK", 6000, -9, 4},
                                         FilterCase{"LSC", 90, -6, 0.71}, FilterCase{"HSC", 9000, 4, 0.71},
                                         FilterCase{"LP", 15000, 0, 0.71}, FilterCase{"HP", 40, 0, 0.71},
                                         FilterCase{"NO", 3000, 0, 2}));

TEST(ParametricFilters, ATextThatIsBad_IsRefusedWithItsLineAndReason) {
    const char* const good =
        "# made by hand\r\nPreamp: -6.2 dB\r\nFilter: ON PK Fc 100 Hz Gain 3.5 dB Q 1.2\r\n";
    const std::vector<ParametricFilter> read = Filters(std::string(good) + "Filter 9: OFF XY\n\n");
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0].gain, 3.5);
    const std::pair<const char*, const char*> cases[] = {
        {"Filter 2: ON XY Fc 100 Hz Gain 1 dB Q 1", "the filter 'XY' is unknown"},
        {"Filter 2: ON PK Fc 100 Hz Gain 1 dB Q 0", "the Q must be a number from 0.05 to 50, not '0'"},
        {"Filter 2: ON PK Fc 23000 Hz Gain 1 dB Q 1", "the frequency must be a number from 10 to 22049 Hz"},
        {"Filter 2: ON PK Fc 100 Hz Gain 200 dB Q 1", "the gain must be a number from -40 to 40 dB"},
        {"Filter 2: ON PK Fc nan Hz Gain 2 dB Q 1", "the frequency must be"},
        {"Filter 2: ON PK Fc 100 Hz Gain 1,5 dB Q 1", "not '1,5'"},
        {"Filter 2: ON PK Gain 1 dB Q 1", "the filter has no frequency (Fc)"},
        {"Filter 2: ON PK Fc 100 Hz Gain 1 dB", "the filter has no Q"},
        {"Filter 2: ON LP Fc 100 Hz Gain 1 dB", "'GAIN' isn't expected here"},
        {"Channel: L", "'Channel:' is neither"}};
    for (const auto& [line, fault] : cases) {
        const std::string failure = testing_support::Failure([&] { Filters(std::string(good) + line); });
        EXPECT_EQ(failure.find("eq.txt, line 4: "), 0u) << failure;
        EXPECT_NE(failure.find(fault), std::string::npos) << failure;
    }
    EXPECT_NE(testing_support::Failure([] { Filters("Preamp: 0 dB\n"); }), "");
}

// Mean over auditory bands of the level that a diffuse field has at both ears; the inputs are orthonormal
// there.
double DiffuseLoudness(const Transform& transform) {
    double sum = 0;
    int count = 0;
    for (double band = ErbRate(100); band < ErbRate(16000); band += 0.5, ++count)
        for (std::uint32_t input = 0; input < transform.impulses.rows; ++input)
            for (const std::uint32_t ear : {0u, 1u}) {
                std::complex<double> value = 0;
                for (std::uint32_t i = 0; i < transform.Length(); ++i)
                    value += transform.impulses(input, ear)[i] *
                             std::polar(1.0, -2 * pi * ErbRateFrequency(band) * i / transform.sampleRate);
                sum += std::norm(value);
            }
    return 10 * std::log10(sum / count);
}

class OwnHeadphones : public testing::Test {
protected:
    auto Open() const { return orb3::fl::OpenOwnLibraryToChange(systemPath, ownPath, acoustics); }
    auto Read() const {
        return orb3::fl::OpenLayeredLibrary(systemPath, ownPath, acoustics, nullptr, true, false);
    }
    static Transform Decoder(const orb3::fl::FormatLibrarian& library, const std::string& method) {
        Transform transform;
        library.getTransform(orb3::FindConversion(library, "Headphone Stereo", method, 1), 48000, transform);
        return transform;
    }

    const testing_support::TemporaryStore store;
    const std::string systemPath = testing_support::TemporaryStore::FormatLibrary();
    const std::string ownPath = store.folder.path / "own" / "User.dfl";
};

TEST_F(OwnHeadphones, Added_GoWithEveryHeadAsLoudAsBeforeAndGoAgain) {
    const auto own = Open();
    const auto heads = ListHeads(*own);
    ASSERT_EQ(heads.size(), 3u);
    AddOwnHeadphones({Filters("Filter 1: ON LSC Fc 105 Hz Gain 6 dB Q 0.7\n"
                              "Filter 2: ON PK Fc 3000 Hz Gain -4 dB Q 1.4\n"
                              "Filter 3: ON HSC Fc 10000 Hz Gain 3 dB Q 0.7\n"),
                      {},
                      0},
                     "HD 600", "", *own);
    own->commit();
    const auto library = Read();
    for (const OwnEntry& head : heads) {
        const Transform before = Decoder(*library, head.tag);
        const Transform after = Decoder(*library, MethodOf({head.tag, "headphoneshd600"}));
        EXPECT_NEAR(DiffuseLoudness(after), DiffuseLoudness(before), 0.5) << head.tag;
    }
    EXPECT_THROW(AddOwnHeadphones({}, "hd600", "", *own), slib::BadDataException);
    const auto again = Open();
    RemoveOwn("headphoneshd600", *again);
    again->commit();
    EXPECT_EQ(Open()->getConversionCount(),
              orb3::fl::createLibrarian(systemPath, acoustics, nullptr, false)->getConversionCount());
}

TEST_F(OwnHeadphones, AnImpulseResponse_IsFollowedAtAnyRateInMinimumPhase) {
    const std::string path = store.folder.path / "response.wav";
    const auto write = [&](int channels, const std::vector<float>& samples) {
        SF_INFO info{};
        info.channels = channels;
        info.samplerate = 44100;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        sf_writef_float(file, samples.data(), static_cast<sf_count_t>(samples.size()) / channels);
        sf_close(file);
    };
    std::vector<float> comb(1000, 0);
    comb[500] = 1;
    comb[504] = 0.5;  // |1 + 0.5 exp(-4 j w)|
    write(1, comb);
    const Transform transform = DesignHeadphoneEqualiser(ReadHeadphoneCorrection(path), 48000);
    const auto wanted = [](double at) {
        return 20 * std::log10(std::abs(1.0 + 0.5 * std::polar(1.0, -8 * pi * at / 44100)));
    };
    const double all = LevelAt(transform, 1000) - wanted(1000);
    for (const double at : {100.0, 3000.0, 5500.0, 9000.0, 15000.0})
        EXPECT_NEAR(LevelAt(transform, at) - all, wanted(at), 0.1) << at;
    EXPECT_GT(transform.impulses(0, 0)[0], 0.5);  // without the 500 samples
    const std::pair<int, float> faults[] = {{3, 1.f}, {1, 0.f}, {1, NAN}};
    for (const auto& [channels, value] : faults) {
        write(channels, std::vector<float>(600, value));
        EXPECT_NE(testing_support::Failure([&] { ReadHeadphoneCorrection(path); }), "") << value;
    }
    std::ofstream(path) << "no sound";
    EXPECT_NE(testing_support::Failure([&] { ReadHeadphoneCorrection(path); }).find(path), std::string::npos);
}

}  // namespace
}  // namespace design

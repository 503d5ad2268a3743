#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/acoustics/fsascheme.h"
#include "tests/support/failure.h"

namespace {

using orb3::FSAScheme;
using orb3::aspace::ResponseGradient;
using std::numbers::pi;

// A plane wave from u, of channel values 4pi Y(u), is exp(i k u.x) wherever the order reaches; a step of the
// differences is a tenth of a millimetre.
TEST(FSAScheme, Responses_AddUpToAPlaneWaveAndItsGradient) {
    const double u[] = {0.8 * std::cos(2.2), 0.8 * std::sin(2.2), -0.6};
    struct Case {
        double x, y, z, k;  // metres, radians a metre
    };
    const FSAScheme scheme(14);
    for (const auto& [x, y, z, k] :
         {Case{0.3, -0.2, 0.35, 6}, Case{0, 0, -0.49, 6}, Case{0, 0, 0, 6}, Case{-0.25, 0.4, 0, 0}}) {
        ResponseGradient response;
        scheme.getResponseGradient(x, y, z, k * 346.4, response);
        std::complex<double> value, dx, dy, dz;
        for (std::uint32_t c = 0; c < 225; ++c) {
            const double wave = 4 * pi * hcml::evaluate(scheme.harmonics[c], 2.2, u[2]);
            value += wave * response.value[c];
            dx += wave * response.dx[c];
            dy += wave * response.dy[c];
            dz += wave * response.dz[c];
        }
        const auto field = std::polar(1.0, k * (u[0] * x + u[1] * y + u[2] * z)), ik = std::complex(0.0, k);
        EXPECT_NEAR(std::abs(value - field), 0, 2e-7);
        EXPECT_NEAR(std::abs(dx - ik * u[0] * field), 0, 4e-3);
        EXPECT_NEAR(std::abs(dy - ik * u[1] * field), 0, 4e-3);
        EXPECT_NEAR(std::abs(dz - ik * u[2] * field), 0, 4e-3);
    }
}

std::unique_ptr<orb3::aspace::Acoustic> Read(const std::string& text) {
    return orb3::aspace::BasicAcousticFactory().createAcoustic(slib::SXMLNode(text));
}

std::string In(const std::string& inner) {
    return "<AcousticEnvironment Label=\"x\">" + inner + "</AcousticEnvironment>";
}

TEST(Acoustics, RoundTripTheirDocumentsAndNameTheirChannels) {
    const std::string named = In("<NullAcoustic/><Labels><Label Text=\"Down\"/></Labels>");
    for (const std::string& text : {named, In("<NullAcoustic/>"), In(named + "<FSAScheme Order=\"1\"/>")})
        EXPECT_EQ(Read(text)->clone()->createNode()->ToString(slib::SXMLNode::Style::Compact), text);
    const auto pair =
        Read("<AcousticEnvironment>" + named + "<FSAScheme Order=\"1\"/></AcousticEnvironment>");
    EXPECT_EQ(pair->getLabel(), "Acoustic Environment");
    EXPECT_EQ(pair->getChannelLabel(0) + pair->getChannelLabel(2), "DownL=1 M=-1");
    ResponseGradient all, member;
    pair->getResponseGradient(1, 2, 3, 400, all);
    FSAScheme(1).getResponseGradient(1, 2, 3, 400, member);
    EXPECT_TRUE(std::isnan(all.value[0].real()));
    EXPECT_TRUE(std::equal(member.dz.begin(), member.dz.end(), all.dz.begin() + 1, all.dz.end()));
}

TEST(AcousticFactory, BadDocuments_AreRefusedWithTheReason) {
    std::string deep = "<NullAcoustic/>";
    for (int i = 0; i < 64; ++i)
        deep = In(deep);
    EXPECT_EQ(Read(deep)->getChannelCount(), 1u);
    const std::pair<std::string, std::string> cases[] = {
        {"<FSAScheme Order=\"0\"/>", "Invalid FSA Order."},
        {"<FSAScheme Order=\"2x\"/>", "Invalid FSA Order."},
        {"<FSAScheme Order=\"85\"/>", "Invalid FSA Order."},
        {In("<Horn/>"), "Unknown acoustic type 'Horn'."},
        {In("<NullAcoustic/><Labels/>"),
         "A child count of 1 was expected in a 'Labels' node, but 0 was seen."},
        {In("<NullAcoustic/><Labels><L/></Labels>"), "A label was 'L', but 'Label' was expected."},
        {In(deep), "Acoustic environments are nested more than 64 deep."}};
    for (const auto& [text, reason] : cases)
        EXPECT_EQ(testing_support::Failure<slib::StringException>([&, text = text] { Read(text); }), reason);
    EXPECT_THROW(FSAScheme(4294967295u), slib::OutOfMemoryException);
}

}  // namespace

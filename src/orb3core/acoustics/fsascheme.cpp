#include "orb3core/acoustics/fsascheme.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "numeric/ambisonicorder.h"
#include "numeric/bessel.h"
#include "slib/exception.h"

namespace orb3 {
namespace {

using Harmonics = hcml::GenericVector<hcml::RealSphericalHarmonic, 1>;

constexpr double secondsPerMetre = 0.002886836027713626;  // sound travels 346.4 metres in a second

Harmonics HarmonicsUpTo(std::uint32_t order) {
    if (order >= 0xFFFF) throw slib::OutOfMemoryException();  // the count would pass 32 bits
    Harmonics harmonics(hcml::ChannelsOfOrder(order));
    for (std::int32_t l = 0; l <= static_cast<std::int32_t>(order); ++l) {
        const std::ptrdiff_t middle = std::ptrdiff_t{l} * l + l;
        double factorials = 1;  // (l + m)! / (l - m)!
        for (std::int32_t m = 0; m <= l; ++m) {
            if (m > 0) factorials *= (l - m + 1.0) * (l + m);
            const double norm = std::sqrt((2.0 * l + 1) / (2 * std::numbers::pi) / factorials);
            harmonics.data[middle - m] = {l, -m, norm};
            harmonics.data[middle + m] = {l, m, norm};
        }
    }
    return harmonics;
}

// Up to it every harmonic has a norm; a file that names a greater one isn't to cost all memory.
constexpr std::uint32_t highestReadOrder = 84;

std::uint32_t ParseOrder(const std::string& text) {
    std::uint32_t order = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, order);
    if (error != std::errc() || stop != end || order == 0 || order > highestReadOrder)
        throw slib::BadDataException("Invalid FSA Order.");
    return order;
}

std::uint32_t ReadOrder(const slib::SXMLNode& node) {
    node.CheckLabel("FSAScheme");
    return ParseOrder(node.GetAttribute("Order"));
}

// i to the power l.
std::complex<double> PowerOfI(std::uint32_t l) {
    constexpr std::complex<double> powers[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    return powers[l % 4];
}

double SphericalJ(std::uint32_t l, double kr) {
    if (kr == 0) return l == 0 ? 1 : 0;
    double sj, sy, sjp, syp;
    nrc::sphericalBessel(l, kr, sj, sy, sjp, syp);
    return sj;
}

}  // namespace

FSAScheme::FSAScheme(std::uint32_t order) : order(order), harmonics(HarmonicsUpTo(order)) {}

FSAScheme::FSAScheme(const slib::SXMLNode& node) : FSAScheme(ReadOrder(node)) {}

std::unique_ptr<slib::SXMLNode> FSAScheme::createNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "FSAScheme";
    node->attributes["Order"] = std::to_string(order);
    return node;
}

std::unique_ptr<aspace::Acoustic> FSAScheme::clone() const {
    return std::make_unique<FSAScheme>(*this);
}

std::string FSAScheme::getLabel() const {
    return "Order " + std::to_string(order) + " FSA";
}

std::string FSAScheme::getChannelLabel(std::uint32_t index) const {
    const auto l = static_cast<std::int64_t>(std::ceil(std::sqrt(index + 1.0))) - 1;
    return "L=" + std::to_string(l) + " M=" + std::to_string(index - l * (l + 1));
}

std::uint32_t FSAScheme::getChannelCount() const {
    return harmonics.size;
}

void FSAScheme::getResponse(double x, double y, double z, double omega, aspace::Response& out) const {
    out.resize(getChannelCount());
    out.fill(0);
    const double r = std::sqrt(x * x + y * y + z * z);
    if (r <= 0) {
        out[0] = hcml::evaluate(harmonics[0], 0, 0);
        return;
    }
    const double azimuth = std::atan2(y / r, x / r);
    const double kr = r * omega * secondsPerMetre;
    for (std::uint32_t l = 0, i = 0; l <= order; ++l) {
        const std::complex<double> term = PowerOfI(l) * SphericalJ(l, kr);
        for (; i < hcml::ChannelsOfOrder(l); ++i)
            out[i] = term * hcml::evaluate(harmonics[i], azimuth, z / r);
    }
}

std::string FSAScheme::getDescription() const {
    return "FSA (order: " + std::to_string(order) + ")";
}

}  // namespace orb3

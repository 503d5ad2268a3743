#include "orb3core/acoustics/nullacoustic.h"

#include <bit>

namespace orb3::aspace {
namespace {

// One channel, with all bits of the NaN set but its sign.
Response NotANumber() {
    return {std::bit_cast<double>(std::uint64_t{0x7FFFFFFFFFFFFFFF})};
}

}  // namespace

std::unique_ptr<slib::SXMLNode> NullAcoustic::createNode() const {
    auto node = std::make_unique<slib::SXMLNode>();
    node->label = "NullAcoustic";
    return node;
}

std::unique_ptr<Acoustic> NullAcoustic::clone() const {
    return std::make_unique<NullAcoustic>(*this);
}

std::string NullAcoustic::getLabel() const {
    return "Null Acoustic";
}

std::string NullAcoustic::getChannelLabel(std::uint32_t) const {
    return "NAN Channel";
}

std::uint32_t NullAcoustic::getChannelCount() const {
    return 1;
}

void NullAcoustic::getResponse(double, double, double, double, Response& out) const {
    out = NotANumber();
}

void NullAcoustic::getResponseGradient(double, double, double, double, ResponseGradient& out) const {
    out = {NotANumber(), NotANumber(), NotANumber(), NotANumber()};
}

}  // namespace orb3::aspace

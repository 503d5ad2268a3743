#pragma once

// A single channel of no known meaning. Shared by threads like any Acoustic.

#include "orb3core/acoustics/acoustic.h"

namespace orb3::aspace {

/// The value of its channel, and all that is derived from it, is not a number.
class NullAcoustic : public Acoustic {
public:
    std::unique_ptr<slib::SXMLNode> createNode() const override;
    std::unique_ptr<Acoustic> clone() const override;
    std::string getLabel() const override;
    std::string getChannelLabel(std::uint32_t index) const override;
    std::uint32_t getChannelCount() const override;
    void getResponse(double x, double y, double z, double omega, Response& out) const override;
    void getResponseGradient(double x, double y, double z, double omega,
                             ResponseGradient& out) const override;
};

}  // namespace orb3::aspace

#pragma once

// The spatial format of the format library: the components of a sound field on real spherical harmonics.
// Shared by threads like any Acoustic.

#include <cstdint>
#include <memory>
#include <string>

#include "numeric/genericvector.h"
#include "numeric/realsphericalharmonic.h"
#include "orb3core/acoustics/acoustic.h"

namespace orb3 {

/// Channel i holds the harmonic with i = l² + l + m, so the channels of a lower order are the head of those
/// of a higher one. A plane wave of amplitude 1 from the unit direction u has the channel values 4pi Y(u).
class FSAScheme : public Scheme {
public:
    /// Any order; from about 85 on the harmonics with m near l are lost, for their norm is below every
    /// double. Throws slib::OutOfMemoryException when the (order + 1)² harmonics don't fit.
    explicit FSAScheme(std::uint32_t order);

    /// Reads an element "FSAScheme". Throws slib::BadXMLException for another label or without "Order", and
    /// slib::BadDataException when that is not a number from 1 to 84.
    explicit FSAScheme(const slib::SXMLNode& node);

    std::unique_ptr<slib::SXMLNode> createNode() const override;
    std::unique_ptr<aspace::Acoustic> clone() const override;
    std::string getLabel() const override;

    /// Any `index` has a label, whatever the order.
    std::string getChannelLabel(std::uint32_t index) const override;

    std::uint32_t getChannelCount() const override;

    /// The channels' terms of the expansion of a plane wave: the field at a place is the sum over channels of
    /// the channel's signal times its response. Throws what nrc::sphericalBessel throws.
    void getResponse(double x, double y, double z, double omega, aspace::Response& out) const override;

    std::string getDescription() const override;

    const std::uint32_t order;
    const hcml::GenericVector<hcml::RealSphericalHarmonic, 1> harmonics;  ///< one a channel
};

}  // namespace orb3

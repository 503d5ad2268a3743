#pragma once

// Several acoustic models side by side: the channels of one follow those of the one before. Shared by threads
// like any Acoustic.

#include <memory>
#include <string>

#include "numeric/genericvector.h"
#include "orb3core/acoustics/acoustic.h"
#include "orb3core/acoustics/acousticfactory.h"
#include "slib/smartptr.h"

namespace orb3::aspace {

class AcousticEnvironment : public Acoustic {
public:
    /// Reads an element "AcousticEnvironment", its members through `factory`. Throws slib::BadXMLException
    /// when labels or counts are wrong, slib::BadDataException when environments are nested more than 64 deep
    /// in each other, and what the factory throws.
    AcousticEnvironment(const slib::SXMLNode& node, const AcousticFactory& factory);

    std::unique_ptr<slib::SXMLNode> createNode() const override;
    std::unique_ptr<Acoustic> clone() const override;
    std::string getLabel() const override;
    std::string getChannelLabel(std::uint32_t index) const override;
    std::uint32_t getChannelCount() const override;
    void getChannelPoints(std::uint32_t index, Points& out) const override;
    void getResponse(double x, double y, double z, double omega, Response& out) const override;
    void getResponseGradient(double x, double y, double z, double omega,
                             ResponseGradient& out) const override;
    void getPoints(Points& out) const override;

    hcml::GenericVector<slib::SmartPtr<Acoustic, slib::ThreadsafeCounter>, 0> acoustics;  ///< never null
    std::string label = "Acoustic Environment";
    bool hasLabels = false;                      ///< `labels` were given and are not the members' own
    hcml::GenericVector<std::string, 0> labels;  ///< one a channel

private:
    AcousticEnvironment(const AcousticEnvironment& other);

    void Add(std::unique_ptr<Acoustic> member);
    void ReadLabels(const slib::SXMLNode& node);
};

}  // namespace orb3::aspace

#pragma once

// What the channels of a format mean: how many there are, what they are called, and what value each has at
// any place and frequency. Read from and written to the format library's documents, through
// acousticfactory.h, and owned by the formats. The objects don't change after construction, so threads may
// share them; the audio thread never evaluates one.
//
// Places are in metres, with x ahead of the listener, y to the left and z up; omega is an angular frequency
// in radians per second.

#include <complex>
#include <cstdint>
#include <memory>
#include <string>

#include "numeric/genericvector.h"
#include "numeric/vect3d.h"
#include "slib/sxml.h"

namespace orb3::aspace {

/// The value of every channel at one place and frequency.
using Response = hcml::GenericVector<std::complex<double>, 1>;

using Points = hcml::GenericVector<hcml::Vect3D, 1>;

/// A response, and how it changes with the place, per metre.
struct ResponseGradient {
    Response value, dx, dy, dz;
};

class Acoustic {
public:
    virtual ~Acoustic() = default;

    /// A new node that the factory reads back as an equal object.
    [[nodiscard]] virtual std::unique_ptr<slib::SXMLNode> createNode() const = 0;

    /// A deep copy.
    [[nodiscard]] virtual std::unique_ptr<Acoustic> clone() const = 0;

    /// The name to show.
    virtual std::string getLabel() const = 0;

    /// The name of channel `index`, below getChannelCount().
    virtual std::string getChannelLabel(std::uint32_t index) const = 0;

    virtual std::uint32_t getChannelCount() const = 0;

    /// Sets `out` to the reference points of member `index`. Here: none.
    virtual void getChannelPoints(std::uint32_t index, Points& out) const;

    /// Sizes `out` to the channel count and sets it to the channels' values.
    virtual void getResponse(double x, double y, double z, double omega, Response& out) const = 0;

    /// Sizes the four vectors of `out` to the channel count and sets them. Here: by forward differences over
    /// a tenth of a millimetre.
    virtual void getResponseGradient(double x, double y, double z, double omega, ResponseGradient& out) const;

    /// Sets `out` to all reference points. Here: none.
    virtual void getPoints(Points& out) const;

protected:
    Acoustic() = default;
    Acoustic(const Acoustic&) = default;
    Acoustic& operator=(const Acoustic&) = delete;
};

}  // namespace orb3::aspace

namespace orb3 {

/// A way to hold a whole sound field in channels.
class Scheme : public aspace::Acoustic {
public:
    virtual std::string getDescription() const = 0;
};

}  // namespace orb3

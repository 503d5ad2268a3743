#pragma once

// Channel arrays: the places of the channels of a multi-channel buffer when they are played as virtual
// sources. Part of the configuration document; the renderer prepares its own copy once and then reads it.

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "numeric/ambisonicorder.h"
#include "orb3core/speakers/location.h"
#include "slib/sxml.h"

namespace orb3::array {

struct Channel {
    std::string name;
    Location location;  ///< The origin makes the channel come from everywhere.
    std::array<float, hcml::mostBusChannels>
        harmonics{};  ///< directionPolynomials at the highest order; set by ArraySet::Prepare, not stored.

    /// The harmonics take no part.
    bool operator==(const Channel& other) const;

    /// Fills the record from a node labelled "Channel"; on a failure, a slib::BadXMLException, it stays as it
    /// was.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Channel".
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

struct Array {
    std::string name;
    std::vector<Channel> channels;
    bool isFlat = false;  ///< No channel leaves the plane z = 0; set by ArraySet::Prepare, not stored.

    /// isFlat takes no part.
    bool operator==(const Array& other) const;

    /// Fills the record from a node labelled "Array", whose children labelled "Channel" are its channels; on
    /// a failure, a slib::BadXMLException, it stays as it was.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Array".
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

/// All arrays by name. "Mono", "Front", "Stereo", "5.1", "6.1", "7.1", "Quad" and "Rear" must be there with
/// their numbers of channels; others may be.
struct ArraySet {
    std::map<std::string, Array> arrays;

    bool operator==(const ArraySet&) const = default;

    /// Fills the set from a node labelled "ArraySet", whose children labelled "Array" are its arrays; of two
    /// with one name the later counts. Throws slib::BadDataException when a named array is missing, or one
    /// has a wrong number of channels, or more than 8; the set then stays as it was.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "ArraySet".
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;

    /// Replaces the set by the eight default arrays.
    void Reset();

    /// The array for a type: 3 "Mono", 4 "Front", 5 "Stereo", 6 "5.1", 7 "6.1", 8 "7.1", 9 "Quad", 10 "Rear".
    /// Throws slib::BadDataException when the set lacks it. Another type is an integrity failure.
    const Array& GetArray(int type) const;

    /// Sets isFlat of each array and harmonics of each channel.
    void Prepare();
};

}  // namespace orb3::array

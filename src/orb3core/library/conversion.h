#pragma once

// A conversion of the format library: that a transform exists from one format to another by one method.
// Returned by value.

#include <memory>
#include <string>

#include "numeric/genericvector.h"
#include "slib/sxml.h"

namespace orb3::fl {

/// Names a conversion, by tags of the library's formats and method.
struct ConversionTag {
    std::string from;
    std::string to;
    std::string method;

    bool operator==(const ConversionTag&) const = default;

    /// Fills the record from the attributes of a node of any label; on a failure, a slib::BadXMLException, it
    /// stays as it was.
    void Read(const slib::SXMLNode& node);

    /// Sets the attributes that Read reads.
    void SetAttributes(slib::SXMLNode& node) const;
};

/// How readily layout selection takes a conversion; a private one it never takes. In ascending order.
enum class Priority { Private = 0, Low = 1, Normal = 2, High = 3 };

struct Conversion : ConversionTag {
    Priority priority = Priority::Normal;
    bool lossy = false;  ///< Something of the sound gets lost on the way.

    /// For a composite conversion the conversions that it consists of, in the order of the signal; else
    /// empty.
    hcml::GenericVector<ConversionTag, 0> chain;
    double gain = 1.0;  ///< Linear, of a composite conversion.

    std::string expertDecoder;

    bool operator==(const Conversion&) const = default;

    /// Fills the record from a node labelled "Conversion", whose transforms are the librarians' to read; on a
    /// failure, a slib::BadDataException, it stays as it was. Doesn't validate.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Conversion", without transforms.
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;

    /// Throws slib::BadDataException unless formats and method are named and the links of a chain lead from
    /// the one format to the other.
    void validate() const;
};

/// A conversion in a few words, for messages: "FSA->Quad(Basic)", and for a whole one
/// "FSA->Quad(Basic,high,lossy,composite)".
std::string describe(const ConversionTag& tag);
std::string describe(const Conversion& conversion);

}  // namespace orb3::fl

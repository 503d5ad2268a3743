#pragma once

// A method of the format library: a way of decoding that conversions name. Returned by value.

#include <memory>
#include <string>

#include "slib/sxml.h"

namespace orb3::fl {

struct Method {
    std::string tag;      ///< The key in the library.
    std::string name;     ///< For display.
    std::string writeup;  ///< A description for display.

    bool operator==(const Method&) const = default;

    /// Fills the record from a node labelled "Method"; on a failure, a slib::BadXMLException, it stays as it
    /// was.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Method".
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

}  // namespace orb3::fl

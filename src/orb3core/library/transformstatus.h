#pragma once

// What a format library can do about one transform. A plain record, returned by value.

#include "slib/sxml.h"

namespace orb3::fl {

/// Possible alone is base data that is stored; with `generated` it is stored and was made from base data;
/// with all three it is still to be made. Without `possible` there is no transform.
struct TransformStatus {
    bool possible = false;
    bool generated = false;
    bool needsGeneration = false;

    bool operator==(const TransformStatus&) const = default;

    /// Throws slib::BadStateException for base data that is still to be made, which can't be. For everyone
    /// who takes a status from storage.
    void validate() const;

    /// Fills the record from the attributes of a library's "Transform" node. Throws slib::BadDataException,
    /// or what validate throws, and then stays as it was.
    void Read(const slib::SXMLNode& node);

    /// Sets the attributes that Read reads.
    void SetAttributes(slib::SXMLNode& node) const;
};

}  // namespace orb3::fl

#pragma once

// From a document's element to the acoustic model that it describes. Passed by reference to the librarians
// that read the format library; no state, usable from any thread.

#include <memory>

#include "orb3core/acoustics/acoustic.h"

namespace orb3::aspace {

class AcousticFactory {
public:
    virtual ~AcousticFactory() = default;

    /// A new object for `node`. Throws what the object's reading throws.
    [[nodiscard]] virtual std::unique_ptr<Acoustic> createAcoustic(const slib::SXMLNode& node) const = 0;
};

/// Knows "AcousticEnvironment", "FSAScheme" and "NullAcoustic"; throws slib::BadStateException for any other
/// label.
class BasicAcousticFactory : public AcousticFactory {
public:
    std::unique_ptr<Acoustic> createAcoustic(const slib::SXMLNode& node) const override;
};

}  // namespace orb3::aspace

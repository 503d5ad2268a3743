#pragma once

// The catalogue of a format library in memory, and as a document. Shared by the librarians, which differ in
// where a stored transform is to be found, and by the writers of libraries. A plain record: the librarian
// that owns one guards it.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "numeric/genericvector.h"
#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/conversion.h"
#include "orb3core/library/format.h"
#include "orb3core/library/method.h"
#include "orb3core/library/transformstatus.h"
#include "slib/sxml.h"

namespace orb3::fl {

/// A transform in a file of its own.
struct FiledTransform {
    TransformStatus status;
    std::string storageKey;  ///< Names the file.

    /// Fills the record from a node labelled "Transform"; on a failure, a slib::BadDataException or
    /// slib::BadStateException, it stays as it was.
    void Read(const slib::SXMLNode& node);
    /// Sets the attributes that Read reads.
    void SetAttributes(slib::SXMLNode& node) const;
};

/// A transform inside the library's one file. The operations are those of FiledTransform.
struct EmbeddedTransform {
    TransformStatus status;
    std::uint32_t coreOffset = 0;  ///< In bytes from the file's start.

    void Read(const slib::SXMLNode& node);
    void SetAttributes(slib::SXMLNode& node) const;
};

/// A conversion with its transforms, by their rates in Hz.
template <typename Stored>
struct ConversionData : Conversion {
    std::map<int, Stored> transforms;
};

/// For Stored = FiledTransform and EmbeddedTransform.
template <typename Stored>
struct Catalogue {
    std::string tag;
    hcml::GenericVector<Format, 0> formats;
    hcml::GenericVector<Method, 0> methods;
    hcml::GenericVector<ConversionData<Stored>, 0> conversions;

    /// The position of the first record with this key, if there is one.
    [[nodiscard]] std::optional<std::uint32_t> FindFormat(std::string_view key) const;
    [[nodiscard]] std::optional<std::uint32_t> FindFormat(std::int32_t quillFormat) const;
    [[nodiscard]] std::optional<std::uint32_t> FindMethod(std::string_view key) const;
    [[nodiscard]] std::optional<std::uint32_t> FindConversion(const ConversionTag& key) const;

    /// Fills the record from a node with this label. On a failure, a slib::BadDataException,
    /// slib::BadStateException or what `factory` throws, it stays as it was.
    void Read(const slib::SXMLNode& node, std::string_view label, const aspace::AcousticFactory& factory);

    /// A new node with this label: formats, methods, conversions, in the order of the lists, with their
    /// transforms by ascending rate; without generated ones unless `withGenerated`.
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode(std::string_view label,
                                                             bool withGenerated = true) const;
};

extern template struct Catalogue<FiledTransform>;
extern template struct Catalogue<EmbeddedTransform>;

}  // namespace orb3::fl

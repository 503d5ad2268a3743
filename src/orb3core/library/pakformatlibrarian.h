#pragma once

// A format library in one read-only file, as it ships: the catalogue and all base transforms. What is
// generated on demand goes at once to a cache folder beside the file. Used from any thread; one lock covers
// every operation, reading of files included.
//
//     0               "PAK" and a version byte of 1 or 2
//     4               indexOffset, 32 bits, lowest byte first
//     any             transforms, in any form, where the index says
//     indexOffset     indexLength, 32 bits, lowest byte first
//     indexOffset+4   the index: SXML, scrambled
//
//     CACHEROOT TAG.cache/DIGEST.pft    cached transforms

#include <string>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/cataloguelibrarian.h"
#include "slib/memorystreambuffer.h"

namespace orb3::fl {

class PAKFormatLibrarian : public CatalogueLibrarian<EmbeddedTransform> {
public:
    /// Reads the library at `path`. The cache folder is made in the folder `cacheRoot`, which is made as
    /// well; an empty one is the working folder. `factory` is borrowed and outlives the object. Throws what
    /// refresh throws.
    PAKFormatLibrarian(const std::string& path, const std::string& cacheRoot,
                       const aspace::AcousticFactory& factory);

    /// The same without a cache: what was generated isn't found, and can't be stored.
    PAKFormatLibrarian(const std::string& path, const aspace::AcousticFactory& factory);

    /// Reads the library in the bytes from `begin` to `end`, which have to outlive the object.
    PAKFormatLibrarian(const char* begin, const char* end, const std::string& cacheRoot,
                       const aspace::AcousticFactory& factory);

    /// Throws slib::OperatingSystemErrnoException for a file that can't be read or a cache folder that can't
    /// be made, slib::BadDataException for a bad library; the catalogue then stays as it was.
    void refresh() override;

    /// What is in the cache counts as stored, but for getSampleRates.
    void getTransformStatus(std::uint32_t index, int rate, TransformStatus& status) const override;
    void getTransform(std::uint32_t index, int rate,
                      strans::TimeDomainTransform<float, 1>& transform) const override;
    void getTransform(std::uint32_t index, int rate,
                      strans::TimeDomainTransform<double, 1>& transform) const override;

    /// All throw slib::BadStateException.
    void setTag(const std::string& tag) override;
    void storeFormat(const Format& format) override;
    void eraseFormat(const std::string& tag) override;
    void storeMethod(const Method& method) override;
    void eraseMethod(const std::string& tag) override;
    void storeConversion(const Conversion& conversion) override;
    void eraseConversion(const ConversionTag& tag) override;

    /// Writes into the cache at once. Throws slib::BadStateException without one.
    void storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                        const strans::TimeDomainTransform<double, 1>& transform) override;
    /// Takes out of the cache; what isn't there is no failure.
    void eraseTransform(const ConversionTag& conversion, int rate) override;

    bool hasPendingData() const override { return false; }
    void commit() override {}

private:
    template <typename Use>
    void ReadLibrary(const Use& use) const;
    std::string ReadIndex() const;
    template <typename T>
    void ReadTransform(std::uint32_t index, int rate, strans::TimeDomainTransform<T, 1>& transform) const;
    [[noreturn]] void FailToRead() const;
    std::string CachePath(const ConversionTag& conversion, int rate) const;
    bool IsCached(const ConversionTag& conversion, int rate) const;

    std::string path;                         // empty for a library in memory
    mutable slib::MemoryStreamBuffer memory;  // the library in memory
    const bool hasCache;
    std::string cacheRoot;
    std::string cacheDirectory;
    std::string libraryDigest;  // of the index
    const aspace::AcousticFactory& factory;
};

}  // namespace orb3::fl

#pragma once

// A catalogue in memory with the full read and write side of a librarian. Where transforms are kept is left
// to the derived class. Used from any thread; one lock guards every operation, reading of files included.

#include <cstdint>
#include <string>

#include "orb3core/library/cataloguelibrarian.h"

namespace orb3::fl {

class BasicFormatLibrarian : public CatalogueLibrarian<FiledTransform> {
public:
    void getTransformStatus(std::uint32_t index, int rate, TransformStatus& status) const override;
    void getTransform(std::uint32_t index, int rate,
                      strans::TimeDomainTransform<float, 1>& transform) const override;
    void getTransform(std::uint32_t index, int rate,
                      strans::TimeDomainTransform<double, 1>& transform) const override;

    void setTag(const std::string& tag) override;
    void storeFormat(const Format& format) override;
    void eraseFormat(const std::string& tag) override;
    void storeMethod(const Method& method) override;
    void eraseMethod(const std::string& tag) override;
    void storeConversion(const Conversion& conversion) override;
    void eraseConversion(const ConversionTag& tag) override;

    /// New base data also takes away what composite conversions generated through it.
    void storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                        const strans::TimeDomainTransform<double, 1>& transform) override;
    void eraseTransform(const ConversionTag& conversion, int rate) override;

    /// Read a transform by its key. Called under the lock, like the two below.
    virtual void readTransformFloat(const std::string& storageKey,
                                    strans::TimeDomainTransform<float, 1>& transform) const
        SLIB_REQUIRES(mutex) = 0;
    virtual void readTransformDouble(const std::string& storageKey,
                                     strans::TimeDomainTransform<double, 1>& transform) const
        SLIB_REQUIRES(mutex) = 0;

    /// Queues a transform for writing, at `rate` in Hz, and sets `storageKey` to its key.
    virtual void writeTransform(const ConversionTag& tag, int rate,
                                const strans::TimeDomainTransform<double, 1>& transform,
                                std::string& storageKey) SLIB_REQUIRES(mutex) = 0;

    /// Queues a transform for removal.
    virtual void removeTransform(const std::string& storageKey) SLIB_REQUIRES(mutex) = 0;

protected:
    bool dirty = false;  ///< The catalogue has changes that aren't in the storage.

private:
    void DropGenerated(Data& conversion) SLIB_REQUIRES(mutex);
    void DropGeneratedFrom(const ConversionTag& tag) SLIB_REQUIRES(mutex);
};

}  // namespace orb3::fl

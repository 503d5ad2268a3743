#include "orb3core/library/cataloguelibrarian.h"

#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "slib/exception.h"

namespace orb3::fl {
namespace {

template <typename List>
auto& ElementAt(List& list, std::uint32_t index, const char* what) {
    if (index < list.size) return list[index];
    throw slib::BadParameterException(std::string("A format library has no ") + what + " at index " +
                                      std::to_string(index) + ".");
}

// What fails in the copying leaves `out` alone.
template <typename Record>
void CopyTo(Record& out, Record copy) {
    out = std::move(copy);
}

std::uint32_t Found(std::optional<std::uint32_t> index, const std::string& failure) {
    if (!index) throw slib::BadDataException(failure);
    return *index;
}

template <typename List>
std::string NameOf(const List& list, std::optional<std::uint32_t> index, const std::string& tag) {
    return index ? list[*index].name : tag;
}

// Whether a format, as far as the catalogue knows it, has as many channels.
template <typename Stored>
bool MayHave(const Catalogue<Stored>& catalogue, const std::string& format, std::uint32_t channels) {
    const auto index = catalogue.FindFormat(format);
    return !index || catalogue.formats[*index].channelCount == channels;
}

void CheckChannels(std::uint32_t submitted, std::uint32_t channels, const char* what, const char* format) {
    if (submitted == channels) return;
    throw slib::BadDataException(std::string("There was a mismatch between the number of ") + what +
                                 " submitted in the transform (" + std::to_string(submitted) +
                                 ") and the number of channels in the " + format + " format (" +
                                 std::to_string(channels) + ").");
}

}  // namespace

int RoundedRate(double sampleRate) {
    if (sampleRate >= 0.5 && sampleRate + 0.5 <= std::numeric_limits<int>::max())
        return static_cast<int>(sampleRate + 0.5);
    throw slib::BadDataException("A transform has a sample rate that a format library can't hold.");
}

template <typename Stored>
std::string CatalogueLibrarian<Stored>::getTag() const {
    const slib::Lock lock(mutex);
    return catalogue.tag;
}

template <typename Stored>
std::uint32_t CatalogueLibrarian<Stored>::getFormatCount() const {
    const slib::Lock lock(mutex);
    return catalogue.formats.size;
}

template <typename Stored>
void CatalogueLibrarian<Stored>::getFormat(std::uint32_t index, Format& format) const {
    const slib::Lock lock(mutex);
    CopyTo(format, ElementAt(catalogue.formats, index, "format"));
}

template <typename Stored>
std::uint32_t CatalogueLibrarian<Stored>::findFormat(const std::string& tag) const {
    const slib::Lock lock(mutex);
    return Found(catalogue.FindFormat(tag), "Format tag '" + tag + "' is unknown.");
}

template <typename Stored>
std::uint32_t CatalogueLibrarian<Stored>::findFormatByQuillId(std::int32_t id) const {
    const slib::Lock lock(mutex);
    return Found(catalogue.FindFormat(id), "QUILL format ID unknown.");
}

template <typename Stored>
bool CatalogueLibrarian<Stored>::hasFormat(const std::string& tag) const {
    const slib::Lock lock(mutex);
    return catalogue.FindFormat(tag).has_value();
}

template <typename Stored>
bool CatalogueLibrarian<Stored>::hasFormatWithQuillId(std::int32_t id) const {
    const slib::Lock lock(mutex);
    return catalogue.FindFormat(id).has_value();
}

template <typename Stored>
std::uint32_t CatalogueLibrarian<Stored>::getMethodCount() const {
    const slib::Lock lock(mutex);
    return catalogue.methods.size;
}

template <typename Stored>
void CatalogueLibrarian<Stored>::getMethod(std::uint32_t index, Method& method) const {
    const slib::Lock lock(mutex);
    CopyTo(method, ElementAt(catalogue.methods, index, "method"));
}

template <typename Stored>
std::uint32_t CatalogueLibrarian<Stored>::findMethod(const std::string& tag) const {
    const slib::Lock lock(mutex);
    return Found(catalogue.FindMethod(tag), "Method tag '" + tag + "' is unknown.");
}

template <typename Stored>
bool CatalogueLibrarian<Stored>::hasMethod(const std::string& tag) const {
    const slib::Lock lock(mutex);
    return catalogue.FindMethod(tag).has_value();
}

template <typename Stored>
std::uint32_t CatalogueLibrarian<Stored>::getConversionCount() const {
    const slib::Lock lock(mutex);
    return catalogue.conversions.size;
}

template <typename Stored>
void CatalogueLibrarian<Stored>::getConversion(std::uint32_t index, Conversion& conversion) const {
    const slib::Lock lock(mutex);
    CopyTo<Conversion>(conversion, At(index));
}

template <typename Stored>
std::uint32_t CatalogueLibrarian<Stored>::findConversion(const ConversionTag& tag) const {
    const slib::Lock lock(mutex);
    if (const auto index = catalogue.FindConversion(tag)) return *index;
    throw slib::BadDataException(
        "No conversion was available from '" +
        NameOf(catalogue.formats, catalogue.FindFormat(tag.from), tag.from) + "' to '" +
        NameOf(catalogue.formats, catalogue.FindFormat(tag.to), tag.to) + "' by '" +
        NameOf(catalogue.methods, catalogue.FindMethod(tag.method), tag.method) + "'.");
}

template <typename Stored>
bool CatalogueLibrarian<Stored>::hasConversion(const ConversionTag& tag) const {
    const slib::Lock lock(mutex);
    return catalogue.FindConversion(tag).has_value();
}

template <typename Stored>
void CatalogueLibrarian<Stored>::getSampleRates(std::uint32_t index,
                                                hcml::GenericVector<int, 1>& rates) const {
    const slib::Lock lock(mutex);
    hcml::GenericVector<int, 1> found;
    for (const auto& [rate, stored] : At(index).transforms)
        found.append(rate);
    rates = std::move(found);
}

template <typename Stored>
const ConversionData<Stored>& CatalogueLibrarian<Stored>::At(std::uint32_t index) const {
    return ElementAt(catalogue.conversions, index, "conversion");
}

template <typename Stored>
ConversionData<Stored>& CatalogueLibrarian<Stored>::Named(const ConversionTag& tag) {
    return catalogue.conversions[Found(catalogue.FindConversion(tag), "A conversion was not found.")];
}

template <typename Stored>
void CatalogueLibrarian<Stored>::CheckStorable(
    const Conversion& conversion, const TransformStatus& status,
    const strans::TimeDomainTransform<double, 1>& transform) const {
    transform.validate();
    RoundedRate(transform.sampleRate);
    if (!status.possible) throw slib::BadDataException("Storage of impossible transforms is not supported.");
    status.validate();
    if (conversion.chain.size != 0 && !status.generated)
        throw slib::BadDataException("Only generated data can be stored for a composite conversion.");
    CheckChannels(transform.impulses.rows, catalogue.formats[findFormat(conversion.from)].channelCount,
                  "rows", "input");
    CheckChannels(transform.impulses.columns, catalogue.formats[findFormat(conversion.to)].channelCount,
                  "columns", "output");
}

template <typename Stored>
template <typename T>
void CatalogueLibrarian<Stored>::CheckFits(const Conversion& conversion, int rate,
                                           const strans::TimeDomainTransform<T, 1>& transform) const {
    if (std::abs(transform.sampleRate - rate) <= 0.5 &&
        MayHave(catalogue, conversion.from, transform.impulses.rows) &&
        MayHave(catalogue, conversion.to, transform.impulses.columns))
        return;
    throw slib::BadDataException("A stored transform doesn't fit its conversion (" + describe(conversion) +
                                 ").");
}

template class CatalogueLibrarian<FiledTransform>;
template class CatalogueLibrarian<EmbeddedTransform>;
template void CatalogueLibrarian<FiledTransform>::CheckFits(
    const Conversion&, int, const strans::TimeDomainTransform<float, 1>&) const;
template void CatalogueLibrarian<FiledTransform>::CheckFits(
    const Conversion&, int, const strans::TimeDomainTransform<double, 1>&) const;
template void CatalogueLibrarian<EmbeddedTransform>::CheckFits(
    const Conversion&, int, const strans::TimeDomainTransform<float, 1>&) const;
template void CatalogueLibrarian<EmbeddedTransform>::CheckFits(
    const Conversion&, int, const strans::TimeDomainTransform<double, 1>&) const;

}  // namespace orb3::fl

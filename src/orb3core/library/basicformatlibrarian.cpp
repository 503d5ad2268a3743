#include "orb3core/library/basicformatlibrarian.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "slib/exception.h"

namespace orb3::fl {
namespace {

template <typename List, typename Element>
void Put(List& list, std::optional<std::uint32_t> index, const Element& element) {
    if (index)
        list[*index] = Element(element);
    else
        list.append(Element(element));
}

template <typename List>
void Erase(List& list, std::optional<std::uint32_t> index, const std::string& name) {
    if (!index) throw slib::BadDataException(name + " was not found.");
    List kept;
    for (std::uint32_t i = 0; i < list.size; ++i)
        if (i != *index) kept.append(list[i]);
    list = std::move(kept);
}

[[noreturn]] void Refuse(const Conversion& conversion, const char* what) {
    throw slib::BadDataException("A conversion ('" + describe(conversion) + "') cannot be " + what +
                                 " as it still has associated transforms.");
}

const FiledTransform& StoredAt(const ConversionData<FiledTransform>& conversion, int rate) {
    const auto found = conversion.transforms.find(rate);
    if (found != conversion.transforms.end()) return found->second;
    throw slib::BadDataException("A transform was not present in a format library.");
}

bool IsChainedThrough(const Conversion& conversion, const ConversionTag& tag) {
    return std::find(conversion.chain.begin(), conversion.chain.end(), tag) != conversion.chain.end();
}

}  // namespace

void BasicFormatLibrarian::getTransformStatus(std::uint32_t index, int rate, TransformStatus& status) const {
    const slib::Lock lock(mutex);
    const Data& conversion = At(index);
    const auto found = conversion.transforms.find(rate);
    if (found == conversion.transforms.end()) return;
    found->second.status.validate();
    status = found->second.status;
}

void BasicFormatLibrarian::getTransform(std::uint32_t index, int rate,
                                        strans::TimeDomainTransform<float, 1>& transform) const {
    const slib::Lock lock(mutex);
    strans::TimeDomainTransform<float, 1> stored;
    readTransformFloat(StoredAt(At(index), rate).storageKey, stored);
    CheckFits(At(index), rate, stored);
    transform = std::move(stored);
}

void BasicFormatLibrarian::getTransform(std::uint32_t index, int rate,
                                        strans::TimeDomainTransform<double, 1>& transform) const {
    const slib::Lock lock(mutex);
    strans::TimeDomainTransform<double, 1> stored;
    readTransformDouble(StoredAt(At(index), rate).storageKey, stored);
    CheckFits(At(index), rate, stored);
    transform = std::move(stored);
}

void BasicFormatLibrarian::setTag(const std::string& tag) {
    const slib::Lock lock(mutex);
    catalogue.tag = tag;
    dirty = true;
}

void BasicFormatLibrarian::storeFormat(const Format& format) {
    const slib::Lock lock(mutex);
    Put(catalogue.formats, catalogue.FindFormat(format.tag), format);
    dirty = true;
}

void BasicFormatLibrarian::eraseFormat(const std::string& tag) {
    const slib::Lock lock(mutex);
    Erase(catalogue.formats, catalogue.FindFormat(tag), "Format '" + tag + "'");
    dirty = true;
}

void BasicFormatLibrarian::storeMethod(const Method& method) {
    const slib::Lock lock(mutex);
    Put(catalogue.methods, catalogue.FindMethod(method.tag), method);
    dirty = true;
}

void BasicFormatLibrarian::eraseMethod(const std::string& tag) {
    const slib::Lock lock(mutex);
    Erase(catalogue.methods, catalogue.FindMethod(tag), "Method '" + tag + "'");
    dirty = true;
}

void BasicFormatLibrarian::storeConversion(const Conversion& conversion) {
    const slib::Lock lock(mutex);
    conversion.validate();
    const auto index = catalogue.FindConversion(conversion);
    if (index && !At(*index).transforms.empty()) Refuse(At(*index), "overwritten");
    Put(catalogue.conversions, index, Data{conversion, {}});
    dirty = true;
}

void BasicFormatLibrarian::eraseConversion(const ConversionTag& tag) {
    const slib::Lock lock(mutex);
    const Data& conversion = Named(tag);
    if (!conversion.transforms.empty()) Refuse(conversion, "deleted");
    Erase(catalogue.conversions, catalogue.FindConversion(tag), "A conversion");
    dirty = true;
}

void BasicFormatLibrarian::storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                                          const strans::TimeDomainTransform<double, 1>& transform) {
    const slib::Lock lock(mutex);
    Data& data = Named(conversion);
    CheckStorable(data, status, transform);
    const int rate = RoundedRate(transform.sampleRate);
    dirty = true;
    if (const auto old = data.transforms.find(rate); old != data.transforms.end()) {
        removeTransform(old->second.storageKey);
        data.transforms.erase(old);
    }
    FiledTransform stored{status, ""};
    writeTransform(conversion, rate, transform, stored.storageKey);
    data.transforms[rate] = std::move(stored);
    if (!status.generated) DropGeneratedFrom(conversion);
}

void BasicFormatLibrarian::eraseTransform(const ConversionTag& conversion, int rate) {
    const slib::Lock lock(mutex);
    Data& data = Named(conversion);
    const auto found = data.transforms.find(rate);
    if (found == data.transforms.end())
        throw slib::BadDataException(
            "The expected sample rate was not found for a particular conversion (while looking for '" +
            describe(static_cast<const Conversion&>(data)) + "').");
    removeTransform(found->second.storageKey);
    data.transforms.erase(found);
    dirty = true;
}

void BasicFormatLibrarian::DropGenerated(Data& conversion) {
    for (auto entry = conversion.transforms.begin(); entry != conversion.transforms.end();) {
        if (!entry->second.status.generated) {
            ++entry;
            continue;
        }
        removeTransform(entry->second.storageKey);
        entry = conversion.transforms.erase(entry);
    }
}

// Goes on from each conversion to the composite ones that it is a link of. Each is met once, so that chains
// in a circle come to an end.
void BasicFormatLibrarian::DropGeneratedFrom(const ConversionTag& tag) {
    std::vector<ConversionTag> reached{tag};
    for (std::size_t i = 0; i < reached.size(); ++i) {
        const ConversionTag link = reached[i];
        for (Data& conversion : catalogue.conversions) {
            if (conversion == link) DropGenerated(conversion);
            const bool isKnown = std::find(reached.begin(), reached.end(), conversion) != reached.end();
            if (!isKnown && IsChainedThrough(conversion, link)) reached.push_back(conversion);
        }
    }
}

}  // namespace orb3::fl

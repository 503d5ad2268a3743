#include "orb3core/library/layeredlibrarian.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "slib/exception.h"

namespace orb3::fl {
namespace {

template <typename Places, typename Key>
std::optional<std::uint32_t> Find(const Places& places, const Key& key) {
    const auto found =
        std::find_if(places.begin(), places.end(), [&](const auto& p) { return p.key == key; });
    if (found == places.end()) return std::nullopt;
    return static_cast<std::uint32_t>(found - places.begin());
}

std::uint32_t Found(std::optional<std::uint32_t> index, const std::string& fault) {
    if (index) return *index;
    throw slib::BadDataException(fault);
}

template <typename Places>
const auto& At(const Places& places, std::uint32_t index) {
    if (index < places.size()) return places[index];
    throw slib::BadParameterException("A format library was asked for an element that it doesn't have.");
}

template <typename Places>
std::uint32_t Count(const Places& places) {
    return static_cast<std::uint32_t>(places.size());
}

// In the place of the one with the same key, or behind all.
template <typename Places, typename Place>
void Put(Places& places, Place place) {
    if (const auto index = Find(places, place.key))
        places[*index] = std::move(place);
    else
        places.push_back(std::move(place));
}

Format FormatAt(const FormatLibrarian& library, std::uint32_t index) {
    Format format;
    library.getFormat(index, format);
    return format;
}

}  // namespace

LayeredLibrarian::LayeredLibrarian(std::unique_ptr<FormatRegistrar> system,
                                   std::unique_ptr<FormatRegistrar> own)
    : system(std::move(system)), own(std::move(own)) {
    const slib::Lock lock(mutex);
    Join();
}

void LayeredLibrarian::refresh() {
    const slib::Lock lock(mutex);
    system->refresh();
    own->refresh();
    Join();
}

void LayeredLibrarian::Join() {
    JoinFormats();
    JoinMethods();
    JoinConversions();
}

void LayeredLibrarian::JoinFormats() {
    formats.clear();
    for (std::uint32_t i = 0; i < system->getFormatCount(); ++i)
        formats.push_back({system.get(), i, FormatAt(*system, i).tag});
    for (std::uint32_t i = 0; i < own->getFormatCount(); ++i)
        if (const Format format = FormatAt(*own, i); format.isLayout || !system->hasFormat(format.tag))
            Put(formats, Place<std::string>{own.get(), i, format.tag});
}

void LayeredLibrarian::JoinMethods() {
    methods.clear();
    for (FormatRegistrar* library : {system.get(), own.get()})
        for (std::uint32_t i = 0; i < library->getMethodCount(); ++i) {
            Method method;
            library->getMethod(i, method);
            Put(methods, Place<std::string>{library, i, method.tag});
        }
}

void LayeredLibrarian::JoinConversions() {
    std::set<std::string> ownLayouts;
    for (const auto& format : formats)
        if (format.library == own.get()) ownLayouts.insert(format.key);
    conversions.clear();
    for (FormatRegistrar* library : {system.get(), own.get()})
        for (std::uint32_t i = 0; i < library->getConversionCount(); ++i) {
            Conversion conversion;
            library->getConversion(i, conversion);
            if (library == own.get() || !ownLayouts.contains(conversion.to))
                Put(conversions, Place<ConversionTag>{library, i, conversion});
        }
}

std::string LayeredLibrarian::getTag() const {
    return system->getTag();
}

std::uint32_t LayeredLibrarian::getFormatCount() const {
    const slib::Lock lock(mutex);
    return Count(formats);
}

void LayeredLibrarian::getFormat(std::uint32_t index, Format& format) const {
    const slib::Lock lock(mutex);
    const auto& place = At(formats, index);
    place.library->getFormat(place.index, format);
}

std::uint32_t LayeredLibrarian::findFormat(const std::string& tag) const {
    const slib::Lock lock(mutex);
    return Found(Find(formats, tag), "Format tag '" + tag + "' is unknown.");
}

std::uint32_t LayeredLibrarian::findFormatByQuillId(std::int32_t id) const {
    const slib::Lock lock(mutex);
    for (std::uint32_t i = 0; i < Count(formats); ++i)
        if (FormatAt(*formats[i].library, formats[i].index).quillFormat == id) return i;
    throw slib::BadDataException("QUILL format ID unknown.");
}

bool LayeredLibrarian::hasFormat(const std::string& tag) const {
    const slib::Lock lock(mutex);
    return Find(formats, tag).has_value();
}

bool LayeredLibrarian::hasFormatWithQuillId(std::int32_t id) const {
    const slib::Lock lock(mutex);
    return std::any_of(formats.begin(), formats.end(), [id](const auto& place) {
        return FormatAt(*place.library, place.index).quillFormat == id;
    });
}

std::uint32_t LayeredLibrarian::getMethodCount() const {
    const slib::Lock lock(mutex);
    return Count(methods);
}

void LayeredLibrarian::getMethod(std::uint32_t index, Method& method) const {
    const slib::Lock lock(mutex);
    const auto& place = At(methods, index);
    place.library->getMethod(place.index, method);
}

std::uint32_t LayeredLibrarian::findMethod(const std::string& tag) const {
    const slib::Lock lock(mutex);
    return Found(Find(methods, tag), "Method tag '" + tag + "' is unknown.");
}

bool LayeredLibrarian::hasMethod(const std::string& tag) const {
    const slib::Lock lock(mutex);
    return Find(methods, tag).has_value();
}

std::uint32_t LayeredLibrarian::getConversionCount() const {
    const slib::Lock lock(mutex);
    return Count(conversions);
}

void LayeredLibrarian::getConversion(std::uint32_t index, Conversion& conversion) const {
    const auto place = ConversionAt(index);
    place.library->getConversion(place.index, conversion);
}

std::uint32_t LayeredLibrarian::findConversion(const ConversionTag& tag) const {
    const slib::Lock lock(mutex);
    return Found(Find(conversions, tag), "No conversion was available from '" + tag.from + "' to '" + tag.to +
                                             "' by '" + tag.method + "'.");
}

bool LayeredLibrarian::hasConversion(const ConversionTag& tag) const {
    const slib::Lock lock(mutex);
    return Find(conversions, tag).has_value();
}

void LayeredLibrarian::getSampleRates(std::uint32_t index, hcml::GenericVector<int, 1>& rates) const {
    const auto place = ConversionAt(index);
    place.library->getSampleRates(place.index, rates);
}

void LayeredLibrarian::getTransformStatus(std::uint32_t index, int rate, TransformStatus& status) const {
    const auto place = ConversionAt(index);
    place.library->getTransformStatus(place.index, rate, status);
}

void LayeredLibrarian::getTransform(std::uint32_t index, int rate,
                                    strans::TimeDomainTransform<float, 1>& transform) const {
    const auto place = ConversionAt(index);
    place.library->getTransform(place.index, rate, transform);
}

void LayeredLibrarian::getTransform(std::uint32_t index, int rate,
                                    strans::TimeDomainTransform<double, 1>& transform) const {
    const auto place = ConversionAt(index);
    place.library->getTransform(place.index, rate, transform);
}

// A copy, so that nobody waits for the reading of a transform.
LayeredLibrarian::Place<ConversionTag> LayeredLibrarian::ConversionAt(std::uint32_t index) const {
    const slib::Lock lock(mutex);
    return At(conversions, index);
}

template <typename Change>
void LayeredLibrarian::ChangeOwn(const Change& change) {
    const slib::Lock lock(mutex);
    change(*own);
    Join();
}

void LayeredLibrarian::setTag(const std::string& tag) {
    own->setTag(tag);
}

void LayeredLibrarian::storeFormat(const Format& format) {
    ChangeOwn([&](FormatRegistrar& library) { library.storeFormat(format); });
}

void LayeredLibrarian::eraseFormat(const std::string& tag) {
    ChangeOwn([&](FormatRegistrar& library) { library.eraseFormat(tag); });
}

void LayeredLibrarian::storeMethod(const Method& method) {
    ChangeOwn([&](FormatRegistrar& library) { library.storeMethod(method); });
}

void LayeredLibrarian::eraseMethod(const std::string& tag) {
    ChangeOwn([&](FormatRegistrar& library) { library.eraseMethod(tag); });
}

void LayeredLibrarian::storeConversion(const Conversion& conversion) {
    conversion.validate();
    ChangeOwn([&](FormatRegistrar& library) {
        for (const std::string& tag : {conversion.from, conversion.to})
            if (!library.hasFormat(tag) && system->hasFormat(tag)) {
                Format reference = FormatAt(*system, system->findFormat(tag));
                reference.isLayout = reference.isPreset = false;
                library.storeFormat(reference);
            }
        library.storeConversion(conversion);
    });
}

void LayeredLibrarian::eraseConversion(const ConversionTag& tag) {
    ChangeOwn([&](FormatRegistrar& library) { library.eraseConversion(tag); });
}

FormatRegistrar& LayeredLibrarian::LibraryOf(const ConversionTag& tag) const {
    const slib::Lock lock(mutex);
    return *conversions[Found(Find(conversions, tag), "A conversion was not found.")].library;
}

void LayeredLibrarian::storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                                      const strans::TimeDomainTransform<double, 1>& transform) {
    FormatRegistrar& library = LibraryOf(conversion);
    if (&library == system.get() && !status.generated)
        throw slib::BadDataException("A conversion of the system's format library (" + describe(conversion) +
                                     ") can't be changed.");
    library.storeTransform(conversion, status, transform);
}

void LayeredLibrarian::eraseTransform(const ConversionTag& conversion, int rate) {
    FormatRegistrar& library = LibraryOf(conversion);
    TransformStatus status;
    library.getTransformStatus(library.findConversion(conversion), rate, status);
    if (&library == system.get() && status.possible && !status.generated)
        throw slib::BadDataException("A conversion of the system's format library (" + describe(conversion) +
                                     ") can't be changed.");
    library.eraseTransform(conversion, rate);
}

bool LayeredLibrarian::hasPendingData() const {
    return own->hasPendingData() || system->hasPendingData();
}

void LayeredLibrarian::commit() {
    if (own->hasPendingData()) own->commit();
    if (system->hasPendingData()) system->commit();
}

bool LayeredLibrarian::IsOwnLayout(const std::string& tag) const {
    return own->hasFormat(tag) && FormatAt(*own, own->findFormat(tag)).isLayout;
}

}  // namespace orb3::fl

#include "orb3core/library/pakformatlibrarian.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <istream>
#include <string_view>
#include <utility>

#include "orb3core/library/libraryfiles.h"
#include "orb3core/library/packeddescription.h"
#include "orb3core/library/pakwriter.h"
#include "orb3core/transform/littleendian.h"
#include "orb3core/transform/transformreader.h"
#include "slib/digest.h"
#include "slib/exception.h"
#include "slib/files.h"
#include "slib/filestream.h"

namespace orb3::fl {
namespace {

std::string Digest(const std::string& text) {
    return slib::hexText(slib::md5(text));
}

// `root` as the beginning of a path: with a separator at its end, but for nothing at all and for a drive.
std::string CompletedRoot(std::string root) {
    const bool isDrive = root.size() == 2 && root[1] == ':';
    if (!root.empty() && !isDrive && root.back() != '/' && root.back() != '\\') root += '/';
    return root;
}

// Takes `count` bytes; false when there are fewer. Memory is taken as they come.
bool ReadBytes(std::istream& stream, std::uint32_t count, std::string& bytes) {
    std::array<char, 65536> chunk;
    bytes.clear();
    while (bytes.size() < count) {
        const std::size_t wanted = std::min(chunk.size(), count - bytes.size());
        if (!stream.read(chunk.data(), static_cast<std::streamsize>(wanted))) return false;
        bytes.append(chunk.data(), wanted);
    }
    return true;
}

bool ReadNumber(std::istream& stream, std::uint32_t& value) {
    std::string bytes;
    if (!ReadBytes(stream, sizeof value, bytes)) return false;
    value = strans::LoadLittleEndian<std::uint32_t>(reinterpret_cast<const unsigned char*>(bytes.data()));
    return true;
}

[[noreturn]] void RefuseChange() {
    throw slib::BadStateException("This format library cannot be updated in this way.");
}

}  // namespace

PAKFormatLibrarian::PAKFormatLibrarian(const std::string& path, const std::string& cacheRoot,
                                       const aspace::AcousticFactory& factory)
    : path(path),
      memory(nullptr, nullptr),
      hasCache(true),
      cacheRoot(CompletedRoot(cacheRoot)),
      factory(factory) {
    slib::createDirectories(this->cacheRoot);
    PAKFormatLibrarian::refresh();
}

PAKFormatLibrarian::PAKFormatLibrarian(const std::string& path, const aspace::AcousticFactory& factory)
    : path(path), memory(nullptr, nullptr), hasCache(false), factory(factory) {
    PAKFormatLibrarian::refresh();
}

PAKFormatLibrarian::PAKFormatLibrarian(const char* begin, const char* end, const std::string& cacheRoot,
                                       const aspace::AcousticFactory& factory)
    : memory(begin, end), hasCache(true), cacheRoot(CompletedRoot(cacheRoot)), factory(factory) {
    slib::createDirectories(this->cacheRoot);
    PAKFormatLibrarian::refresh();
}

void PAKFormatLibrarian::refresh() {
    const slib::Lock lock(mutex);
    const std::string index = ReadIndex();
    Catalogue<EmbeddedTransform> fresh;
    fresh.Read(slib::SXMLNode(index), pakRootLabel, factory);
    std::string directory = cacheRoot + FileNameFor(fresh.tag) + ".cache/";
    if (hasCache) slib::createDirectories(directory);
    catalogue = std::move(fresh);
    libraryDigest = Digest(index);
    cacheDirectory = std::move(directory);
}

void PAKFormatLibrarian::getTransformStatus(std::uint32_t index, int rate, TransformStatus& status) const {
    const slib::Lock lock(mutex);
    const Data& conversion = At(index);
    if (const auto found = conversion.transforms.find(rate); found != conversion.transforms.end()) {
        found->second.status.validate();
        status = found->second.status;
    } else if (IsCached(conversion, rate)) {
        status = {true, true, false};
    }
}

void PAKFormatLibrarian::getTransform(std::uint32_t index, int rate,
                                      strans::TimeDomainTransform<float, 1>& transform) const {
    ReadTransform(index, rate, transform);
}

void PAKFormatLibrarian::getTransform(std::uint32_t index, int rate,
                                      strans::TimeDomainTransform<double, 1>& transform) const {
    ReadTransform(index, rate, transform);
}

void PAKFormatLibrarian::setTag(const std::string&) {
    RefuseChange();
}

void PAKFormatLibrarian::storeFormat(const Format&) {
    RefuseChange();
}

void PAKFormatLibrarian::eraseFormat(const std::string&) {
    RefuseChange();
}

void PAKFormatLibrarian::storeMethod(const Method&) {
    RefuseChange();
}

void PAKFormatLibrarian::eraseMethod(const std::string&) {
    RefuseChange();
}

void PAKFormatLibrarian::storeConversion(const Conversion&) {
    RefuseChange();
}

void PAKFormatLibrarian::eraseConversion(const ConversionTag&) {
    RefuseChange();
}

void PAKFormatLibrarian::storeTransform(const ConversionTag& conversion, const TransformStatus& status,
                                        const strans::TimeDomainTransform<double, 1>& transform) {
    const slib::Lock lock(mutex);
    status.validate();
    CheckStorable(Named(conversion), status, transform);
    if (!hasCache) throw slib::BadStateException("This format library has no cache to store transforms in.");
    const LibraryLock cacheLock(cacheDirectory + "cache");
    ReplaceTransformFile(CachePath(conversion, RoundedRate(transform.sampleRate)), transform);
}

void PAKFormatLibrarian::eraseTransform(const ConversionTag& conversion, int rate) {
    const slib::Lock lock(mutex);
    const Data& data = Named(conversion);
    if (hasCache) RemoveFile(CachePath(data, rate));
}

// Calls `use` with a stream over the library, at its start.
template <typename Use>
void PAKFormatLibrarian::ReadLibrary(const Use& use) const {
    errno = 0;
    if (memory.begin != nullptr) {
        memory.cursor = memory.begin;
        std::istream stream(&memory);
        return use(stream);
    }
    slib::InputFile stream(path);
    if (!stream)
        throw slib::OperatingSystemErrnoException("Failed to open format library file '" + path + "'");
    use(stream);
}

std::string PAKFormatLibrarian::ReadIndex() const {
    std::string bytes;
    ReadLibrary([&](std::istream& stream) {
        if (!ReadBytes(stream, pakMagic.size() + 1, bytes)) FailToRead();
        if (!bytes.starts_with(pakMagic) || (bytes.back() != 1 && bytes.back() != 2))
            throw slib::BadDataException(
                "The format library doesn't seem to be intended for this version of the software. You may "
                "need to reinstall.");
        std::uint32_t offset = 0;
        std::uint32_t length = 0;
        if (!ReadNumber(stream, offset) || !stream.seekg(offset) || !ReadNumber(stream, length) ||
            !ReadBytes(stream, length, bytes))
            FailToRead();
    });
    return UnscrambleIndex(bytes);
}

template <typename T>
void PAKFormatLibrarian::ReadTransform(std::uint32_t index, int rate,
                                       strans::TimeDomainTransform<T, 1>& transform) const {
    const slib::Lock lock(mutex);
    const Data& conversion = At(index);
    strans::TimeDomainTransform<T, 1> stored;
    if (const auto found = conversion.transforms.find(rate); found != conversion.transforms.end()) {
        ReadLibrary([&](std::istream& stream) {
            if (!stream.seekg(found->second.coreOffset)) FailToRead();
            strans::readTransform(stream, stored);
        });
    } else {
        if (!IsCached(conversion, rate))
            throw slib::BadDataException("A transform was not present in a format library.");
        strans::readTransform(CachePath(conversion, rate), stored);
    }
    CheckFits(conversion, rate, stored);
    transform = std::move(stored);
}

void PAKFormatLibrarian::FailToRead() const {
    throw slib::OperatingSystemErrnoException(path.empty()
                                                  ? "Failed to read from format library data."
                                                  : "Failed to read from format library file '" + path + "'");
}

// The library's own digest is in the name, so that a changed library never meets the cache of an older one.
std::string PAKFormatLibrarian::CachePath(const ConversionTag& conversion, int rate) const {
    const std::string name = libraryDigest + "_" + conversion.from + "_" + conversion.to + "_" +
                             conversion.method + "_" + std::to_string(rate);
    return cacheDirectory + Digest(name) + ".pft";
}

bool PAKFormatLibrarian::IsCached(const ConversionTag& conversion, int rate) const {
    return hasCache && slib::fileExists(CachePath(conversion, rate));
}

}  // namespace orb3::fl

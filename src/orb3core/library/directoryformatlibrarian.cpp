#include "orb3core/library/directoryformatlibrarian.h"

#include <cstdio>
#include <exception>
#include <utility>

#include "orb3core/library/libraryfiles.h"
#include "orb3core/library/packeddescription.h"
#include "orb3core/transform/transformprecision.h"
#include "orb3core/transform/transformreader.h"
#include "slib/digest.h"
#include "slib/exception.h"
#include "slib/files.h"
#include "slib/sxml.h"

namespace orb3::fl {
namespace {

using Style = slib::SXMLNode::Style;

constexpr std::string_view rootLabel = "FormatLibrary";
constexpr const char* digestAttribute = "BaseMD5";
constexpr const char* plainExtension = ".gtrn";
constexpr char cacheMark = 'M';

std::string Digest(const std::string& text) {
    return slib::hexText(slib::md5(text));
}

// All of a catalogue but what was generated, as a text that can be compared.
std::string BaseText(const Catalogue<FiledTransform>& catalogue) {
    return catalogue.CreateNode(rootLabel, false)->ToString(Style::Compact);
}

bool IsKey(const std::string& text) {
    return !text.empty() && FileNameFor(text) == text;
}

std::string Packed(const std::string& text, bool isPacked) {
    return isPacked ? PackDescription(text) : text;
}

}  // namespace

DirectoryBasedFormatLibrarian::DirectoryBasedFormatLibrarian(const std::string& path,
                                                             const std::string& cacheRoot,
                                                             const aspace::AcousticFactory& factory,
                                                             bool saveOnDestroy, bool isPacked)
    : path(path),
      cacheRoot(cacheRoot),
      factory(factory),
      directory(FolderOf(path)),
      hasCache(!cacheRoot.empty()),
      saveOnDestroy(saveOnDestroy),
      isPacked(isPacked) {
    DirectoryBasedFormatLibrarian::refresh();
}

DirectoryBasedFormatLibrarian::~DirectoryBasedFormatLibrarian() {
    if (!saveOnDestroy) return;
    try {
        DirectoryBasedFormatLibrarian::commit();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "Failed to save format library: %s\n", failure.what());
    }
}

void DirectoryBasedFormatLibrarian::refresh() {
    const slib::Lock lock(mutex);
    if (dirty)
        throw slib::BadStateException("Cannot refresh format library as there is pending data to write.");
    std::string text = ReadDescription(path);
    Catalogue<FiledTransform> fresh = ParseDescription(text);
    if (hasCache) {
        baseDigest = Digest(text);
        cacheDirectory = cacheRoot + FileNameFor(fresh.tag) + ".cache/";
        cachePath = cacheDirectory + "cache.dat";
        if (std::string cached = ReadCache(); !cached.empty()) {
            fresh = ParseDescription(cached);
            text = std::move(cached);
        }
        dirty = true;
    }
    catalogue = std::move(fresh);
    syncedText = std::move(text);
}

bool DirectoryBasedFormatLibrarian::hasPendingData() const {
    const slib::Lock lock(mutex);
    return dirty || !pendingWrites.empty() || !pendingRemovals.empty();
}

void DirectoryBasedFormatLibrarian::commit() {
    const slib::Lock lock(mutex);
    if (!DirectoryBasedFormatLibrarian::hasPendingData()) return;
    if (hasCache) slib::createDirectories(cacheDirectory);
    const LibraryLock libraryLock(Target());
    MergeStored();
    WriteTransforms();
    WriteDescription();
    pendingWrites.clear();
    dirty = false;
    RemoveUnlisted();
}

void DirectoryBasedFormatLibrarian::readTransformFloat(
    const std::string& storageKey, strans::TimeDomainTransform<float, 1>& transform) const {
    const std::string file = KeyPath(storageKey);
    if (pendingRemovals.contains(file)) throw slib::BadDataException("Transform not found (erased).");
    const auto pending = pendingWrites.find(file);
    if (pending == pendingWrites.end()) return strans::readTransform(file, transform);
    strans::ChangePrecision(pending->second, transform);
}

void DirectoryBasedFormatLibrarian::readTransformDouble(
    const std::string& storageKey, strans::TimeDomainTransform<double, 1>& transform) const {
    const std::string file = KeyPath(storageKey);
    if (pendingRemovals.contains(file)) throw slib::BadDataException("Transform not found (erased).");
    const auto pending = pendingWrites.find(file);
    if (pending == pendingWrites.end()) return strans::readTransform(file, transform);
    transform = pending->second;
}

void DirectoryBasedFormatLibrarian::writeTransform(const ConversionTag& tag, int rate,
                                                   const strans::TimeDomainTransform<double, 1>& transform,
                                                   std::string& storageKey) {
    const std::string name = tag.from + "_" + tag.to + "_" + tag.method + "_" + std::to_string(rate);
    std::string key = KeyOf(name);
    // The description on the disc lists this file until the commit is through.
    for (int i = 2; pendingRemovals.contains(KeyPath(key)) && slib::fileExists(KeyPath(key)); ++i)
        key = KeyOf(name + "_" + std::to_string(i));
    const std::string file = KeyPath(key);
    pendingWrites[file] = transform;
    pendingRemovals.erase(file);
    storageKey = std::move(key);
}

void DirectoryBasedFormatLibrarian::removeTransform(const std::string& storageKey) {
    if (!IsKey(storageKey)) return;  // there is no such file, and its entry has to go
    const std::string file = KeyPath(storageKey);
    pendingRemovals.insert(file);
    pendingWrites.erase(file);
}

// The path of the transform of a key, stored or to be stored.
std::string DirectoryBasedFormatLibrarian::KeyPath(const std::string& key) const {
    if (key.empty()) throw slib::BadDataException("Bad storage key (blank).");
    if (!IsKey(key)) throw slib::BadDataException("Bad storage key ('" + key + "').");
    const bool isCached = hasCache && key[0] == cacheMark;
    return (isCached ? cacheDirectory : directory) + key + (isPacked ? "" : plainExtension);
}

// A key for a transform of this name. In the library itself none begins as those of a cache do; digests don't
// in any case.
std::string DirectoryBasedFormatLibrarian::KeyOf(const std::string& name) const {
    if (hasCache) return cacheMark + (isPacked ? Digest(name) : FileNameFor(name));
    return isPacked || name[0] == cacheMark ? Digest(name) : FileNameFor(name);
}

std::string DirectoryBasedFormatLibrarian::ReadDescription(const std::string& file) const {
    std::string bytes;
    slib::readFile(file, bytes);
    return isPacked ? UnpackDescription(bytes) : bytes;
}

Catalogue<FiledTransform> DirectoryBasedFormatLibrarian::ParseDescription(const std::string& text) const {
    Catalogue<FiledTransform> fresh;
    fresh.Read(slib::SXMLNode(text), rootLabel, factory);
    return fresh;
}

// The text of the cache's description; empty unless there is one that can be read and is of this base.
std::string DirectoryBasedFormatLibrarian::ReadCache() const {
    if (!slib::fileExists(cachePath)) return "";
    try {
        std::string text = ReadDescription(cachePath);
        if (slib::SXMLNode(text).GetAttribute(digestAttribute) != baseDigest) return "";
        ParseDescription(text);
        return text;
    } catch (const slib::StringException&) {
        return "";
    }
}

bool DirectoryBasedFormatLibrarian::IsPending(const FiledTransform& stored) const {
    return IsKey(stored.storageKey) && pendingWrites.contains(KeyPath(stored.storageKey));
}

// True when the library itself has changes of this process.
bool DirectoryBasedFormatLibrarian::HasNewBase(const Catalogue<FiledTransform>& old) const {
    for (const Data& conversion : catalogue.conversions)
        for (const auto& [rate, stored] : conversion.transforms)
            if (!stored.status.generated && IsPending(stored)) return true;
    return BaseText(catalogue) != BaseText(old);
}

// Brings in what other processes committed since this one last read or wrote the description.
void DirectoryBasedFormatLibrarian::MergeStored() {
    std::string found;
    if (hasCache)
        found = ReadCache();
    else if (slib::fileExists(path))
        found = ReadDescription(path);
    if (found.empty() || found == syncedText) return;
    const Catalogue<FiledTransform> old = ParseDescription(syncedText);
    const Catalogue<FiledTransform> theirs = ParseDescription(found);
    if (BaseText(theirs) != BaseText(old))
        throw slib::BadStateException("The format library '" + Target() +
                                      "' was changed by another program meanwhile.");
    if (HasNewBase(old)) return;
    for (std::uint32_t i = 0; i < catalogue.conversions.size; ++i)
        MergeTransforms(theirs.conversions[i].transforms, catalogue.conversions[i].transforms);
}

// What both generated is the same, so that the one that is stored already will do, unless it was found to be
// bad and is to be removed here.
void DirectoryBasedFormatLibrarian::MergeTransforms(const Transforms& theirs, Transforms& ours) {
    Transforms merged;
    for (const auto& [rate, stored] : theirs)
        if (!IsKey(stored.storageKey) || !pendingRemovals.contains(KeyPath(stored.storageKey)))
            merged.emplace(rate, stored);
    for (const auto& [rate, stored] : ours) {
        if (!IsPending(stored)) continue;
        const auto [entry, isNew] = merged.emplace(rate, stored);
        if (!isNew && entry->second.storageKey != stored.storageKey)
            pendingWrites.erase(KeyPath(stored.storageKey));
    }
    ours = std::move(merged);
}

void DirectoryBasedFormatLibrarian::WriteTransforms() const {
    for (const auto& [file, transform] : pendingWrites)
        ReplaceTransformFile(file, transform);
}

void DirectoryBasedFormatLibrarian::WriteDescription() {
    const auto root = catalogue.CreateNode(rootLabel);
    if (hasCache) root->attributes[digestAttribute] = baseDigest;
    std::string text = root->ToString(Style::Indented);
    ReplaceFile(Target(), Packed(text, isPacked));
    syncedText = std::move(text);
}

// Each that is removed is pending no more. With a cache, files of the library itself stay, listed or not.
void DirectoryBasedFormatLibrarian::RemoveUnlisted() {
    for (const Data& conversion : catalogue.conversions)
        for (const auto& [rate, stored] : conversion.transforms)
            if (IsKey(stored.storageKey)) pendingRemovals.erase(KeyPath(stored.storageKey));
    while (!pendingRemovals.empty()) {
        const std::string& file = *pendingRemovals.begin();
        if (!hasCache || FolderOf(file) == cacheDirectory) RemoveFile(file);
        pendingRemovals.erase(pendingRemovals.begin());
    }
}

void CreateDirectoryLibrary(const std::string& path, const std::string& tag, bool isPacked) {
    Catalogue<FiledTransform> empty;
    empty.tag = tag;
    slib::createDirectories(FolderOf(path));
    const LibraryLock lock(path);
    ReplaceFile(path, Packed(empty.CreateNode(rootLabel)->ToString(Style::Indented), isPacked));
}

}  // namespace orb3::fl

#pragma once

// A format library in a folder: one description file with the catalogue, and each transform in a file of its
// own. Used from any thread, like every librarian.
//
//     plain:   NAME.dfl, SXML text                    transforms KEY.gtrn, keys "from_to_method_rate"
//     packed:  NAME.afl, "AFL1" and scrambled text    transforms KEY, keys are digests of those
//
// With a cache folder named, what is changed goes there, beginning with a copy of the whole catalogue, and
// the library itself is never written to:
//
//     CACHEROOT TAG.cache/cache.dat, a description    transforms in the same folder, keys begin with "M"
//
// Other processes may use the library at the same time. A commit writes the new transforms, then replaces the
// description, then removes what isn't listed any more. A transform that takes the place of a listed one goes
// into a file of another name. So the description, old or new, always has all its transforms, even if the
// process is killed half-way.

#include <map>
#include <memory>
#include <set>
#include <string>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/basicformatlibrarian.h"

namespace orb3::fl {

class DirectoryBasedFormatLibrarian : public BasicFormatLibrarian {
public:
    /// Reads the library with the description `path`. `cacheRoot` is what the cache folder's path begins
    /// with, a folder and its separator, or empty for no cache. `factory` is borrowed and outlives the
    /// object. With `saveOnDestroy` the destructor commits what is pending. Throws what refresh throws.
    DirectoryBasedFormatLibrarian(const std::string& path, const std::string& cacheRoot,
                                  const aspace::AcousticFactory& factory, bool saveOnDestroy, bool isPacked);
    ~DirectoryBasedFormatLibrarian() override;

    /// Throws slib::BadStateException while anything is pending and for a file that isn't packed as it
    /// should be, slib::OperatingSystemErrnoException when the file can't be read, slib::BadDataException
    /// for a bad description; the catalogue then stays as it was. A cache of another base, or one that can't
    /// be read, is left aside and replaced by the next commit.
    void refresh() override;

    bool hasPendingData() const override;

    /// What other processes generated meanwhile is kept, unless this one changed the library itself, which
    /// everything was generated from. Throws slib::OperatingSystemErrnoException, and
    /// slib::BadStateException when another process changed the library itself; all that was pending is
    /// still pending then, and can be read.
    void commit() override;

    void readTransformFloat(const std::string& storageKey,
                            strans::TimeDomainTransform<float, 1>& transform) const
        SLIB_REQUIRES(mutex) override;
    void readTransformDouble(const std::string& storageKey,
                             strans::TimeDomainTransform<double, 1>& transform) const
        SLIB_REQUIRES(mutex) override;
    void writeTransform(const ConversionTag& tag, int rate,
                        const strans::TimeDomainTransform<double, 1>& transform, std::string& storageKey)
        SLIB_REQUIRES(mutex) override;
    void removeTransform(const std::string& storageKey) SLIB_REQUIRES(mutex) override;

private:
    using Transforms = std::map<int, FiledTransform>;

    std::string KeyPath(const std::string& key) const;
    std::string KeyOf(const std::string& name) const;
    std::string ReadDescription(const std::string& file) const;
    Catalogue<FiledTransform> ParseDescription(const std::string& text) const;
    std::string ReadCache() const;
    const std::string& Target() const { return hasCache ? cachePath : path; }

    bool IsPending(const FiledTransform& stored) const SLIB_REQUIRES(mutex);
    bool HasNewBase(const Catalogue<FiledTransform>& old) const SLIB_REQUIRES(mutex);
    void MergeStored() SLIB_REQUIRES(mutex);
    void MergeTransforms(const Transforms& theirs, Transforms& ours) SLIB_REQUIRES(mutex);
    void WriteTransforms() const SLIB_REQUIRES(mutex);
    void WriteDescription() SLIB_REQUIRES(mutex);
    void RemoveUnlisted() SLIB_REQUIRES(mutex);

    std::string path;       // the description file
    std::string cacheRoot;  // empty for no cache
    const aspace::AcousticFactory& factory;
    std::string directory;  // of `path`
    bool hasCache;
    bool saveOnDestroy;
    bool isPacked;
    std::string baseDigest;  // of the description's text, with a cache
    // By path.
    std::map<std::string, strans::TimeDomainTransform<double, 1>> pendingWrites SLIB_GUARDED_BY(mutex);
    std::set<std::string> pendingRemovals SLIB_GUARDED_BY(mutex);

    std::string cacheDirectory;
    std::string cachePath;  // the cache's description
    // The description that the catalogue was last read from or written to.
    std::string syncedText SLIB_GUARDED_BY(mutex);
};

/// Makes a library without content, or replaces the description of one. Throws
/// slib::OperatingSystemErrnoException.
void CreateDirectoryLibrary(const std::string& path, const std::string& tag, bool isPacked);

}  // namespace orb3::fl

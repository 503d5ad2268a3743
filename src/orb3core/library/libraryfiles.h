#pragma once

// How format libraries change their files: each is written under another name and renamed, so that a reader
// finds the old file or the new one, whole, whatever fails or is killed meanwhile. For the librarians and the
// writers of libraries, at set-up; no state.

#include <string>
#include <string_view>

#include "orb3core/transform/timedomaintransform.h"
#include "platform/storefile.h"

namespace orb3::fl {

/// Holds the right to change the files around `path`, among all processes, for as long as it lives. The lock
/// is stored beside as "PATH.lock". Throws slib::OperatingSystemErrnoException when it can't be taken, after
/// five seconds of another's holding it.
class LibraryLock {
public:
    explicit LibraryLock(const std::string& path);

private:
    platform::StoreFileLock lock;
};

/// Replaces the file, or makes it. The caller holds a LibraryLock over it. Throws
/// slib::OperatingSystemErrnoException, with the old file as it was.
void ReplaceFile(const std::string& path, std::string_view bytes);

/// The same with a transform, in single precision. Throws what strans::writeTransform throws as well.
void ReplaceTransformFile(const std::string& path, const strans::TimeDomainTransform<double, 1>& transform);

/// Takes a file away; one that isn't there is no failure. Throws slib::OperatingSystemErrnoException.
void RemoveFile(const std::string& path);

/// `name` where it can be the name of a file, else the digest of it; what is read from elsewhere must not
/// lead out of the folder that it is put in.
std::string FileNameFor(const std::string& name);

/// "FOLDER/", or nothing for a file of the working folder.
std::string FolderOf(const std::string& path);

}  // namespace orb3::fl

#include "tools/support/installedtree.h"

#include <initializer_list>
#include <string>

#include "platform/storelocation.h"
#include "slib/exception.h"

namespace tool {
namespace {

using std::filesystem::path;

bool Exists(const path& file) {
    std::error_code ignored;
    return std::filesystem::exists(file, ignored);
}

// `name` in the first of the folders of this tree that has it.
path Find(std::initializer_list<const char*> folders, const char* name) {
    const path tree = platform::LoadedTree();
    for (const char* folder : folders)
        if (Exists(tree / folder / name)) return tree / folder / name;
    throw slib::BadStateException("There is no '" + (tree / *folders.begin() / name).string() +
                                  "'. Start this program from the 'bin' of the tree that it was installed "
                                  "with, or install the tree again.");
}

}  // namespace

path LibraryOfThisTree() {
    return Find({TESSARUNE_LIBRARY_FOLDER, "lib"}, TESSARUNE_LIBRARY_NAME);
}

std::vector<path> DropInFolders() {
    std::vector<path> folders{Find({TESSARUNE_DROPIN_FOLDER, "lib/dropin"}, "libopenal.so.1").parent_path()};
    const path other = platform::LoadedTree() / "lib32" / "dropin";
    if (Exists(other / "libopenal.so.1")) folders.push_back(other);
    return folders;
}

}  // namespace tool

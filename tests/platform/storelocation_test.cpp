#include "platform/storelocation.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <stdlib.h>

#include <fstream>
#include <string>

#include "tests/support/process.h"
#include "tests/support/temporaryfolder.h"

namespace {

namespace fs = std::filesystem;

void Set(const char* name, const char* value) {
    value == nullptr ? unsetenv(name) : setenv(name, value, 1);
}

TEST(UserStore, Path_FollowsTheVariables) {
    const std::string inTheDatabase = getpwuid(getuid())->pw_dir + std::string("/.config");
    struct Row {
        const char *configHome, *home;
        std::string folder;
    };
    for (const Row& row : {Row{"/c d", "/h", "/c d"},
                           {"", "/h", "/h/.config"},
                           {"relative", "/h", "/h/.config"},
                           {nullptr, nullptr, inTheDatabase},
                           {nullptr, "relative", inTheDatabase}}) {
        Set("XDG_CONFIG_HOME", row.configHome);
        Set("HOME", row.home);
        EXPECT_EQ(platform::UserStorePath("Root"), row.folder + "/Root/store.conf");
        Set("XDG_DATA_HOME", row.configHome);
        const std::string data = row.folder.ends_with("/.config")
                                     ? row.folder.substr(0, row.folder.size() - 7) + ".local/share"
                                     : row.folder;
        EXPECT_EQ(platform::UserDataPath("Root"), data + "/Root");
    }
}

TEST(MachineStore, Path_IsTheFirstThatExistsAlongTheListOrElseThatOfTheLoadedTree) {
    const testing_support::TemporaryFolder folder;
    const auto make = [&](const char* name) {
        fs::create_directories(folder.path / name / "Root");
        std::ofstream(folder.path / name / "Root" / "store.conf") << "x";
    };
    const fs::path before = fs::current_path();
    fs::current_path(folder.path);
    make("relative");
    const std::string list =
        ":relative:./relative::" + (folder.path / "b:").string() + (folder.path / "c:").string();
    const fs::path ofTheTree = platform::LoadedTree() / "etc" / "xdg" / "Root" / "store.conf";
    for (const char* value : {"relative", "", static_cast<const char*>(nullptr), list.c_str()}) {
        Set("XDG_CONFIG_DIRS", value);
        EXPECT_EQ(platform::MachineStorePath("Root"), ofTheTree);
    }
    for (const char* name : {"c", "b"}) {  // the later one first
        make(name);
        EXPECT_EQ(platform::MachineStorePath("Root"), folder.path / name / "Root" / "store.conf");
    }
    fs::current_path(before);
}

// The loader knows a program by the name that it was called by, which needn't lead to it.
TEST(LoadedTree, OfAProgramCalledByAnotherName_IsTheFolderAboveItsOwn) {
    if (!testing_support::IsAlone()) {
        EXPECT_EQ(testing_support::RunThisTestAlone("called/anything", "/"), 0);
        return;
    }
    EXPECT_EQ(platform::LoadedTree(), fs::read_symlink("/proc/self/exe").parent_path().parent_path());
}

}  // namespace

#include "platform/storelocation.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "process.h"
#include "temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using testing_support::IsAlone;
using testing_support::RunTestAlone;
using testing_support::TemporaryFolder;
using testing_support::ThisTest;

// Sets or unsets a variable for a scope.
class Variable {
public:
    Variable(const char* name, const std::optional<std::string>& value) : name(name) {
        if (const char* old = getenv(name)) before = old;
        Set(value);
    }
    ~Variable() { Set(before); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    void Set(const std::optional<std::string>& value) const {
        if (value)
            setenv(name, value->c_str(), 1);
        else
            unsetenv(name);
    }
    const char* name;
    std::optional<std::string> before;
};

using Text = std::optional<std::string>;
struct UserCase {
    Text configHome, home;
    std::string expected;
};

class UserStore : public testing::TestWithParam<UserCase> {};

TEST_P(UserStore, Path_FollowsTheVariables) {
    const Variable configHome("XDG_CONFIG_HOME", GetParam().configHome);
    const Variable home("HOME", GetParam().home);
    EXPECT_EQ(platform::UserStorePath("Root"), GetParam().expected);
}

std::string InTheDatabase() {
    return std::string(getpwuid(getuid())->pw_dir) + "/.config/Root/store.conf";
}

INSTANTIATE_TEST_SUITE_P(Variables, UserStore,
                         testing::Values(UserCase{"/c d", "/h", "/c d/Root/store.conf"},
                                         UserCase{std::nullopt, "/h", "/h/.config/Root/store.conf"},
                                         UserCase{"", "/h", "/h/.config/Root/store.conf"},
                                         UserCase{"relative", "/h", "/h/.config/Root/store.conf"},
                                         UserCase{"./x", "", InTheDatabase()},
                                         UserCase{std::nullopt, std::nullopt, InTheDatabase()},
                                         UserCase{std::nullopt, "relative", InTheDatabase()}));

// Folders a, b and c, of which some hold a store; entries of the list are relative to their parent.
class MachineStore : public testing::Test {
protected:
    fs::path Make(const std::string& name) const {
        const fs::path file = folder.path / name / "Root" / "store.conf";
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "x";
        return file;
    }
    std::string At(const std::string& name) const { return (folder.path / name).string(); }
    fs::path OfTheTree() const { return platform::LoadedTree() / "etc" / "xdg" / "Root" / "store.conf"; }

    TemporaryFolder folder;
};

TEST_F(MachineStore, Path_IsTheFirstThatExistsInTheOrderOfTheList) {
    const Variable list("XDG_CONFIG_DIRS", At("a") + ":" + At("b") + ":" + At("c"));
    const fs::path last = Make("c");
    EXPECT_EQ(platform::MachineStorePath("Root"), last);
    const fs::path middle = Make("b");
    EXPECT_EQ(platform::MachineStorePath("Root"), middle);
    fs::remove(middle);
    EXPECT_EQ(platform::MachineStorePath("Root"), last);
}

TEST_F(MachineStore, RelativeAndEmptyEntries_AreIgnored) {
    Make("a");
    const fs::path real = Make("b");
    const fs::path before = fs::current_path();
    fs::current_path(folder.path);
    const Variable list("XDG_CONFIG_DIRS", ":a:./a::" + At("b") + ":");
    EXPECT_EQ(platform::MachineStorePath("Root"), real);
    fs::current_path(before);
}

TEST_F(MachineStore, WhereNoneExists_IsTheLoadedTrees) {
    const Variable list("XDG_CONFIG_DIRS", At("a") + ":" + At("b"));
    EXPECT_EQ(platform::MachineStorePath("Root"), OfTheTree());
    const Variable none("XDG_CONFIG_DIRS", "only:relative");
    EXPECT_EQ(platform::MachineStorePath("Root"), OfTheTree());
}

TEST_F(MachineStore, WithoutAList_LooksInTheStandardsPlaceThenInTheTree) {
    for (const Text& value : {Text(), Text("")}) {
        const Variable list("XDG_CONFIG_DIRS", value);
        EXPECT_EQ(platform::MachineStorePath("A root that nobody has"),
                  platform::LoadedTree() / "etc" / "xdg" / "A root that nobody has" / "store.conf");
    }
}

// The loader knows a program by the name that it was called by, which needn't lead to it.
TEST(LoadedTree, OfAProgramCalledByAnotherName_IsTheFolderAboveItsOwn) {
    if (!IsAlone()) {
        EXPECT_EQ(RunTestAlone(ThisTest(), "called/anything", [] { (void)!chdir("/"); }), 0);
        return;
    }
    EXPECT_EQ(platform::LoadedTree(), fs::read_symlink("/proc/self/exe").parent_path().parent_path());
}

}  // namespace

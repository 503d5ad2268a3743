#include "platform/storefile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/process.h"
#include "tests/support/temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using platform::ReadStoreFile;
using platform::ReplaceStoreFile;
using platform::StoreFileLock;
using testing_support::RunInChild;

class StoreFile : public testing::Test {
protected:
    static void Put(const fs::path& path, const std::string& content, mode_t mode = 0644) {
        std::ofstream(path, std::ios::binary) << content;
        chmod(path.c_str(), mode);
    }
    // The folder holds nothing but the file.
    bool IsAloneThere() const {
        return std::distance(fs::directory_iterator(folder.path), fs::directory_iterator()) == 1;
    }

    const testing_support::TemporaryFolder folder;
    const fs::path file = folder.path / "store.conf";
};

TEST_F(StoreFile, Replaced_ReadsBackByteForByteAndLeavesNothingElse) {
    EXPECT_EQ(ReadStoreFile(file), "");
    Put(file.string() + ".new", "left behind by a killed process", 0);
    for (const std::string& content :
         {std::string(), std::string("a\0\r\n\xFF", 5), std::string(5'000'000, 'x')}) {
        ASSERT_TRUE(ReplaceStoreFile(file, content));
        EXPECT_EQ(ReadStoreFile(file), content);
        EXPECT_TRUE(IsAloneThere());
    }
}

TEST_F(StoreFile, AnythingButARegularFile_IsNothingAtAllAndADirectoryStays) {
    fs::create_directory(file);
    EXPECT_EQ(ReadStoreFile(file), std::nullopt);
    EXPECT_FALSE(ReplaceStoreFile(file, "x"));
    EXPECT_TRUE(fs::is_directory(file) && IsAloneThere());
    fs::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0644), 0);
    EXPECT_EQ(ReadStoreFile(file), std::nullopt);  // and at once: nobody will ever write into it
    fs::remove(file);
    Put(file, "x");
    fs::resize_file(file, (std::uintmax_t{64} << 20) + 1);
    EXPECT_EQ(ReadStoreFile(file), std::nullopt);
}

// Whether `body` holds for a user without any rights of the superuser.
template <typename Body>
bool HoldsForNobody(const Body& body) {
    return RunInChild([&] {
               if (geteuid() == 0 && (setegid(65534) != 0 || seteuid(65534) != 0)) return 97;
               return body() ? 0 : 1;
           }) == 0;
}

TEST_F(StoreFile, WithoutRights_StandsAsItWasAndIsNotTakenForEmpty) {
    Put(file, "old", 0);
    Put(file.string() + ".lock", "", 0444);
    chmod(folder.path.c_str(), 0777);
    EXPECT_TRUE(HoldsForNobody([&] { return !ReadStoreFile(file) && StoreFileLock(file).IsHeld(); }));
    fs::remove(file.string() + ".lock");
    chmod(file.c_str(), 0644);
    chmod(folder.path.c_str(), 0555);
    EXPECT_TRUE(
        HoldsForNobody([&] { return !ReplaceStoreFile(file, "x") && !StoreFileLock(file).IsHeld(); }));
    EXPECT_EQ(ReadStoreFile(file), "old");
    chmod(folder.path.c_str(), 0700);
}

TEST_F(StoreFile, Replaced_KeepsPermissionsAndOwner) {
    const uid_t owner = geteuid() == 0 ? 65534 : geteuid();
    for (const mode_t mode : {0600U, 0444U, 0666U}) {
        Put(file, "old", mode);
        ASSERT_EQ(chown(file.c_str(), owner, static_cast<gid_t>(-1)), 0);
        ASSERT_TRUE(ReplaceStoreFile(file, "new"));
        struct stat status {};
        stat(file.c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777U, mode);
        EXPECT_EQ(status.st_uid, owner);
        fs::remove(file);
    }
}

TEST_F(StoreFile, ChainOfLinks_StaysAndTheFileAtItsEndIsReplaced) {
    const fs::path real = folder.path / "a" / "b" / "real.conf";
    fs::create_symlink("a/b/real.conf", folder.path / "chain");
    fs::create_symlink("chain", file);
    for (const std::string content : {"first", "second"}) {
        EXPECT_TRUE(StoreFileLock(file).IsHeld());
        ASSERT_TRUE(ReplaceStoreFile(file, content));
        EXPECT_EQ(fs::read_symlink(file), "chain");
        EXPECT_EQ(ReadStoreFile(real), content);
        EXPECT_TRUE(fs::exists(real.string() + ".lock"));
    }
    // The folders were missing, and are the user's alone.
    EXPECT_EQ(fs::status(folder.path / "a").permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(folder.path / "a/b").permissions(), fs::perms::owner_all);
}

TEST_F(StoreFile, WhatIsTooMuchForTheDisk_CostsNothing) {
    ASSERT_TRUE(ReplaceStoreFile(file, "old"));
    // The signal that comes with the limit would end the child.
    EXPECT_EQ(RunInChild([&] {
                  const rlimit full{16384, 16384};
                  setrlimit(RLIMIT_FSIZE, &full);
                  return ReplaceStoreFile(file, std::string(100'000, 'x')) ? 1 : 0;
              }),
              0);
    EXPECT_EQ(ReadStoreFile(file), "old");
    EXPECT_TRUE(IsAloneThere());
}

TEST_F(StoreFile, LockOfAnotherProcess_IsGivenUpAfterFiveSecondsAndFreeAfterItsEnd) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunInChild([&]() -> int {
                  const StoreFileLock lock(file);
                  const int code = RunInChild([&] { return StoreFileLock(file).IsHeld() ? 1 : 0; });
                  _exit(code);  // with the lock
              }),
              0);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(waited > std::chrono::milliseconds(4900) && waited < std::chrono::seconds(15));
    EXPECT_TRUE(StoreFileLock(file).IsHeld());
}

TEST_F(StoreFile, LockOfAnotherHolder_TellsThatThePatienceIsOver) {
    const StoreFileLock held(file);
    EXPECT_FALSE(held.HasTimedOut());
    const auto start = std::chrono::steady_clock::now();
    const StoreFileLock other(file, std::chrono::milliseconds(30));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_TRUE(!other.IsHeld() && other.HasTimedOut());
    EXPECT_TRUE(waited >= std::chrono::milliseconds(30) && waited < std::chrono::seconds(1));
}

TEST_F(StoreFile, LockReleased_IsFreeThoughAForkedChildHasACopy) {
    pid_t child = 0;
    {
        const StoreFileLock lock(file);
        child = fork();
        if (child == 0) _exit(pause());
    }
    EXPECT_TRUE(StoreFileLock(file).IsHeld());
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

}  // namespace

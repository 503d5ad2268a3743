#include "platform/storefile.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "process.h"
#include "temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using platform::ReadStoreFile;
using platform::ReplaceStoreFile;
using platform::StoreFileLock;
using testing_support::RunInChild;
using testing_support::TemporaryFolder;

class StoreFile : public testing::Test {
protected:
    StoreFile() { fs::create_directory(file.parent_path()); }

    static void Put(const fs::path& path, const std::string& content) {
        std::ofstream(path, std::ios::binary) << content;
    }
    static mode_t Mode(const fs::path& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
    }
    // The folder holds these many things.
    std::ptrdiff_t Entries() const {
        return std::distance(fs::directory_iterator(file.parent_path()), fs::directory_iterator());
    }

    TemporaryFolder folder;
    fs::path file = folder.path / "inner" / "store.conf";
};

// For a child: no rights beyond those of a user to whom nothing here belongs.
void BecomeNobody() {
    if (geteuid() == 0 && (setegid(65534) != 0 || seteuid(65534) != 0)) _exit(97);
}

TEST_F(StoreFile, Missing_ReadsAsEmpty) {
    EXPECT_EQ(ReadStoreFile(file), "");
}

TEST_F(StoreFile, Replaced_ReadsBackByteForByteAndLeavesNothingElse) {
    for (const std::string& content :
         {std::string(), std::string("a\0\r\n\xFF", 5), std::string(5'000'000, 'x')}) {
        ASSERT_TRUE(ReplaceStoreFile(file, content));
        EXPECT_EQ(ReadStoreFile(file), content);
        EXPECT_EQ(Entries(), 1);
    }
}

TEST_F(StoreFile, AnythingButAReadableRegularFile_IsNothingAtAll) {
    fs::create_directory(file);
    EXPECT_EQ(ReadStoreFile(file), std::nullopt);
    EXPECT_EQ(ReadStoreFile(folder.path / "inner" / "store.conf" / "x"), "");
    fs::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0644), 0);
    EXPECT_EQ(ReadStoreFile(file), std::nullopt);  // and at once: nobody will ever write into it
    fs::remove(file);
    fs::create_symlink("store.conf", file);
    EXPECT_EQ(ReadStoreFile(file), std::nullopt);
    fs::remove(file);
    Put(file, "x");
    EXPECT_EQ(ReadStoreFile(file / "below"), std::nullopt);
    fs::resize_file(file, (std::uintmax_t{64} << 20) + 1);
    EXPECT_EQ(ReadStoreFile(file), std::nullopt);
}

TEST_F(StoreFile, WithoutTheRightToRead_IsNothingAtAll) {
    Put(file, "x");
    fs::permissions(folder.path, fs::perms::all);
    fs::permissions(file.parent_path(), fs::perms::all);
    fs::permissions(file, fs::perms::none);
    EXPECT_EQ(RunInChild([&] {
                  BecomeNobody();
                  return ReadStoreFile(file) ? 1 : 0;
              }),
              0);
}

TEST_F(StoreFile, MissingFolders_AreMadeForTheUserAlone) {
    const fs::path deep = folder.path / "a" / "b" / "c" / "store.conf";
    ASSERT_TRUE(ReplaceStoreFile(deep, "x"));
    EXPECT_EQ(ReadStoreFile(deep), "x");
    for (const char* made : {"a", "a/b", "a/b/c"})
        EXPECT_EQ(Mode(folder.path / made), 0700U) << made;
}

TEST_F(StoreFile, Replaced_KeepsPermissionsAndOwner) {
    const uid_t owner = geteuid() == 0 ? 65534 : geteuid();
    for (const mode_t mode : {0600U, 0640U, 0444U, 0666U}) {
        Put(file, "old");
        ASSERT_EQ(chown(file.c_str(), owner, static_cast<gid_t>(-1)), 0);
        ASSERT_EQ(chmod(file.c_str(), mode), 0);
        ASSERT_TRUE(ReplaceStoreFile(file, "new"));
        struct stat status {};
        stat(file.c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777U, mode);
        EXPECT_EQ(status.st_uid, owner);
        fs::remove(file);
    }
}

TEST_F(StoreFile, NewFile_HonoursTheProcessesMask) {
    const mode_t before = umask(077);
    ReplaceStoreFile(file, "x");
    umask(before);
    EXPECT_EQ(Mode(file), 0600U);
}

struct LinkCase {
    const char* target;  // of a link in the file's place, relative to its folder
    const char* real;    // where the content then stands
    bool exists;
};

class LinkedStoreFile : public StoreFile, public testing::WithParamInterface<LinkCase> {};

TEST_P(LinkedStoreFile, Replaced_KeepsTheLink) {
    const fs::path real = file.parent_path() / GetParam().real;
    fs::create_symlink("../elsewhere/chained.conf", file.parent_path() / "chain");
    if (GetParam().exists) {
        fs::create_directories(real.parent_path());
        Put(real, "old");
    }
    fs::create_symlink(GetParam().target, file);
    const StoreFileLock lock(file);
    EXPECT_TRUE(lock.IsHeld());
    ASSERT_TRUE(ReplaceStoreFile(file, "new"));
    EXPECT_EQ(fs::read_symlink(file), GetParam().target);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(real)));
    EXPECT_EQ(ReadStoreFile(real), "new");
    EXPECT_TRUE(fs::exists(real.string() + ".lock"));
}

INSTANTIATE_TEST_SUITE_P(Links, LinkedStoreFile,
                         testing::Values(LinkCase{"other.conf", "other.conf", true},
                                         LinkCase{"../elsewhere/other.conf", "../elsewhere/other.conf", true},
                                         LinkCase{"chain", "../elsewhere/chained.conf", true},
                                         LinkCase{"../elsewhere/other.conf", "../elsewhere/other.conf",
                                                  false},
                                         LinkCase{"chain", "../elsewhere/chained.conf", false}));

TEST_F(StoreFile, DirectoryInItsPlace_IsLeftThere) {
    fs::create_directory(file);
    EXPECT_FALSE(ReplaceStoreFile(file, "x"));
    EXPECT_TRUE(fs::is_directory(file));
    EXPECT_EQ(Entries(), 1);
}

TEST_F(StoreFile, WhatAKilledProcessLeftBehind_IsNotInTheWay) {
    Put(file, "old");
    Put(file.string() + ".new", "half of a");
    fs::permissions(file.string() + ".new", fs::perms::none);
    ASSERT_TRUE(ReplaceStoreFile(file, "new"));
    EXPECT_EQ(ReadStoreFile(file), "new");
    EXPECT_EQ(Entries(), 1);
}

TEST_F(StoreFile, WithoutTheRightToWrite_StandsAsItWas) {
    Put(file, "old");
    fs::permissions(folder.path, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    fs::permissions(file.parent_path(), fs::perms(0555));
    EXPECT_EQ(RunInChild([&] {
                  BecomeNobody();
                  if (ReplaceStoreFile(file, "new")) return 1;
                  return StoreFileLock(file).IsHeld() ? 2 : 0;
              }),
              0);
    EXPECT_EQ(ReadStoreFile(file), "old");
    fs::permissions(file.parent_path(), fs::perms::owner_all);
}

// No file may grow beyond 16 KiB in this process.
bool LimitFileSize() {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{16384, 16384};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

// A file system of 16 KiB at `folder`, which only this process sees.
bool MountSmall(const fs::path& folder) {
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=16k") == 0;
}

int ReplaceWithTooMuch(const fs::path& file) {
    if (!ReplaceStoreFile(file, "old")) return 1;
    if (ReplaceStoreFile(file, std::string(100'000, 'x'))) return 2;
    if (ReadStoreFile(file) != "old") return 3;
    if (std::distance(fs::directory_iterator(file.parent_path()), fs::directory_iterator()) != 1) return 4;
    return ReplaceStoreFile(file, "new") && ReadStoreFile(file) == "new" ? 0 : 5;
}

TEST_F(StoreFile, WhatIsTooMuchForTheProcessesLimit_CostsNothing) {
    EXPECT_EQ(RunInChild([&] { return LimitFileSize() ? ReplaceWithTooMuch(file) : 9; }), 0);
}

TEST_F(StoreFile, WhatIsTooMuchForTheDisk_CostsNothing) {
    EXPECT_EQ(RunInChild([&] {
                  if (!MountSmall(file.parent_path()) && !LimitFileSize()) return 9;
                  return ReplaceWithTooMuch(file);
              }),
              0);
}

TEST_F(StoreFile, Lock_KeepsOthersOutUntilItsEnd) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int pass = 0; pass < 25; ++pass) {
                const StoreFileLock lock(file);
                ASSERT_TRUE(lock.IsHeld());
                const int before = std::atoi(ReadStoreFile(file)->c_str());
                ASSERT_TRUE(ReplaceStoreFile(file, std::to_string(before + 1)));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(ReadStoreFile(file), "100");
}

TEST_F(StoreFile, LockOfAnotherProcess_IsGivenUpAfterFiveSeconds) {
    const StoreFileLock lock(file);
    EXPECT_EQ(RunInChild([&] {
                  const auto start = std::chrono::steady_clock::now();
                  if (StoreFileLock(file).IsHeld()) return 1;
                  const auto waited = std::chrono::steady_clock::now() - start;
                  return waited > std::chrono::milliseconds(4900) && waited < std::chrono::seconds(15) ? 0
                                                                                                       : 2;
              }),
              0);
}

TEST_F(StoreFile, LockOfAProcessThatDied_IsFree) {
    EXPECT_EQ(RunInChild([&] {
                  const StoreFileLock lock(file);
                  _exit(lock.IsHeld() ? 0 : 1);
                  return 2;
              }),
              0);
    EXPECT_TRUE(StoreFileLock(file).IsHeld());
}

TEST_F(StoreFile, LockReleased_IsFreeThoughAForkedChildHasACopy) {
    pid_t child = 0;
    {
        const StoreFileLock lock(file);
        child = fork();
        if (child == 0) {
            pause();
            _exit(0);
        }
    }
    EXPECT_TRUE(StoreFileLock(file).IsHeld());
    kill(child, SIGKILL);
    testing_support::AwaitChild(child);
}

TEST_F(StoreFile, LockFileOfAnotherUser_CanBeLocked) {
    Put(file.string() + ".lock", "");
    fs::permissions(folder.path, fs::perms::all);
    fs::permissions(file.parent_path(), fs::perms::all);
    fs::permissions(file.string() + ".lock", fs::perms(0444));
    EXPECT_EQ(RunInChild([&] {
                  BecomeNobody();
                  return StoreFileLock(file).IsHeld() ? 0 : 1;
              }),
              0);
}

}  // namespace

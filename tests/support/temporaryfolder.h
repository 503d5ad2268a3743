#pragma once

// A folder of its own for a test, the store of a process pointed into it, and what a file holds.

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace testing_support {

/// A fresh folder, gone with its content at the end of the scope.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "tessarune-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("No temporary folder could be made.");
        path = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path path;
};

/// All bytes of a file; empty where there is none.
inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The build tree that this program lies in, in a folder of its own.
inline std::filesystem::path BuildTree() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

/// Both scopes of this process's store, its cache, its data and what it tells while it runs, in an empty
/// folder. The machine scope names the format library of the build tree.
class TemporaryStore {
public:
    TemporaryStore() {
        setenv("XDG_CONFIG_HOME", (folder.path / "user").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", (folder.path / "machine").c_str(), 1);
        setenv("XDG_CACHE_HOME", (folder.path / "cache").c_str(), 1);
        setenv("XDG_DATA_HOME", (folder.path / "data").c_str(), 1);
        std::filesystem::create_directory(folder.path / "runtime");
        setenv("XDG_RUNTIME_DIR", (folder.path / "runtime").c_str(), 1);
        Write(MachineFile(), "[Formats]\nAFL=" + FormatLibrary().string() + "\n");
    }

    /// From now on a context plays into silence, and silence is recorded, at the pace of the clock.
    void ChooseSilence() const { Write(UserFile(), "[Platform]\nOutput=Silent\nInput=Silent\n"); }

    std::filesystem::path UserFile() const { return folder.path / "user" / "HollowbrookLabs" / "store.conf"; }
    std::filesystem::path LogFile() const { return folder.path / "user" / "HollowbrookLabs" / "log.conf"; }
    std::filesystem::path MachineFile() const {
        return folder.path / "machine" / "HollowbrookLabs" / "store.conf";
    }
    static std::filesystem::path FormatLibrary() {
        return BuildTree() / "share" / "tessarune" / "Tessarune.afl";
    }

    TemporaryFolder folder;

private:
    static void Write(const std::filesystem::path& file, const std::string& text) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
};

}  // namespace testing_support

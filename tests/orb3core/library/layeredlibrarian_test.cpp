// A user's library over the system's, as a start opens the two.

#include "orb3core/library/layeredlibrarian.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "orb3core/library/directoryformatlibrarian.h"
#include "orb3core/library/formatlibraries.h"
#include "slib/exception.h"
#include "tests/support/process.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using namespace orb3::fl;
using Transform = orb3::strans::TimeDomainTransform<double, 1>;

const orb3::aspace::BasicAcousticFactory factory;
constexpr TransformStatus base{true, false, false};

const ConversionTag toEars{"field", "ears", "head"};     // of the system
const ConversionTag toRoom{"field", "room", "method"};   // of the system
const ConversionTag toOwn{"field", "room", "own"};       // of the user
const ConversionTag equal{"ears", "ears", "equal"};      // of the user
const ConversionTag both{"field", "ears", "headequal"};  // toEars, equal

// Two samples a response, 2 by 2 channels.
Transform Response(double a, double b) {
    Transform transform{48000, 0, 2, {2, 2}};
    hcml::GenericVector<double, 1> ring(2);
    ring.fill(0);
    transform.impulses.fill(ring);
    for (const std::uint32_t i : {0u, 1u}) {
        transform.impulses(i, i)[0] = a;
        transform.impulses(i, i)[1] = b;
    }
    return transform;
}

Format Channels(const std::string& tag, bool isLayout, const std::string& name) {
    Format format;
    format.tag = tag;
    format.name = name;
    format.channelCount = 2;
    format.isLayout = isLayout;
    return format;
}

void Store(FormatRegistrar& library, const ConversionTag& tag, const Transform& transform) {
    library.storeConversion({tag, Priority::Normal, false, {}, 1, ""});
    library.storeTransform(tag, base, transform);
}

class Layers : public testing::Test {
protected:
    Layers() {
        for (const std::string& path : {systemPath, ownPath})
            CreateDirectoryLibrary(path, path == ownPath ? "User" : "System", false);
        const auto system = Open(systemPath), own = Open(ownPath);
        for (const auto& library : {system.get(), own.get()})
            library->storeFormat(Channels("field", false, "Field"));
        for (const char* tag : {"ears", "room"})
            system->storeFormat(Channels(tag, true, std::string("System's ") + tag));
        system->storeMethod({"method", "System's", ""});
        Store(*system, toEars, Response(1, 0.5));
        Store(*system, toRoom, Response(1, 0));
        system->commit();
        own->storeFormat(Channels("ears", false, "Reference"));
        own->storeFormat(Channels("room", true, "User's room"));
        own->storeMethod({"method", "User's", ""});
        Store(*own, toOwn, Response(0.25, 0));
        Store(*own, equal, Response(2, -1));
        own->storeConversion({both, Priority::Low, false, {toEars, equal}, 1, ""});
        own->commit();
    }

    static std::unique_ptr<DirectoryBasedFormatLibrarian> Open(const std::string& path) {
        return std::make_unique<DirectoryBasedFormatLibrarian>(path, "", factory, false, false);
    }
    auto OpenBoth() { return OpenLayeredLibrary(systemPath, ownPath, factory, &log, false, true); }
    std::map<std::string, std::string> Files() const {
        std::map<std::string, std::string> files;
        for (const fs::path part : {"system", "own"})
            for (const auto& file : fs::directory_iterator(store.folder.path / part))
                if (file.path().extension() != ".lock")
                    files[file.path()] = testing_support::ReadFile(file.path());
        return files;
    }

    const testing_support::TemporaryStore store;
    const std::string systemPath = store.folder.path / "system" / "lib.dfl";
    const std::string ownPath = store.folder.path / "own" / "User.dfl";
    testing_support::RecordingLog log;
};

std::vector<double> Read(const FormatLibrarian& library, const ConversionTag& tag, int rate = 48000) {
    Transform transform;
    library.getTransform(library.findConversion(tag), rate, transform);
    std::vector<double> samples;
    for (std::uint32_t i = 0; i < transform.width; ++i)
        samples.push_back(transform.impulses(1, 1)[(transform.start + i) % transform.Length()]);
    return samples;
}

std::string NameOf(const FormatLibrarian& library, const std::string& format) {
    Format found;
    library.getFormat(library.findFormat(format), found);
    return found.name;
}

TEST_F(Layers, TheUsers_ComesOverTheSystemsAndChainsOverIt) {
    const auto before = Files();
    const auto library = OpenBoth();
    EXPECT_EQ(NameOf(*library, "room"), "User's room");
    EXPECT_EQ(NameOf(*library, "ears"), "System's ears");
    EXPECT_EQ(library->getFormatCount(), 3u);
    EXPECT_EQ(library->getMethodCount(), 1u);
    Method method;
    library->getMethod(library->findMethod("method"), method);
    EXPECT_EQ(method.name, "User's");
    EXPECT_FALSE(library->hasConversion(toRoom));  // for the speakers of another room
    EXPECT_EQ(Read(*library, toEars), (std::vector<double>{1, 0.5}));
    EXPECT_EQ(Read(*library, toOwn), (std::vector<double>{0.25, 0}));
    const std::vector<double> chain = Read(*library, both);
    const double expected[] = {2, 0, -0.5};  // (1, 0.5) convolved with (2, -1)
    for (const std::size_t i : {0u, 1u, 2u})
        EXPECT_NEAR(chain.at(i), expected[i], 1e-6);
    EXPECT_THROW(library->storeTransform(toEars, base, Response(1, 1)), slib::BadDataException);
    for (const ConversionTag& tag : {toEars, toOwn, both})
        Read(*library, tag, 44100);
    EXPECT_EQ(Files(), before);
    TransformStatus status;
    const auto next = OpenBoth();
    next->getTransformStatus(next->findConversion(toEars), 44100, status);
    EXPECT_EQ(status, (TransformStatus{true, true, false}));  // kept among the caches
    EXPECT_EQ(log.lines, "");
}

TEST_F(Layers, WhatWasGenerated_IsMadeAnewWhenTheSystemsLibraryIsAnother) {
    EXPECT_NEAR(Read(*OpenBoth(), both)[0], 2, 1e-6);
    const auto changed = Open(systemPath);
    changed->storeTransform(toEars, base, Response(3, 0));
    changed->storeMethod({"more", "More", ""});
    changed->commit();
    EXPECT_NEAR(Read(*OpenBoth(), both)[0], 6, 1e-6);
}

TEST_F(Layers, ADamagedLibraryOfTheUser_CostsOneLineAndNothingElse) {
    const std::string transform = (fs::path(ownPath).parent_path() / "field_room_own_48000.gtrn").string();
    const std::string whole = testing_support::ReadFile(transform);
    for (const auto& [file, content] : {std::pair{transform, whole.substr(0, whole.size() / 2)},
                                        {transform, std::string()},
                                        {ownPath, std::string("<FormatLibrary half")}}) {
        std::ofstream(file, std::ios::binary) << content;
        log.lines.clear();
        const auto library = OpenBoth();
        EXPECT_EQ(NameOf(*library, "room"), "System's room");
        EXPECT_EQ(Read(*library, toRoom), (std::vector<double>{1, 0}));
        EXPECT_NE(log.lines.find(ownPath), std::string::npos) << log.lines;
        EXPECT_EQ(log.lines.rfind("E:"), 0u) << log.lines;
        EXPECT_EQ(log.lines.find("I:"), std::string::npos) << log.lines;
    }
}

// By an ordinary user, who has no home that he may write to.
TEST_F(Layers, WhereNothingCanBeWritten_NoErrorIsLoggedAndAllIsMade) {
    for (const fs::path part : {"", "system", "own"})
        fs::permissions(store.folder.path / part, fs::perms(0555));
    const int faults = testing_support::RunInChild([&] {
        setenv("XDG_CACHE_HOME", "/proc/none", 1);
        if (geteuid() == 0 && setuid(65534) != 0) return 9;
        int count = access(systemPath.c_str(), W_OK) == 0 ? 8 : 0;
        for (const std::string& own : {ownPath, std::string("/proc/none/User.dfl")}) {
            const auto library = OpenLayeredLibrary(systemPath, own, factory, &log, false, true);
            if (Read(*library, toEars, 44100).empty() || library->hasPendingData()) ++count;
        }
        return log.lines.empty() ? count : 7;
    });
    EXPECT_EQ(faults, 0);
    fs::permissions(store.folder.path, fs::perms(0755));
}

}  // namespace

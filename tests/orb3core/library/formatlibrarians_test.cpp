#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/directoryformatlibrarian.h"
#include "orb3core/library/formatlibraries.h"
#include "orb3core/library/packeddescription.h"
#include "orb3core/library/pakformatlibrarian.h"
#include "orb3core/library/pakwriter.h"
#include "slib/exception.h"
#include "slib/files.h"
#include "tests/support/failure.h"
#include "tests/support/process.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using namespace orb3::fl;
using Transform = orb3::strans::TimeDomainTransform<double, 1>;
using testing_support::ReadFile;
using testing_support::TemporaryFolder;

const orb3::aspace::BasicAcousticFactory factory;
constexpr TransformStatus base{true, false, false};
constexpr TransformStatus generated{true, true, false};

const ConversionTag first{"a", "b", "m"};   // 2 to 3 channels, stored
const ConversionTag second{"b", "c", "m"};  // 3 to 1
const ConversionTag chained{"a", "c", "m"};
const ConversionTag nested{"a", "c", "n"};

Conversion Of(const ConversionTag& tag, const decltype(Conversion::chain)& chain = {}, double gain = 1) {
    return {tag, Priority::Normal, false, chain, gain, ""};
}

// Values that floats hold, all around the window, which may reach over the end of the ring.
Transform Noise(std::uint32_t rows, std::uint32_t columns, std::uint32_t start, int rate = 48000) {
    Transform transform{double(rate), start, 12, {rows, columns}};
    std::minstd_rand random(rows * 31 + columns * 7 + start + unsigned(rate));
    for (auto& impulse : transform.impulses) {
        impulse.resize(16);
        impulse.fill(0);
        for (std::uint32_t k = 0; k < 12; ++k)
            impulse[(start + k) % 16] = double(random() % 1024) / 1024 - 0.5;
    }
    return transform;
}

// Three formats of 2, 3 and 1 channels and the conversions above, in a fresh folder.
struct Library {
    explicit Library(const std::string& extension = "dfl")
        : isPacked(extension == "afl"), path(folder.path / ("lib." + extension)) {
        CreateDirectoryLibrary(path, "t", isPacked);
        const auto library = Open();
        for (const auto& [tag, count] : {std::pair{"a", 2u}, {"b", 3u}, {"c", 1u}}) {
            const std::string name = std::string("Format ") + tag;
            library->storeFormat({tag, name, {}, int(count) - 1, {}, {}, count});
        }
        library->storeMethod({"m", "Method m", ""});
        for (const Conversion& conversion :
             {Of(first), Of(second), Of(chained, {first, second}, 0.5), Of(nested, {chained}, -2)})
            library->storeConversion(conversion);
        library->storeTransform(first, base, Noise(2, 3, 10));
        library->storeTransform(second, base, Noise(3, 1, 14));
        library->commit();
    }

    std::unique_ptr<DirectoryBasedFormatLibrarian> Open(const std::string& cacheRoot = "") const {
        return std::make_unique<DirectoryBasedFormatLibrarian>(path, cacheRoot, factory, false, isPacked);
    }

    // The names of all files but locks.
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(folder.path))
            if (entry.is_regular_file() && entry.path().extension() != ".lock")
                names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder folder;
    bool isPacked;
    std::string path;
};

Transform Read(const FormatLibrarian& library, const ConversionTag& tag, int rate = 48000) {
    Transform transform;
    library.getTransform(library.findConversion(tag), rate, transform);
    return transform;
}

TransformStatus StatusOf(const FormatLibrarian& library, const ConversionTag& tag, int rate) {
    TransformStatus status;
    library.getTransformStatus(library.findConversion(tag), rate, status);
    return status;
}

void ExpectEqual(const Transform& actual, const Transform& expected) {
    EXPECT_EQ(actual.sampleRate, expected.sampleRate);
    EXPECT_EQ(actual.start, expected.start);
    EXPECT_EQ(actual.width, expected.width);
    EXPECT_TRUE(actual.impulses == expected.impulses);
}

// The sample of a response at time t, from time zero.
double At(const Transform& transform, std::uint32_t row, std::uint32_t column, int t) {
    const int length = int(transform.Length());
    const int begin =
        int(transform.start) - (transform.start + transform.width > transform.Length() ? length : 0);
    const bool isInside = t >= begin && t < begin + int(transform.width);
    return isInside ? transform.impulses(row, column)[std::size_t((t + length) % length)] : 0;
}

std::string TextOf(const std::function<void()>& action) {
    return testing_support::Failure<slib::StringException>(action);
}

class StoredLibrary : public testing::TestWithParam<const char*> {};

TEST_P(StoredLibrary, WrittenAndReadAgain_IsTheSameInEveryPart) {
    const Library files(GetParam());
    const auto read = files.Open();
    ExpectEqual(Read(*read, first), Noise(2, 3, 10));
    EXPECT_EQ(StatusOf(*read, first, 48000), base);
    EXPECT_EQ(read->findFormatByQuillId(2), 1u);
    Conversion conversion;
    read->getConversion(read->findConversion(chained), conversion);
    EXPECT_EQ(conversion.gain, 0.5);
    EXPECT_EQ(describe(conversion), "a->c(m,composite)");
    EXPECT_EQ(files.Files().size(), 3u);
    // The same library in one file.
    const std::string pak = files.folder.path / "lib.PFL";
    WritePAKLibrary(*read, pak, orb3::strans::TransformForm::Double);
    const auto packed = createLibrarian(pak, factory, nullptr, false);
    for (const ConversionTag& tag : {first, second})
        ExpectEqual(Read(*packed, tag), Read(*read, tag));
    EXPECT_EQ(packed->getTag(), "t");
}

TEST_P(StoredLibrary, WithNewBaseData_DropsWhatWasGeneratedFromTheOld) {
    const Library files(GetParam());
    const auto library = files.Open();
    library->storeTransform(first, generated, Noise(2, 3, 0, 44100));
    library->storeTransform(chained, generated, Noise(2, 1, 0));
    library->storeTransform(nested, generated, Noise(2, 1, 0));
    library->storeTransform(second, generated, Noise(3, 1, 0, 44100));
    library->commit();
    library->storeTransform(first, base, Noise(2, 3, 4));
    for (const auto* reader : {library.get(), (library->commit(), files.Open().release())}) {
        ExpectEqual(Read(*reader, first), Noise(2, 3, 4));
        EXPECT_FALSE(StatusOf(*reader, first, 44100).possible);
        EXPECT_FALSE(StatusOf(*reader, chained, 48000).possible);
        EXPECT_FALSE(StatusOf(*reader, nested, 48000).possible);
        EXPECT_EQ(StatusOf(*reader, second, 44100), generated);
        if (reader != library.get()) delete reader;
    }
    EXPECT_EQ(files.Files().size(), 4u);  // the description and three transforms
}

// Wherever a file ends, and with any byte changed, there is an answer.
TEST_P(StoredLibrary, CutOrChangedAnywhere_FailsWithATextAndStaysUsable) {
    const Library files(GetParam());
    const auto library = files.Open();
    const std::string whole = ReadFile(files.path);
    for (std::size_t i = 0; i < whole.size(); i += 17) {
        slib::writeFile(files.path, whole.substr(0, i));
        EXPECT_NE(TextOf([&] { library->refresh(); }), "") << i;
        std::string flipped = whole;
        flipped[i] = char(flipped[i] ^ 0x11);
        slib::writeFile(files.path, flipped);
        TextOf([&] { files.Open()->getTag(); });
        ExpectEqual(Read(*library, first), Noise(2, 3, 10));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, StoredLibrary, testing::Values("dfl", "afl"));

TEST(FormatLibrarians, AskedForWhatIsNotThereOrDoesNotFit_SayWhat) {
    const Library files;
    const auto library = files.Open();
    library->eraseTransform(second, 48000);
    const Transform square = Noise(2, 2, 0);
    FormatRegistrar& registrar = *library;
    struct Refusal {
        std::string text;
        std::function<void()> action;
    };
    const Refusal refusals[] = {
        {"Format tag 'x' is unknown.", [&] { registrar.findFormat("x"); }},
        {"No conversion was available from 'Format b' to 'Format a' by 'Method m'.",
         [&] {
             registrar.findConversion({"b", "a", "m"});
         }},
        {"A transform was not present in a format library.", [&] { Read(registrar, second); }},
        {"There was a mismatch between the number of rows submitted in the transform (2) and the number of "
         "channels in the input format (3).",
         [&] { registrar.storeTransform(second, base, square); }},
        {"There was a mismatch between the number of columns submitted in the transform (2) and the number "
         "of channels in the output format (3).",
         [&] { registrar.storeTransform(first, base, square); }}};
    for (const auto& [text, action] : refusals)
        EXPECT_EQ(TextOf(action), text);
}

// A library that another program made: keys and tags that lead elsewhere, or that mark a cache's files.
TEST(DirectoryLibrary, WithNamesThatAreNoFileNames_StaysInItsFolder) {
    const Library files;
    const auto library = files.Open();
    for (const char* tag : {"../up", "Mono"}) {
        library->storeFormat({tag, "", {}, 0, {}, {}, 1});
        const Conversion conversion = Of({tag, "c", "m"});
        library->storeConversion(conversion);
        library->storeTransform(conversion, base, Noise(1, 1, 2));
        library->commit();
        ExpectEqual(Read(*files.Open(), conversion), Noise(1, 1, 2));
    }
    EXPECT_EQ(files.Files().size(), 5u);
    std::string text = ReadFile(files.path);
    text.replace(text.find("a_b_m_48000"), 11, "../etc/file");
    slib::writeFile(files.path, text);
    EXPECT_EQ(TextOf([&] { Read(*files.Open(), first); }), "Bad storage key ('../etc/file').");
}

TEST(DirectoryLibrary, WithACache_NeverTouchesItsOwnFiles) {
    const Library files;
    const std::string root = files.folder.path / "cache-";
    const std::string before = ReadFile(files.path);
    {
        const auto library = files.Open(root);
        library->storeTransform(first, base, Noise(2, 3, 4));
        library->storeTransform(second, generated, Noise(3, 1, 0, 44100));
        library->eraseTransform(second, 48000);
        library->commit();
    }
    ExpectEqual(Read(*files.Open(root), first), Noise(2, 3, 4));
    EXPECT_EQ(StatusOf(*files.Open(root), second, 44100), generated);
    ExpectEqual(Read(*files.Open(), first), Noise(2, 3, 10));
    ExpectEqual(Read(*files.Open(), second), Noise(3, 1, 14));
    EXPECT_EQ(ReadFile(files.path), before);
    // Of another base, or beyond reading, it counts for nothing.
    slib::writeFile(files.path, before + " ");
    EXPECT_FALSE(StatusOf(*files.Open(root), second, 44100).possible);
    slib::writeFile(files.path, before);
    slib::writeFile(root + "t.cache/cache.dat", "<FormatLibrary");
    ExpectEqual(Read(*files.Open(root), first), Noise(2, 3, 10));
}

// The file size limit stands in for a full disc: it stops the first write that comes to it, or a later one,
// and by a signal that kills, or not.
class FailingCommit : public testing::TestWithParam<bool> {};

TEST_P(FailingCommit, AtAnyWrite_LeavesTheOldLibraryWholeAndTheNewOnePending) {
    for (rlim_t limit = 16; limit < 6000; limit += limit < 400 ? 48 : 900) {
        const Library files;
        const int code = testing_support::RunInChild([&] {
            const auto library = files.Open();
            library->storeTransform(first, base, Noise(2, 3, 4));
            for (int rate = 8000; rate < 8016; ++rate)
                library->storeTransform(second, generated, Noise(3, 1, 4, rate));
            signal(SIGXFSZ, GetParam() ? SIG_DFL : SIG_IGN);
            const rlimit full{limit, RLIM_INFINITY};
            setrlimit(RLIMIT_FSIZE, &full);
            if (TextOf([&] { library->commit(); }).empty()) return 0;
            if (!library->hasPendingData()) return 2;
            if (!(Read(*library, first).impulses == Noise(2, 3, 4).impulses)) return 3;
            const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
            setrlimit(RLIMIT_FSIZE, &none);
            library->commit();
            return Read(*files.Open(), first).impulses == Noise(2, 3, 4).impulses ? 0 : 4;
        });
        const bool isNew = code == 0;
        EXPECT_TRUE(isNew || code == 128 + SIGXFSZ) << limit << " " << code;
        const auto library = files.Open();
        ExpectEqual(Read(*library, first), isNew ? Noise(2, 3, 4) : Noise(2, 3, 10));
        EXPECT_EQ(StatusOf(*library, second, 8015).possible, isNew) << limit;
        EXPECT_TRUE(!isNew || files.Files().size() == 19) << limit;
    }
}

INSTANTIATE_TEST_SUITE_P(Ends, FailingCommit, testing::Bool());

TEST(DirectoryLibrary, WithProcessesThatGenerateAtOnce_EndsWithAllTransforms) {
    const Library files;
    std::vector<pid_t> children;
    for (int process = 0; process < 4; ++process) {
        children.push_back(fork());
        if (children.back() != 0) continue;
        testing_support::RecordingLog log;
        const auto library = openFormatLibrary(files.path, factory, &log, false, true);
        for (int i = 0; i < 6; ++i)
            Read(*library, first, 20000 + 1000 * ((i + 2 * process) % 8));
        _exit(log.lines.empty() ? 0 : 1);
    }
    for (const pid_t child : children) {
        int status = 1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    const auto library = files.Open();
    for (int rate = 20000; rate < 28000; rate += 1000)
        EXPECT_EQ(Read(*library, first, rate).sampleRate, rate);
    EXPECT_EQ(files.Files().size(), 3u + 8);
}

TEST(DirectoryLibrary, ChangedByAnotherProcess_IsNotOverwritten) {
    const Library files;
    const auto mine = files.Open();
    const auto other = files.Open();
    other->storeMethod({"x", "Method x", ""});
    other->commit();
    mine->storeTransform(first, generated, Noise(2, 3, 0, 44100));
    EXPECT_NE(TextOf([&] { mine->commit(); }).find("was changed by another program"), std::string::npos);
    ExpectEqual(Read(*mine, first, 44100), Noise(2, 3, 0, 44100));
    EXPECT_TRUE(files.Open()->hasMethod("x"));
}

TEST(ProcessingLibrary, OfACompositeConversion_ConvolvesItsLinks) {
    const Library files;
    const Transform a = Noise(2, 3, 10);
    const Transform b = Noise(3, 1, 14);
    for (const bool readOnly : {true, false, false}) {
        const auto library = openFormatLibrary(files.path, factory, nullptr, readOnly, false);
        const Transform result = Read(*library, nested);
        EXPECT_EQ(result.width, 23u);
        EXPECT_EQ(result.Length(), 32u);
        for (std::uint32_t row = 0; row < 2; ++row)
            for (int t = -10; t < 20; ++t) {
                double expected = 0;
                for (std::uint32_t between = 0; between < 3; ++between)
                    for (int u = -8; u < 16; ++u)
                        expected += At(a, row, between, u) * At(b, between, 0, t - u);
                EXPECT_NEAR(At(result, row, 0, t), -expected, 1e-6) << row << " " << t;
            }
        EXPECT_EQ(StatusOf(*files.Open(), nested, 48000).possible, !readOnly);
    }
}

TEST(ProcessingLibrary, AtAnotherRate_ResamplesOnceIntoRingsOfAPowerOfTwo) {
    const Library files;
    testing_support::RecordingLog log;
    const auto library = openFormatLibrary(files.path, factory, &log, false, false);
    EXPECT_EQ(StatusOf(*library, first, 44100), (TransformStatus{true, true, true}));
    const Transform made = Read(*library, first, 44100);
    EXPECT_EQ(StatusOf(*library, first, 44100), generated);
    EXPECT_EQ(made.Length(), 16u);
    // What got lost or damaged on the disc is made anew, and stored again.
    for (const char* damage : {"", "trn4"}) {
        for (const std::string& name : files.Files())
            if (name.starts_with("a_b_m_44100")) slib::writeFile(files.folder.path / name, damage);
        ExpectEqual(Read(*openFormatLibrary(files.path, factory, &log, false, false), first, 44100), made);
        ExpectEqual(Read(*files.Open(), first, 44100), made);
    }
    EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(), ':'), 2) << log.lines;
}

TEST(ProcessingLibrary, ResponseThatBeginsLate_DoesNotComeBeforeTimeZeroAtAnotherRate) {
    const Library files;
    const auto library = openFormatLibrary(files.path, factory, nullptr, false, false);
    Transform late = Noise(2, 3, 2);
    library->storeTransform(first, base, late);
    const Transform made = Read(*library, first, 44100);
    EXPECT_EQ(made.start, 0u);
    late.width += late.start;
    late.start = 0;
    library->storeTransform(first, base, late);
    ExpectEqual(Read(*library, first, 44100), made);
}

TEST(ProcessingLibrary, ThatCanNotMakeATransform_SaysWhy) {
    const Library files;
    const auto library = openFormatLibrary(files.path, factory, nullptr, false, false);
    const ConversionTag loop{"c", "c", "m"}, empty{"c", "b", "m"}, missing{"c", "b", "n"};
    for (const Conversion& conversion : {Of(loop, {loop}), Of(empty), Of(missing, {empty})})
        library->storeConversion(conversion);
    EXPECT_EQ(TextOf([&] { Read(*library, empty); }), "The requested transform cannot be provided.");
    EXPECT_EQ(
        TextOf([&] { StatusOf(*library, missing, 48000); }),
        "A composite transform cannot be constructed because a required step (c->b(m)) is unavailable.");
    EXPECT_NE(TextOf([&] { Read(*library, loop); }).find("back to themselves (c->c(m))"), std::string::npos);
    library->storeTransform(empty, generated, Noise(1, 3, 0));
    EXPECT_EQ(TextOf([&] { StatusOf(*library, empty, 44100); }),
              "There is generated data but no base data for a conversion.");
}

TEST(PAKLibrary, WithAGeneratedTransform_KeepsItInTheCacheOfItsOwnContent) {
    const Library files;
    const std::string pak = files.folder.path / "lib.pfl";
    WritePAKLibrary(*files.Open(), pak, orb3::strans::TransformForm::Single);
    const Transform made = Read(*openFormatLibrary(pak, factory, nullptr, false, false), first, 44100);
    const PAKFormatLibrarian library(pak, files.folder.path, factory);
    EXPECT_EQ(StatusOf(library, first, 44100), generated);
    ExpectEqual(Read(library, first, 44100), made);
    std::string bytes = ReadFile(pak);
    bytes[3] = 1;
    const auto open = [&] {
        return PAKFormatLibrarian(bytes.data(), bytes.data() + bytes.size(), files.folder.path, factory);
    };
    ExpectEqual(Read(open(), first, 44100), made);
    for (std::size_t cut = bytes.size(); cut-- > 0;) {  // also unpacks the smallest index that isn't one
        bytes.resize(cut);
        EXPECT_NE(TextOf(open), "") << cut;
    }
    const auto changed = files.Open();
    changed->storeMethod({"m", "Method m", "By another maker"});
    WritePAKLibrary(*changed, pak, orb3::strans::TransformForm::Single);
    EXPECT_FALSE(StatusOf(*createLibrarian(pak, factory, nullptr, false), first, 44100).possible);
}

}  // namespace

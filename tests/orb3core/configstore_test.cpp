#include "orb3core/configstore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "process.h"
#include "slib/exception.h"
#include "temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using orb3::ConfigStore;
using testing_support::RunInChild;

// A store of the user, in a process that must print nothing.
class Store : public testing::Test {
protected:
    Store() {
        fs::create_directories(folder.UserFile().parent_path());
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    ~Store() override {
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        std::setlocale(LC_ALL, "C");
    }
    void Put(const std::string& content) const {
        std::ofstream(folder.UserFile(), std::ios::binary) << content;
    }
    std::string Content() const {
        std::ifstream file(folder.UserFile(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const testing_support::TemporaryStore folder;
    const ConfigStore store{orb3::storeRoot, ConfigStore::Scope::User};
};

TEST_F(Store, Missing_ReadsAsDefaultsAndIsMadeByTheFirstWrite) {
    fs::remove_all(folder.UserFile().parent_path());
    EXPECT_EQ(store.Read("/Log/Index", "0"), "0");
    EXPECT_FALSE(fs::exists(folder.UserFile().parent_path()));  // reading leaves no trace
    store.Write("/Log/Index", "5");
    EXPECT_EQ(store.Read("/Log/Index", "0"), "5");
}

TEST_F(Store, EmptyFile_ReadsAsDefaults) {
    Put("");
    EXPECT_EQ(store.Read("/Log/Index", "0"), "0");
}

class StoredValue : public Store, public testing::WithParamInterface<std::string> {};

TEST_P(StoredValue, Written_ReadsBackByteForByteInEachLocale) {
    for (const char* writing : {"C", "C.UTF-8"}) {
        std::setlocale(LC_ALL, writing);
        store.Write("/Some Group/A key", GetParam());
        store.Write("/Other/Key", "other");
        for (const char* reading : {"C", "C.UTF-8"}) {
            std::setlocale(LC_ALL, reading);
            EXPECT_EQ(store.Read("/Some Group/A key", "default"), GetParam());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Values, StoredValue,
                         testing::Values("", " ", "\t", "plain", "  leading", "trailing \t", "\"", "\"\"",
                                         "\"quoted\"", "in \"side\"", "\\", "\\\\", "C:\\new\\", "\\\"",
                                         "a\nb\r\nc\r", "\n", "tab\tbed", "\v\f\x01\x1F\x7F",
                                         "$HOME ${HOME} $$", "%PATH% %%", "a=b", "[group]", "# no comment",
                                         "; no comment", "!mark", "/slash/", "\xC3\xA9t\xC3\xA9",
                                         "\xE3\x80\x80wide blank\xE3\x80\x80", "\xC2\x85\xE2\x80\xA8",
                                         "\xF0\x9F\x8E\xB5", "\xEF\xBB\xBFmark", "\xEF\xBF\xBF",
                                         "<A b=\"c\"/>\n<!-- d -->", std::string(1 << 20, 'x'),
                                         std::string(50000, '\\') + std::string(50000, '"')));

TEST_F(Store, ValueThatIsNotUtf8_KeepsTheRest) {
    store.Write("/A/B", std::string("a\xFF\0z", 4));
    EXPECT_EQ(store.Read("/A/B", ""), "a\xEF\xBF\xBD\xEF\xBF\xBDz");
}

TEST_F(Store, Keys_MayHoldBlanksAndSignsAndAnyDepth) {
    const std::vector<std::string> keys{
        "/top",  "/A/key", "/A/B/key", "/A B/c d", "/A/B/C/D/E/F",       "/A/a=b", "/A/[x]", "/A/#x",
        "/A/;x", "/A/ x",  "/A/x\\y",  "/A/\"q\"", "/\xC3\xA9/\xC3\xA9", "/A/10%"};
    for (const std::string& key : keys)
        store.Write(key, "of " + key);
    for (const std::string& key : keys)
        EXPECT_EQ(store.Read(key, ""), "of " + key);
    EXPECT_EQ(store.Read("/A/absent", "default"), "default");
    EXPECT_EQ(store.Read("/absent/key", "default"), "default");
}

TEST_F(Store, FileOfAnEditor_ReadsAsItWasMeantAndKeepsItsLines) {
    Put("\xEF\xBB\xBF# by hand\r\n[Speakers]\r\nMy Key = "
        "v\r\n\r\n[Log]\r\nIndex=7\r\n[Speakers]\r\nOther=C:\\games\r\n");
    EXPECT_EQ(store.Read("/Speakers/My Key", ""), "v");
    EXPECT_EQ(store.Read("/Speakers/Other", ""), "C:\\games");
    store.Write("/Log/Index", "8");
    EXPECT_EQ(Content(), "# by hand\n[Speakers]\nMy\\ Key=v\nOther=C:\\\\games\n[Log]\nIndex=8\n");
}

// A store as the system writes it.
const std::map<std::string, std::string> usual{
    {"/Speakers/Configuration", "<Configuration><Name>\"5.1\"</Name>\n</Configuration>"},
    {"/Log/Index", "2"},
    {"/Log/001", "I2012-03-04 05:06:07.89 Tessarune: Rendering started."},
    {"/Log/002",
     "E2012-03-04 05:06:08.00 Tessarune: \xC3\x89"
     "chec\\ \"q\""},
    {"/Other Group/Deep/Key", "  blanks  "},
};

TEST_F(Store, CutAtAnyByte_KeepsTheWholeLinesBefore) {
    for (const auto& [key, value] : usual)
        store.Write(key, value);
    const std::string whole = Content();
    // Where the line of each key ends: a store that ends there holds it.
    std::map<std::string, std::size_t> ends;
    for (std::size_t end = whole.find('\n'); end != std::string::npos; end = whole.find('\n', end + 1)) {
        Put(whole.substr(0, end));
        for (const auto& [key, value] : usual)
            if (store.Read(key, "") == value) ends.try_emplace(key, end);
    }
    ASSERT_EQ(ends.size(), usual.size());
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        Put(whole.substr(0, cut));
        store.Write("/New/Key", "new");
        for (const auto& [key, value] : usual) {
            if (ends[key] > cut) continue;
            EXPECT_EQ(store.Read(key, ""), value) << cut;
        }
        EXPECT_EQ(store.Read("/New/Key", ""), "new") << cut;
    }
}

class GarbageStore : public Store, public testing::WithParamInterface<const char*> {};

TEST_P(GarbageStore, IsReadAndWrittenWithoutAWord) {
    std::setlocale(LC_ALL, GetParam());
    std::mt19937 random(7);
    const std::string signs = "[]=\\\"!#;/. \t\n\r\nkK";
    for (int i = 0; i < 150; ++i) {
        std::string text(random() % 300, ' ');
        for (char& c : text)
            c = random() % 4 == 0 ? static_cast<char>(random()) : signs[random() % signs.size()];
        Put(text);
        store.Read("/k", "");
        store.Write("/Log/Index", "5");
        EXPECT_EQ(store.Read("/Log/Index", "0"), "5");
    }
}

TEST_P(GarbageStore, OnAnotherThread_IsReadAndWrittenWithoutAWord) {
    std::setlocale(LC_ALL, GetParam());
    Put("[A]\nx=1\n[B\n\\=\nX\n[A]\nX=2\n\xC3\x89=1\n\xC3\xA9=2\n[../C]stray\nq=\"a\"b\\");
    std::thread([&] {
        EXPECT_EQ(store.Read("/A/x", ""), "1");
        store.Write("/A/y", "3");
        EXPECT_EQ(store.Read("/A/y", ""), "3");
    }).join();
}

INSTANTIATE_TEST_SUITE_P(Locales, GarbageStore, testing::Values("C", "C.UTF-8"));

TEST_F(Store, DirectoryOrPipeInItsPlace_ReadsAsDefaultsAndStays) {
    fs::create_directory(folder.UserFile());
    store.Write("/A/B", "x");
    EXPECT_EQ(store.Read("/A/B", "default"), "default");
    EXPECT_TRUE(fs::is_directory(folder.UserFile()));
    fs::remove(folder.UserFile());
    mkfifo(folder.UserFile().c_str(), 0600);
    store.Write("/A/B", "x");
    EXPECT_EQ(store.Read("/A/B", "default"), "default");
    EXPECT_TRUE(fs::is_fifo(folder.UserFile()));
}

// What a process sees and does that isn't the superuser's, with a store that permits `file` and `directory`.
int AsAnotherUser(const testing_support::TemporaryStore& folder, int file, int directory,
                  const char* expected) {
    const fs::path user = folder.folder.path / "user";
    for (const fs::path& path : {folder.folder.path, user})
        fs::permissions(path, fs::perms(0755));
    fs::permissions(folder.UserFile(), fs::perms(file));
    fs::permissions(folder.UserFile().parent_path(), fs::perms(directory));
    const int code = RunInChild([&] {
        if (geteuid() == 0 && seteuid(65534) != 0) return 97;
        const ConfigStore store(orb3::storeRoot, ConfigStore::Scope::User);
        store.Write("/A/B", "changed");
        bool ran = false;
        store.Update([&](orb3::OpenStore&) { ran = true; });
        if (ran) return 1;
        return store.Read("/A/B", "default") == expected ? 0 : 2;
    });
    fs::permissions(folder.UserFile().parent_path(), fs::perms(0755));
    fs::permissions(folder.UserFile(), fs::perms(0644));
    return code;
}

TEST_F(Store, NotReadable_GivesDefaultsAndIsNotTakenForEmpty) {
    store.Write("/A/B", "value");
    EXPECT_EQ(AsAnotherUser(folder, 0000, 0777, "default"), 0);
    EXPECT_EQ(store.Read("/A/B", ""), "value");
}

TEST_F(Store, NotWritable_LosesTheWriteAlone) {
    store.Write("/A/B", "value");
    fs::remove(folder.UserFile().string() + ".lock");
    EXPECT_EQ(AsAnotherUser(folder, 0444, 0555, "value"), 0);
    EXPECT_EQ(store.Read("/A/B", ""), "value");
}

TEST_F(Store, ChangesOfManyThreads_AreAllThere) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] {
            for (int pass = 0; pass < 25; ++pass)
                store.Update([](orb3::OpenStore& open) {
                    open.Write("/Count", std::to_string(std::stoi(open.Read("/Count", "0")) + 1));
                });
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(store.Read("/Count", ""), "100");
}

TEST_F(Store, SpeakerConfiguration_IsRefusedWhileThereIsNone) {
    for (const char* content : {"", "[Speakers]\nConfiguration=\n"}) {
        Put(content);
        try {
            orb3::ReadSpeakerConfiguration();
            ADD_FAILURE();
        } catch (const slib::BadDataException& failure) {
            EXPECT_STREQ(failure.what(), "It appears that speakers have not yet been set up.");
        }
    }
    orb3::WriteSpeakerConfiguration("<A/>");
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), "<A/>");
}

struct LibraryCase {
    const char* content;
    const char* path;
};

class FormatLibraryPath : public Store, public testing::WithParamInterface<LibraryCase> {};

TEST_P(FormatLibraryPath, IsTheFirstThatIsNotEmptyAndOfTheMachine) {
    Put("[Formats]\nAFL=/of/the/user\n");
    std::ofstream(folder.MachineFile()) << GetParam().content;
    EXPECT_EQ(orb3::ReadFormatLibraryPath(), GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(Contents, FormatLibraryPath,
                         testing::Values(LibraryCase{"", ""}, LibraryCase{"[Formats]\nAFL=/a\n", "/a"},
                                         LibraryCase{"[Formats]\nUFL=/u\n", "/u"},
                                         LibraryCase{"[Formats]\nUFL=/u\nAFL=\n", "/u"},
                                         LibraryCase{"[Formats]\nAFL=/a\nUFL=/u\n", "/a"},
                                         LibraryCase{"[Formats]\nAFL=\nUFL=\n", ""}));

}  // namespace

#include "orb3core/store/configstore.h"

#include <gtest/gtest.h>

#include <clocale>
#include <map>
#include <set>
#include <string>

#include "orb3core/store/storetext.h"
#include "tests/support/temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using State = orb3::StoredValue::State;

// A store of the user, in a process that must print nothing.
class Store : public testing::Test {
protected:
    Store() {
        fs::create_directories(file.parent_path());
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    ~Store() override {
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        std::setlocale(LC_ALL, "C");
    }
    void Put(const std::string& content) const { std::ofstream(file, std::ios::binary) << content; }

    const testing_support::TemporaryStore folder;
    const fs::path file = folder.UserFile();
    const orb3::ConfigStore store{orb3::storeRoot, orb3::ConfigStore::Scope::User};
};

TEST_F(Store, MissingOrEmpty_ReadsAsDefaultsAndIsMadeByTheFirstWrite) {
    fs::remove(file.parent_path());
    EXPECT_EQ(store.Read("/A/Index", "0"), "0");
    EXPECT_EQ(store.Find("/A/Index").state, State::Absent);
    EXPECT_FALSE(fs::exists(file.parent_path()));  // reading leaves no trace
    store.Write("/A/Index", "5");
    EXPECT_EQ(store.Read("/A/Index", "0"), "5");
    Put("");
    EXPECT_EQ(store.Read("/A/Index", "0"), "0");
}

// A store as the system writes it, and what else people may put into one.
const std::map<std::string, std::string> values{
    {"/Speakers/Configuration", "<Configuration><Name>\"5.1\"</Name>\n</Configuration>"},
    {"/Lines/001", "I2012-03-04 05:06:07.89 Tessarune: Rendering started."},
    {"/top", ""},
    {"/Other Group/Deep/A key", "  blanks \t"},
    {"/A/a=b", "\"quoted\""},
    {"/A/[x]", "C:\\new\\"},
    {"/A/#x", "# no comment"},
    {"/A/;x", "a\nb\r\nc\r"},
    {"/A/ x", "\t\v\f\x01\x1F\x7F"},
    {"/A/x\\y", "$HOME ${HOME} %PATH%"},
    {"/A/\"10%\"", "\xE3\x80\x80wide blank\xE3\x80\x80"},
    {"/\xC3\xA9/\xC3\xA9", "\xEF\xBB\xBFmark \xF0\x9F\x8E\xB5"},
    {"/\xC3\xA9/\xC3\x89", "another key beyond ASCII"}};

TEST_F(Store, Values_ReadBackByteForByteInEachLocale) {
    for (const char* locale : {"C", "C.UTF-8"}) {
        std::setlocale(LC_ALL, locale);
        for (const auto& [key, value] : values)
            store.Write(key, value);
        store.Write("/A/B/No text", std::string("a\xFF\0z", 4));
        for (const char* reading : {"C", "C.UTF-8"}) {
            std::setlocale(LC_ALL, reading);
            for (const auto& [key, value] : values)
                EXPECT_EQ(store.Read(key, "default"), value) << key;
            EXPECT_EQ(store.Read("/A/B/No text", ""), "a\xEF\xBF\xBD\xEF\xBF\xBDz");
            EXPECT_EQ(store.Read("/A/absent", "default"), "default");
        }
    }
    const std::string large = std::string(50000, '\\') + std::string(50000, '"');
    store.Write("/Large", large);
    EXPECT_EQ(store.Read("/Large", ""), large);
}

TEST_F(Store, CutAtAnyByte_KeepsTheWholeLinesBefore) {
    for (const auto& [key, value] : values)
        store.Write(key, value);
    const std::string whole = testing_support::ReadFile(file);
    std::set<std::string> kept;  // the keys whose lines are whole before the cut
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        Put(whole.substr(0, cut));
        store.Write("/New/Key", "new");
        const orb3::StoreText now(testing_support::ReadFile(file));
        EXPECT_EQ(now.Read("/New/Key", ""), "new") << cut;
        for (const auto& [key, value] : values) {
            const bool isThere = now.Read(key, "default") == value;
            EXPECT_TRUE(isThere || !kept.contains(key)) << key << cut;
            if (isThere && whole[cut] == '\n') kept.insert(key);
        }
    }
    EXPECT_EQ(kept.size(), values.size());
}

// What else can't be written is tested with the store's file.
TEST_F(Store, InPlaceOfADirectory_LosesTheWriteAlone) {
    fs::create_directory(file);
    store.Write("/A/B", "lost");
    store.Update([](orb3::OpenStore&) { ADD_FAILURE(); });
    EXPECT_EQ(store.Read("/A/B", "default"), "default");
    EXPECT_EQ(store.Find("/A/B").state, State::Unreadable);
    EXPECT_TRUE(fs::is_directory(file));
}

TEST_F(Store, Log_HasAFileOfItsOwnThatBeginsWithTheLinesOfAnOlderStore) {
    const std::string settings = "[A]\nb=1\n[Z]\nc=2\n";
    const std::string older = "[A]\nb=1\n[Log]\nIndex=1\n001=one\n[Z]\nc=2\n";
    Put(older);
    EXPECT_EQ(store.Read("/log/001", ""), "one");
    store.Write("/Log/002", "two");
    EXPECT_EQ(testing_support::ReadFile(file), older);
    EXPECT_EQ(testing_support::ReadFile(file.parent_path() / "log.conf"),
              "[Log]\nIndex=1\n001=one\n002=two\n");
    store.Write("/A/b", "1");
    EXPECT_EQ(testing_support::ReadFile(file), settings);
    EXPECT_EQ(store.Read("/Log/001", ""), "one");
}

TEST_F(Store, LinesThatCantBeUsed_AreNoAbsenceAndStayBeside) {
    const std::string typo = "[Speakers\nConfiguration=all\n";
    Put(typo);
    EXPECT_EQ(store.Find("/Speakers/Configuration").state, State::Damaged);
    store.Write("/A/b", "1");
    EXPECT_EQ(testing_support::ReadFile(file.string() + ".damaged"), typo);
    EXPECT_EQ(store.Find("/Speakers/Configuration").state, State::Absent);
}

TEST_F(Store, FormatLibraryPath_IsTheFirstThatIsNotEmptyAndOfTheMachine) {
    Put("[Formats]\nAFL=/of/the/user\n");
    const std::string tree = fs::canonical(folder.MachineFile().parent_path().parent_path()).string();
    const std::map<std::string, std::string> cases{{"", ""},
                                                   {"UFL=/u\nAFL=\n", "/u"},
                                                   {"UFL=/u\nAFL=/a\n", "/a"},
                                                   {"AFL=../share/a.afl\n", tree + "/share/a.afl"}};
    for (const auto& [lines, path] : cases) {
        std::ofstream(folder.MachineFile()) << "[Formats]\n" << lines;
        EXPECT_EQ(orb3::ReadFormatLibraryPath(), path);
    }
}

}  // namespace

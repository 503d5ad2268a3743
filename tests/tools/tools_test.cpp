// tessarune-config: settings, documents, rooms and the log.

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>

#include "orb3core/store/registrylog.h"
#include "slib/sxml.h"
#include "tests/tools/tools.h"
#include "tools/support/logring.h"

namespace {

using testing::HasSubstr;
using testing_support::Outcome;
using testing_support::ReadFile;
using testing_support::Tools;
using testing_support::Words;

// One of each kind and place; the ranges and defaults of all are held by the page docs/settings.md.
struct SettingCase {
    std::string name, given;
    std::string stored;  // also what is read back, but for "Auto", which is stored as nothing
    std::string bad, message;
};

const std::vector<SettingCase> settings{
    {"Gain", "0.25", "0.25", "-1", "Gain must be a number of 0 or more, not '-1'."},
    {"Order", "2", "2", "9", "Order must be 1 to 4, not '9'."},
    {"EffectsQuality", "high", "High", "Best", "EffectsQuality must be Low, Medium or High, not 'Best'."},
    {"IgnoreGameSampleRate", "yes", "True", "2", "must be True or False, not '2'."},
    {"UseDirectSoundAutoselect", "no", "False", "Tru", "must be True or False, not 'Tru'."},
    {"Output", "auto", "", "Loud",
     "Output must be Auto, Silent, WaveFile, PulseAudio, JACK or ALSA, not 'Loud'."},
    {"WaveFile", "/usr/../usr/a b.wav", "/usr/a b.wav", "/no/such/folder/a.wav", "a folder that exists"},
    {"WaveFileChannels", "24", "24", "65", "WaveFileChannels must be 8 to 64, not '65'."},
    {"WaveFilePace", "realtime", "RealTime", "Fast", "must be Renderer or RealTime, not 'Fast'."},
    {"Input", "silent", "Silent", "Loud", "Input must be Auto, Silent or WaveFile, not 'Loud'."},
    {"SpeakerSetting", "surround 5.1 (itu)", "Surround 5.1 (ITU)", "Unknown", "or Surround 7.1 (Wide)"},
    {"AudioRenderer.SuggestedBufferLength", "2147483647", "2147483647", "2147483648", "must be 64 or more"}};

class EverySetting : public Tools, public testing::WithParamInterface<SettingCase> {
protected:
    // Where the library looks for it.
    std::string Stored(const std::string& name) const {
        const std::size_t dot = name.find('.');
        if (dot != std::string::npos)
            return slib::SXMLNode(Document()).GetChild("AudioRenderer").GetAttribute(name.substr(dot + 1));
        if (name == "Output" || name == "WaveFile" || name == "WaveFileChannels" || name == "WaveFilePace" ||
            name == "SpeakerSetting" || name.starts_with("Input"))
            return store.Read("/Platform/" + name, "?");
        const slib::SXMLNode document(Document());
        return (name == "UseDirectSoundAutoselect" ? document : document.GetChild("Tessarune"))
            .GetAttribute(name);
    }
};

TEST_P(EverySetting, IsStoredAndReadBackAndRefusedOutOfItsRange) {
    const SettingCase& c = GetParam();
    EXPECT_THAT(Config({"get"}).out, HasSubstr("\n" + c.name + " "));
    EXPECT_THAT(Config({"show"}).out, HasSubstr("\n  " + c.name + " "));
    EXPECT_EQ(Config({"set", c.name, c.given}).status, 0);
    EXPECT_EQ(Stored(c.name), c.stored);
    EXPECT_EQ(Config({"get", c.name}).out, (c.stored.empty() ? "Auto" : c.stored) + "\n");
    ExpectOutcome(Config({"set", c.name, c.bad}), 2, c.message);
    EXPECT_EQ(Stored(c.name), c.stored);
}

INSTANTIATE_TEST_SUITE_P(Table, EverySetting, testing::ValuesIn(settings));

TEST_F(Tools, Output_IntoAFile_NeedsTheFilesName) {
    EXPECT_EQ(Config({"set", "Output", "WaveFile"}).status, 2);
    EXPECT_EQ(store.Read("/Platform/Output", ""), "Silent");
    Config({"set", "WaveFile", "/usr/a.wav"});
    EXPECT_EQ(Config({"set", "Output", "WaveFile"}).status, 0);
    EXPECT_EQ(Config({"set", "WaveFile", ""}).status, 2);
}

TEST_F(Tools, Import_OfAnExport_GivesTheSameDocument) {
    const std::string file = (folder.path / "saved.xml").string();
    Config({"set", "SpeakerSetting", "Quad"});
    ASSERT_EQ(Config({"select", "quad", "--method", "energy"}).status, 0);
    ASSERT_EQ(Config({"speakers", "set", "Back Left", "--gain", "0.3"}).status, 0);
    const std::string before = Document();
    EXPECT_EQ(Config({"export", file}).status, 0);
    EXPECT_EQ(Config({"reset"}).status, 0);
    EXPECT_EQ(Document(), "");
    EXPECT_EQ(Config({"export"}).status, 1);
    EXPECT_EQ(Config({"import", file}).status, 0);
    EXPECT_EQ(Document(), before);
    EXPECT_THAT(before, AllOf(HasSubstr("PipePlaybackChannel=\"Back Left\""), HasSubstr("Gain=\"0.3\"")));
}

TEST_F(Tools, Import_OfABadFile_TellsTheFaultAndLosesNothing) {
    Config({"set", "Order", "2"});
    const std::string good = Document(), file = (folder.path / "bad.xml").string();
    const auto replaced = [&](const std::string& from, const std::string& to) {
        return std::string(good).replace(good.find(from), from.size(), to);
    };
    const std::vector<std::pair<std::string, std::string>> cases{
        {good.substr(0, good.size() / 2), "parse"},
        {replaced("Order=\"2\"", "Order=\"9\""), "Order must be 1 to 4, not '9'."},
        {replaced("OnlyOneReverb=\"False\"", ""), "OnlyOneReverb"}};
    for (const auto& [text, fault] : cases) {
        std::ofstream(file) << text;
        ExpectOutcome(Config({"import", file}), 1, fault);
        EXPECT_EQ(Document(), good);
    }
    EXPECT_EQ(Config({"import", file + "x"}).status, 1);
}

TEST_F(Tools, ADocumentThatCantBeUsed_StaysUntilItIsResetAndIsExportedAsItIs) {
    store.Write("/Speakers/Configuration", "<Configuration half");
    for (const Words& words : {Words{"set", "Order", "2"}, {"select", "Stereo"}, {"show"}, {"speakers"}})
        ExpectOutcome(Config(words), 1, "'tessarune-config reset' starts afresh");
    EXPECT_EQ(Config({"export"}).out, "<Configuration half\n");
    EXPECT_THAT(Config({"check"}).out, HasSubstr("E Configuration was not valid: "));
    EXPECT_EQ(Document(), "<Configuration half");
    EXPECT_THAT(Config({"reset"}).out, HasSubstr("It is kept"));
    EXPECT_EQ(Document(), "");
    EXPECT_THAT(Config({"log"}).out, HasSubstr("'tessarune-config restore' puts it back."));
    EXPECT_THAT(Config({"restore"}).out, HasSubstr("can't be used"));
    EXPECT_EQ(Document(), "<Configuration half");
    ExpectOutcome(Config({"restore"}), 1, "No configuration is kept.");
    Config({"reset"});
    EXPECT_EQ(Config({"set", "Order", "2"}).status, 0);
}

TEST_F(Tools, AStoreThatCantBeRead_IsLeftAsItIs) {
    std::filesystem::remove(files.UserFile());
    std::filesystem::create_directory(files.UserFile());
    for (const Words& words : {Words{"set", "Order", "2"}, {"select", "Stereo"}, {"show"}, {"export"}})
        ExpectOutcome(Config(words), 1, "can't be read: Is a directory.");
    ExpectOutcome(Config({"reset"}), 1, "The change couldn't be stored");
    EXPECT_TRUE(std::filesystem::is_directory(files.UserFile()));
}

TEST_F(Tools, Check_TellsWhatAStartWouldDoAndStoresNothing) {
    Set({{"SpeakerSetting", "Surround 5.1"},
         {"SuggestedBufferLength", "256"},
         {"SuggestedBufferCount", "3"},
         {"DefaultSampleRate", "44100"}});
    const std::string before = ReadFile(files.UserFile());
    const Outcome check = Config({"check"});
    EXPECT_EQ(check.status, 0) << check.error;
    for (const char* part :
         {"6 outputs", "'Surround 5.1'", "44100 Hz", "256 frames, 5.8 ms", "3 blocks of the output"})
        EXPECT_THAT(check.out, HasSubstr(part));
    EXPECT_THAT(Config({"check", "--rate", "48000"}).out, HasSubstr("48000 Hz"));
    EXPECT_EQ(ReadFile(files.UserFile()), before);
}

TEST_F(Tools, Speakers_SwapOutputsAndGiveTheRoomAsItWasMeasured) {
    EXPECT_EQ(Config({"select", "Quad"}).status, 2);  // two outputs alone
    Config({"set", "SpeakerSetting", "Quad"});
    ASSERT_EQ(Config({"select", "Quad"}).status, 0);
    ASSERT_EQ(Config({"speakers", "set", "1", "--output", "BackRight"}).status, 0);
    std::string outputs;
    const slib::SXMLNode document(Document());
    for (const auto& channel : document.GetChild("Layout").GetChild("ChannelSetup").children)
        outputs += channel->GetAttribute("PipePlaybackChannel") + ";";
    EXPECT_EQ(outputs, "Back Right;Front Right;Back Left;Front Left;");
    const std::string file = (folder.path / "room.txt").string();
    ASSERT_EQ(Config({"speakers", "room", file, "--name", "Attic", "--distance", "3", "--place",
                      "front right", "-31", "5", "2.1"})
                  .status,
              0);
    const std::string room = ReadFile(file);
    for (const char* part :
         {"name: Attic\n", "Front Right: azimuth -31, elevation 5, distance 2.1, role FrontRight\n",
          "Back Right: azimuth -135, elevation 0, distance 3, role BackRight\n"})
        EXPECT_THAT(room, HasSubstr(part));
}

TEST_F(Tools, Room_IsAppliedFromAFileThatIsLeftAsItIs) {
    const std::filesystem::path library = testing_support::TemporaryStore::FormatLibrary();
    std::filesystem::copy(library.parent_path(), folder.path / "lib");
    std::ofstream(files.MachineFile())
        << "[Formats]\nAFL=" << (folder.path / "lib" / library.filename()).string() << "\n";
    const std::string file = (folder.path / "attic.json").string();
    const std::string room = R"({"elements": [{"azimuth": 40, "gain": 0.5}, [-30, 0]]})";
    std::ofstream(file) << "{\n" + room;
    ExpectOutcome(Config({"speakers", "room", file, "--apply"}), 1, "attic.json, line 2: This is no JSON");
    std::ofstream(file) << room;
    const testing_support::Outcome applied = Config({"speakers", "room", file, "--apply"});
    EXPECT_EQ(applied.status, 0) << applied.error;
    EXPECT_THAT(applied.out, HasSubstr("'attic' on 'PrimarySoundDriver' by the method 'dualband' is now"));
    EXPECT_THAT(Config({"speakers"}).out, HasSubstr("Left    0.5\n"));
    ExpectOutcome(Config({"speakers", "room", file + "x", "--apply"}), 2, "Name the new layout with --name");
}

TEST_F(Tools, Log_ShowsTheRingInOrderAndFollowsIt) {
    ggui::RegistryLog log(orb3::storeRoot, "Test");
    for (int i = 0; i < 130; ++i)
        log.Write("line " + std::to_string(i) + ".", false);
    log.Flush();
    const std::string out = Config({"log"}).out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 100);
    EXPECT_THAT(out.substr(0, 60), HasSubstr(" line 30.\n"));
    EXPECT_LT(out.find(" line 99."), out.find(" line 100."));

    const std::filesystem::path shown = folder.path / "out";
    std::filesystem::remove(shown);
    auto follower = std::async(std::launch::async, [&] {
        return Run("tessarune-config", {"log", "--follow"}, "timeout 3 ").out;
    });
    for (int i = 0; i < 250 && (!exists(shown) || file_size(shown) < out.size()); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    log.Write("the newest.", false);
    const std::string followed = follower.get();
    EXPECT_EQ(followed.substr(0, out.size()), out);
    EXPECT_THAT(followed.substr(out.size()), HasSubstr(" the newest.\n"));
    EXPECT_EQ(std::count(followed.begin(), followed.end(), '\n'), 101);

    const tool::LogRing before = tool::ReadLogRing();
    for (int i = 0; i < 100; ++i)
        log.Write("more.", false);
    log.Flush();
    bool isSomeLost = false;
    EXPECT_EQ(tool::LinesSince(before, tool::ReadLogRing(), isSomeLost).size(), 100u);
    EXPECT_TRUE(isSomeLost);
}

TEST_F(Tools, Undo_TakesBackWhatTheLastCommandChanged) {
    ExpectOutcome(Config({"undo"}), 2, "There is no change to take back.");
    const std::string before = Document();
    Set({{"Order", "2"}, {"WaveFileChannels", "24"}});
    EXPECT_EQ(Config({"undo"}).out, "Taken back: WaveFileChannels 24.\n");
    EXPECT_EQ(Config({"undo"}).out, "Taken back: Order 2.\n");
    EXPECT_EQ(Document(), before);
    EXPECT_EQ(Config({"redo"}).out, "Made again: Order 2.\n");
    Config({"reset", "--all"});
    EXPECT_EQ(Config({"undo"}).out, "Taken back: the reset.\n");
    EXPECT_EQ(Config({"get", "Order"}).out, "2\n");
}

TEST_F(Tools, ExportOfAll_IsImportedOrRefusedWhole) {
    const std::string file = (folder.path / "all.sxml").string();
    Set({{"WaveFile", "/usr/a.wav"}, {"Order", "2"}});
    EXPECT_EQ(Config({"export", "--all", file}).status, 0);
    Set({{"WaveFile", "/usr/b.wav"}, {"Order", "1"}});
    EXPECT_EQ(Config({"import", file}).status, 0);
    EXPECT_EQ(Config({"get", "WaveFile"}).out, "/usr/a.wav\n");
    EXPECT_EQ(Config({"get", "Order"}).out, "2\n");
    std::string text = ReadFile(file);
    std::ofstream(file) << text.replace(text.find("Order=\"2\""), 9, "Order=\"9\"");
    Set({{"WaveFile", "/usr/b.wav"}});
    ExpectOutcome(Config({"import", file}), 1, "Order must be 1 to 4, not '9'.");
    EXPECT_EQ(Config({"get", "WaveFile"}).out, "/usr/b.wav\n");
}

TEST_F(Tools, Preview_SaysHowSharpARoomIsWithoutMakingIt) {
    const std::string file = (folder.path / "ring.txt").string();
    std::ofstream(file) << "name: Ring\nA: azimuth 0\nB: azimuth 90\nC: azimuth 180\nD: azimuth -90\n";
    Set({{"Order", "1"}});
    const Outcome preview = Config({"speakers", "room", file, "--preview"});
    EXPECT_THAT(preview.out, HasSubstr("horizontal  45     0.0    0.71       0.0\n"));
    EXPECT_FALSE(std::filesystem::exists(folder.path / "data"));
}

TEST_F(Tools, Game_IsChangedByTheNameOfItsProgramAndForgotten) {
    const auto shows = [&](const std::string& text) {
        EXPECT_THAT(Config({"game", "show", "WARZONE2100"}).out, HasSubstr(text));
    };
    shows("Warzone 2100 (shipped)");
    EXPECT_EQ(Config({"game", "set", "warzone2100", "quietlookups", "off"}).status, 0);
    EXPECT_EQ(Config({"game", "set", "Mine", "order", "2", "--program", "mine*"}).status, 0);
    EXPECT_EQ(store.Read("/Games/Profiles", ""),
              "<Games><Game Name=\"Warzone 2100\" QuietLookups=\"False\"/><Game Name=\"Mine\" Order=\"2\" "
              "Programs=\"mine*\"/></Games>");
    shows("Warzone 2100 (shipped, changed by you)");
    EXPECT_THAT(Config({"game", "list"}).out, HasSubstr("QuietLookups off"));
    EXPECT_EQ(Config({"game", "reset", "Warzone 2100"}).status, 0);
    shows("QuietLookups  True");
    ExpectOutcome(Config({"game", "set", "Mine", "Output", "Silent"}), 2, "Output holds for all games");
    ExpectOutcome(Config({"game", "set", "Mine", "Capture", "maybe"}), 2, "Capture must be True or False");
    ExpectOutcome(Config({"game", "reset", "Nobody"}), 2, "There is no profile 'Nobody'.");
}

TEST_F(Tools, WrongUse_IsExplainedWithStatus2) {
    const std::vector<std::pair<Words, std::string>> cases{
        {{}, "Name a command."},
        {{"sow"}, "There is no command 'sow'. Did you mean 'show'?"},
        {{"head", "ad"}, "There is no command 'ad'. Did you mean 'add'?"},
        {{"get", "--jsn"}, "tessarune-config: There is no option '--jsn'. Did you mean '--json'?"},
        {{"set", "SRC", "Liner"}, "not 'Liner'. Did you mean 'Linear'?"},
        {{"set", "SpeakerSetting", "Quad", "--device", "1"}, "is whichever output is the default."},
        {{"set", "Gian", "1"}, "There is no setting 'Gian'."},
        {{"get", "gai"}, "Did you mean 'Gain' or 'AudioRenderer.Gain'?"},
        {{"set", "Gain", "1e300"}, "A Gain of 1e+300 is above 100. Nothing was changed"},
        {{"set", "SuggestedBufferCount", "9999"}, "would delay the sound by more than two seconds."},
        {{"select", "Stereo", "--device", "9"}, "PrimarySoundDriver"},
        {{"speakers"}, "No layout is in force yet."}};
    const std::string before = Document();
    for (const auto& [words, text] : cases)
        ExpectOutcome(Config(words), 2, text);
    EXPECT_EQ(Document(), before);
    EXPECT_EQ(Config({"set", "Gain", "101", "--force"}).status, 0);
    EXPECT_EQ(Config({"set", "Order", "2"}).status, 0);
    EXPECT_THAT(Config({"select", "--help"}).out, HasSubstr("Examples:"));
}

}  // namespace

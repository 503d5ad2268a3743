// What the page asks for and gets, without a server: each answer on a store of its own, what is refused, and
// what is taken back.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "goal/recordingrequest.h"
#include "goal/statuspage.h"
#include "goal/trackerpacket.h"
#include "orb3core/settings/settingtable.h"
#include "orb3core/store/configstore.h"
#include "orb3core/store/registrylog.h"
#include "platform/packetsocket.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/failure.h"
#include "tests/support/temporaryfolder.h"
#include "tools/manage/history.h"
#include "tools/manage/messagecures.h"
#include "tools/manage/report.h"
#include "tools/manage/storedvalues.h"
#include "tools/page/api/api.h"
#include "tools/support/wronguse.h"

namespace {

using page::Json;
using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing_support::Failure;
using tool::WrongUse;

constexpr const char* measuredHead = "/usr/share/libmysofa/default.sofa";

class Watcher : public page::Report {
public:
    void Step(double share, std::string_view text) override { steps.emplace_back(share, text); }
    [[nodiscard]] bool IsCancelled() const override { return steps.size() >= mostSteps; }

    std::vector<std::pair<double, std::string>> steps;
    std::size_t mostSteps = 1000;
};

class Answers : public testing::Test {
protected:
    Answers() {
        files.ChooseSilence();
        setenv("HOME", files.folder.path.c_str(), 1);
        store.Write("/Platform/SpeakerSetting", "Surround 5.1");
        testing_support::StoreDocument();
    }

    // `address` as "/api/log?kind=all".
    Json Ask(const std::string& address, const std::string& body = "{}", const std::string& upload = "") {
        const std::size_t mark = std::min(address.find('?'), address.size());
        std::map<std::string, std::string> query;
        for (std::size_t at = mark; at < address.size();) {
            const std::size_t end = std::min(address.find('&', at + 1), address.size());
            const std::string part = address.substr(at + 1, end - at - 1);
            query[part.substr(0, part.find('='))] = part.substr(part.find('=') + 1);
            at = end;
        }
        const auto routes = page::Routes();
        const auto route = std::ranges::find(routes, address.substr(0, mark), &page::Route::path);
        if (route == routes.end()) throw std::out_of_range(address);
        return route->answer({query, Json::parse(body), upload}, watcher);
    }
    std::string Refusal(const std::string& address, const std::string& body) {
        return Failure<WrongUse>([&] { Ask(address, body); });
    }
    Json Setting(const std::string& name) {
        const Json state = Ask("/api/state");
        for (const Json& setting : state["settings"])
            if (setting["name"] == name) return setting["value"];
        return nullptr;
    }
    std::string Document() const { return store.Read(orb3::configurationKey, ""); }
    void ChangeForeign(const std::function<void(orb3::Configuration&)>& change) {
        orb3::Configuration configuration = tool::ParseDocument(Document());
        change(configuration);
        orb3::WriteSpeakerConfiguration(tool::DocumentText(configuration));
    }

    const testing_support::TemporaryStore files;
    const orb3::ConfigStore store{orb3::storeRoot, orb3::ConfigStore::Scope::User};
    Watcher watcher;
};

const std::string attic = R"({"name": "Attic", "speakers": [
    {"label": "L", "azimuth": 40, "elevation": 0, "distance": 2.4, "output": "Front Right", "gain": 0.5},
    {"label": "R", "azimuth": -30.5, "elevation": 0, "distance": 2}]})";

TEST_F(Answers, State_ShowsTheLayoutInForceWithItsSpeakersInMetres) {
    EXPECT_EQ(Ask("/api/state")["layout"], nullptr);
    EXPECT_EQ(Ask("/api/select", R"({"layout": "surround 5.1"})")["layout"], "Surround 5.1");
    const Json state = Ask("/api/state"), layout = state["layout"];
    EXPECT_EQ(state["settings"].size(), orb3::Settings().size());
    EXPECT_EQ(state["devices"][0]["channels"], 6);
    EXPECT_EQ(state["followsSystem"], false);
    EXPECT_EQ(layout["outputs"].size(), 6u);
    EXPECT_EQ(layout["speakers"][4]["azimuth"], 135.0);
    EXPECT_EQ(layout["speakers"][4]["distance"], 1.0);
    EXPECT_EQ(layout["isMeasured"], false);
    EXPECT_EQ(Ask("/api/speaker", R"x({"speaker": 1, "output": "bass (lfe only)"})x")["warnings"].size(), 1u);
    EXPECT_EQ(Ask("/api/state")["layout"]["speakers"][0]["isBassOnly"], true);
    EXPECT_EQ(Ask("/api/select", R"({"auto": true})")["layout"], nullptr);
}

TEST_F(Answers, State_OfADocumentThatCantBeUsed_SaysSoAndShowsTheDefaults) {
    store.Write(orb3::configurationKey, "<Configuration half");
    EXPECT_THAT(Ask("/api/state")["problem"].get<std::string>(), HasSubstr("can't be used"));
}

TEST_F(Answers, Revision_ChangesWithTheSettings) {
    const Json before = Ask("/api/revision");
    EXPECT_EQ(Ask("/api/revision"), before);
    Ask("/api/setting", R"({"name": "Order", "value": "2"})");
    EXPECT_NE(Ask("/api/revision"), before);
    EXPECT_EQ(Ask("/api/revision")["revision"], Ask("/api/state")["revision"]);
}

TEST_F(Answers, Setting_IsTakenAsPeopleTypeIt) {
    EXPECT_EQ(Ask("/api/setting", R"({"name": "gain", "value": "0,5"})")["value"], 0.5);
    EXPECT_EQ(Ask("/api/setting", R"({"name": "Order", "value": "4"})")["value"], 4);
    EXPECT_EQ(Ask("/api/setting", R"({"name": "UseParallelDecoder", "value": "on"})")["value"], true);
    EXPECT_EQ(Setting("Gain"), 0.5);
}

struct Refused {
    const char *address, *body, *sentence;
};

TEST_F(Answers, WhatIsWrong_IsRefusedByNameAndChangesNothing) {
    const std::vector<Refused> cases{
        {"/api/setting", "{}", "'name' must be a name of 1 to 64"},
        {"/api/setting", R"({"name": "Order", "value": 4})", "'value' must be a text"},
        {"/api/setting", R"({"name": "Order", "value": "9"})", "Order must be 1 to 4, not '9'."},
        {"/api/setting", R"({"name": "WaveFile", "value": "/tmp/a.wav"})", "tessarune-config set WaveFile"},
        {"/api/setting", R"({"name": "InputFile", "value": ""})", "tessarune-config set InputFile"},
        {"/api/setting", R"({"name": "Gain", "value": "1e300"})", "above 100"},
        {"/api/select", R"({"layout": "Qaud"})", "Did you mean 'Quad'"},
        {"/api/select", R"({"auto": 1})", "'auto' must be true or false"},
        {"/api/speaker", R"({"speaker": 1.5, "gain": 1})", "'speaker' must be a whole number"},
        {"/api/speaker", R"({"speaker": 1, "gain": -1})", "'gain' must be a number of 0 to"},
        {"/api/speaker", R"({"speaker": 1, "gain": null})", "Name what to change"},
        {"/api/room/preview", R"({"order": 5, "speakers": [{}]})", "'order' must be a number of 1 to 4"},
        {"/api/room/preview", R"({"order": 1, "speakers": []})", "'speakers' must be a list of 1 to 64"},
        {"/api/room/preview", R"({"order": 1, "speakers": [3]})", "'speakers' must be a list of 1 to 64"},
        {"/api/room/preview", R"({"order": 1, "speakers": [{"azimuth": "1"}]})", "'azimuth' must be"},
        {"/api/room/apply", R"({"name": "a\u0007", "speakers": [{}]})", "'name' must be a name"},
        {"/api/room/apply", R"({"name": "--", "speakers": [{"label": "L", "azimuth": 0, "elevation": 0}]})",
         "needs a letter"},
        {"/api/room/import", R"({"name": "a.txt", "text": "name: A\nL: azimut 3"})", "a.txt, line 2"},
        {"/api/room/remove", R"({"name": "Attic"})", "no room 'Attic'"},
        {"/api/head/use", R"({"name": "Me"})", "There is no head 'Me'"},
        {"/api/headphones", R"({"name": "HD", "text": "Gain 3"})", "HD, line 1"},
        {"/api/import", R"({"text": "<half"})", "parse"},
        {"/api/import",
         R"({"text": "<TessaruneSettings Version=\"1\"><Machine Output=\"Loud\"/></TessaruneSettings>"})",
         "not 'Loud'"},
        {"/api/profile", R"({"name": "Mine", "switch": "Output", "value": "Silent"})", "holds for all games"},
        {"/api/profile/reset", R"({"name": "Nobody"})", "There is no profile"},
        {"/api/log?kind=some", "{}", "'kind' must be"},
        {"/api/test", R"({"speaker": -1})", "'speaker' must be"},
        {"/api/tracker", R"({"mode": "On"})", "'mode' must be one of Off, Headphones, Always."},
        {"/api/tracker", "{}", "Name what to change"},
        {"/api/tracker", R"({"mode": "Always", "port": 65536})", "'port' must be a number of 1 to 65535."},
        {"/api/tracker/centre", "{}", "Head tracking is off."},
        {"/api/record/start", R"({"pid": 1, "what": "all", "name": "a.wav"})", "'what' must be one of field"},
        {"/api/record/start", R"({"pid": 1, "what": "field", "name": "../a.wav"})", "without a folder"},
        {"/api/record/start", R"({"pid": 1, "what": "field", "name": ".a.wav"})", "begin with a point"},
        {"/api/record/start", R"({"pid": 1, "what": "field", "name": "a.mp3"})", "must end in .wav or .caf"},
        {"/api/record/start", R"({"pid": 1, "what": "field", "name": "a-output.caf"})", "already"},
        {"/api/record/start", R"({"pid": 1, "what": "both", "name": "a.caf"})", "already. Choose another"},
        {"/api/record/start", R"({"pid": 1, "what": "output", "name": "b.wav"})", "b-2.wav' already"},
        {"/api/record/start", R"({"pid": 1, "what": "field", "name": "a.caf"})", "is running"},
        {"/api/record/stop", R"({"pid": 0})", "'pid' must be"},
        {"/api/undo", "{}", "There is no change to take back."}};
    std::filesystem::create_symlink("nowhere", files.folder.path / "a-output.caf");
    std::ofstream(files.folder.path / "b-2.wav") << "mine";
    const std::string before = testing_support::ReadFile(files.UserFile());
    for (const Refused& c : cases)
        EXPECT_THAT(Refusal(c.address, c.body), HasSubstr(c.sentence)) << c.address << " " << c.body;
    EXPECT_EQ(testing_support::ReadFile(files.UserFile()), before);
}

TEST_F(Answers, Undo_GoesBackStepByStepAndRedoForthAgain) {
    const std::string first = Document();
    Ask("/api/setting", R"({"name": "Order", "value": "2"})");
    Ask("/api/setting", R"({"name": "WaveFileChannels", "value": "24"})");
    Ask("/api/profile", R"({"name": "Mine", "switch": "quietlookups", "value": "on"})");
    EXPECT_EQ(Ask("/api/state")["undo"]["what"], "QuietLookups True for 'Mine'");
    EXPECT_EQ(Ask("/api/undo")["what"], "QuietLookups True for 'Mine'");
    EXPECT_EQ(store.Read("/Games/Profiles", "?"), "");
    Ask("/api/undo");
    EXPECT_EQ(Setting("WaveFileChannels"), 8);
    Ask("/api/undo");
    EXPECT_EQ(Document(), first);
    EXPECT_EQ(Ask("/api/redo")["what"], "Order 2");
    EXPECT_EQ(Ask("/api/redo")["what"], "WaveFileChannels 24");
    EXPECT_EQ(Setting("WaveFileChannels"), 24);
    Ask("/api/setting", R"({"name": "Order", "value": "4"})");
    EXPECT_THAT(Refusal("/api/redo", "{}"), HasSubstr("no change to make again"));
}

TEST_F(Answers, Undo_LeavesWhatSomebodyElseHasChangedSince) {
    Ask("/api/setting", R"({"name": "Order", "value": "2"})");
    ChangeForeign([](orb3::Configuration& c) { c.goalConfig.gain = 0.25; });
    EXPECT_EQ(Ask("/api/undo")["warnings"].size(), 0u);
    EXPECT_EQ(Setting("Order"), 3);
    EXPECT_EQ(Setting("Gain"), 0.25);

    Ask("/api/select", R"({"layout": "Quad"})");
    ChangeForeign([](orb3::Configuration& c) { c.layouts.back()->gain = 0.5F; });
    const Json taken = Ask("/api/undo");
    EXPECT_EQ(taken["warnings"][0], "The layout 'Quad' was changed since and stays as it is.");
    EXPECT_EQ(Ask("/api/state")["layout"], nullptr);

    Ask("/api/setting", R"({"name": "Order", "value": "2"})");
    ChangeForeign([](orb3::Configuration& c) { c.goalConfig.order = 4; });
    EXPECT_THAT(Failure<slib::BadStateException>([&] { Ask("/api/undo"); }),
                HasSubstr("(Order 2): Order was changed since and stays as it is."));
    EXPECT_EQ(Setting("Order"), 4);
    EXPECT_EQ(Ask("/api/state")["undo"], nullptr);
}

TEST_F(Answers, History_IsPrivateKeepsTwentyStepsAndNeverStandsInTheWay) {
    for (int i = 0; i < 22; ++i)
        Ask("/api/setting", R"({"name": "WaveFileChannels", "value": ")" + std::to_string(10 + i) + "\"}");
    const tool::History history = tool::ReadHistory();
    ASSERT_EQ(history.done.size(), 20u);
    EXPECT_EQ(history.done.front().what, "WaveFileChannels 12");
    struct stat status {};
    stat(tool::HistoryFile().c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    std::ofstream(tool::HistoryFile()) << "<History Version=\"1\" Undone=\"-7\"><Step/></History>";
    EXPECT_THAT(Refusal("/api/undo", "{}"), HasSubstr("can't be used and is left aside"));
    Ask("/api/setting", R"({"name": "Order", "value": "2"})");
    EXPECT_EQ(Ask("/api/undo")["what"], "Order 2");
}

TEST_F(Answers, Room_IsAppliedWithItsGainsAndOutputsAndTakenBackWithItsDecoders) {
    EXPECT_EQ(Ask("/api/room/apply", attic)["layout"], "Attic");
    EXPECT_EQ(watcher.steps.back().second, "order 4");
    const Json layout = Ask("/api/state")["layout"], speakers = layout["speakers"];
    EXPECT_EQ(layout["isOwn"], true);
    EXPECT_EQ(speakers[0]["output"], "Front Right");
    EXPECT_EQ(speakers[0]["gain"], 0.5);
    EXPECT_EQ(speakers[1]["azimuth"], -30.5);
    EXPECT_EQ(speakers[1]["distance"], 2.0);
    const Json room = Ask("/api/room/export");
    EXPECT_EQ(room["name"], "Attic.txt");
    const Json read =
        Ask("/api/room/import", Json{{"name", "x.txt"}, {"text", room["text"]}}.dump())["speakers"];
    EXPECT_EQ(read[0]["distance"], 2.4);
    EXPECT_EQ(read[1]["azimuth"], -30.5);

    Json moved = Json::parse(attic);
    moved["speakers"][1]["azimuth"] = -50;
    Ask("/api/room/apply", moved.dump());
    watcher.steps.clear();
    Ask("/api/undo");
    EXPECT_EQ(watcher.steps.size(), 4u);  // designed again
    EXPECT_EQ(Ask("/api/state")["layout"]["speakers"], speakers);
    EXPECT_THAT(Ask("/api/check")["start"]["layout"], "Attic");
    Ask("/api/room/remove", R"({"name": "Attic"})");
    EXPECT_EQ(Ask("/api/state")["layout"]["isOwn"], false);
}

TEST_F(Answers, WorkThatIsCancelled_StoresNothing) {
    const std::string before = testing_support::ReadFile(files.UserFile());
    watcher.mostSteps = 2;
    EXPECT_THROW(Ask("/api/room/apply", attic), tool::Cancelled);
    watcher.mostSteps = 1;
    EXPECT_THROW(Ask("/api/head?name=Me&circumference=57cm", "{}", testing_support::ReadFile(measuredHead)),
                 tool::Cancelled);
    watcher.mostSteps = 1000;
    const Json state = Ask("/api/state");
    EXPECT_THAT(state["heads"],
                Each(testing::Truly([](const Json& head) { return head["isOwn"] == false; })));
    EXPECT_EQ(state["layout"], nullptr);
    EXPECT_EQ(testing_support::ReadFile(files.UserFile()), before);
    EXPECT_THAT(Failure<WrongUse>([&] { Ask("/api/head?name=Me", "{}", "no head"); }),
                HasSubstr("\"Me\" isn't a SOFA file"));
}

TEST_F(Answers, Headphones_ComeIntoUseAndGo) {
    Ask("/api/headphones",
        R"({"name": "HD", "text": "Preamp: -6 dB\nFilter 1: ON PK Fc 105 Hz Gain 5.5 dB Q 0.7\n"})");
    Ask("/api/headphones/use", R"({"name": "hd"})");
    EXPECT_EQ(Ask("/api/state")["headphones"][0]["isUsed"], true);
    Ask("/api/headphones/off");
    EXPECT_EQ(Ask("/api/state")["headphones"][0]["isUsed"], false);
    Ask("/api/head/use", R"({"name": "sphere"})");
    EXPECT_EQ(Ask("/api/state")["heads"][0]["isUsed"], true);
    Ask("/api/headphones/remove", R"({"name": "HD"})");
    EXPECT_EQ(Ask("/api/state")["headphones"].size(), 0u);
}

TEST_F(Answers, Export_IsImportedWholeButForTheNamesOfFiles) {
    Ask("/api/select", R"({"layout": "Quad"})");
    Ask("/api/setting", R"({"name": "Gain", "value": "-6dB"})");
    Ask("/api/profile", R"({"name": "Mine", "switch": "Order", "value": "2"})");
    store.Write("/Platform/SpeakerSettings", "sink=Quad");
    store.Write("/Platform/WaveFile", "/usr/a.wav");
    const std::string document = Document();
    const Json file = Ask("/api/export");
    for (const char* key : {"/Speakers/Configuration", "/Games/Profiles", "/Platform/SpeakerSettings"})
        store.Write(key, "");
    store.Write("/Platform/WaveFile", "/usr/mine.wav");
    store.Write("/Platform/WaveFileChannels", "24");
    EXPECT_EQ(Ask("/api/import", Json{{"text", file["text"]}}.dump())["warnings"].size(), 0u);
    EXPECT_EQ(Document(), document);
    EXPECT_EQ(store.Read("/Platform/SpeakerSettings", ""), "sink=Quad");
    EXPECT_EQ(store.Read("/Platform/SpeakerSetting", ""), "Surround 5.1");
    EXPECT_EQ(store.Read("/Platform/WaveFileChannels", "?"), "");
    EXPECT_EQ(store.Read("/Platform/WaveFile", ""), "/usr/mine.wav");
    EXPECT_THAT(store.Read("/Games/Profiles", ""), HasSubstr("Order=\"2\""));
    Ask("/api/undo");
    EXPECT_EQ(Document(), "");

    std::string text = file["text"];
    for (const std::string attribute : {"SelectedName=", "Format="})
        text.replace(text.find(attribute + "\"Quad"), attribute.size() + 5, attribute + "\"Loft");
    EXPECT_THAT(Ask("/api/import", Json{{"text", text}}.dump())["warnings"][0].get<std::string>(),
                HasSubstr("There is no room 'Loft'"));
}

TEST_F(Answers, Log_SaysWhatToDoAboutErrors) {
    ggui::RegistryLog log(orb3::storeRoot, "Game");
    log.Write("Rendering started.", false);
    log.Write("No sound server and no sound card answers: the sound isn't heard.", true);
    log.Flush();
    EXPECT_EQ(Ask("/api/log?kind=all")["entries"].size(), 2u);
    const Json entry = Ask("/api/log?kind=errors")["entries"].at(0);
    EXPECT_EQ(entry["isError"], true);
    EXPECT_THAT(entry["time"].get<std::string>(), testing::MatchesRegex("20..-..-..T..:..:..Z"));
    EXPECT_THAT(entry["cure"].get<std::string>(), HasSubstr("Start the sound server"));
    EXPECT_EQ(Ask("/api/games"), Json({{"games", Json::array()}}));
}

TEST_F(Answers, Tracker_IsSetAsOneStepAndCentredByAPacket) {
    EXPECT_EQ(Ask("/api/tracker", R"({"mode": "Always", "port": 42424})")["port"], 42424);
    EXPECT_EQ(Ask("/api/tracker", R"({"mode": "Headphones"})")["port"], 42424);
    EXPECT_EQ(Setting("HeadTracking"), "Headphones");
    const platform::PacketSocket socket(42424);
    Ask("/api/tracker/centre");
    std::array<std::byte, 64> packet{};
    const std::size_t size = socket.Receive(packet);
    EXPECT_EQ(goal::ParseTrackerPacket(std::span(packet).first(size)).kind,
              goal::TrackerPacket::Kind::Centre);
    Ask("/api/undo");
    EXPECT_EQ(Ask("/api/undo")["what"], "head tracking Always at port 42424");
    EXPECT_EQ(Setting("HeadTracking"), "Off");
    EXPECT_EQ(Setting("HeadTrackingPort"), 4242);
}

// Of this process, as a game.
TEST_F(Answers, Recording_GoesIntoTheUsersFolderForMusicUntilItIsStopped) {
    goal::StatusPage page;
    page.Publish();
    page.NoteContextMade();
    const std::string music = files.folder.path / "Old \"Music\"", pid = std::to_string(getpid());
    std::filesystem::create_directory(music);
    std::ofstream(files.UserFile().parent_path().parent_path() / "user-dirs.dirs")
        << "XDG_MUSIC_DIR=\"/none\"\n XDG_MUSIC_DIR=\"$HOME/Old \\\"Music\\\"\"\n#XDG_MUSIC_DIR=\"$HOME/\"\n";
    const auto recordingOfThis = [&]() -> Json {
        const Json games = Ask("/api/games");
        for (const Json& game : games["games"])
            if (game["pid"] == getpid()) return game["recording"];
        return "no game";
    };
    EXPECT_EQ(recordingOfThis(), nullptr);
    EXPECT_EQ(Ask("/api/record/start", R"({"what": "both", "name": "take.caf", "pid": )" + pid + "}")["file"],
              music + "/take.caf");
    EXPECT_EQ(goal::FindRequest().value().OutputPath(), music + "/take-output.caf");
    const Json recording = recordingOfThis();
    EXPECT_EQ(recording["what"], "both");
    EXPECT_EQ(recording["file"], music + "/take.caf");
    EXPECT_LT(recording["seconds"], 5);
    EXPECT_EQ(Ask("/api/record/stop", R"({"pid": 1})")["wasAsked"], false);
    EXPECT_EQ(Ask("/api/record/stop", R"({"pid": )" + pid + "}")["wasAsked"], true);
    EXPECT_EQ(goal::FindRequest(), std::nullopt);
}

TEST_F(Answers, Test_PlaysByTheProgramAndEndsItWhenCancelled) {
    EXPECT_THAT(Failure<slib::BadStateException>([&] { Ask("/api/test", R"({"speaker": 0})"); }),
                HasSubstr("Output must not be Silent for this test."));
    store.Write("/Platform/Output", "WaveFile");
    store.Write("/Platform/WaveFile", (files.folder.path / "a.wav").string());
    Ask("/api/select", R"({"layout": "Stereo"})");
    Ask("/api/test", R"({"speaker": 2, "direct": true, "noise": true, "seconds": 0.1})");
    EXPECT_GT(testing_support::ReadFile(files.folder.path / "a.wav").size(), 10'000u);
    watcher.steps.clear();
    watcher.mostSteps = 1;
    EXPECT_THROW(Ask("/api/test", R"({"speaker": 1, "seconds": 60})"), tool::Cancelled);
}

// The table of the page about messages.
TEST(Cures, EveryMessage_FindsItsOwn) {
    EXPECT_GT(tool::messageCures.size(), 150u);
    for (const tool::MessageCure& row : tool::messageCures) {
        std::string text(row.message);
        std::ranges::replace(text, '\1', '7');
        const tool::MessageCure* const found = tool::FindCure("Before it. " + text + " After it.");
        ASSERT_NE(found, nullptr) << text;
        EXPECT_EQ(found->message, row.message);
    }
    EXPECT_EQ(tool::FindCure("Nothing that is on the page"), nullptr);
}

TEST(Cures, OfAReasonBehindAReason_ThatOfTheLast) {
    const tool::MessageCure* const found = tool::FindCure(
        "Exception: Have you run the configuration program? Failed to set up speakers: The decoder for "
        "format 'Quad' has 3 outputs, but the layout has 4 channels.");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->cure, "The library was exchanged. 'tessarune-config select LAYOUT'");
}

}  // namespace

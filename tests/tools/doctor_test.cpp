// tessarune-config doctor, in surroundings that lack something; what it says of them, and whether that mends
// them.

#include <nlohmann/json.hpp>

#include "tests/tools/tools.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;
using testing_support::Outcome;
using testing_support::Tools;

struct Ailment {
    std::string name;
    std::string key, value;  // in the store
    std::string shell;       // what else brings it about, in the folder of the test
    std::string check, finding, remedy;
    bool isMended = true;  // by the remedy alone
};

class Doctor : public Tools, public testing::WithParamInterface<Ailment> {
protected:
    Doctor() { std::filesystem::create_directory(folder.path / "game"); }

    // No server answers, whatever the machine has.
    Outcome Look(const std::string& format) const {
        return Shell("PULSE_SERVER=unix:/no/such DBUS_SYSTEM_BUS_ADDRESS=unix:path=/no/such " +
                     (testing_support::BuildTree() / "bin/tessarune-config").string() + " doctor game " +
                     format);
    }
    // What a check found to be wrong, and what mends it.
    std::vector<std::pair<std::string, std::string>> Faults(const std::string& check) const {
        std::vector<std::pair<std::string, std::string>> faults;
        const Outcome outcome = Look("--json");
        const json document = json::parse(outcome.out);
        EXPECT_EQ(document.at("is_fine"), outcome.status == 0);
        for (const json& row : document.at("checks"))
            if (row.at("check") == check && !row.at("is_fine"))
                faults.emplace_back(row.at("finding"), row.at("remedy"));
        return faults;
    }
};

TEST_P(Doctor, FindsWhatIsWrongAndNamesTheCommandThatMendsIt) {
    const Ailment& ailment = GetParam();
    if (!ailment.key.empty()) store.Write(ailment.key, ailment.value);
    Shell(ailment.shell);
    const auto faults = Faults(ailment.check);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_THAT(faults[0].first, HasSubstr(ailment.finding));
    EXPECT_THAT(faults[0].second, StartsWith(ailment.remedy));
    if (!ailment.isMended) return;
    const std::string bin = testing_support::BuildTree() / "bin";
    EXPECT_EQ(Shell("PATH=" + bin + ":$PATH; " + faults[0].second).status, 0);
    EXPECT_EQ(Faults(ailment.check).size(), 0u) << faults[0].second;
}

TEST_F(Doctor, InAText_SaysTheSame) {
    const Outcome outcome = Look("");
    EXPECT_EQ(outcome.status, 1);
    const auto faults = Faults("sound_server");
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_THAT(outcome.out, StartsWith("Sound server      WRONG: " + faults[0].first +
                                        ". Mend it: " + faults[0].second + "\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\nGame              fine: "));
}

INSTANTIATE_TEST_SUITE_P(
    Table, Doctor,
    testing::Values(
        Ailment{"Silence", "", "", "", "sound_server", "Silent", "tessarune-config set Output Auto", false},
        Ailment{"NoServer", "/Platform/Output", "PulseAudio", "", "sound_server", "doesn't answer",
                "tessarune-config set Output Auto", false},
        Ailment{"WrongSetting", "/Platform/WaveFilePace", "Fast", "", "settings", "'Fast'",
                "tessarune-config set WaveFilePace Renderer"},
        Ailment{"HalfADocument", "/Speakers/Configuration", "<Configuration half", "", "store",
                "can't be used", "tessarune-config reset", false},
        Ailment{"KeptDocument", "/Speakers/KeptConfiguration", "<Configuration half", "", "store", "is kept",
                "tessarune-config restore --discard"},
        Ailment{"DamagedStore", "", "", "touch user/HollowbrookLabs/store.conf.damaged", "store", "damaged",
                "rm '"},
        Ailment{"UnreadableStore", "", "", "cd user/HollowbrookLabs && rm store.conf && mkdir store.conf",
                "store", "Is a directory", "mv '", false},
        Ailment{"ForeignLibrary", "", "", "cp /bin/sh game/libopenal.so.1", "game", "libopenal.so.1", "mv '"},
        Ailment{"NoFormatLibrary", "", "",
                "printf '[Formats]\\nAFL=/no.afl\\n' > machine/HollowbrookLabs/store.conf", "format_library",
                "/no.afl", "./dev install", false}),
    [](const auto& info) { return info.param.name; });

}  // namespace

#include "orb3core/settings/sharedconfiguration.h"

#include <gtest/gtest.h>

#include "orb3core/store/configstore.h"
#include "slib/sxml.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"

namespace {

// Stands for the choice of settings by the machine's power.
void ChooseOrderFour(orb3::GoalConfig& goalConfig, slib::Log*) {
    goalConfig.order = 4;
}

orb3::Configuration Chosen() {
    orb3::Configuration configuration;
    ChooseOrderFour(configuration.goalConfig, nullptr);
    return configuration;
}

orb3::Configuration Unusual() {
    orb3::Configuration configuration;
    configuration.useDirectSoundAutoselect = false;
    configuration.selectedName = "7.1 \"odd\" <name>";
    return configuration;
}
const std::string unusualDocument = Unusual().CreateNode()->ToString(slib::SXMLNode::Style::Compact);

class SharedConfiguration : public testing::Test {
protected:
    orb3::Configuration Loaded() {
        return shared.Read([](const orb3::Configuration& loaded) { return loaded; });
    }

    const testing_support::TemporaryStore folder;
    testing_support::RecordingLog log;
    orb3::SharedConfiguration shared{&log, ChooseOrderFour};
};

TEST_F(SharedConfiguration, StoredByAnother_ReplacesTheDefaultsAfterAnUnloadWithoutAWord) {
    orb3::SharedConfiguration writer(&log);
    shared.configuration = Unusual();
    EXPECT_EQ(Loaded(), Chosen());
    EXPECT_FALSE(std::filesystem::exists(folder.UserFile()));  // nothing is written back
    writer.StoreConfiguration(Unusual());
    EXPECT_TRUE(writer.isConfigurationLoaded);
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), unusualDocument);
    EXPECT_EQ(Loaded(), Chosen());
    shared.Unload();
    EXPECT_EQ(Loaded(), Unusual());
    EXPECT_EQ(log.lines, "");
}

TEST_F(SharedConfiguration, BrokenDocument_IsAnErrorLineAtEachLoadAndTheDefaults) {
    for (const std::string& document : {std::string(" "), unusualDocument.substr(0, 200)}) {
        orb3::WriteSpeakerConfiguration(document);
        log.lines.clear();
        shared.configuration = Unusual();
        EXPECT_EQ(Loaded(), Chosen());
        EXPECT_TRUE(shared.isConfigurationLoaded);
        EXPECT_TRUE(log.lines.starts_with("E:Configuration was not valid: ")) << log.lines;
        EXPECT_EQ(orb3::ReadSpeakerConfiguration(), document);  // it isn't overwritten
        shared.Unload();
    }
}

}  // namespace

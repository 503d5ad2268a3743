#include "orb3core/settings/sharedconfiguration.h"

#include <gtest/gtest.h>

#include "orb3core/store/configstore.h"
#include "slib/sxml.h"
#include "tests/support/temporaryfolder.h"

namespace {

struct LastLine : slib::Log {
    void Write(const std::string& text, bool isError) override { line = (isError ? "E" : "I") + text; }
    std::string line;
};

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
    LastLine log;
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
    EXPECT_EQ(log.line, "");
}

class BrokenDocument : public SharedConfiguration, public testing::WithParamInterface<std::string> {};

TEST_P(BrokenDocument, EachLoad_IsOneErrorLineAndTheDefaults) {
    orb3::WriteSpeakerConfiguration(GetParam());
    for (int load = 0; load < 2; ++load, log.line = "") {
        shared.configuration = Unusual();
        EXPECT_EQ(Loaded(), Chosen());
        EXPECT_TRUE(shared.isConfigurationLoaded);
        EXPECT_TRUE(log.line.starts_with("EConfiguration was not valid: ")) << log.line;
        shared.Unload();
    }
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), GetParam());  // it isn't overwritten
}

INSTANTIATE_TEST_SUITE_P(Documents, BrokenDocument,
                         testing::Values(" ", "no document", "<Configuration></Configuration>",
                                         unusualDocument.substr(0, unusualDocument.size() / 2)));

}  // namespace

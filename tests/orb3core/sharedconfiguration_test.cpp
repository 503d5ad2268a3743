#include "orb3core/sharedconfiguration.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orb3core/configstore.h"
#include "slib/sxml.h"
#include "temporaryfolder.h"

namespace {

class ListLog : public slib::Log {
public:
    void Write(const std::string& text, bool isError) override {
        lines.push_back((isError ? "E" : "I") + text);
    }
    std::vector<std::string> lines;
};

orb3::Configuration Unusual() {
    orb3::Configuration configuration;
    configuration.useDirectSoundAutoselect = false;
    configuration.selectedName = "7.1 \"odd\" <name>";
    configuration.goalConfig.isLoggingVerbose = !configuration.goalConfig.isLoggingVerbose;
    return configuration;
}

class SharedConfiguration : public testing::Test {
protected:
    void Load() {
        const slib::Lock lock(shared.configurationMutex);
        shared.LoadConfiguration();
    }

    const testing_support::TemporaryStore folder;
    ListLog log;
    orb3::SharedConfiguration shared{&log};
};

TEST_F(SharedConfiguration, WithoutADocument_IsTheDefaultsWithoutAWord) {
    shared.configuration = Unusual();
    Load();
    EXPECT_TRUE(shared.isConfigurationLoaded);
    EXPECT_EQ(shared.configuration, orb3::Configuration());
    EXPECT_TRUE(log.lines.empty());
    EXPECT_FALSE(std::filesystem::exists(folder.UserFile()));  // nothing is written back
}

TEST_F(SharedConfiguration, Stored_IsReadBackEqual) {
    shared.StoreConfiguration(Unusual());
    EXPECT_TRUE(shared.isConfigurationLoaded);
    EXPECT_EQ(shared.configuration, Unusual());
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(),
              Unusual().CreateNode()->ToString(slib::SXMLNode::Style::Compact));
    orb3::SharedConfiguration other(&log);
    EXPECT_EQ(other.Read([](const orb3::Configuration& c) { return c.selectedName; }),
              Unusual().selectedName);
    EXPECT_EQ(other.configuration, Unusual());
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(SharedConfiguration, Read_LoadsOnceAndAgainAfterAnUnload) {
    const auto name = [](const orb3::Configuration& c) { return c.selectedName; };
    EXPECT_EQ(shared.Read(name), "");
    orb3::WriteSpeakerConfiguration(Unusual().CreateNode()->ToString(slib::SXMLNode::Style::Compact));
    EXPECT_EQ(shared.Read(name), "");
    {
        const slib::Lock lock(shared.configurationMutex);
        shared.Unload();
    }
    EXPECT_EQ(shared.Read(name), Unusual().selectedName);
}

class BrokenDocument : public SharedConfiguration, public testing::WithParamInterface<const char*> {};

TEST_P(BrokenDocument, EachLoad_IsOneErrorLineAndTheDefaults) {
    orb3::WriteSpeakerConfiguration(GetParam());
    shared.configuration = Unusual();
    for (std::size_t loads = 1; loads <= 2; ++loads) {
        Load();
        EXPECT_TRUE(shared.isConfigurationLoaded);
        EXPECT_EQ(shared.configuration, orb3::Configuration());
        ASSERT_EQ(log.lines.size(), loads);
        EXPECT_TRUE(log.lines.back().starts_with("EConfiguration was not valid: ")) << log.lines.back();
        EXPECT_GT(log.lines.back().size(), std::string("EConfiguration was not valid: ").size());
    }
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), GetParam());  // it isn't overwritten
}

INSTANTIATE_TEST_SUITE_P(Documents, BrokenDocument,
                         testing::Values(" ", "no document", "<Configuration>", "<Configuration></Wrong>",
                                         "<Configuration></Configuration>", "<Other></Other>",
                                         "<Configuration><Layouts></Layouts>"));

TEST_F(SharedConfiguration, DocumentCutInHalf_IsOneErrorLineAndTheDefaults) {
    const std::string whole = Unusual().CreateNode()->ToString(slib::SXMLNode::Style::Compact);
    orb3::WriteSpeakerConfiguration(whole.substr(0, whole.size() / 2));
    Load();
    EXPECT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(shared.configuration, orb3::Configuration());
}

}  // namespace

#include "orb3core/settings/sharedconfiguration.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "orb3core/store/configstore.h"
#include "slib/sxml.h"
#include "tests/support/process.h"
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
    orb3::SharedConfiguration shared{&log, {[](orb3::GoalConfig& c) { c.order = 2; }, ChooseOrderFour}};
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
        shared.StoreConfiguration(Chosen());
        EXPECT_EQ(orb3::ReadSpeakerConfiguration(), document);  // it isn't overwritten
        shared.Unload();
    }
}

TEST_F(SharedConfiguration, Peek_MeasuresNothingAndRepeatsNoError) {
    const auto order = [](const orb3::Configuration& c) { return c.goalConfig.order; };
    EXPECT_EQ(shared.Peek(order), 3);
    EXPECT_EQ(shared.Read(order), 4);
    EXPECT_EQ(shared.Peek(order), 4);
    shared.Unload();
    orb3::WriteSpeakerConfiguration(" ");
    EXPECT_EQ(shared.Peek(order), 3);
    EXPECT_EQ(shared.Read(order), 4);
    EXPECT_EQ(log.lines.find("E:"), log.lines.rfind("E:"));
}

// A start doesn't wait for the choice: what it stores meanwhile is stored with what was chosen.
TEST_F(SharedConfiguration, AChoiceThatIsPutOff_IsStoredAndPendingOnceItIsMade) {
    EXPECT_EQ(shared.ReadForStart().goalConfig.order, 2);
    EXPECT_TRUE(shared.IsChoiceOpen());
    orb3::Configuration found = Unusual();
    found.goalConfig.order = 2;
    found.goalConfig.sound = orb3::Sound::Classic;
    shared.StoreConfiguration(found);
    EXPECT_FALSE(std::filesystem::exists(folder.UserFile()));
    shared.CompleteChoice();
    EXPECT_FALSE(shared.IsChoiceOpen());
    EXPECT_EQ(Loaded(), found);
    EXPECT_TRUE(shared.isRestartRequested);
    found.goalConfig.order = 4;
    EXPECT_EQ(shared.pendingConfiguration, found);
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), found.CreateNode()->ToString(slib::SXMLNode::Style::Compact));
}

TEST_F(SharedConfiguration, AChoiceThatIsPutOff_GivesWayToADocumentStoredMeanwhile) {
    EXPECT_EQ(shared.ReadForStart().goalConfig.order, 2);
    orb3::WriteSpeakerConfiguration(unusualDocument);
    shared.CompleteChoice();
    EXPECT_FALSE(shared.isRestartRequested);
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), unusualDocument);
}

// What the system refuses for now: no descriptor is left at the reading.
TEST_F(SharedConfiguration, UnreadableDocument_IsNotReplacedUntilWhatIsThereIsInForce) {
    orb3::WriteSpeakerConfiguration(unusualDocument);
#ifndef __SANITIZE_ADDRESS__  // whose check of objects' types needs descriptors of its own
    EXPECT_EQ(testing_support::RunInChild([&] {
                  rlimit before{};
                  getrlimit(RLIMIT_NOFILE, &before);
                  const rlimit none{0, before.rlim_max};
                  setrlimit(RLIMIT_NOFILE, &none);
                  const bool isDefault = Loaded() == Chosen();
                  setrlimit(RLIMIT_NOFILE, &before);
                  shared.StoreConfiguration(Chosen());
                  return isDefault && log.lines.starts_with("E:Configuration could not be read: ") ? 0 : 1;
              }),
              0);
#endif
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), unusualDocument);
    std::filesystem::rename(folder.UserFile(), folder.UserFile().string() + ".away");
    std::filesystem::create_directory(folder.UserFile());
    EXPECT_EQ(Loaded(), Chosen());
    std::filesystem::remove(folder.UserFile());
    shared.StoreConfiguration(Chosen());
    EXPECT_FALSE(std::filesystem::exists(folder.UserFile()));
    shared.pendingConfiguration = Unusual();
    shared.TakePending();
    shared.StoreConfiguration(Unusual());
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), unusualDocument);
}

TEST_F(SharedConfiguration, DocumentBrokenWhileItIsInForce_IsKeptWithAWordInTheLog) {
    EXPECT_EQ(Loaded(), Chosen());
    orb3::WriteSpeakerConfiguration("<Configuration half");
    shared.StoreConfiguration(Unusual());
    EXPECT_EQ(orb3::ReadSpeakerConfiguration(), unusualDocument);
    const orb3::ConfigStore store(orb3::storeRoot, orb3::ConfigStore::Scope::User);
    EXPECT_EQ(store.Read(orb3::keptConfigurationKey, ""), "<Configuration half");
    EXPECT_TRUE(log.lines.ends_with("'tessarune-config restore' puts it back.")) << log.lines;
}

}  // namespace

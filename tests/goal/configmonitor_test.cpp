#include "goal/configmonitor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <span>
#include <thread>

#include "tests/support/defaultdocument.h"
#include "tests/support/recordinglog.h"
#include "tests/support/temporaryfolder.h"

namespace goal {
namespace {

using namespace std::chrono_literals;

std::string Document(const orb3::Configuration& configuration) {
    return configuration.CreateNode()->ToString(slib::SXMLNode::Style::Compact);
}

class Monitor : public testing::Test {
protected:
    Monitor() { shared.StoreConfiguration(orb3::Configuration()); }

    // What another process does.
    static void StoreOrder(int order) {
        orb3::Configuration configuration;
        configuration.goalConfig.order = order;
        orb3::WriteSpeakerConfiguration(Document(configuration));
    }

    bool IsRestartRequested() {
        const slib::Lock lock(shared.configurationMutex);
        return shared.isRestartRequested;
    }

    const testing_support::TemporaryStore store;
    testing_support::RecordingLog log;
    orb3::SharedConfiguration shared{&log, testing_support::keepDefaults};
    RecordingDesk recordings{&log};
};

TEST_F(Monitor, ADifference_IsHandedToTheServerAndTheLatestWins) {
    ConfigMonitor::CheckConfiguration(shared);
    EXPECT_FALSE(shared.isRestartRequested);
    for (const int order : {1, 2}) {
        StoreOrder(order);
        ConfigMonitor::CheckConfiguration(shared);
        EXPECT_TRUE(shared.isRestartRequested);
        EXPECT_EQ(shared.pendingConfiguration.goalConfig.order, order);
        EXPECT_EQ(shared.configuration.goalConfig.order, orb3::GoalConfig().order);
    }
    // Changed back before the server came to it: it restarts all the same.
    orb3::WriteSpeakerConfiguration(Document(orb3::Configuration()));
    ConfigMonitor::CheckConfiguration(shared);
    EXPECT_TRUE(shared.isRestartRequested);
    EXPECT_EQ(shared.pendingConfiguration.goalConfig.order, 2);
}

TEST_F(Monitor, WhatTheServerStoredItself_IsNoDifference) {
    orb3::Configuration configuration;
    configuration.goalConfig.gain = 2.0 / 3;
    const orb3::Configuration::LayoutPtr layout(new orb3::spk::Layout);
    layout->gain = 1.0F / 7;
    layout->format = configuration.selectedName = "Quad";
    configuration.layouts.push_back(layout);
    shared.StoreConfiguration(configuration);
    ConfigMonitor::CheckConfiguration(shared);
    EXPECT_FALSE(shared.isRestartRequested);
}

// A game's own settings differ from the stored ones for as long as it runs.
TEST_F(Monitor, WhatHoldsInPlaceOfTheStored_IsNoDifference) {
    const std::span<const orb3::Setting> settings = orb3::Settings();
    const auto order = std::ranges::find(settings, "Order", &orb3::Setting::Name);
    shared.Override({{&*order, "1"}});
    ConfigMonitor::CheckConfiguration(shared);
    EXPECT_FALSE(shared.isRestartRequested);
    StoreOrder(2);
    ConfigMonitor::CheckConfiguration(shared);
    EXPECT_FALSE(shared.isRestartRequested);
}

TEST_F(Monitor, WhileNothingIsLoaded_DoesNothing) {
    StoreOrder(1);
    shared.Unload();
    ConfigMonitor::CheckConfiguration(shared);
    EXPECT_FALSE(shared.isConfigurationLoaded);
    EXPECT_FALSE(shared.isRestartRequested);
}

// Two seconds between two looks, of which one that finds a document cut in two does nothing, without a word;
// and an end that comes within one of them isn't held up by it.
TEST_F(Monitor, Thread_LooksEveryTwoSecondsAndEndsAtOnce) {
    orb3::Configuration inForce;
    inForce.goalConfig.order = 2;
    shared.StoreConfiguration(inForce);
    const std::string whole = Document(inForce);
    orb3::WriteSpeakerConfiguration(whole.substr(0, whole.size() / 2));
    const auto start = std::chrono::steady_clock::now();
    {
        const ConfigMonitor monitor(shared, recordings);
        std::this_thread::sleep_for(200ms);
        StoreOrder(1);
        while (!IsRestartRequested())
            std::this_thread::sleep_for(1ms);
        const auto passed = std::chrono::steady_clock::now() - start;
        EXPECT_GT(passed, 1900ms);
        EXPECT_LT(passed, 3500ms);
        EXPECT_EQ(log.Lines(), "");
    }
    const auto beforeEnd = std::chrono::steady_clock::now();
    delete new ConfigMonitor(shared, recordings);
    EXPECT_LT(std::chrono::steady_clock::now() - beforeEnd, 1s);
}

}  // namespace
}  // namespace goal

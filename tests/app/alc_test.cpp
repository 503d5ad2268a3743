// The alc* calls of a game, with a context whose server really runs.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "orb3core/configstore.h"
#include "temporaryfolder.h"

namespace {

using testing_support::TemporaryStore;

class AlcTest : public testing::Test {
protected:
    AlcTest() {
        ForgetConfiguration();
        alcGetError(nullptr);
    }

    ~AlcTest() override {
        alcDestroyContext(context);
        ForgetConfiguration();
    }

    void ForgetConfiguration() {
        const slib::Lock lock(process.engine.configuration.configurationMutex);
        process.engine.configuration.Unload();
        process.deviceList.clear();
    }

    void Configure(const std::function<void(orb3::GoalConfig&)>& change) {
        orb3::Configuration configuration;
        change(configuration.goalConfig);
        process.engine.configuration.StoreConfiguration(configuration);
    }

    ALCcontext* Create(const std::vector<ALCint>& attributes = {0}) {
        return context = alcCreateContext(device, attributes.data());
    }

    // The log's lines, oldest first, of a ring that hasn't wrapped.
    std::string Log() {
        const orb3::ConfigStore user(orb3::storeRoot, orb3::ConfigStore::Scope::User);
        std::string text;
        for (int i = 1; i < 40; ++i)
            text += user.Read("/Log/0" + std::string(i < 10 ? "0" : "") + std::to_string(i), "") + "\n";
        return text;
    }

    TemporaryStore store;
    goal::Process& process = goal::TheProcess();
    ALCdevice* device = alcOpenDevice("whatever");
    ALCcontext* context = nullptr;
};

TEST_F(AlcTest, Device_IsOneUnderAnyName) {
    EXPECT_NE(device, nullptr);
    EXPECT_EQ(alcOpenDevice(nullptr), device);
    EXPECT_EQ(alcOpenDevice("Something else"), device);
}

TEST_F(AlcTest, CloseDevice_WithALiveContext_Fails) {
    Create();
    EXPECT_EQ(alcCloseDevice(device), ALC_FALSE);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_DEVICE);
    alcDestroyContext(context);
    context = nullptr;
    EXPECT_EQ(alcCloseDevice(device), ALC_TRUE);
    EXPECT_EQ(alcCloseDevice(nullptr), ALC_FALSE);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_DEVICE);
}

TEST_F(AlcTest, CreateContext_ASecondTime_FailsAndTheFirstGoesOn) {
    Create();
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(alcCreateContext(device, nullptr), nullptr);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
    ALCint rate = 0;
    alcGetIntegerv(device, ALC_FREQUENCY, 1, &rate);
    EXPECT_EQ(rate, 48000);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
}

TEST_F(AlcTest, CreateContext_OnNoDevice_Fails) {
    EXPECT_EQ(alcCreateContext(nullptr, nullptr), nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_DEVICE);
}

TEST_F(AlcTest, CreateContext_AfterAFailedStart_Succeeds) {
    std::ofstream(store.MachineFile()) << "";
    EXPECT_EQ(Create(), nullptr);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
    EXPECT_NE(Log().find("Tessarune: Exception: No format library is configured."), std::string::npos);
    EXPECT_EQ(alcCloseDevice(device), ALC_TRUE);
    std::ofstream(store.MachineFile()) << "[Formats]\nUFL=" << store.folder.path.string() << "\n";
    EXPECT_NE(Create(), nullptr);
}

TEST_F(AlcTest, DestroyContext_Twice_FreesItOnce) {
    ALCcontext* const first = Create();
    alcMakeContextCurrent(first);
    alcDestroyContext(first);
    context = nullptr;
    EXPECT_EQ(alcGetCurrentContext(), nullptr);
    alcDestroyContext(first);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_CONTEXT);
    alcDestroyContext(nullptr);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
}

struct AttributeCase {
    std::vector<ALCint> list;
    ALCint frequency;  // 0: the call fails
    ALCint filterOrder;
};

class AlcAttributesTest : public AlcTest, public testing::WithParamInterface<AttributeCase> {};

TEST_P(AlcAttributesTest, CreateContext_HeedsWhatItKnowsAndSkipsTheRest) {
    Create(GetParam().list);
    if (GetParam().frequency == 0) {
        EXPECT_EQ(context, nullptr);
        EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
        return;
    }
    ASSERT_NE(context, nullptr);
    ALCint frequency = 0;
    ALCint filterOrder = 0;
    alcGetIntegerv(device, ALC_FREQUENCY, 1, &frequency);
    alcGetIntegerv(device, ALC_DEFAULT_FILTER_ORDER, 1, &filterOrder);
    EXPECT_EQ(frequency, GetParam().frequency);
    EXPECT_EQ(filterOrder, GetParam().filterOrder);
}

INSTANTIATE_TEST_SUITE_P(Lists, AlcAttributesTest,
                         testing::Values(AttributeCase{{0}, 48000, 1},
                                         AttributeCase{{ALC_FREQUENCY, 44100, 0}, 44100, 1},
                                         AttributeCase{{ALC_FREQUENCY, -5, 0}, 48000, 1},
                                         AttributeCase{{ALC_REFRESH, 30, ALC_FREQUENCY, 22050, 0}, 22050, 1},
                                         AttributeCase{{ALC_SYNC, 1, 0}, 0, 0},
                                         AttributeCase{{ALC_SYNC, 0, 0}, 48000, 1},
                                         AttributeCase{{0x1100, 2, 0}, 48000, 2},
                                         AttributeCase{{0x1100, 3, 0x20003, 16, 0}, 48000, 1}));

TEST_F(AlcTest, IsExtensionPresent_TakesNoNoticeOfCase) {
    EXPECT_EQ(alcIsExtensionPresent(device, "alc_ext_efx"), ALC_TRUE);
    EXPECT_EQ(alcIsExtensionPresent(nullptr, "ALC_EXT_CAPTURE"), ALC_TRUE);
    EXPECT_EQ(alcIsExtensionPresent(device, "ALC_EXT_EF"), ALC_FALSE);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
    EXPECT_EQ(alcIsExtensionPresent(device, nullptr), ALC_FALSE);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
}

TEST_F(AlcTest, LookUps_AreExact) {
    EXPECT_EQ(alcGetProcAddress(device, "alcOpenDevice"), reinterpret_cast<void*>(&alcOpenDevice));
    EXPECT_EQ(alcGetProcAddress(device, "alcopendevice"), nullptr);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
    EXPECT_EQ(alcGetProcAddress(device, "alGenSources"), nullptr);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
    EXPECT_EQ(alcGetEnumValue(device, "ALC_MAX_AUXILIARY_SENDS"), 0x20003);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
    EXPECT_EQ(alcGetEnumValue(device, "alc_sync"), 0);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_ENUM);
    EXPECT_EQ(alcGetEnumValue(device, nullptr), 0);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_ENUM);
}

TEST_F(AlcTest, GetString_WithBothMasks_ListsThreeNamesAndTwoNuls) {
    Configure([](orb3::GoalConfig& c) { c.masqueradeAsGenericSoftware = c.masqueradeAsGenericHardware = true; });
    constexpr char expected[] = "Tessarune\0Generic Software\0Generic Hardware\0";
    const char* const list = alcGetString(nullptr, ALC_DEVICE_SPECIFIER);
    EXPECT_EQ(std::string(list, sizeof(expected)), std::string(expected, sizeof(expected)));
    EXPECT_EQ(alcGetString(nullptr, ALC_ALL_DEVICES_SPECIFIER), list);
    EXPECT_STREQ(alcGetString(device, ALC_DEVICE_SPECIFIER), "Tessarune");
}

TEST_F(AlcTest, GetString_OfAnythingElse) {
    EXPECT_STREQ(alcGetString(device, ALC_INVALID_ENUM), "Invalid enum.");
    EXPECT_STREQ(alcGetString(device, ALC_NO_ERROR), "No error.");
    EXPECT_STREQ(alcGetString(device, ALC_CAPTURE_DEVICE_SPECIFIER), "");
    EXPECT_EQ(alcGetString(device, 0x4711), nullptr);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_ENUM);
}

TEST_F(AlcTest, GetIntegerv_OfAllAttributes_WritesWholePairsAndTheEnd) {
    struct Case {
        ALCsizei size;
        std::size_t pairs;
    };
    Create();
    for (const auto& [size, pairs] : {Case{3, 1}, Case{4, 1}, Case{5, 2}, Case{21, 10}, Case{22, 10}, Case{23, 11}, Case{64, 11}}) {
        std::array<ALCint, 65> data;
        data.fill(-77);
        alcGetIntegerv(device, ALC_ALL_ATTRIBUTES, size, data.data());
        EXPECT_EQ(data.at(2 * pairs), 0) << size;
        EXPECT_EQ(data.at(2 * pairs + 1), -77) << size;
        EXPECT_EQ(data[0], ALC_FREQUENCY);
        EXPECT_EQ(data[1], 48000);
        EXPECT_EQ(data[3], pairs > 1 ? 94 : -77);
    }
    std::array<ALCint, 2> data{-77, -77};
    alcGetIntegerv(device, ALC_ALL_ATTRIBUTES, 2, data.data());
    EXPECT_EQ(data[0], -77);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
}

TEST_F(AlcTest, GetIntegerv_WithoutAContext_KnowsOnlyWhatIsFixed) {
    struct Case {
        ALCenum parameter;
        ALCsizei size;
        ALCenum error;
        ALCint value;
    };
    for (const auto& [parameter, size, error, value] :
         {Case{ALC_FREQUENCY, 1, ALC_INVALID_DEVICE, -77}, Case{ALC_SYNC, 1, ALC_INVALID_DEVICE, -77},
          Case{ALC_MAJOR_VERSION, 1, ALC_NO_ERROR, 1}, Case{ALC_ATTRIBUTES_SIZE, 1, ALC_NO_ERROR, 21},
          Case{ALC_MINOR_VERSION, 0, ALC_INVALID_VALUE, -77}, Case{0x20003, 0, ALC_NO_ERROR, 4},
          Case{ALC_ALL_ATTRIBUTES, 3, ALC_NO_ERROR, ALC_FREQUENCY}, Case{0x4711, 1, ALC_INVALID_ENUM, -77}}) {
        std::array<ALCint, 4> data{-77};
        alcGetIntegerv(device, parameter, size, data.data());
        EXPECT_EQ(data[0], value) << parameter;
        EXPECT_EQ(alcGetError(device), error) << parameter;
    }
    alcGetIntegerv(device, ALC_MAJOR_VERSION, 1, nullptr);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_VALUE);
    std::array<ALCint, 8> all{};
    alcGetIntegerv(device, ALC_ALL_ATTRIBUTES, 8, all.data());
    EXPECT_EQ(all[1], 48000);
    EXPECT_EQ(all[3], 25);
}

TEST_F(AlcTest, SuspendAndProcess_Nest) {
    auto* const inside = reinterpret_cast<goal::Context*>(Create());
    alcSuspendContext(context);
    alcSuspendContext(context);
    alcProcessContext(context);
    EXPECT_EQ(inside->suspendCount, 1U);
    alcProcessContext(context);
    alcProcessContext(context);
    EXPECT_EQ(inside->suspendCount, 0U);
    alcSuspendContext(nullptr);
    alcProcessContext(nullptr);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
}

TEST_F(AlcTest, Suspend_WhenSwitchedOff_OnlyNotesItsUse) {
    Configure([](orb3::GoalConfig& c) { c.isSuspendSupported = false; });
    auto* const inside = reinterpret_cast<goal::Context*>(Create());
    alcSuspendContext(context);
    EXPECT_EQ(inside->suspendCount, 0U);
    EXPECT_TRUE(inside->suspendUsed);
}

TEST_F(AlcTest, Capture_IsRefused) {
    EXPECT_EQ(alcCaptureOpenDevice(nullptr, 44100, 0x1101, 1024), nullptr);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_VALUE);
    EXPECT_EQ(alcCaptureCloseDevice(device), ALC_FALSE);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_DEVICE);
    alcCaptureStart(device);
    alcCaptureStop(device);
    alcCaptureSamples(device, nullptr, 0);
    EXPECT_EQ(alcGetError(nullptr), ALC_INVALID_DEVICE);
    EXPECT_EQ(alcGetError(nullptr), ALC_NO_ERROR);
}

TEST_F(AlcTest, Failures_AreLoggedOnlyWhenVerbose) {
    alcGetContextsDevice(nullptr);
    EXPECT_EQ(Log().find("Game ALC call failed"), std::string::npos);
    Configure([](orb3::GoalConfig& c) { c.isLoggingVerbose = true; });
    alcGetContextsDevice(nullptr);
    EXPECT_NE(Log().find("Tessarune: Game ALC call failed: Invalid context in alcGetContextsDevice()."),
              std::string::npos);
}

TEST_F(AlcTest, Errors_FirstOneStays) {
    alcGetString(device, 0x4711);
    alcGetContextsDevice(nullptr);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_ENUM);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
}

TEST_F(AlcTest, Calls_FromManyThreadsWhileAContextComesAndGoes_NeverFailOtherwiseThanTold) {
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            while (!isOver) {
                ALCint value = 0;
                alcGetIntegerv(device, ALC_FREQUENCY, 1, &value);
                EXPECT_TRUE(value == 0 || value == 48000);
                alcGetString(nullptr, ALC_DEVICE_SPECIFIER);
                alcGetEnumValue(device, "ALC_NOTHING");
            }
        });
    for (int i = 0; i < 20; ++i) {
        ASSERT_NE(Create(), nullptr);
        alcMakeContextCurrent(context);
        alcSuspendContext(context);
        alcDestroyContext(context);
        context = nullptr;
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace

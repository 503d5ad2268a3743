// The alc* calls of a game, with a context whose server really runs.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "AL/tessarune.h"
#include "app/goaldll/process.h"
#include "orb3core/store/configstore.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/temporaryfolder.h"

namespace {

class AlcCalls : public testing::Test {
protected:
    AlcCalls() {
        ForgetConfiguration();
        alcGetError(nullptr);
    }

    ~AlcCalls() override {
        Destroy();
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

    void Destroy() {
        alcDestroyContext(context);
        context = nullptr;
    }

    ALCint Get(ALCenum parameter, ALCsizei size = 1) {
        std::array<ALCint, 3> data{-77};
        alcGetIntegerv(device, parameter, size, data.data());
        return data[0];
    }

    void SetUp() override {
        store.ChooseSilence();
        testing_support::StoreDocument();
    }

    // What a call answered, and the code that it left.
    template <typename T>
    void ExpectAnswer(T answer, T expected, ALCenum code) {
        EXPECT_EQ(answer, expected);
        EXPECT_EQ(alcGetError(device), code);
    }

    bool LogHas(const std::string& text) {
        process.log.Flush();
        return testing_support::ReadFile(store.LogFile()).find(text) != std::string::npos;
    }

    testing_support::TemporaryStore store;
    goal::Process& process = goal::TheProcess();
    ALCdevice* device = alcOpenDevice("whatever");
    ALCcontext* context = nullptr;
};

TEST_F(AlcCalls, TheOneDevice_HasOneContextAndStaysOpenWithIt) {
    EXPECT_EQ(alcOpenDevice(nullptr), device);
    ExpectAnswer<ALCcontext*>(alcCreateContext(nullptr, nullptr), nullptr, ALC_INVALID_DEVICE);
    ASSERT_NE(Create(), nullptr);
    ExpectAnswer<ALCcontext*>(alcCreateContext(device, nullptr), nullptr, ALC_INVALID_VALUE);
    EXPECT_EQ(Get(ALC_FREQUENCY), 48000);
    ExpectAnswer<ALCboolean>(alcCloseDevice(device), ALC_FALSE, ALC_INVALID_DEVICE);
    Destroy();
    EXPECT_EQ(alcCloseDevice(device), ALC_TRUE);
}

TEST_F(AlcCalls, CreateContext_AfterAFailedStart_Succeeds) {
    std::ofstream(store.MachineFile()) << "";
    ExpectAnswer<ALCcontext*>(Create(), nullptr, ALC_INVALID_VALUE);
    EXPECT_TRUE(LogHas("Tessarune: Exception: No format library is configured."));
    EXPECT_EQ(alcCloseDevice(device), ALC_TRUE);
    std::ofstream(store.MachineFile()) << "[Formats]\nUFL=" << store.FormatLibrary().string() << "\n";
    EXPECT_NE(Create(), nullptr);
}

TEST_F(AlcCalls, DestroyContext_Twice_FreesItOnce) {
    ALCcontext* const first = Create();
    alcMakeContextCurrent(first);
    Destroy();
    EXPECT_EQ(alcGetCurrentContext(), nullptr);
    alcDestroyContext(first);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_CONTEXT);
    alcDestroyContext(nullptr);
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
}

TEST_F(AlcCalls, AHandleOfNoContext_CountsAsNoneInEveryCall) {
    ALCcontext* const gone = Create();
    Destroy();
    std::uintptr_t anything = 0x1234567;
    for (ALCcontext* const handle : {gone, reinterpret_cast<ALCcontext*>(anything)}) {
        ExpectAnswer<ALCboolean>(alcMakeContextCurrent(handle), ALC_TRUE, ALC_NO_ERROR);
        alListenerf(AL_GAIN, 0.5F);
        EXPECT_EQ(alGetError(), AL_INVALID_OPERATION);
        alcSuspendContext(handle);
        EXPECT_EQ(alcGetError(device), ALC_INVALID_CONTEXT);
        alcProcessContext(handle);
        EXPECT_EQ(alcGetError(device), ALC_INVALID_CONTEXT);
    }
    alcMakeContextCurrent(nullptr);
}

TEST_F(AlcCalls, CreateContext_HeedsTheAttributesThatItKnowsAndSkipsTheRest) {
    const struct {
        std::vector<ALCint> attributes;
        ALCint frequency, filterOrder;
    } rows[] = {{{ALC_FREQUENCY, -5, 0}, 48000, 1},
                {{ALC_REFRESH, 30, ALC_FREQUENCY, 22050, 0}, 22050, 1},
                {{ALC_SYNC, 0, ALC_DEFAULT_FILTER_ORDER, 2, 0}, 48000, 2},
                {{ALC_DEFAULT_FILTER_ORDER, 3, ALC_MAX_AUXILIARY_SENDS, 16, 0}, 48000, 1}};
    for (const auto& row : rows) {
        Create(row.attributes);
        EXPECT_EQ(Get(ALC_FREQUENCY), row.frequency);
        EXPECT_EQ(Get(ALC_DEFAULT_FILTER_ORDER), row.filterOrder);
        Destroy();
    }
    ExpectAnswer<ALCcontext*>(Create({ALC_SYNC, 1, 0}), nullptr, ALC_INVALID_VALUE);
}

TEST_F(AlcCalls, AFailedCall_IsLoggedWhenLoggingIsVerbose) {
    for (const bool isVerbose : {false, true}) {
        Configure([&](auto& c) { c.isLoggingVerbose = isVerbose; });
        alcGetContextsDevice(nullptr);
        EXPECT_EQ(LogHas("Tessarune: Game ALC call failed: Invalid context in alcGetContextsDevice()."),
                  isVerbose);
    }
}

TEST_F(AlcCalls, GetIntegerv_OfAllAttributes_WritesWholePairsAndTheEnd) {
    Create();
    for (const ALCsizei size : {3, 4, 5, 21, 22, 23, 64}) {
        const auto end = static_cast<std::size_t>(std::min((size - 1) / 2, 11) * 2);
        std::vector<ALCint> data(static_cast<std::size_t>(size) + 1, -77);
        alcGetIntegerv(device, ALC_ALL_ATTRIBUTES, size, data.data());
        EXPECT_EQ(data[end], 0) << size;
        EXPECT_EQ(data[end + 1], -77) << size;
        EXPECT_EQ(data[1], 48000);
        EXPECT_TRUE(end == 2 || data[3] == 94) << "blocks per second";
    }
    ExpectAnswer(Get(ALC_ALL_ATTRIBUTES, 2), -77, ALC_INVALID_VALUE);
}

TEST_F(AlcCalls, GetIntegerv_WithoutAContext_KnowsOnlyWhatIsFixed) {
    const struct {
        ALCenum parameter;
        ALCsizei size;
        ALCint value;  // -77: none
        ALCenum code;
    } rows[] = {
        {ALC_FREQUENCY, 1, -77, ALC_INVALID_DEVICE},          {ALC_MAJOR_VERSION, 1, 1, ALC_NO_ERROR},
        {ALC_MINOR_VERSION, 0, -77, ALC_INVALID_VALUE},       {ALC_MAX_AUXILIARY_SENDS, 0, 4, ALC_NO_ERROR},
        {ALC_ALL_ATTRIBUTES, 3, ALC_FREQUENCY, ALC_NO_ERROR}, {0x4711, 1, -77, ALC_INVALID_ENUM}};
    for (const auto& row : rows)
        ExpectAnswer(Get(row.parameter, row.size), row.value, row.code);
}

TEST_F(AlcCalls, TextsAndLookUps_AreExactAndListsEndWithTwoNuls) {
    Configure([](auto& c) { c.masqueradeAsGenericSoftware = c.masqueradeAsGenericHardware = true; });
    constexpr char expected[] = "Tessarune\0Generic Software\0Generic Hardware\0";
    const char* const list = alcGetString(nullptr, ALC_DEVICE_SPECIFIER);
    EXPECT_EQ(std::string(list, sizeof(expected)), std::string(expected, sizeof(expected)));
    EXPECT_STREQ(alcGetString(device, ALC_INVALID_ENUM), "Invalid enum.");
    EXPECT_STREQ(alcGetString(device, ALC_CAPTURE_DEVICE_SPECIFIER), "");
    EXPECT_EQ(alcGetString(device, 0x4711), nullptr);
    EXPECT_EQ(alcCaptureOpenDevice(nullptr, 44100, 0x1101, 1024), nullptr);
    EXPECT_EQ(alcGetError(device), ALC_INVALID_ENUM);  // the first one stays
    EXPECT_EQ(alcGetError(device), ALC_NO_ERROR);
    EXPECT_EQ(alcIsExtensionPresent(device, "alc_ext_efx"), ALC_TRUE);
    EXPECT_EQ(alcGetProcAddress(device, "alcOpenDevice"), reinterpret_cast<void*>(&alcOpenDevice));
    EXPECT_EQ(alcGetEnumValue(device, "ALC_MAX_AUXILIARY_SENDS"), 0x20003);
    ExpectAnswer<void*>(alcGetProcAddress(device, "alcopendevice"), nullptr, ALC_INVALID_VALUE);
    ExpectAnswer(alcGetEnumValue(device, "alc_sync"), 0, ALC_INVALID_ENUM);
}

}  // namespace

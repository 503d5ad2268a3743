// The values of the tokens, written out as numbers: games were compiled with them, so each is fixed for good.

#include "AL/tessarune.h"
#include "app/goaldll/alcenums.h"
#include "app/goaldll/alenums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace goal {
namespace {

/// Tokens whose values follow each other, from `first` on.
struct Run {
    const char* prefix;
    int first;
    std::vector<const char*> names;
};

const std::vector<Run> alRuns = {
    {"AL_", -1, {"INVALID", "NONE", "TRUE"}},
    {"AL_", 0, {"FALSE"}},
    {"AL_", 0, {"NO_ERROR"}},
    {"AL_", 0x202, {"SOURCE_RELATIVE"}},
    {"AL_",
     0x1001,
     {"CONE_INNER_ANGLE", "CONE_OUTER_ANGLE", "PITCH", "POSITION", "DIRECTION", "VELOCITY", "LOOPING"}},
    {"AL_", 0x1009, {"BUFFER", "GAIN"}},
    {"AL_",
     0x100D,
     {"MIN_GAIN", "MAX_GAIN", "ORIENTATION", "SOURCE_STATE", "INITIAL", "PLAYING", "PAUSED", "STOPPED"}},
    {"AL_", 0x1015, {"BUFFERS_QUEUED", "BUFFERS_PROCESSED"}},
    {"AL_", 0x1020, {"REFERENCE_DISTANCE", "ROLLOFF_FACTOR", "CONE_OUTER_GAIN", "MAX_DISTANCE"}},
    {"AL_", 0x1024, {"SEC_OFFSET", "SAMPLE_OFFSET", "BYTE_OFFSET", "SOURCE_TYPE", "STATIC", "STREAMING"}},
    {"AL_", 0x1030, {"STEREO_ANGLES", "SOURCE_RADIUS"}},
    {"AL_", 0x1030, {"UNDETERMINED"}},
    {"AL_", 0x2001, {"FREQUENCY", "BITS", "CHANNELS", "SIZE"}},
    {"AL_", 0x2010, {"UNUSED", "PENDING", "PROCESSED"}},
    {"AL_", 0xA001, {"INVALID_NAME", "INVALID_ENUM", "INVALID_VALUE", "INVALID_OPERATION", "OUT_OF_MEMORY"}},
    {"AL_", 0xB001, {"VENDOR", "VERSION", "RENDERER", "EXTENSIONS"}},
    {"AL_", 0xC000, {"DOPPLER_FACTOR", "DOPPLER_VELOCITY"}},
    {"AL_", 0xC003, {"SPEED_OF_SOUND"}},
    {"AL_", 0xD000, {"DISTANCE_MODEL", "INVERSE_DISTANCE", "INVERSE_DISTANCE_CLAMPED", "LINEAR_DISTANCE"}},
    {"AL_", 0xD004, {"LINEAR_DISTANCE_CLAMPED", "EXPONENT_DISTANCE", "EXPONENT_DISTANCE_CLAMPED"}},
    {"AL_FORMAT_", 0x1100, {"MONO8", "MONO16", "STEREO8", "STEREO16"}},
    {"AL_FORMAT_", 0x1204, {"QUAD8", "QUAD16", "QUAD32", "REAR8", "REAR16", "REAR32", "51CHN8", "51CHN16"}},
    {"AL_FORMAT_", 0x120C, {"51CHN32", "61CHN8", "61CHN16", "61CHN32", "71CHN8", "71CHN16", "71CHN32"}},
    {"AL_FORMAT_", 0x1300, {"MONO_IMA4", "STEREO_IMA4"}},
    {"AL_FORMAT_", 0x10010, {"MONO_FLOAT32", "STEREO_FLOAT32", "MONO_DOUBLE_EXT", "STEREO_DOUBLE_EXT"}},
    {"AL_FORMAT_", 0x10014, {"MONO_MULAW", "STEREO_MULAW"}},
    {"AL_FORMAT_", 0x10021, {"QUAD_MULAW", "REAR_MULAW", "51CHN_MULAW", "61CHN_MULAW", "71CHN_MULAW"}},
    {"AL_FORMAT_", 0x10031, {"BFORMAT2_MULAW", "BFORMAT3_MULAW"}},
    {"AL_FORMAT_", 0x20021, {"BFORMAT2D_8", "BFORMAT2D_16", "BFORMAT2D_FLOAT32"}},
    {"AL_FORMAT_", 0x20031, {"BFORMAT3D_8", "BFORMAT3D_16", "BFORMAT3D_FLOAT32"}},
    {"AL_FOLDBACK_", 0x4101, {"MODE_MONO", "MODE_STEREO"}},
    {"AL_FOLDBACK_", 0x4111, {"EVENT_START", "EVENT_BLOCK", "EVENT_STOP"}},
    {"AL_", 0x20004, {"METERS_PER_UNIT", "DIRECT_FILTER", "AUXILIARY_SEND_FILTER", "AIR_ABSORPTION_FACTOR"}},
    {"AL_", 0x20008, {"ROOM_ROLLOFF_FACTOR", "CONE_OUTER_GAINHF", "DIRECT_FILTER_GAINHF_AUTO"}},
    {"AL_", 0x2000B, {"AUXILIARY_SEND_FILTER_GAIN_AUTO", "AUXILIARY_SEND_FILTER_GAINHF_AUTO"}},
    {"AL_EFFECTSLOT_", 0, {"NULL", "EFFECT", "GAIN", "AUXILIARY_SEND_AUTO"}},
    {"AL_EFFECT_", 0, {"FIRST_PARAMETER"}},
    {"AL_EFFECT_", 0x8000, {"LAST_PARAMETER", "TYPE"}},
    {"AL_EFFECT_", 0, {"NULL", "REVERB", "CHORUS", "DISTORTION", "ECHO", "FLANGER"}},
    {"AL_EFFECT_", 9, {"RING_MODULATOR"}},
    {"AL_EFFECT_", 11, {"COMPRESSOR", "EQUALIZER"}},
    {"AL_EFFECT_", 0x8000, {"EAXREVERB"}},
    {"AL_EFFECT_", 0x9000, {"DEDICATED_LOW_FREQUENCY_EFFECT", "DEDICATED_DIALOGUE"}},
    {"AL_FILTER_", 0, {"FIRST_PARAMETER"}},
    {"AL_FILTER_", 0x8000, {"LAST_PARAMETER", "TYPE"}},
    {"AL_FILTER_", 0, {"NULL", "LOWPASS", "HIGHPASS", "BANDPASS"}},
    {"AL_LOWPASS_", 1, {"GAIN", "GAINHF"}},
    {"AL_HIGHPASS_", 1, {"GAIN", "GAINLF"}},
    {"AL_BANDPASS_", 1, {"GAIN", "GAINLF", "GAINHF"}},
    {"AL_REVERB_", 1, {"DENSITY", "DIFFUSION", "GAIN", "GAINHF", "DECAY_TIME", "DECAY_HFRATIO"}},
    {"AL_REVERB_", 7, {"REFLECTIONS_GAIN", "REFLECTIONS_DELAY", "LATE_REVERB_GAIN", "LATE_REVERB_DELAY"}},
    {"AL_REVERB_", 11, {"AIR_ABSORPTION_GAINHF", "ROOM_ROLLOFF_FACTOR", "DECAY_HFLIMIT"}},
    {"AL_EAXREVERB_", 1, {"DENSITY", "DIFFUSION", "GAIN", "GAINHF", "GAINLF", "DECAY_TIME", "DECAY_HFRATIO"}},
    {"AL_EAXREVERB_", 8, {"DECAY_LFRATIO", "REFLECTIONS_GAIN", "REFLECTIONS_DELAY", "REFLECTIONS_PAN"}},
    {"AL_EAXREVERB_",
     12,
     {"LATE_REVERB_GAIN", "LATE_REVERB_DELAY", "LATE_REVERB_PAN", "ECHO_TIME", "ECHO_DEPTH"}},
    {"AL_EAXREVERB_", 17, {"MODULATION_TIME", "MODULATION_DEPTH", "AIR_ABSORPTION_GAINHF", "HFREFERENCE"}},
    {"AL_EAXREVERB_", 21, {"LFREFERENCE", "ROOM_ROLLOFF_FACTOR", "DECAY_HFLIMIT"}},
    {"AL_CHORUS_", 1, {"WAVEFORM", "PHASE", "RATE", "DEPTH", "FEEDBACK", "DELAY"}},
    {"AL_CHORUS_WAVEFORM_", 0, {"SINUSOID", "TRIANGLE"}},
    {"AL_DISTORTION_", 1, {"EDGE", "GAIN", "LOWPASS_CUTOFF", "EQCENTER", "EQBANDWIDTH"}},
    {"AL_ECHO_", 1, {"DELAY", "LRDELAY", "DAMPING", "FEEDBACK", "SPREAD"}},
    {"AL_FLANGER_", 1, {"WAVEFORM", "PHASE", "RATE", "DEPTH", "FEEDBACK", "DELAY"}},
    {"AL_FLANGER_WAVEFORM_", 0, {"SINUSOID", "TRIANGLE"}},
    {"AL_FREQUENCY_SHIFTER_", 1, {"FREQUENCY", "LEFT_DIRECTION", "RIGHT_DIRECTION"}},
    {"AL_FREQUENCY_SHIFTER_DIRECTION_", 0, {"DOWN", "UP", "OFF"}},
    {"AL_VOCAL_MORPHER_", 1, {"PHONEMEA", "PHONEMEA_COARSE_TUNING", "PHONEMEB", "PHONEMEB_COARSE_TUNING"}},
    {"AL_VOCAL_MORPHER_", 5, {"WAVEFORM", "RATE"}},
    {"AL_VOCAL_MORPHER_PHONEME_",
     0,
     {"A", "E", "I", "O", "U", "AA", "AE", "AH", "AO", "EH", "ER", "IH", "IY", "UH", "UW"}},
    {"AL_VOCAL_MORPHER_PHONEME_",
     15,
     {"B", "D", "F", "G", "J", "K", "L", "M", "N", "P", "R", "S", "T", "V", "Z"}},
    {"AL_VOCAL_MORPHER_WAVEFORM_", 0, {"SINUSOID", "TRIANGLE", "SAWTOOTH"}},
    {"AL_PITCH_SHIFTER_", 1, {"COARSE_TUNE", "FINE_TUNE"}},
    {"AL_RING_MODULATOR_", 1, {"FREQUENCY", "HIGHPASS_CUTOFF", "WAVEFORM"}},
    {"AL_RING_MODULATOR_", 0, {"SINUSOID", "SAWTOOTH", "SQUARE"}},
    {"AL_AUTOWAH_", 1, {"ATTACK_TIME", "RELEASE_TIME", "RESONANCE", "PEAK_GAIN"}},
    {"AL_", 1, {"COMPRESSOR_ONOFF"}},
    {"AL_EQUALIZER_", 1, {"LOW_GAIN", "LOW_CUTOFF", "MID1_GAIN", "MID1_CENTER", "MID1_WIDTH"}},
    {"AL_EQUALIZER_", 6, {"MID2_GAIN", "MID2_CENTER", "MID2_WIDTH", "HIGH_GAIN", "HIGH_CUTOFF"}},
};

const std::vector<Run> alcRuns = {
    {"ALC_", 0, {"INVALID"}},
    {"ALC_", 0, {"FALSE", "TRUE"}},
    {"ALC_", 0, {"NO_ERROR"}},
    {"ALC_CAPTURE_", 0x310, {"DEVICE_SPECIFIER", "DEFAULT_DEVICE_SPECIFIER", "SAMPLES"}},
    {"ALC_", 0x1000, {"MAJOR_VERSION", "MINOR_VERSION", "ATTRIBUTES_SIZE", "ALL_ATTRIBUTES"}},
    {"ALC_",
     0x1004,
     {"DEFAULT_DEVICE_SPECIFIER", "DEVICE_SPECIFIER", "EXTENSIONS", "FREQUENCY", "REFRESH", "SYNC"}},
    {"ALC_", 0x1010, {"MONO_SOURCES", "STEREO_SOURCES"}},
    {"ALC_", 0x1012, {"DEFAULT_ALL_DEVICES_SPECIFIER", "ALL_DEVICES_SPECIFIER"}},
    {"ALC_", 0x1100, {"DEFAULT_FILTER_ORDER"}},
    {"ALC_", 0xA001, {"INVALID_DEVICE", "INVALID_CONTEXT", "INVALID_ENUM", "INVALID_VALUE", "OUT_OF_MEMORY"}},
    {"ALC_", 0x20001, {"EFX_MAJOR_VERSION", "EFX_MINOR_VERSION", "MAX_AUXILIARY_SENDS"}},
};

using Values = std::map<std::string, int>;
using Tokens = std::vector<std::pair<std::string, int>>;

Values Published(const std::vector<Run>& runs) {
    Values values;
    for (const Run& run : runs) {
        int value = run.first;
        for (const char* name : run.names)
            values.emplace(std::string(run.prefix) + name, value++);
    }
    return values;
}

Values Known(std::span<const EnumRow> rows) {
    Values values;
    for (const EnumRow& row : rows)
        values.emplace(row.name, row.value);
    return values;
}

/// The tokens that only one side has, or that the two sides give different values.
Tokens Difference(const Values& a, const Values& b) {
    Tokens difference;
    std::ranges::set_symmetric_difference(a, b, std::back_inserter(difference));
    return difference;
}

TEST(AlEnums, HasEveryPublishedTokenOnceWithItsValue) {
    EXPECT_EQ(AlEnums().size(), 281u);
    EXPECT_EQ(Known(AlEnums()).size(), 281u);
    EXPECT_EQ(Difference(Known(AlEnums()), Published(alRuns)), Tokens{});
}

TEST(AlcEnums, HasEveryPublishedTokenOnceWithItsValue) {
    EXPECT_EQ(AlcEnums().size(), 30u);
    EXPECT_EQ(Known(AlcEnums()).size(), 30u);
    EXPECT_EQ(Difference(Known(AlcEnums()), Published(alcRuns)), Tokens{});
}

TEST(Headers, TokensThatNoTableHasAreThePublishedOnes) {
    EXPECT_EQ(AL_EFFECT_FREQUENCY_SHIFTER, 6);
    EXPECT_EQ(AL_EFFECT_VOCAL_MORPHER, 7);
    EXPECT_EQ(AL_EFFECT_PITCH_SHIFTER, 8);
    EXPECT_EQ(AL_EFFECT_AUTOWAH, 10);
    EXPECT_EQ(AL_DEDICATED_GAIN, 1);
    EXPECT_EQ(AL_EAXREVERB_DEFAULT_REFLECTIONS_PAN_XYZ, 0.0f);
    EXPECT_EQ(AL_EAXREVERB_DEFAULT_LATE_REVERB_PAN_XYZ, 0.0f);
    EXPECT_EQ(AL_ILLEGAL_ENUM, 0xA002);
    EXPECT_EQ(AL_ILLEGAL_COMMAND, 0xA004);
}

struct Range {
    const char* name;
    float limits[3];  // least, most and default value, of the headers
    float least, most, standard;
};

// clang-format off
#define RANGE(effect, name) \
    #effect "_" #name, {effect##_MIN_##name, effect##_MAX_##name, effect##_DEFAULT_##name}
// clang-format on

class ParameterRange : public testing::TestWithParam<Range> {};

TEST_P(ParameterRange, IsThePublishedOne) {
    const Range& range = GetParam();
    EXPECT_EQ(range.limits[0], range.least);
    EXPECT_EQ(range.limits[1], range.most);
    EXPECT_EQ(range.limits[2], range.standard);
}

const Range ranges[] = {
    {RANGE(AL_REVERB, DENSITY), 0, 1, 1},
    {RANGE(AL_REVERB, DIFFUSION), 0, 1, 1},
    {RANGE(AL_REVERB, GAIN), 0, 1, 0.32f},
    {RANGE(AL_REVERB, GAINHF), 0, 1, 0.89f},
    {RANGE(AL_REVERB, DECAY_TIME), 0.1f, 20, 1.49f},
    {RANGE(AL_REVERB, DECAY_HFRATIO), 0.1f, 2, 0.83f},
    {RANGE(AL_REVERB, REFLECTIONS_GAIN), 0, 3.16f, 0.05f},
    {RANGE(AL_REVERB, REFLECTIONS_DELAY), 0, 0.3f, 0.007f},
    {RANGE(AL_REVERB, LATE_REVERB_GAIN), 0, 10, 1.26f},
    {RANGE(AL_REVERB, LATE_REVERB_DELAY), 0, 0.1f, 0.011f},
    {RANGE(AL_REVERB, AIR_ABSORPTION_GAINHF), 0.892f, 1, 0.994f},
    {RANGE(AL_REVERB, ROOM_ROLLOFF_FACTOR), 0, 10, 0},
    {RANGE(AL_REVERB, DECAY_HFLIMIT), 0, 1, 1},
    {RANGE(AL_EAXREVERB, GAINLF), 0, 1, 1},
    {RANGE(AL_EAXREVERB, DECAY_LFRATIO), 0.1f, 2, 1},
    {RANGE(AL_EAXREVERB, ECHO_TIME), 0.075f, 0.25f, 0.25f},
    {RANGE(AL_EAXREVERB, ECHO_DEPTH), 0, 1, 0},
    {RANGE(AL_EAXREVERB, MODULATION_TIME), 0.04f, 4, 0.25f},
    {RANGE(AL_EAXREVERB, MODULATION_DEPTH), 0, 1, 0},
    {RANGE(AL_EAXREVERB, HFREFERENCE), 1000, 20000, 5000},
    {RANGE(AL_EAXREVERB, LFREFERENCE), 20, 1000, 250},
    {RANGE(AL_CHORUS, WAVEFORM), 0, 1, 1},
    {RANGE(AL_CHORUS, PHASE), -180, 180, 90},
    {RANGE(AL_CHORUS, RATE), 0, 10, 1.1f},
    {RANGE(AL_CHORUS, DEPTH), 0, 1, 0.1f},
    {RANGE(AL_CHORUS, FEEDBACK), -1, 1, 0.25f},
    {RANGE(AL_CHORUS, DELAY), 0, 0.016f, 0.016f},
    {RANGE(AL_FLANGER, WAVEFORM), 0, 1, 1},
    {RANGE(AL_FLANGER, PHASE), -180, 180, 0},
    {RANGE(AL_FLANGER, RATE), 0, 10, 0.27f},
    {RANGE(AL_FLANGER, DEPTH), 0, 1, 1},
    {RANGE(AL_FLANGER, FEEDBACK), -1, 1, -0.5f},
    {RANGE(AL_FLANGER, DELAY), 0, 0.004f, 0.002f},
    {RANGE(AL_ECHO, DELAY), 0, 0.207f, 0.1f},
    {RANGE(AL_ECHO, LRDELAY), 0, 0.404f, 0.1f},
    {RANGE(AL_ECHO, DAMPING), 0, 0.99f, 0.5f},
    {RANGE(AL_ECHO, FEEDBACK), 0, 1, 0.5f},
    {RANGE(AL_ECHO, SPREAD), -1, 1, -1},
    {RANGE(AL_DISTORTION, EDGE), 0, 1, 0.2f},
    {RANGE(AL_DISTORTION, GAIN), 0.01f, 1, 0.05f},
    {RANGE(AL_DISTORTION, LOWPASS_CUTOFF), 80, 24000, 8000},
    {RANGE(AL_DISTORTION, EQCENTER), 80, 24000, 3600},
    {RANGE(AL_DISTORTION, EQBANDWIDTH), 80, 24000, 3600},
    {RANGE(AL_RING_MODULATOR, FREQUENCY), 0, 8000, 440},
    {RANGE(AL_RING_MODULATOR, HIGHPASS_CUTOFF), 0, 24000, 800},
    {RANGE(AL_RING_MODULATOR, WAVEFORM), 0, 2, 0},
    {RANGE(AL_COMPRESSOR, ONOFF), 0, 1, 1},
    {RANGE(AL_EQUALIZER, LOW_GAIN), 0.126f, 7.943f, 1},
    {RANGE(AL_EQUALIZER, LOW_CUTOFF), 50, 800, 200},
    {RANGE(AL_EQUALIZER, MID1_GAIN), 0.126f, 7.943f, 1},
    {RANGE(AL_EQUALIZER, MID1_CENTER), 200, 3000, 500},
    {RANGE(AL_EQUALIZER, MID1_WIDTH), 0.01f, 1, 1},
    {RANGE(AL_EQUALIZER, MID2_GAIN), 0.126f, 7.943f, 1},
    {RANGE(AL_EQUALIZER, MID2_CENTER), 1000, 8000, 3000},
    {RANGE(AL_EQUALIZER, MID2_WIDTH), 0.01f, 1, 1},
    {RANGE(AL_EQUALIZER, HIGH_GAIN), 0.126f, 7.943f, 1},
    {RANGE(AL_EQUALIZER, HIGH_CUTOFF), 4000, 16000, 6000},
    {RANGE(AL_EAXREVERB, DENSITY), 0, 1, 1},
    {RANGE(AL_EAXREVERB, DIFFUSION), 0, 1, 1},
    {RANGE(AL_EAXREVERB, GAIN), 0, 1, 0.32f},
    {RANGE(AL_EAXREVERB, GAINHF), 0, 1, 0.89f},
    {RANGE(AL_EAXREVERB, DECAY_TIME), 0.1f, 20, 1.49f},
    {RANGE(AL_EAXREVERB, DECAY_HFRATIO), 0.1f, 2, 0.83f},
    {RANGE(AL_EAXREVERB, REFLECTIONS_GAIN), 0, 3.16f, 0.05f},
    {RANGE(AL_EAXREVERB, REFLECTIONS_DELAY), 0, 0.3f, 0.007f},
    {RANGE(AL_EAXREVERB, LATE_REVERB_GAIN), 0, 10, 1.26f},
    {RANGE(AL_EAXREVERB, LATE_REVERB_DELAY), 0, 0.1f, 0.011f},
    {RANGE(AL_EAXREVERB, AIR_ABSORPTION_GAINHF), 0.892f, 1, 0.994f},
    {RANGE(AL_EAXREVERB, ROOM_ROLLOFF_FACTOR), 0, 10, 0},
    {RANGE(AL_EAXREVERB, DECAY_HFLIMIT), 0, 1, 1},
};

INSTANTIATE_TEST_SUITE_P(Efx, ParameterRange, testing::ValuesIn(ranges),
                         [](const testing::TestParamInfo<Range>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace
}  // namespace goal

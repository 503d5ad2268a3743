#include "orb3core/settings/settingtable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "orb3core/settings/choicetexts.h"
#include "orb3core/settings/configuration.h"
#include "platform/outputdevice.h"
#include "slib/exception.h"
#include "slib/standardformats.h"
#include "slib/text.h"

namespace orb3 {
namespace {

using enum Presence;

// A field of a record, with what its neighbours here also have: a type that reads and writes one value of a
// record.
template <auto field>
struct At;

template <typename Owner, typename Type, Type Owner::*field>
struct At<field> {
    using Record = Owner;
    using Value = Type;
    static Value Get(const Record& record) { return record.*field; }
    static void Set(Record& record, Value value) { record.*field = value; }
};

// The two reverb fields as the one thing that people set.
struct Quality {
    using Record = GoalConfig;
    using Value = EffectsQuality;
    static Value Get(const Record& record) { return GetEffectsQuality(record); }
    static void Set(Record& record, Value value) { SetEffectsQuality(record, value); }
};

template <typename Field>
typename Field::Value DefaultOf() {
    return Field::Get(typename Field::Record());
}

template <typename Number>
Number Corrected(Number number, Number whenAbsent, const SettingValue& taken) {
    const auto least = static_cast<Number>(taken.taken.least);
    const auto greatest = std::is_integral_v<Number> ? static_cast<Number>(taken.taken.greatest)
                                                     : std::numeric_limits<Number>::max();
    if (number >= least && number <= greatest) return number;
    switch (taken.outside) {
        case Outside::Nearest:
            return std::clamp(number, least, greatest);
        case Outside::Default:
            return whenAbsent;
        case Outside::Kept:
            return number;
    }
    slib::ThrowUnreachable();
}

template <typename Field>
void ReadFlag(const Setting&, std::string_view text, typename Field::Record& record) {
    Field::Set(record, slib::ParseBool(text));
}

template <typename Field>
std::string FlagText(const typename Field::Record& record) {
    return slib::FormatBool(Field::Get(record));
}

template <typename Field>
void ReadWhole(const Setting& setting, std::string_view text, typename Field::Record& record) {
    Field::Set(record, Corrected(slib::ParseInt(text), DefaultOf<Field>(), setting.value));
}

template <typename Field>
void ReadReal(const Setting& setting, std::string_view text, typename Field::Record& record) {
    const bool isKept = setting.value.outside == Outside::Kept;
    const double number = isKept ? slib::ParseFiniteDouble(text) : slib::ParseDouble(text);
    Field::Set(record, Corrected(number, DefaultOf<Field>(), setting.value));
}

template <typename Field>
std::string NumberText(const typename Field::Record& record) {
    return slib::FormatNumber(Field::Get(record));
}

// A word that is none of the choices reads as the default.
template <typename Field>
void ReadChoice(const Setting&, std::string_view text, typename Field::Record& record) {
    Field::Set(record, choiceTexts<typename Field::Value>.Find(text).value_or(DefaultOf<Field>()));
}

template <typename Field>
std::string ChoiceText(const typename Field::Record& record) {
    const auto& choices = choiceTexts<typename Field::Value>;
    const auto value = Field::Get(record);
    if (!choices.Has(value)) slib::ThrowUnreachable("orb3core/goalconfig", __LINE__);
    return choices.TextOf(value);
}

template <typename Enum>
std::vector<std::string> ChoicesOf() {
    return {choiceTexts<Enum>.texts.begin(), choiceTexts<Enum>.texts.end()};
}

template <typename Field>
constexpr SettingValue Flag() {
    return {{SettingRange::Kind::Flag, {}, nullptr},
            {},
            Outside::Kept,
            RecordField<typename Field::Record>{FlagText<Field>, ReadFlag<Field>}};
}

// `offered` is what people may choose from; the reader takes a rate, say, that no device has.
template <typename Field>
constexpr SettingValue Whole(Bounds taken, Outside outside, Bounds offered) {
    return {{SettingRange::Kind::Whole, offered, nullptr},
            taken,
            outside,
            RecordField<typename Field::Record>{NumberText<Field>, ReadWhole<Field>}};
}

template <typename Field>
constexpr SettingValue Whole(Bounds taken, Outside outside) {
    return Whole<Field>(taken, outside, taken);
}

template <typename Field>
constexpr SettingValue Gain(Outside outside) {
    return {{SettingRange::Kind::Real, {}, nullptr},
            {},
            outside,
            RecordField<typename Field::Record>{NumberText<Field>, ReadReal<Field>}};
}

template <typename Field>
constexpr SettingValue Choice() {
    return {{SettingRange::Kind::Choice, {}, ChoicesOf<typename Field::Value>},
            {},
            Outside::Default,
            RecordField<typename Field::Record>{ChoiceText<Field>, ReadChoice<Field>}};
}

constexpr std::string_view automatic = "Auto";

std::vector<std::string> SpeakerSettings() {
    std::vector<std::string> names{std::string(automatic)};
    for (int i = 1; i <= static_cast<int>(slib::StandardFormat::Surround71Wide); ++i)
        names.push_back(slib::GetStandardFormatName(static_cast<slib::StandardFormat>(i)));
    return names;
}

constexpr SettingValue StoredChoice(std::vector<std::string> (*choices)(),
                                    std::string_view byDefault = automatic) {
    return {{SettingRange::Kind::Choice, {}, choices}, {}, Outside::Kept, StoreValue{byDefault}};
}

constexpr SettingValue StoredPath() {
    return {{SettingRange::Kind::Path, {}, nullptr}, {}, Outside::Kept, StoreValue{}};
}

// What nothing in the store means is a number within the bounds.
constexpr SettingValue StoredWhole(Bounds bounds, std::string_view byDefault) {
    return {{SettingRange::Kind::Whole, bounds, nullptr}, {}, Outside::Kept, StoreValue{byDefault}};
}

constexpr Bounds fileChannels{8, static_cast<int>(platform::mostOutputChannels)};
constexpr Bounds rates{static_cast<int>(platform::lowestRate), static_cast<int>(platform::highestRate)};
constexpr Bounds blockLengths{64, noLimit};
constexpr Bounds fromOne{1, noLimit};
constexpr std::string_view forOthers = "kept for other programs";

using General = AudioRendererConfig;

// clang-format off
constexpr std::array settings{
    // attribute, presence, value, meaning, scope, advice
    Setting{"Gain", Required, Gain<At<&GoalConfig::gain>>(Outside::Default),
        "linear gain of the whole output", "output",
        "Lower it when the log reports peaks above full scale; raise it when the sound is faint and the log "
        "reports more than 20 dB of headroom."},
    Setting{"DefaultSampleRate", Required,
        Whole<At<&GoalConfig::defaultSampleRate>>(fromOne, Outside::Default, rates),
        "sample rate in Hz where a game asks for none", "output",
        "Set it to the rate of your sound card. Decoders for a rate that the format library doesn't hold are "
        "made at the first use."},
    Setting{"Order", Required, Whole<At<&GoalConfig::order>>({1, 4}, Outside::Nearest),
        "Ambisonics order: sharpness of directions", "renderer, decoder",
        "The sound field has (order+1)² channels: 4, 9, 16 or 25. Lower it on a slow machine. A layout "
        "without decoders of this order takes the highest that it has. The first start chooses it."},
    Setting{"SuggestedBufferLength", Required,
        Whole<At<&GoalConfig::suggestedBufferLength>>(blockLengths, Outside::Nearest),
        "frames in a block of output", "renderer, output",
        "Everything moves in steps of a block. Lower it for less latency. It is a wish: the output may use "
        "another length. The first start chooses it."},
    Setting{"SuggestedBufferCount", Required,
        Whole<At<&GoalConfig::suggestedBufferCount>>(fromOne, Outside::Nearest),
        "blocks in the output's buffer; fewer mean less latency", "output",
        "Set 8 or 16 when the sound drops out. The output adds blocks by itself, up to 100 ms, when the device "
        "reads in large or irregular steps. The first start chooses it."},
    Setting{"EffectsQuality", Required, Choice<Quality>(),
        "quality of the reverb", "reverb",
        "Low has four late delay lines, Medium ten; High also gives early reflections their directions. Lower "
        "it on a slow machine. The first start chooses it."},
    Setting{"SRC", Required, Choice<At<&GoalConfig::sampleRateConversion>>(),
        "sample rate conversion of the sources", "sources",
        "Off takes the nearest frame, Linear interpolates between two, and SincLow, SincMedium and SincHigh use "
        "4, 8 and 16 taps; SincBest uses 64 and keeps its noise below -100 dB. Lower it on a slow machine; raise "
        "it when high tones sound rough. The first start chooses it."},
    Setting{"Sound", UnlessDefault, Choice<At<&GoalConfig::sound>>(),
        "the way of rendering", "sources, decoder",
        "Refined has no clicks, steps or clipping where the formulas of Classic leave some. Set Classic to "
        "compare, or for a result that other writings of the formulas reproduce."},
    Setting{"HeadTracking", UnlessDefault, Choice<At<&GoalConfig::headTracking>>(),
        "turn the sound against your head", "decoder",
        "With Headphones sources stay where they are while you turn your head, as far as a head tracker tells; "
        "Always does so with speakers too. `tessarune-config tracker` sets it."},
    Setting{"HeadTrackingPort", UnlessDefault,
        Whole<At<&GoalConfig::headTrackingPort>>({1, 65535}, Outside::Default),
        "port of this machine that a head tracker sends to", "decoder",
        "4242 is where opentrack's output \"UDP over network\" sends to by itself. Only programs of this machine "
        "are heard."},
    Setting{"IsLoggingVerbose", Required, Flag<At<&GoalConfig::isLoggingVerbose>>(),
        "log each step, and each call that fails", "log",
        "Set it while you look for the cause of a problem."},
    Setting{"IsSuspendSupported", Optional, Flag<At<&GoalConfig::isSuspendSupported>>(),
        "games may suspend their context", "calls",
        "With False `alcSuspendContext` and `alcProcessContext` do nothing. Set False for a game that suspends "
        "its context and never resumes it, so that nothing is heard."},
    Setting{"MeasureOutputPeak", Required, Flag<At<&GoalConfig::measureOutputPeak>>(),
        "log the peak of the output", "decoder, log",
        "The peak is logged at the end and before a restart."},
    Setting{"UseParallelDecoder", Required, Flag<At<&GoalConfig::useParallelDecoder>>(),
        "decode on a thread of its own", "decoder",
        "A block is decoded while the next one is rendered, which costs a block of latency. Set it when one core "
        "isn't enough and another is free."},
    Setting{"OnlyOneReverb", Required, Flag<At<&GoalConfig::onlyOneReverb>>(),
        "allow a reverb in one effect slot at a time", "calls",
        "A second slot is refused a reverb with `AL_INVALID_OPERATION`. Set it on a slow machine. The first "
        "start chooses it."},
    Setting{"IgnoreGameSampleRate", Required, Flag<At<&GoalConfig::ignoreGameSampleRate>>(),
        "use DefaultSampleRate whatever a game asks for", "output",
        "Set it for a game that asks for a low rate."},
    Setting{"ReleaseASIOInBackground", Optional, Flag<At<&GoalConfig::releaseASIOInBackground>>(),
        "kept for other systems", "nothing",
        "It has no effect on this system."},
    Setting{"DefaultFilterOrder", Optional,
        Whole<At<&GoalConfig::defaultFilterOrder>>({1, 2}, Outside::Default),
        "order of the source filters where a game names none", "sources, sends",
        "Set 2 for filters that cut more steeply."},
    Setting{"MasqueradeAsGenericSoftware", Required, Flag<At<&GoalConfig::masqueradeAsGenericSoftware>>(),
        "also list a device 'Generic Software'", "device list",
        "Set it for an old game that looks for a device of this name."},
    Setting{"MasqueradeAsGenericHardware", Required, Flag<At<&GoalConfig::masqueradeAsGenericHardware>>(),
        "also list a device 'Generic Hardware'", "device list",
        "Set it for an old game that looks for a device of this name."},

    Setting{"UseDirectSoundAutoselect", Required, Flag<At<&Configuration::useDirectSoundAutoselect>>(),
        "the layout follows the system's speakers", "layout",
        "`tessarune-config select LAYOUT` sets it to False, `tessarune-config select --auto` to True."},

    Setting{"Output", Optional, StoredChoice(ChoicesOf<platform::PlatformSettings::Output>),
        "where the sound goes", "output",
        "Auto uses the sound server or a sound card, and silence while none answers, so that a game runs on. "
        "PulseAudio (PipeWire answers it as well), JACK and ALSA use that one and no other. "
        "Silent plays nowhere, at the pace of the clock. WaveFile records into the file that WaveFile names: 32 "
        "bits, at the pace that WaveFilePace names, complete at any moment even when the game is killed."},
    Setting{"WaveFile", Optional, StoredPath(),
        "the file that Output WaveFile records into", "output",
        "What was there is replaced. The second output of one game is recorded into `NAME-2.wav`, and what "
        "doesn't fit into 4 GiB into the next number."},
    Setting{"WaveFilePace", Optional,
        StoredChoice(ChoicesOf<platform::PlatformSettings::Pace>, "Renderer"),
        "what the clock of Output WaveFile does when the renderer is late", "output",
        "With Renderer it waits, so that a recording on a busy machine is whole and nothing is given up for "
        "speed; it never runs faster than time. RealTime shows what a sound card would have played: silence "
        "where the renderer was late."},
    Setting{"WaveFileChannels", Optional, StoredWhole(fileChannels, "8"),
        "how many outputs Output WaveFile has", "output",
        "More than 8 make another device of so many outputs, which a layout is connected to by "
        "`tessarune-config select LAYOUT --device`. Other layouts are recorded as before."},
    Setting{"SpeakerSetting", Optional, StoredChoice(SpeakerSettings),
        "the speakers, in place of those that the device reports", "layout",
        "Set it for headphones on a plain stereo output, or for speakers that the system doesn't know of."},
    Setting{"Input", Optional, StoredChoice(ChoicesOf<platform::InputSettings::Input>),
        "what a game records from", "capture",
        "Of use to a game whose profile allows it to record, and read when it opens an input. Auto is a PulseAudio "
        "server (PipeWire answers it as well). Silent is silence. WaveFile plays the file that InputFile names, "
        "over and over, in place of a microphone."},
    Setting{"InputFile", Optional, StoredPath(),
        "the file that Input WaveFile plays to a game", "capture",
        "A WAV file, or another one that libsndfile reads, of 256 MiB at most. For a mono recording its channels "
        "are averaged; another rate than the game's is interpolated linearly."},

    Setting{"Gain", Required, Gain<At<&General::gain>>(Outside::Kept), forOthers, "nothing", ""},
    Setting{"SuggestedBufferLength", Required,
        Whole<At<&General::suggestedBufferLength>>(blockLengths, Outside::Nearest), forOthers, "nothing", ""},
    Setting{"SuggestedBufferCount", Required,
        Whole<At<&General::suggestedBufferCount>>(fromOne, Outside::Nearest), forOthers, "nothing", ""},
    Setting{"IsLoggingVerbose", Required, Flag<At<&General::isLoggingVerbose>>(), forOthers, "nothing", ""},
    Setting{"MeasureOutputPeak", Required, Flag<At<&General::measureOutputPeak>>(), forOthers, "nothing", ""},
    Setting{"UseParallelDecoder", Required, Flag<At<&General::useParallelDecoder>>(), forOthers, "nothing", ""},
};
// clang-format on

// The record that a field lies in. `Document` is a Configuration, or a constant one.
template <typename Document>
auto& RecordIn(Document& configuration, const RecordField<GoalConfig>&) {
    return configuration.goalConfig;
}
template <typename Document>
auto& RecordIn(Document& configuration, const RecordField<AudioRendererConfig>&) {
    return configuration.audioRendererConfig;
}
template <typename Document>
auto& RecordIn(Document& configuration, const RecordField<Configuration>&) {
    return configuration;
}

template <typename Record>
bool IsWritten(const Setting& setting, const RecordField<Record>& field, const Record& record) {
    return setting.presence != UnlessDefault || field.write(record) != field.write(Record());
}

}  // namespace

Setting::Place Setting::GetPlace() const {
    constexpr std::array places{Place::Platform, Place::Tessarune, Place::AudioRenderer, Place::Document};
    static_assert(places.size() == std::variant_size_v<decltype(value.field)>);
    return places[value.field.index()];
}

std::string Setting::Name() const {
    return (GetPlace() == Place::AudioRenderer ? "AudioRenderer." : "") + std::string(attribute);
}

std::string Setting::StoreKey() const {
    return "/Platform/" + std::string(attribute);
}

std::string Setting::Default() const {
    const StoreValue* const stored = std::get_if<StoreValue>(&value.field);
    return stored == nullptr ? SettingText(*this, Configuration()) : std::string(stored->defaultText);
}

std::span<const Setting> Settings() {
    return settings;
}

std::string SettingText(const Setting& setting, const Configuration& configuration) {
    return std::visit(
        [&](const auto& field) -> std::string {
            if constexpr (std::is_same_v<decltype(field), const StoreValue&>)
                slib::ThrowUnreachable();
            else
                return field.write(RecordIn(configuration, field));
        },
        setting.value.field);
}

void TakeSetting(const Setting& setting, std::string_view text, Configuration& configuration) {
    std::visit(
        [&](const auto& field) {
            if constexpr (std::is_same_v<decltype(field), const StoreValue&>)
                slib::ThrowUnreachable();
            else
                field.read(setting, text, RecordIn(configuration, field));
        },
        setting.value.field);
}

template <typename Record>
void ReadSettings(const slib::SXMLNode& node, Record& record) {
    for (const Setting& setting : settings) {
        const auto* const field = std::get_if<RecordField<Record>>(&setting.value.field);
        if (field == nullptr) continue;
        if (setting.presence == Required || node.HasAttribute(setting.attribute))
            field->read(setting, node.GetAttribute(setting.attribute), record);
    }
}

template <typename Record>
void WriteSettings(const Record& record, slib::SXMLNode& node) {
    for (const Setting& setting : settings) {
        const auto* const field = std::get_if<RecordField<Record>>(&setting.value.field);
        if (field != nullptr && IsWritten(setting, *field, record))
            node.attributes[std::string(setting.attribute)] = field->write(record);
    }
}

template void ReadSettings(const slib::SXMLNode&, GoalConfig&);
template void ReadSettings(const slib::SXMLNode&, AudioRendererConfig&);
template void ReadSettings(const slib::SXMLNode&, Configuration&);
template void WriteSettings(const GoalConfig&, slib::SXMLNode&);
template void WriteSettings(const AudioRendererConfig&, slib::SXMLNode&);
template void WriteSettings(const Configuration&, slib::SXMLNode&);

}  // namespace orb3

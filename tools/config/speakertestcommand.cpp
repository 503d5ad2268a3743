#include <chrono>
#include <cstddef>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "orb3core/settings/platformsettings.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/text.h"
#include "tools/config/commands.h"
#include "tools/config/directtest.h"
#include "tools/config/gamecalls.h"
#include "tools/config/testsounds.h"
#include "tools/manage/machine.h"
#include "tools/manage/room.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/logring.h"
#include "tools/support/nearest.h"
#include "tools/support/progress.h"
#include "tools/support/realoutput.h"

namespace tool {
namespace {

using orb3::spk::Layout;
using orb3::spk::Role;
using orb3::spk::Speaker;

constexpr const char* examples = R"(Examples:
  tessarune-config speaker-test
  tessarune-config speaker-test --speaker "Back Left" --noise
  tessarune-config speaker-test --seconds 5
  tessarune-config speaker-test --direct              one output after the other, past the decoder
  tessarune-config speaker-test --direct "Aux 3"

The library places each sound where the speaker is, as it does for a game, so neighbouring speakers play along.
Listen whether it comes from the speaker that is named. Where it doesn't, 'tessarune-config speakers set
SPEAKER --output OUTPUT' connects the speaker to another output.

With --direct each output plays alone. Where the wrong speaker sounds then, it is the wiring or the connection;
where the right one does, and sounds are misplaced all the same, the places of the speakers aren't the layout's.)";
constexpr auto pause = std::chrono::milliseconds(250);

struct Options {
    std::string speaker;
    double seconds = 0;  // 0 as long as the sound is
    bool isNoise = false;
    bool isDirect = false;
    std::string output;  // of the direct test; empty for all
};

// Slots and effects that reach speakers which no place in the sound field does.
class DedicatedOutput {
public:
    DedicatedOutput(const GameCalls& calls, ALenum effectType) : calls(calls) {
        calls.alGenEffects(1, &effect);
        calls.alEffecti(effect, AL_EFFECT_TYPE, effectType);
        calls.alGenAuxiliaryEffectSlots(1, &slot);
        calls.alAuxiliaryEffectSloti(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
        calls.alGenFilters(1, &filter);
        calls.alFilteri(filter, AL_FILTER_TYPE, AL_FILTER_LOWPASS);
        calls.alFilterf(filter, AL_LOWPASS_GAIN, 0);
    }
    ~DedicatedOutput() {
        calls.alDeleteAuxiliaryEffectSlots(1, &slot);
        calls.alDeleteEffects(1, &effect);
        calls.alDeleteFilters(1, &filter);
    }
    DedicatedOutput(const DedicatedOutput&) = delete;
    DedicatedOutput& operator=(const DedicatedOutput&) = delete;

    // `source` is heard there and nowhere else.
    void Take(ALuint source) const {
        calls.alSourcei(source, AL_DIRECT_FILTER, static_cast<ALint>(filter));
        calls.alSource3i(source, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(slot), 0, AL_FILTER_NULL);
    }

private:
    const GameCalls& calls;
    ALuint effect = 0, slot = 0, filter = 0;
};

// One source with one sound.
class Source {
public:
    Source(const GameCalls& calls, const Sound& sound, bool isRepeated) : calls(calls) {
        const auto bytes = static_cast<ALsizei>(sound.samples.size() * sizeof sound.samples[0]);
        calls.alGenBuffers(1, &buffer);
        calls.alBufferData(buffer, AL_FORMAT_MONO16, sound.samples.data(), bytes, sound.rate);
        calls.alGenSources(1, &source);
        calls.alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
        calls.alSourcei(source, AL_LOOPING, isRepeated ? AL_TRUE : AL_FALSE);
    }
    ~Source() {
        calls.alDeleteSources(1, &source);
        calls.alDeleteBuffers(1, &buffer);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    // The calls' axes go to the right, up and backwards. All speakers are as loud as from 1 m.
    void PlaceAt(const orb3::Location& location) const {
        const double distance = PlaceOf(location).distance;
        const double scale = distance > 0 ? 1 / distance : 0;
        calls.alSource3f(source, AL_POSITION, static_cast<ALfloat>(-location.y * scale),
                         static_cast<ALfloat>(location.z * scale), static_cast<ALfloat>(-location.x * scale));
    }

    const GameCalls& calls;
    ALuint buffer = 0, source = 0;
};

// A context as a game makes it.
class Game {
public:
    Game() : before(ReadLogRing()), device(calls.alcOpenDevice(nullptr)) {
        context = device == nullptr ? nullptr : calls.alcCreateContext(device, nullptr);
        if (context == nullptr) {
            if (device != nullptr) calls.alcCloseDevice(device);
            Fail("No context could be made.");
        }
        calls.alcMakeContextCurrent(context);
    }
    ~Game() {
        calls.alcMakeContextCurrent(nullptr);
        calls.alcDestroyContext(context);
        calls.alcCloseDevice(device);
    }
    Game(const Game&) = delete;
    Game& operator=(const Game&) = delete;

    void Play(const Speaker& speaker, const Options& options) const {
        const Sound sound = SoundFor(speaker, options.isNoise);
        std::optional<DedicatedOutput> dedicated;  // outlives the source that sends to it
        const Source source(calls, sound, options.seconds > 0);
        source.PlaceAt(speaker.location);
        if (speaker.role == Role::BassLFE)
            dedicated.emplace(calls, AL_EFFECT_DEDICATED_LOW_FREQUENCY_EFFECT).Take(source.source);
        if (speaker.role == Role::FrontCentreDialogue)
            dedicated.emplace(calls, AL_EFFECT_DEDICATED_DIALOGUE).Take(source.source);
        calls.alSourcePlay(source.source);
        const ALenum code = calls.alGetError();
        if (code != AL_NO_ERROR) Fail(std::string("The library refused to play: ") + calls.alGetString(code));
        Wait(std::chrono::duration<double>(options.seconds > 0 ? options.seconds : sound.Seconds()));
        calls.alSourceStop(source.source);
        Wait(pause);
    }

private:
    static void Wait(std::chrono::duration<double> time) { std::this_thread::sleep_for(time); }

    [[noreturn]] void Fail(const std::string& sentence) const {
        const std::string error = LastError(AwaitLinesSince(before));
        throw slib::BadStateException(sentence +
                                      (error.empty() ? "" : " The last error in the log is: " + error) +
                                      " 'tessarune-config check' shows what a start finds.");
    }

    const GameCalls calls;
    const LogRing before;
    ALCdevice* device = nullptr;
    ALCcontext* context = nullptr;
};

Game StartGame() {
    const Progress progress("Starting");
    return Game();
}

// Says beforehand that nothing will be heard.
void CheckIsHeard() {
    using Output = platform::PlatformSettings::Output;
    ErrorsToTerminal log;
    const Output output = orb3::ReadPlatformSettings(log).output;
    if (output == Output::Silent)
        throw slib::BadStateException(
            "Output must not be Silent for this test. Change it: 'tessarune-config set Output Auto'.");
    if (output == Output::Auto && !DoesOutputAnswer(log))
        throw slib::BadStateException(
            "No sound server and no sound card answers, so nothing would be heard. Start the sound server, "
            "or record into a file: 'tessarune-config set WaveFile FILE', then 'tessarune-config set Output "
            "WaveFile'.");
}

Layout LayoutInForce(const orb3::Configuration& configuration) {
    const orb3::Configuration::LayoutPtr layout = orb3::FindSelectedLayout(configuration);
    if (layout) return *layout;
    throw slib::BadStateException(
        "No layout is in force. 'tessarune-config check' shows why, 'tessarune-config select LAYOUT' puts "
        "one in force.");
}

// The layout that a start is going to take, whether or not it stores it.
Layout ComingLayout(slib::Log& log, const orb3::Frameworks& frameworks) {
    slib::ErrorLog errors(&log);
    const FormatLibrary library(log);
    orb3::Configuration configuration = ReadDocument();
    static_cast<void>(orb3::SelectLayout(frameworks, library.Librarian(), configuration, &errors, false));
    return LayoutInForce(configuration);
}

// So that a wrong name costs no recording that stands already.
void CheckSpeaker(const std::string& name) {
    ErrorsToTerminal log;
    FindSpeaker(ComingLayout(log, MakeFrameworks(log)), name);
}

void TestDirectly(const Options& options) {
    ErrorsToTerminal log;
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    const Layout layout = ComingLayout(log, frameworks);
    const Output output = FindOutput(frameworks, layout.pipeDevice);
    std::cout << "Outputs of '" << output.device->name << "', past the decoder:\n";
    TestOutputs(*output.device, layout, {options.output, options.seconds, options.isNoise}, log);
}

void Print(const Speaker& speaker) {
    const Place place = PlaceOf(speaker.location);
    std::cout << "  " << speaker.label;
    if (speaker.role != Role::BassLFE)
        std::cout << ", azimuth " << slib::FormatNumber(place.azimuth, 4) << ", elevation "
                  << slib::FormatNumber(place.elevation, 4);
    std::cout << std::endl;
}

void Test(const Options& options) {
    CheckIsHeard();
    if (options.isDirect) return TestDirectly(options);
    if (!options.speaker.empty()) CheckSpeaker(options.speaker);
    const Game game = StartGame();
    const Layout layout = LayoutInForce(ReadDocument());  // the start has stored it
    std::vector<Speaker> speakers = layout.speakers;
    if (!options.speaker.empty()) speakers = {layout.speakers[FindSpeaker(layout, options.speaker)]};
    std::cout << layout.format << " on '" << layout.pipeDevice << "'; degrees, positive to the left:\n";
    for (std::size_t i = 0; i < speakers.size(); ++i) {
        const Speaker& speaker = speakers[i];
        Print(speaker);
        Progress progress("Playing");
        progress.Step(i + 1, speakers.size(), speaker.label);
        game.Play(speaker, options);
    }
}

}  // namespace

void AddSpeakerTestCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* command =
        program.AddCommand("speaker-test", "Play a sound from each speaker of the layout in force in turn.");
    command->SetFooter(examples);
    Option* speaker = command->AddOption("--speaker", options->speaker,
                                         "Only this one: its name, or its number in 'speakers'");
    Option* direct = command
                         ->AddOption("--direct", options->output,
                                     "Play outputs past the decoder, all or this one: its name or number")
                         ->LetValueBeLeftOut()
                         ->Exclude(speaker);
    command
        ->AddOption("--seconds", options->seconds,
                    "Seconds for each speaker; left out, the sound is played once")
        ->ReadBy(WithDecimalPoint)
        ->TakeRange(0.1, 3600.0);
    command->AddFlag("--noise", options->isNoise, "Pink noise in place of voices");
    command->OnUse([options, direct] {
        options->isDirect = direct->IsGiven();
        Test(*options);
    });
}

}  // namespace tool

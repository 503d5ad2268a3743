// Games on a real sound server, PulseAudio or PipeWire: one of its own for each test, in a folder of its own,
// with an output into nothing whose monitor is recorded. The game's calls are the exported ones.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <numbers>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "AL/tessarune.h"
#include "tests/support/process.h"
#include "tests/support/program.h"
#include "tests/support/recording.h"
#include "tests/support/signals.h"
#include "tests/support/stallwatch.h"

namespace {

using namespace std::chrono_literals;
using testing_support::Program;
using testing_support::Recording;
using testing_support::Sound;

constexpr int rate = 48000;
constexpr float toneLevel = 0.25F;
constexpr double degree = std::numbers::pi / 180;

enum class Kind { PulseAudio, PipeWire };

// A kind of speakers: its standard format, the server's names of its channels, and the azimuths of those that
// have one, in degrees to the left.
struct Speakers {
    const char* format;
    const char* channelMap;
    std::size_t channels;
    std::vector<std::pair<std::size_t, double>> azimuths;
};

const Speakers stereo{"Stereo", "front-left,front-right", 2, {{0, 30}, {1, -30}}};
const Speakers surround{"Surround 5.1",
                        "front-left,front-right,front-center,lfe,rear-left,rear-right",
                        6,
                        {{0, 30}, {1, -30}, {2, 0}, {4, 135}, {5, -135}}};

// Seconds.
double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Ahead, to the left and up, of degrees to the left and up.
using Direction = std::array<double, 3>;

Direction DirectionAt(double azimuth, double elevation) {
    const double level = std::cos(elevation * degree);
    return {level * std::cos(azimuth * degree), level * std::sin(azimuth * degree),
            std::sin(elevation * degree)};
}

// Stretches of at least 0.1 s of silence stand between two sounds.
std::vector<Sound> SoundsOf(const Recording& recording) {
    return recording.Sounds(rate / 10);
}

// A game with one voice, a tone of 6,007 Hz that fits its buffer of a second.
class Game {
public:
    Game() {
        std::vector<ALfloat> tone;
        for (int i = 0; i < rate; ++i)
            tone.push_back(toneLevel * static_cast<float>(std::sin(2 * std::numbers::pi * 6007 * i / rate)));
        alcMakeContextCurrent(context);
        alGenBuffers(1, &buffer);
        alBufferData(buffer, AL_FORMAT_MONO_FLOAT32, tone.data(), rate * 4, rate);
        alGenSources(1, &source);
        alSourcei(source, AL_BUFFER, static_cast<ALint>(buffer));
        alSourcei(source, AL_LOOPING, AL_TRUE);
    }
    ~Game() { alcDestroyContext(context); }
    Game(const Game&) = delete;
    Game& operator=(const Game&) = delete;

    void Play(
        double azimuth, std::chrono::milliseconds time, const std::function<void()>& meanwhile = [] {},
        std::chrono::milliseconds pause = 500ms, double elevation = 0) const {
        const auto [x, y, z] = DirectionAt(azimuth, elevation);
        alSource3f(source, AL_POSITION, static_cast<float>(-y), static_cast<float>(z),
                   static_cast<float>(-x));
        alSourcePlay(source);
        meanwhile();
        std::this_thread::sleep_for(time);
        alSourceStop(source);
        std::this_thread::sleep_for(pause);
    }
    // A long tone from ahead, and a short one from each speaker.
    void PlayScene(const Speakers& speakers, int seconds) const {
        Play(0, std::chrono::seconds(seconds));
        for (const auto& [channel, azimuth] : speakers.azimuths)
            Play(azimuth, 300ms);
    }

    // More sources than any machine renders in time.
    void Overload() const {
        std::vector<ALuint> sources(12000);
        alGenSources(static_cast<ALsizei>(sources.size()), sources.data());
        for (const ALuint each : sources) {
            alSourcei(each, AL_BUFFER, static_cast<ALint>(buffer));
            alSourcei(each, AL_LOOPING, AL_TRUE);
            alSourcePlay(each);
        }
    }

    ALCcontext* context = alcCreateContext(alcOpenDevice(nullptr), nullptr);

private:
    ALuint buffer = 0;
    ALuint source = 0;
};

class OnASoundServer : public testing::Test {
protected:
    OnASoundServer() {
        for (const char* name :
             {"XDG_RUNTIME_DIR", "XDG_STATE_HOME", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH", "HOME"})
            setenv(name, store.folder.path.c_str(), 1);
        setenv("PULSE_SERVER", ("unix:" + Socket()).c_str(), 1);  // and no client starts one of its own
    }
    std::string Socket() const { return store.folder.path / "native"; }
    // As a user does it.
    static void Set(const std::string& setting, const std::string& value) {
        testing_support::Configure("set " + setting + " '" + value + "'");
    }
    std::string Log() const { return testing_support::ReadFile(store.LogFile()); }

    // With two outputs, "out" and "other", the first of which is the default. At real-time priority, where
    // that is allowed, as a desktop has its server.
    Program StartServer(const Speakers& speakers, Kind kind = Kind::PulseAudio) {
        unlink(Socket().c_str());
        std::string line = "exec > /dev/null 2>&1; chrt --rr 5 true && chrt='chrt --rr 5'; ";
        if (kind == Kind::PulseAudio)
            line +=
                "exec $chrt pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no "
                "--disable-shm=yes "
                "--load='module-native-protocol-unix auth-anonymous=1 socket=" +
                Socket() + "'";
        else
            line +=
                "export DBUS_SESSION_BUS_ADDRESS=unix:path=$HOME/bus; own='setpriv --pdeathsig KILL'; "
                "$own dbus-daemon --session --nofork --address=$DBUS_SESSION_BUS_ADDRESS & "
                "$own $chrt pipewire & until test -S $HOME/bus -a -S $HOME/pipewire-0; do sleep 0.05; done; "
                "$own wireplumber & $own $chrt pipewire-pulse & "
                "until pactl info; do sleep 0.05; done; ln -s pulse/native $HOME/native; ";
        for (const std::string name : {"out", "other"}) {
            const std::string properties = name == "other" ? otherProperties : "device.description=" + name;
            const std::string sink = "module-null-sink sink_name=" + name +
                                     " rate=48000 channels=" + std::to_string(speakers.channels) +
                                     " channel_map=" + speakers.channelMap + " sink_properties=\"" +
                                     properties + "\"";
            if (kind == Kind::PulseAudio)
                line += " --load='" + sink + " format=float32le'";
            else
                line += "pactl load-module " + sink + "; ";
        }
        if (kind == Kind::PipeWire) line += "pactl set-default-sink out; touch $HOME/ready; wait";
        Program server(line);
        const std::string ready =
            kind == Kind::PulseAudio ? Socket() : std::string(store.folder.path / "ready");
        for (int i = 0; i < 1000 && access(ready.c_str(), F_OK) != 0; ++i)
            std::this_thread::sleep_for(10ms);
        isReady = access(ready.c_str(), F_OK) == 0;
        return server;
    }

    // What an output of the server gets while the game plays.
    Recording Record(const Speakers& speakers, const std::function<void()>& play,
                     const std::string& output = "out") const {
        const std::string file = store.folder.path / "recording";
        Program recorder("exec parec --device=" + output +
                         ".monitor --format=float32le --rate=48000 --raw --latency-msec=20 --channels=" +
                         std::to_string(speakers.channels) + " --channel-map=" + speakers.channelMap + " > " +
                         file + " 2> /dev/null");
        for (int i = 0; i < 1000 && testing_support::ReadFile(file).empty(); ++i)
            std::this_thread::sleep_for(10ms);
        play();
        std::this_thread::sleep_for(1s);
        recorder.End(SIGTERM);
        const std::string bytes = testing_support::ReadFile(file);
        std::vector<float> samples(bytes.size() / sizeof(float));
        std::copy_n(bytes.data(), samples.size() * sizeof(float), reinterpret_cast<char*>(samples.data()));
        return {samples, speakers.channels};
    }

    // Another program plays 441 Hz for twelve seconds.
    Program PlayTone(const std::string& output) const {
        const std::string file = store.folder.path / "tone";
        std::vector<float> tone;
        for (int i = 0; i < 12 * rate; ++i)
            for (int channel = 0; channel < 2; ++channel)
                tone.push_back(0.5F * static_cast<float>(std::sin(2 * std::numbers::pi * 441 * i / rate)));
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(tone.data()), std::ssize(tone) * 4);
        return Program("exec pacat --device=" + output +
                       " --format=float32le --rate=48000 --channels=2 --raw --latency-msec=300 " + file +
                       " 2> /dev/null");
    }
    void AllowCapture() const {
        std::filesystem::create_directories(store.UserFile().parent_path());
        std::ofstream(store.UserFile())
            << "[Games]\nProfiles=<Games><Game Name=\"Recorder\" Programs=\"*\" Capture=\"True\"/></Games>\n";
    }

    testing_support::TemporaryStore store;
    std::string otherProperties = "device.description=other";  // of that output
    bool isReady = false;                                      // the server
};

class Tone : public OnASoundServer, public testing::WithParamInterface<const Speakers*> {};

// A tone that repeats each second repeats in the recording, sample for sample: nothing is missing, nothing
// there twice. Where it doesn't, if anywhere.
std::optional<std::size_t> FirstFault(const Recording& recording, const Sound& sound) {
    const std::size_t begin = sound.first + rate / 10;
    for (std::size_t frame = begin; frame + rate < sound.second - 2048; ++frame)
        for (std::size_t c = 0; c < recording.channels; ++c)
            if (!(std::fabs(recording.At(frame + rate, c) - recording.At(frame, c)) <= 1e-6F)) return frame;
    return std::nullopt;
}

void ExpectWholeTone(const Recording& recording, const Sound& sound, int seconds) {
    EXPECT_GT(sound.second - sound.first,
              static_cast<std::size_t>(rate) * static_cast<std::size_t>(seconds) * 99 / 100);
    if (const auto fault = FirstFault(recording, sound))
        FAIL() << "after " << double(*fault + rate - sound.first) / rate << " s";
}

// Each sound comes from where its speaker stands, by the energy of the speakers (Gerzon, 1992), at a level
// that is the same on all of them: 4 dB above the output's headroom of 0.45, for a source ahead.
void ExpectEachSoundFromItsSpeaker(const Recording& recording, const Speakers& speakers) {
    const auto sounds = SoundsOf(recording);
    ASSERT_EQ(sounds.size(), 1 + speakers.azimuths.size());
    for (std::size_t i = 0; i < sounds.size(); ++i) {
        const std::vector<double> levels = recording.Levels(sounds[i]);
        std::complex<double> direction = 0;
        double energy = 0;
        for (const auto& [channel, azimuth] : speakers.azimuths) {
            energy += levels[channel] * levels[channel];
            direction += std::polar(levels[channel] * levels[channel], azimuth * degree);
        }
        const double from = i == 0 ? 0 : speakers.azimuths[i - 1].second;
        EXPECT_NEAR(std::arg(direction) / degree, from, std::fabs(from) < 90 ? 5 : 15) << i;
        EXPECT_NEAR(10 * std::log10(energy / (toneLevel * toneLevel / 2 * 0.45 * 0.45)), 4,
                    from == 0 ? 0.5 : 2)
            << i;
    }
}

// Two programs compete for the processor meanwhile. The long form takes as many seconds as the environment
// says.
TEST_P(Tone, BesideBusyPrograms_ArrivesWholeAndInItsPlace) {
    const Speakers* const speakers = GetParam();
    SCOPED_TRACE(speakers->format);
    const char* const wanted = std::getenv("TESSARUNE_SOAK_SECONDS");
    const int seconds = wanted == nullptr ? 15 : std::atoi(wanted);
    Set("SuggestedBufferCount", "16");  // what the guide tells those to do whose sound falters
    const Program server = StartServer(*speakers);
    std::vector<Program> competitors;
    for (int i = 0; i < 2; ++i)
        competitors.emplace_back("while :; do :; done");
    const auto play = [&] {
        const Game game;
        ASSERT_NE(game.context, nullptr) << Log();
        game.PlayScene(*speakers, seconds);
    };
    std::optional<Recording> recording;
    // A fault says nothing where the machine stood still for as long as the sound server keeps.
    for (int attempt = 0; attempt < 3; ++attempt) {
        testing_support::StallWatch watch;
        recording.emplace(Record(*speakers, play));
        const auto sounds = SoundsOf(*recording);
        if (watch.Longest() < 0.03 || (!sounds.empty() && !FirstFault(*recording, sounds[0]))) break;
    }
    const Recording& heard = *recording;
    competitors.clear();
    const auto sounds = SoundsOf(heard);
    ASSERT_FALSE(sounds.empty());
    ExpectWholeTone(heard, sounds[0], seconds);
    ExpectEachSoundFromItsSpeaker(heard, *speakers);
}

INSTANTIATE_TEST_SUITE_P(Outputs, Tone, testing::Values(&stereo, &surround));

// Speakers by azimuth and elevation in degrees, in the order of an output's channels.
struct Sphere {
    Speakers output;
    std::vector<std::pair<double, double>> places;
    std::vector<std::pair<double, double>> sources;
};

// ITU-R BS.2051, system J; the channel of bass counts for nothing.
const Sphere& Cinema() {
    static const Sphere cinema{
        {"Surround 7.1.4",
         "front-left,front-right,front-center,lfe,rear-left,rear-right,side-left,side-right,"
         "top-front-left,top-front-right,top-rear-left,top-rear-right",
         12,
         {}},
        {{30, 0},
         {-30, 0},
         {0, 0},
         {0, 0},
         {135, 0},
         {-135, 0},
         {90, 0},
         {-90, 0},
         {45, 30},
         {-45, 30},
         {135, 30},
         {-135, 30}},
        {{0, 0}, {90, 0}, {-135, 0}, {45, 30}, {-135, 30}}};
    return cinema;
}

const Sphere& Dome() {
    static const Sphere dome = [] {
        Sphere made{{"Dome 24", "", 24, {}}, {}, {{30, 0}, {-90, 0}, {180, 0}, {67.5, 30}, {-45, 60}}};
        for (int i = 0; i < 24; ++i)
            made.places.push_back(i < 12   ? std::pair(30.0 * i, 0.0)
                                  : i < 20 ? std::pair(22.5 + 45 * (i - 12), 30.0)
                                           : std::pair(45.0 + 90 * (i - 20), 60.0));
        static std::string map = "aux0";
        for (int i = 1; i < 24; ++i)
            map += ",aux" + std::to_string(i);
        made.output.channelMap = map.c_str();
        return made;
    }();
    return dome;
}

// Degrees between a direction and the energy vector of the speakers (Gerzon, 1992).
double EnergyError(const std::vector<double>& levels, const Sphere& sphere, const Direction& from) {
    Direction energy{};
    for (std::size_t c = 0; c < levels.size(); ++c)
        for (std::size_t axis = 0; axis < 3; ++axis)
            energy[axis] +=
                levels[c] * levels[c] * DirectionAt(sphere.places[c].first, sphere.places[c].second)[axis];
    double product = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        product += energy[axis] * from[axis];
    return std::acos(std::min(1.0, product / std::hypot(energy[0], energy[1], energy[2]))) / degree;
}

class ManyChannels : public OnASoundServer, public testing::WithParamInterface<const Sphere*> {};
INSTANTIATE_TEST_SUITE_P(Layouts, ManyChannels, testing::Values(&Cinema(), &Dome()));

TEST_P(ManyChannels, CarryEachSoundFromItsDirection) {
    const Sphere& sphere = *GetParam();
    SCOPED_TRACE(sphere.output.format);
    const Program server = StartServer(sphere.output);
    testing_support::Configure("select '" + std::string(sphere.output.format) + "' --device out" +
                               std::to_string(sphere.places.size()) + "outputs");
    const Recording heard = Record(sphere.output, [&] {
        const Game game;
        ASSERT_NE(game.context, nullptr) << Log();
        for (const auto& [azimuth, elevation] : sphere.sources)
            game.Play(
                azimuth, 150ms, [] {}, 200ms, elevation);
    });
    const auto sounds = SoundsOf(heard);
    ASSERT_EQ(sounds.size(), sphere.sources.size()) << Log();
    for (std::size_t i = 0; i < sounds.size(); ++i) {
        const auto& [azimuth, elevation] = sphere.sources[i];
        EXPECT_LT(EnergyError(heard.Levels(sounds[i]), sphere, DirectionAt(azimuth, elevation)), 5) << i;
    }
}

// The system's server goes away and comes back: so does the sound of a game that runs all the while, and a
// change of the settings reaches it in either state.
TEST_F(OnASoundServer, ThatDies_TakesTheSoundAwayUntilItIsBack) {
    Program server = StartServer(stereo);
    const Game game;
    ASSERT_NE(game.context, nullptr) << Log();
    game.Play(0, 300ms);
    for (const bool isChanged : {false, true}) {
        server.End(SIGKILL);
        game.Play(0, 500ms);
        if (isChanged) Set("Order", "2");
        std::this_thread::sleep_for(isChanged ? 3s : 1s);
        server = StartServer(stereo);
        std::this_thread::sleep_for(4s);
        const Recording heard = Record(stereo, [&] { game.Play(0, 300ms); });
        EXPECT_EQ(SoundsOf(heard).size(), 1U) << Log();
    }
    EXPECT_NE(Log().find("The sound output went away: the sound isn't heard until it is back."),
              std::string::npos)
        << Log();
    EXPECT_EQ(Log().find("Exception"), std::string::npos) << Log();
}

// Between the last frame of one run and the first of the next. On a busy machine there may be others.
TEST_F(OnASoundServer, AChangedSetting_InterruptsTheSoundForLessThanASecond) {
    const Program server = StartServer(stereo);
    const Game game;
    ASSERT_NE(game.context, nullptr) << Log();
    const Recording heard = Record(stereo, [&] {
        game.Play(0, 4s, [] {
            std::this_thread::sleep_for(500ms);  // so that the tone is heard before
            Set("Order", "2");
        });
    });
    const auto sounds = heard.Sounds(rate / 100);
    ASSERT_GE(sounds.size(), 2U) << Log();
    for (std::size_t i = 1; i < sounds.size(); ++i)
        EXPECT_LT(sounds[i].first - sounds[i - 1].second, std::size_t{rate});
}

// First starts measure the machine, and a scene of thousands of sources is more than it can render.
TEST_F(OnASoundServer, AnotherProgramsTone_KeepsWholeBesideFirstStartsAndAnOverload) {
    const Program server = StartServer(stereo);
    std::optional<Program> player;
    const Recording heard = Record(
        stereo,
        [&] {
            player.emplace(PlayTone("other"));
            std::this_thread::sleep_for(1s);
            for (int i = 0; i < 2; ++i) {
                testing_support::Configure("reset");
                EXPECT_NE(Game().context, nullptr);
            }
            const Game game;
            game.Overload();
            std::this_thread::sleep_for(4s);
        },
        "other");
    const auto sounds = SoundsOf(heard);
    ASSERT_EQ(sounds.size(), 1U);
    ExpectWholeTone(heard, sounds[0], 5);
    EXPECT_NE(Log().find("This machine can't keep up"), std::string::npos) << Log();
}

// The user sends a running game to the other one of two outputs that are named the same, on which he has
// headphones.
TEST_F(OnASoundServer, AnotherDevice_GetsTheSoundOfARunningGame) {
    otherProperties = "device.description=out";
    const Program server = StartServer(stereo);
    const Game game;
    ASSERT_NE(game.context, nullptr) << Log();
    testing_support::Configure("set SpeakerSetting headphones --device 'out (other)'");
    const std::string devices = (testing_support::BuildTree() / "bin/tessarune-config devices").string();
    EXPECT_EQ(std::system((devices + " | grep -q 'out (other) *Headphone Stereo'").c_str()), 0);
    EXPECT_EQ(std::system((devices + " | grep -q 'out (out) *Stereo'").c_str()), 0);
    testing_support::Configure("select Stereo --device 'out (other)'");
    std::this_thread::sleep_for(4s);
    const auto play = [&] { game.Play(0, 300ms); };
    EXPECT_EQ(SoundsOf(Record(stereo, play, "other")).size(), 1U) << Log();
    EXPECT_EQ(SoundsOf(Record(stereo, play, "out")).size(), 0U) << Log();
}

class OnEither : public OnASoundServer, public testing::WithParamInterface<Kind> {
protected:
    bool IsMissing() const { return GetParam() == Kind::PipeWire && !isReady; }

    static void Pactl(const std::string& arguments) {
        EXPECT_EQ(std::system(("pactl " + arguments + " > /dev/null 2>&1").c_str()), 0) << arguments;
    }
    // The one program that plays.
    static bool IsOn(const std::string& output) {
        return std::system(
                   ("test $(pactl list short sink-inputs | cut -f 2 | tail -n 1) = $(pactl list short "
                    "sinks | grep -w " +
                    output + " | cut -f 1)")
                       .c_str()) == 0;
    }
    int Restarts() const {
        const std::string line = "Restarting because the sound output has changed.", log = Log();
        int count = 0;
        for (std::size_t at = log.find(line); at != std::string::npos; at = log.find(line, at + 1))
            ++count;
        return count;
    }
    // The game restarts for `change`, once, and plays for headphones on the other output.
    void ExpectHeadphonesAfter(const std::function<void()>& change) {
        otherProperties = "device.description=other device.form_factor=headphone";
        const Program server = StartServer(stereo, GetParam());
        if (IsMissing()) GTEST_SKIP() << "PipeWire doesn't start on this machine.";
        Pactl("set-default-sink out");
        Set("Order", "2");  // so that no choice for this machine makes it start anew at the same time
        const Game game;
        ASSERT_NE(game.context, nullptr) << Log();
        game.Play(0, 300ms);
        change();
        for (int i = 0; i < 100 && Log().find("Layout set to 'Headphone Stereo'.") == std::string::npos; ++i)
            std::this_thread::sleep_for(100ms);
        const auto play = [&] { game.Play(0, 300ms); };
        EXPECT_EQ(SoundsOf(Record(stereo, play, "other")).size(), 1U) << Log();
        EXPECT_EQ(SoundsOf(Record(stereo, play, "out")).size(), 0U) << Log();
        EXPECT_EQ(Restarts(), 1) << Log();
        EXPECT_NE(Log().find("Layout set to 'Headphone Stereo'."), std::string::npos) << Log();
    }
};

TEST_P(OnEither, AToneFromEachSpeaker_ArrivesInItsPlace) {
    const Program server = StartServer(surround, GetParam());
    if (IsMissing()) GTEST_SKIP() << "PipeWire doesn't start on this machine.";
    const Recording heard = Record(surround, [&] {
        const Game game;
        ASSERT_NE(game.context, nullptr) << Log();
        game.PlayScene(surround, 1);
    });
    ExpectEachSoundFromItsSpeaker(heard, surround);
}

TEST_P(OnEither, AnotherDefaultOutput_GetsTheSoundInItsLayout) {
    ExpectHeadphonesAfter([] { Pactl("set-default-sink other"); });
}

// In the server's mixer, for the one program. A PipeWire that has only just started loses such a request now
// and then: the user asks again.
TEST_P(OnEither, AnOutputThatTheUserSendsTheGameTo_KeepsTheSoundInItsLayout) {
    ExpectHeadphonesAfter([] {
        for (int i = 0; i < 5 && !IsOn("other"); ++i) {
            Pactl("move-sink-input $(pactl list short sink-inputs | cut -f 1 | tail -n 1) other");
            std::this_thread::sleep_for(1s);
        }
    });
}

// From the call to the output's monitor. The bound is that of a machine that does other things as well; what
// an idle one reaches is printed.
TEST_P(OnEither, APlay_IsHeardSoon) {
    constexpr int plays = 20;
    const Program server = StartServer(stereo, GetParam());
    if (IsMissing()) GTEST_SKIP() << "PipeWire doesn't start on this machine.";
    const std::string fifo = store.folder.path / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    Program recorder(
        "exec parec --device=out.monitor --format=float32le --rate=48000 --raw --channels=1 "
        "--latency-msec=4 2> /dev/null > " +
        fifo);
    // When each frame would have come, had it come at once. A stream that joins may cost a server some.
    std::vector<float> samples;
    double clock = 1e9;  // s, of the first frame
    std::atomic<bool> hasBegun{false}, hasSettled{false};
    std::thread reader([&] {
        const int end = open(fifo.c_str(), O_RDONLY | O_CLOEXEC);
        std::vector<char> bytes(1 << 16);
        std::size_t kept = 0;
        for (ssize_t got = 0; (got = read(end, bytes.data() + kept, bytes.size() - kept)) > 0;) {
            kept += static_cast<std::size_t>(got);
            const std::size_t count = kept / sizeof(float), before = samples.size();
            hasBegun = true;
            samples.resize(before + count);
            std::memcpy(samples.data() + before, bytes.data(), count * sizeof(float));
            if (hasSettled) clock = std::min(clock, Now() - static_cast<double>(samples.size()) / rate);
            kept %= sizeof(float);
            std::memmove(bytes.data(), bytes.data() + count * sizeof(float), kept);
        }
        close(end);
    });
    for (int i = 0; i < 1000 && !hasBegun; ++i)
        std::this_thread::sleep_for(10ms);
    std::vector<double> calls;
    {
        const Game game;
        std::this_thread::sleep_for(1s);
        hasSettled = true;
        for (int i = 0; i < plays; ++i)
            game.Play(0, 50ms, [&] { calls.push_back(Now()); });
    }
    recorder.End(SIGTERM);
    reader.join();
    std::vector<double> delays;
    for (const double call : calls) {
        const auto index = std::lround((call - clock) * rate);
        ASSERT_TRUE(index >= 0 && index < std::ssize(samples)) << index << " of " << samples.size();
        const auto from = samples.begin() + index;
        const auto heard = std::find_if(from, samples.end(), [](float v) { return std::fabs(v) > 0.01F; });
        delays.push_back(static_cast<double>(heard - from) * 1000 / rate);
    }
    std::ranges::sort(delays);
    std::printf("median %.1f ms, worst %.1f ms\n", delays[plays / 2], delays.back());
    EXPECT_LT(delays[plays / 2], 80);
}

// A capture device, as a game has one.
class Microphone {
public:
    explicit Microphone(const char* name, ALCuint frequency = 11025)
        : device(alcCaptureOpenDevice(name, frequency, AL_FORMAT_MONO16, static_cast<ALCsizei>(frequency))) {
        alcCaptureStart(device);
    }
    ~Microphone() { alcCaptureCloseDevice(device); }
    Microphone(const Microphone&) = delete;
    Microphone& operator=(const Microphone&) = delete;

    ALCint Available() const {
        ALCint count = 0;
        alcGetIntegerv(device, ALC_CAPTURE_SAMPLES, 1, &count);
        return count;
    }
    // Fewer when they don't come for ten seconds.
    std::vector<float> Read(ALCint frames) const {
        for (int i = 0; i < 1000 && Available() < frames; ++i)
            std::this_thread::sleep_for(10ms);
        std::vector<ALshort> samples(static_cast<std::size_t>(std::min(frames, Available())));
        alcCaptureSamples(device, samples.data(), static_cast<ALCsizei>(samples.size()));
        std::vector<float> scaled;
        for (const ALshort sample : samples)
            scaled.push_back(static_cast<float>(sample) / 32768);
        return scaled;
    }

    ALCdevice* const device;
};

// What another program plays, by the monitor of its output.
TEST_P(OnEither, ATone_IsRecordedAtItsFrequencyAndLevel) {
    AllowCapture();
    const Program server = StartServer(stereo, GetParam());
    if (IsMissing()) GTEST_SKIP() << "PipeWire doesn't start on this machine.";
    const Program player = PlayTone("out");
    EXPECT_STREQ(alcGetString(nullptr, ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER), "Monitor of out");
    const Microphone microphone("out.monitor");
    ASSERT_NE(microphone.device, nullptr) << Log();
    static_cast<void>(microphone.Read(8000));
    const std::vector<float> heard = microphone.Read(5500);
    ASSERT_EQ(heard.size(), 5500U);
    double energy = 0;
    for (const float sample : heard)
        energy += double{sample} * double{sample};
    const double angle = 2 * std::numbers::pi * 441 / 11025;
    EXPECT_NEAR(std::abs(testing_support::SpectrumAt(heard, angle)) * 2 / 5500, 0.5, 0.005);
    EXPECT_NEAR(energy / 5500, 0.5 * 0.5 / 2, 0.002);
}

TEST_F(OnASoundServer, ThatDies_TakesARecordingAwayUntilItIsBack) {
    AllowCapture();
    EXPECT_EQ(alcCaptureOpenDevice(nullptr, 8000, AL_FORMAT_MONO8, 1), nullptr);
    Program server = StartServer(stereo);
    testing_support::RefuseThreads(true);  // which the server's library doesn't notice
    EXPECT_EQ(alcCaptureOpenDevice(nullptr, 8000, AL_FORMAT_MONO8, 1), nullptr);
    testing_support::RefuseThreads(false);
    const Microphone microphone(nullptr);
    EXPECT_EQ(microphone.Read(1000).size(), 1000U) << Log();
    server.End(SIGKILL);
    std::this_thread::sleep_for(100ms);
    static_cast<void>(microphone.Read(microphone.Available()));
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(microphone.Available(), 0);
    server = StartServer(stereo);
    EXPECT_EQ(microphone.Read(1000).size(), 1000U) << Log();
    close_range(3, 1023, 0);  // as a daemon does
    std::this_thread::sleep_for(100ms);
    const ALCint before = microphone.Available();
    EXPECT_EQ(std::ssize(microphone.Read(before + 1000)), before + 1000) << Log();
    EXPECT_NE(Log().find("No sound server answers, so nothing can be recorded."), std::string::npos);
    EXPECT_NE(Log().find("The input 'Monitor of out' is back."), std::string::npos) << Log();
}

#ifdef TESSARUNE_HAS_PIPEWIRE
INSTANTIATE_TEST_SUITE_P(Servers, OnEither, testing::Values(Kind::PulseAudio, Kind::PipeWire));
#else
INSTANTIATE_TEST_SUITE_P(Servers, OnEither, testing::Values(Kind::PulseAudio));
#endif

}  // namespace

#include "tools/demo/scene.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <numbers>
#include <optional>
#include <utility>

#include "tools/demo/player.h"
#include "tools/sounds/voices.h"

namespace demo {
namespace {

using tool::Sound;

constexpr double distance = 2;  // m, of the voices
constexpr double radius = 3;    // m, of the circle
constexpr int eighths = 8;      // of the circle, and of a turn
constexpr double eighth = 360.0 / eighths;
constexpr double flightSpeed = 30;  // m/s, of what flies past

struct Pace {
    double voice;   // s at most
    double pause;   // s after each sound
    double turn;    // s around the circle
    double flight;  // s past the listener
    double tail;    // s that the room is listened to
};
constexpr Pace full{10, 0.4, 12, 4, 3};
constexpr Pace quick{0.7, 0.25, 2, 1.2, 1};

std::string Degrees(double azimuth) {
    const std::string number = std::to_string(std::lround(std::abs(azimuth)));
    if (azimuth == 0) return "ahead";
    if (std::abs(azimuth) == 180) return "behind";
    return number + " degrees " + (azimuth > 0 ? "left" : "right");
}

// What says where it stands, or where that isn't installed, a bell with a pitch for each place.
Sound SoundOf(const tool::Voice& voice, const Scene& scene) {
    const auto& all = tool::Voices();
    const auto number = std::find_if(all.begin(), all.end(),
                                     [&](const tool::Voice& other) { return other.file == voice.file; }) -
                        all.begin();
    if (std::optional<Sound> recording = tool::FindRecording(voice, scene.voiceFolder)) return *recording;
    return tool::MakeBell(static_cast<int>(number));
}

bool HasAllVoices(const Scene& scene) {
    return std::all_of(tool::Voices().begin(), tool::Voices().end(), [&](const tool::Voice& voice) {
        return tool::FindRecording(voice, scene.voiceFolder).has_value();
    });
}

// The silence before the sound (s).
double Lead(const Sound& sound) {
    constexpr double heard = 0.02;  // of the greatest sample
    int greatest = 0;
    for (const int sample : sound.samples)
        greatest = std::max(greatest, std::abs(sample));
    const auto first = std::find_if(sound.samples.begin(), sound.samples.end(),
                                    [&](int sample) { return std::abs(sample) >= heard * greatest; });
    return static_cast<double>(first - sound.samples.begin()) / sound.rate;
}

class Performance {
public:
    Performance(const Player& player, const Scene& scene)
        : player(player), scene(scene), pace(scene.isQuick ? quick : full) {}

    void PlayVoices();
    void PlayCircle();
    void PlayRoom();

    Played played;

private:
    // From now on for so long.
    void Stretch(const std::string& name, double seconds, const std::function<void(double)>& step = {}) {
        const double start = player.Now();
        player.RunUntil(start + seconds, step);
        played.segments.push_back({name, start, start + seconds});
    }
    void Pause() { player.RunUntil(player.Now() + pace.pause); }

    void Start(Source& source, const Sound& sound) {
        source.Start();
        if (played.segments.empty()) played.onset = player.Now() + Lead(sound);
    }
    void Say(const tool::Voice& voice, Source& source, const Sound& sound, const std::string& name) {
        source.MoveTo(Towards(voice.azimuth, distance));
        Start(source, sound);
        Stretch(name, std::min(sound.Seconds(), pace.voice));
        source.Stop();
    }
    void Turn(Source& engine);
    void FlyPast(Source& engine);

    const Player& player;
    const Scene& scene;
    const Pace pace;
};

void Performance::PlayVoices() {
    std::cout << "Voices, " << distance << " m away:\n";
    for (const tool::Voice& voice : tool::Voices()) {
        std::cout << "  " << voice.place << ", " << Degrees(voice.azimuth) << std::endl;
        const Sound sound = SoundOf(voice, scene);
        Source source(sound);
        Say(voice, source, sound, voice.file);
        Pause();
    }
}

// By the left, an eighth of the turn around each of eight directions.
void Performance::Turn(Source& engine) {
    const double speed = 2 * std::numbers::pi * radius / pace.turn;
    const double start = player.Now();
    const auto move = [&](double now) {
        const double azimuth = 360 * (now - start) / pace.turn - eighth / 2;
        Vector velocity = Towards(azimuth + 90, speed);
        engine.MoveTo(Towards(azimuth, radius), velocity);
    };
    for (int i = 0; i < eighths; ++i) {
        const double azimuth = eighth * (i > eighths / 2 ? i - eighths : i);
        Stretch("circling, " + Degrees(azimuth), pace.turn / eighths, move);
    }
}

void Performance::FlyPast(Source& engine) {
    const double start = player.Now();
    const auto move = [&](double now) {
        const double x = flightSpeed * (now - start - pace.flight / 2);
        engine.MoveTo({static_cast<float>(x), 0, static_cast<float>(-distance)},
                      {static_cast<float>(flightSpeed), 0, 0});
    };
    for (const char* const name : {"flight, from the left", "flight, past", "flight, to the right"})
        Stretch(name, pace.flight / 3, move);
}

void Performance::PlayCircle() {
    const Sound sound = tool::MakeEngine();
    Source engine(sound, true);
    std::cout << "An engine circles " << radius << " m around you, by the left" << std::endl;
    engine.MoveTo(Towards(-eighth / 2, radius));
    Start(engine, sound);
    Turn(engine);
    std::cout << "and flies past ahead of you, from the left to the right, at " << flightSpeed
              << " m/s: its pitch falls" << std::endl;
    FlyPast(engine);
    engine.Stop();
    Pause();
}

void Performance::PlayRoom() {
    const tool::Voice& voice = tool::Voices()[1];
    const Sound sound = SoundOf(voice, scene);
    const Room room(*scene.room);
    std::cout << "A voice in the open" << std::endl;
    Source source(sound);
    Say(voice, source, sound, "in the open");
    Pause();
    std::cout << "and in the room '" << scene.room->name << "'" << std::endl;
    source.SendTo(room);
    Say(voice, source, sound, "in the room");
    Stretch("the room alone", pace.tail);
}

}  // namespace

Played Play(const Player& player, const Scene& scene) {
    if (!HasAllVoices(scene))
        std::cout << "Not all voices are in '" << scene.voiceFolder
                  << "': bells, each of another pitch, stand in for them. 'apt-get install alsa-utils' "
                     "brings the voices.\n";
    Performance performance(player, scene);
    for (const Part part : scene.parts)
        switch (part) {
            case Part::Voices:
                performance.PlayVoices();
                break;
            case Part::Circle:
                performance.PlayCircle();
                break;
            case Part::Room:
                performance.PlayRoom();
                break;
        }
    return std::move(performance.played);
}

void List(const Scene& scene) {
    std::cout << "voices  say where they are:\n";
    for (const tool::Voice& voice : tool::Voices())
        std::cout << "          " << voice.place << ", " << Degrees(voice.azimuth)
                  << (tool::FindRecording(voice, scene.voiceFolder) ? "" : " (a bell)") << "\n";
    std::cout << "circle  an engine circles around you and flies past\n"
                 "room    a voice in the open and in one of these rooms:\n";
    for (const presets::ReverbPreset& preset : presets::ReverbPresets())
        std::cout << "          " << preset.name << "\n";
}

}  // namespace demo

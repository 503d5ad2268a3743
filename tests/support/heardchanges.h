#pragma once

// What is heard of a change besides the change itself, in whole blocks of the renderer: the click of one at a
// bad moment, and the steps of many.

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numbers>
#include <vector>

#include "AL/efx.h"
#include "tests/support/scene.h"

namespace testing_support {

inline constexpr double sceneRate = 48000;
inline constexpr double pi2 = 2 * std::numbers::pi;

/// A tone of `frequency` Hz in whole periods, for a loop.
inline Signal Tone(double frequency, std::size_t frames) {
    Signal tone(frames);
    for (std::size_t i = 0; i < frames; ++i)
        tone[i] = static_cast<float>(std::sin(pi2 * frequency * static_cast<double>(i) / sceneRate));
    return tone;
}

/// The greatest sample of what is above 3 kHz, after the first 25 ms, by a Butterworth high-pass of order 8
/// as a cascade of biquads.
inline double PeakAboveTheTone(const Signal& signal) {
    std::vector<double> samples(signal.begin(), signal.end());
    const double k = std::tan(std::numbers::pi * 3000 / sceneRate);
    for (int section = 0; section < 4; ++section) {
        const double damping = 2 * std::cos(std::numbers::pi * (2 * section + 1) / 16);
        const double norm = 1 / (1 + damping * k + k * k);
        const double a1 = 2 * (k * k - 1) * norm, a2 = (1 - damping * k + k * k) * norm;
        double x1 = samples[0], x2 = x1, y1 = 0, y2 = 0;
        for (double& sample : samples) {
            const double x = sample, y = (x - 2 * x1 + x2) * norm - a1 * y1 - a2 * y2;
            x2 = x1, x1 = x, y2 = y1, y1 = y;
            sample = y;
        }
    }
    // The beginning is the filter's own.
    double peak = 0;
    for (std::size_t i = 1200; i < samples.size(); ++i)
        peak = std::max(peak, std::fabs(samples[i]));
    return peak;
}

/// A change to a scene whose first source is a tone of 200 Hz ahead of the listener, of amplitude 1.
using Change = std::function<void(Scene&)>;

/// The click of `change`, in dB of the tone, at the worst of many moments of a period. `prepare` makes the
/// scene what it is before.
inline double ClickOf(orb3::Sound sound, std::uint32_t frames, const Change& prepare, const Change& change) {
    double worst = 0;
    for (int moment = 0; moment < 6; ++moment) {
        Scene scene(frames, orb3::SampleRateConversion::Linear, 4, true, sound);
        Place(scene.Add(Tone(200, 240 * 200)), {0, 0, -1});
        // Where it starts in its period decides where the change finds it.
        scene.application.sources[0].position = std::uint64_t(20 + 37 * moment) << 16;
        prepare(scene);
        const auto listen = [&](std::uint32_t blocks, Signal& heard) {
            for (std::uint32_t block = 0; block < blocks; ++block) {
                scene.Render();
                for (std::uint32_t i = 0; i < frames; ++i)
                    heard.push_back(
                        (scene.output.spatial.channels[0][i] + scene.output.spatial.channels[1][i]) / 2);
            }
        };
        Signal heard;
        listen(24000 / frames, heard);
        heard.clear();
        listen(2400 / frames, heard);
        change(scene);
        listen(9600 / frames, heard);
        worst = std::max(worst, PeakAboveTheTone(heard));
    }
    return 20 * std::log10(worst + 1e-9);
}

/// How far the greatest sample above 3 kHz around `change` exceeds those well before and well after it, which
/// are the effect's own, in dB of the tone, at the worst of three moments of a period.
inline double ClickBeyondWhatLasts(orb3::Sound sound, const Change& prepare, const Change& change) {
    constexpr std::uint32_t frames = 256, tenth = 19;  // blocks
    double worst = 0;
    for (int moment = 0; moment < 3; ++moment) {
        Scene scene(frames, orb3::SampleRateConversion::Linear, 1, true, sound);
        Place(scene.Add(Tone(200, 240 * 200)), {0, 0, -1});
        scene.application.sources[0].position = std::uint64_t(20 + 74 * moment) << 16;
        prepare(scene);
        const auto listen = [&](std::uint32_t blocks) { return scene.Play(blocks * frames, 0); };
        listen(3 * tenth);
        Signal around = listen(tenth);
        const double before = PeakAboveTheTone(around);
        change(scene);
        const Signal after = listen(2 * tenth);
        around.insert(around.end(), after.begin(), after.end());
        listen(4 * tenth);
        worst =
            std::max(worst, PeakAboveTheTone(around) - std::max(before, PeakAboveTheTone(listen(2 * tenth))));
    }
    return 20 * std::log10(worst + 1e-9);
}

/// The power beyond 30 Hz on both sides of a tone of 1 kHz to that within, in dB, over all channels of the
/// bus. `move` is called sixty times a second with the seconds since the start.
inline double StepsOf(orb3::Sound sound, std::uint32_t frames,
                      const std::function<void(Scene&, double)>& move) {
    constexpr std::size_t length = 48000;
    Scene scene(frames, orb3::SampleRateConversion::Linear, 4, false, sound);
    scene.Add(Tone(1000, 48000));
    move(scene, 0);
    std::vector<Signal> heard(25);
    double nextUpdate = 0;
    for (std::size_t done = 0; done < length + 48000; done += frames) {
        for (; nextUpdate <= static_cast<double>(done); nextUpdate += sceneRate / 60)
            move(scene, nextUpdate / sceneRate);
        scene.Render();
        for (std::uint32_t c = 0; c < 25; ++c)
            heard[c].insert(heard[c].end(), scene.output.spatial.channels[c],
                            scene.output.spatial.channels[c] + frames);
    }
    // Bins of a hertz, in a window whose side lobes lie below -92 dB (Harris, 1978).
    double tone = 0, all = 0;
    for (const Signal& channel : heard) {
        std::vector<double> windowed(length);
        for (std::size_t i = 0; i < length; ++i) {
            const double x = pi2 * static_cast<double>(i) / length;
            const double window =
                0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2 * x) - 0.01168 * std::cos(3 * x);
            windowed[i] = window * channel[i + 48000];
            all += windowed[i] * windowed[i] * length / 2;
        }
        for (int bin = 970; bin <= 1030; ++bin) {
            std::complex<double> sum = 0, turn = 1;
            const std::complex<double> step = std::polar(1.0, -pi2 * bin / length);
            for (const double sample : windowed) {
                sum += sample * turn;
                turn *= step;
            }
            tone += std::norm(sum);
        }
    }
    return 10 * std::log10(std::max(all - tone, 1e-12 * all) / tone);
}

struct Click {
    const char* what;
    Change change;
    Change prepare = [](Scene&) {};  ///< what the scene is before
};

inline void SetState(Scene& scene, goal::SourceState state) {
    goal::Source& source = scene.Change();
    source.state = state;
    source.stateChanged = true;
}

inline void Seek(Scene& scene, std::uint64_t frame) {
    SetState(scene, goal::SourceState::Playing);
    scene.application.sources[0].position = frame << 16;
}

// A send of the source, which isn't heard itself, into an effect that passes it on.
inline void SendTo(Scene& scene, std::int32_t effectType) {
    scene.AddSlot(effectType);
    scene.AddSlot(effectType);
    goal::Source& source = scene.Change();
    source.directFilter.gain = 0;
    source.sends.append({1, 0, {}});
}

inline void SendIntoTheRoom(Scene& scene) {
    SendTo(scene, AL_EFFECT_EAXREVERB);
}

inline void SendToTheEqualizer(Scene& scene) {
    SendTo(scene, AL_EFFECT_EQUALIZER);
}

inline void TouchSlot(Scene& scene, const std::function<void(goal::AuxSlotParameters&)>& change) {
    change(scene.application.slots[0]);
    scene.application.slots[0].dirty = true;
}

inline void Turn(Scene& scene) {
    scene.application.listenerAt = {-1, 0, 0};
}

// Another source in place of the tone, of which every channel is one, but for the first and second of
// B-format.
inline void PlayInstead(Scene& scene, std::int32_t format, std::uint32_t channels) {
    scene.Change().gain = 0;
    const Signal tone = Tone(200, 240 * 200);
    Signal frames(tone.size() * channels);
    for (std::size_t i = 0; i < tone.size(); ++i)
        for (std::uint32_t c = 0; c < std::min(channels, 2U); ++c)
            frames[i * channels + c] = tone[i] / 2;
    scene.Add(frames, format).position = scene.application.sources[0].position;
}

inline void PlayStereo(Scene& scene) {
    PlayInstead(scene, AL_FORMAT_STEREO_FLOAT32, 2);
}

inline void StopTheOther(Scene& scene) {
    scene.application.sources[1].state = goal::SourceState::Stopped;
    scene.application.sources[1].stateChanged = true;
    scene.application.touched.Insert(1);
}

/// All that a game may do to a source that sounds, to its sends and slots, and to the listener.
inline std::vector<Click> Clicks() {
    return {
        {"a source is stopped", [](Scene& scene) { SetState(scene, goal::SourceState::Stopped); }},
        {"a source is paused", [](Scene& scene) { scene.Change().state = goal::SourceState::Paused; }},
        {"a source goes on after a pause", [](Scene& scene) { SetState(scene, goal::SourceState::Playing); },
         [](Scene& scene) { scene.Change().state = goal::SourceState::Paused; }},
        {"a source is sent to another place of its buffer", [](Scene& scene) { Seek(scene, 12345); }},
        {"a source gets a buffer of silence",
         [](Scene& scene) {
             scene.Add(Signal(240));
             scene.application.sources[1].state = goal::SourceState::Initial;
             Seek(scene, 0);
             scene.application.sources[0].queue = scene.application.sources[1].queue;
             scene.application.sources[0].queueDirty = true;
         }},
        {"a source is deleted",
         [](Scene& scene) {
             SetState(scene, goal::SourceState::Stopped);
             scene.application.sources[0].deleted = true;
         }},
        {"a source jumps to the other side",
         [](Scene& scene) {
             Place(scene.Change(), {0, 0, 1});
         }},
        {"a source's gain goes to 0", [](Scene& scene) { scene.Change().gain = 0; }},
        {"the listener turns by 90 degrees", Turn},
        {"the listener's gain is halved", [](Scene& scene) { scene.application.listenerGain = 0.5F; }},
        {"a send into a room gets a filter", [](Scene& scene) { scene.Change().sends[0].filter.gain = 0.2F; },
         SendIntoTheRoom},
        {"a send goes to another slot", [](Scene& scene) { scene.Change().sends[0].slotName = 2; },
         SendToTheEqualizer},
        {"a send is taken off", [](Scene& scene) { scene.Change().sends[0].slotName = 0; },
         SendToTheEqualizer},
        {"a slot is deleted", [](Scene& scene) { TouchSlot(scene, [](auto& slot) { slot.deleted = true; }); },
         SendToTheEqualizer},
        {"a slot's gain goes to 0", [](Scene& scene) { TouchSlot(scene, [](auto& slot) { slot.gain = 0; }); },
         SendToTheEqualizer},
        {"a slot gets another effect",
         [](Scene& scene) {
             TouchSlot(scene, [](auto& slot) { goal::fx::SetEffectType(slot.effect, AL_EFFECT_COMPRESSOR); });
         },
         SendToTheEqualizer},
        {"the listener turns by 90 degrees in a room", Turn, SendIntoTheRoom},
        {"a stereo source is stopped", StopTheOther, PlayStereo},
        {"a stereo source with angles is turned by 90 degrees",
         [](Scene& scene) {
             scene.application.sources[1].stereoAngles = {-1.5F, -2};
             scene.application.sources[1].parametersDirty = true;
             scene.application.touched.Insert(1);
         },
         [](Scene& scene) {
             PlayStereo(scene);
             scene.application.sources[1].stereoAngles = {0.5F, -0.5F};
             scene.application.sources[1].hasStereoAngles = true;
         }},
        {"the listener turns by 90 degrees in B-format", Turn,
         [](Scene& scene) { PlayInstead(scene, AL_FORMAT_BFORMAT3D_FLOAT32, 4); }}};
}

// A circle of 5 metres in four seconds.
inline void Orbit(Scene& scene, double seconds) {
    const double angle = pi2 * seconds / 4;
    Place(scene.Change(),
          {static_cast<float>(5 * std::sin(angle)), 0, static_cast<float>(-5 * std::cos(angle))});
}

// Past the listener at 10 metres a second, 5 metres away.
inline void PassBy(Scene& scene, double seconds) {
    Place(scene.Change(), {static_cast<float>(10 * (seconds - 2)), 0, -5});
}

inline void Tremble(Scene& scene, double seconds) {
    scene.Change().gain = static_cast<float>(0.6 + 0.3 * std::sin(pi2 * 2 * seconds));
}

struct Movement {
    const char* what;
    void (*move)(Scene&, double);
    double limit;  ///< of its steps in the refined sound, in dB
};

inline std::vector<Movement> Movements() {
    return {{"a source on a circle, a round in 4 s", Orbit, -70},
            {"a source that passes by at 10 m/s, 5 m away", PassBy, -65},
            {"a gain of 0.6 +- 0.3, twice a second", Tremble, -70}};
}

}  // namespace testing_support

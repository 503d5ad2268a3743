#pragma once

// The machine's own settings of the sound output and input, as plain data. Read from the store above this
// folder, and passed in when the sound system is made, or an input is opened.

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "slib/standardformats.h"

namespace platform {

struct PlatformSettings {
    enum class Output {
        Auto,        ///< what the machine has, else as Silent
        Silent,      ///< nowhere, at the pace of the clock
        WaveFile,    ///< into a WAV file, at a Pace
        PulseAudio,  ///< to a PulseAudio server, or PipeWire's in its place; unheard while there is none
        JACK,        ///< to a JACK server, as well
        ALSA,        ///< to the sound card, as well
    };

    /// Of Output::WaveFile.
    enum class Pace {
        Renderer,  ///< the clock, which waits for a renderer that is late, so that nothing is missing
        RealTime,  ///< the clock, whatever the renderer does: what is late is silence, as on a sound card
        Unpaced,   ///< none: as fast as blocks are rendered. No setting of people's, see orb3::unpaced
    };

    Output output = Output::Auto;
    std::string waveFile;                ///< path, for Output::WaveFile
    std::uint32_t waveFileChannels = 8;  ///< more than 8 also make it an output of so many, 64 at most
    Pace waveFilePace = Pace::Renderer;
    std::optional<slib::StandardFormat> speakerSetting;  ///< instead of what the device reports
    /// The same for single outputs, by their keys (outputnames.h); each comes before the one for all.
    std::map<std::string, slib::StandardFormat> speakerSettings{};

    bool operator==(const PlatformSettings&) const = default;
};

struct InputSettings {
    enum class Input {
        Auto,      ///< a PulseAudio server, or PipeWire's in its place
        Silent,    ///< silence, at the pace of the clock
        WaveFile,  ///< a WAV file over and over, as well
    };

    Input input = Input::Auto;
    std::string waveFile;  ///< path, for Input::WaveFile

    bool operator==(const InputSettings&) const = default;
};

}  // namespace platform

#pragma once

// The output into a WAV file: what a sound card would have played, to be heard or measured later. A thread of
// its own takes the frames and writes them; the file's header is brought up to date twice a second, so that
// the file is whole whenever the process ends.

#include <memory>
#include <string>

#include "platform/directsound.h"
#include "platform/outputnews.h"
#include "platform/platformsettings.h"
#include "slib/log.h"

namespace platform {

struct WaveFileOutput {
    std::string path;
    PlatformSettings::Pace pace = PlatformSettings::Pace::Renderer;
    std::shared_ptr<OutputNews> news;  ///< is told of interruptions; null for nobody
};

/// Each ring made on the device writes a file of 32-bit integers. The first one of the process is the path
/// and replaces what is there; later ones, and those begun when a file comes near the 4 GiB that the format
/// can hold, or when the game has closed its descriptor, are named "path-2.wav", "path-3.wav" and so on.
/// `speakerSetting` is one of the DSSPEAKER_ constants. `log` is borrowed and outlives the device; the reason
/// is logged there when a file can't be made.
SoundDevicePtr MakeWaveFileDevice(std::uint32_t speakerSetting, WaveFileOutput output, slib::Log* log);

}  // namespace platform

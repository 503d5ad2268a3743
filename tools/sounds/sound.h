#pragma once

// Sounds of one channel for the programs that play something: recordings from files, and what is made here.
// One thread.

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

struct Sound {
    int rate = 0;  ///< Hz
    std::vector<std::int16_t> samples;

    double Seconds() const { return static_cast<double>(samples.size()) / rate; }
};

/// Reads a sound file; of several channels the mean. Throws slib::BadDataException for what can't be read.
Sound ReadSoundFile(const std::string& path);

/// Pink noise at -20 dBFS rms, the same at each call.
Sound MakeNoise(double seconds);

/// Three strokes of a bell in 1.2 s; each `number` has a pitch of its own, a minor third above the last.
Sound MakeBell(int number);

/// The drone of an engine, which can be repeated without a seam; 2 s.
Sound MakeEngine();

}  // namespace tool

#pragma once

// Sound on one output of a device at a time, straight to the pipe, so that wiring and decoding can be told
// apart. One thread.

#include <string>

#include "orb3core/speakers/layout.h"
#include "pipe/device.h"
#include "slib/log.h"

namespace tool {

struct DirectTest {
    std::string output;  ///< its name, or its number from 1; empty for one after the other
    double seconds = 0;  ///< for each; 0 as long as the sound is
    bool isNoise = false;
};

/// Plays the test on the device's outputs, and prints each with the speaker that `layout` connects to it.
/// Throws WrongUse, which lists the outputs, for one that there isn't, and audiopipe::PipeException when the
/// device doesn't open.
void TestOutputs(audiopipe::Device& device, const orb3::spk::Layout& layout, const DirectTest& test,
                 slib::Log& log);

}  // namespace tool

#include "app/goaldll/alcprocs.h"

#include "AL/tessarune.h"

namespace goal {
namespace {

// clang-format off
const ProcRow rows[] = {
    {"alcCreateContext", reinterpret_cast<void*>(&alcCreateContext)},
    {"alcMakeContextCurrent", reinterpret_cast<void*>(&alcMakeContextCurrent)},
    {"alcProcessContext", reinterpret_cast<void*>(&alcProcessContext)},
    {"alcSuspendContext", reinterpret_cast<void*>(&alcSuspendContext)},
    {"alcDestroyContext", reinterpret_cast<void*>(&alcDestroyContext)},
    {"alcGetCurrentContext", reinterpret_cast<void*>(&alcGetCurrentContext)},
    {"alcGetContextsDevice", reinterpret_cast<void*>(&alcGetContextsDevice)},
    {"alcOpenDevice", reinterpret_cast<void*>(&alcOpenDevice)},
    {"alcCloseDevice", reinterpret_cast<void*>(&alcCloseDevice)},
    {"alcGetError", reinterpret_cast<void*>(&alcGetError)},
    {"alcIsExtensionPresent", reinterpret_cast<void*>(&alcIsExtensionPresent)},
    {"alcGetProcAddress", reinterpret_cast<void*>(&alcGetProcAddress)},
    {"alcGetEnumValue", reinterpret_cast<void*>(&alcGetEnumValue)},
    {"alcGetString", reinterpret_cast<void*>(&alcGetString)},
    {"alcGetIntegerv", reinterpret_cast<void*>(&alcGetIntegerv)},
    {"tsrGetVersion", reinterpret_cast<void*>(&tsrGetVersion)},
    {"alcCaptureOpenDevice", reinterpret_cast<void*>(&alcCaptureOpenDevice)},
    {"alcCaptureCloseDevice", reinterpret_cast<void*>(&alcCaptureCloseDevice)},
    {"alcCaptureStart", reinterpret_cast<void*>(&alcCaptureStart)},
    {"alcCaptureStop", reinterpret_cast<void*>(&alcCaptureStop)},
    {"alcCaptureSamples", reinterpret_cast<void*>(&alcCaptureSamples)},
};
// clang-format on

}  // namespace

std::span<const ProcRow> AlcProcs() {
    return rows;
}

}  // namespace goal

#include "pipe/adaptivedirectsounddevice.h"

#include <array>
#include <utility>

#include "pipe/adaptivedirectsoundpipe.h"
#include "pipe/applicationwindow.h"
#include "pipe/directsoundexception.h"
#include "slib/exception.h"

namespace audiopipe::directsound {
namespace {

using slib::StandardFormat;

struct SpeakerEntry {
    StandardFormat standardFormat;
    std::uint32_t channelMask;
};

// Indexed by the low byte of a speaker setting. The surround format has two channels under a mask of four.
constexpr std::array<SpeakerEntry, 10> speakerTable{{
    {StandardFormat::Unknown, 0x3},
    {StandardFormat::HeadphoneStereo, 0x3},
    {StandardFormat::Mono, 0x4},
    {StandardFormat::Quad, 0x33},
    {StandardFormat::Stereo, 0x3},
    {StandardFormat::SurroundStereo, 0x107},
    {StandardFormat::Surround51, 0x3f},
    {StandardFormat::Surround71Wide, 0xff},
    {StandardFormat::Surround71, 0x63f},
    {StandardFormat::Surround51ITU, 0x60f},
}};

constexpr double rateTolerance = 0.5;  // Hz

bool IsNear(double rate, double limit) {
    return rate >= limit - rateTolerance && rate <= limit + rateTolerance;
}

}  // namespace

AdaptiveDirectSoundDevice::AdaptiveDirectSoundDevice(std::shared_ptr<platform::SoundSystem> system,
                                                     std::optional<std::string> guid, const std::string& name,
                                                     std::string module, std::uint32_t index,
                                                     std::vector<std::string> outputs)
    : Device(name, index),
      guid(std::move(guid)),
      module(std::move(module)),
      system(std::move(system)),
      outputs(std::move(outputs)) {}

bool AdaptiveDirectSoundDevice::IsEmulated() {
    EnsureInitialised();
    return (caps.dwFlags & platform::DSCAPS_EMULDRIVER) != 0;
}

std::uint32_t AdaptiveDirectSoundDevice::GetPlaybackChannelCount() {
    EnsureInitialised();
    return static_cast<std::uint32_t>(channelNames.size());
}

std::string AdaptiveDirectSoundDevice::GetPlaybackChannelName(std::uint32_t channel) {
    EnsureInitialised();
    if (channel >= channelNames.size())
        throw slib::BadParameterException("The device '" + id + "' has only " +
                                          std::to_string(channelNames.size()) + " channels.");
    return channelNames[channel];
}

StandardFormat AdaptiveDirectSoundDevice::GetStandardFormat() {
    EnsureInitialised();
    return standardFormat;
}

std::uint32_t AdaptiveDirectSoundDevice::GetRecordingChannelCount() {
    EnsureInitialised();
    return 0;
}

std::string AdaptiveDirectSoundDevice::GetRecordingChannelName(std::uint32_t) {
    EnsureInitialised();
    slib::ThrowUnreachable();
}

bool AdaptiveDirectSoundDevice::IsSampleRateSupported(double rate) {
    EnsureInitialised();
    const double lowest = caps.dwMinSecondarySampleRate;
    const double highest = caps.dwMaxSecondarySampleRate;
    if (!(rate >= lowest - rateTolerance && rate <= highest + rateTolerance)) return false;
    if (IsNear(rate, lowest) || IsNear(rate, highest)) return true;
    return (caps.dwFlags & platform::DSCAPS_CONTINUOUSRATE) != 0;
}

std::unique_ptr<Pipe> AdaptiveDirectSoundDevice::OpenPipe(slib::Log* log, double rate,
                                                          std::uint32_t bufferLength,
                                                          std::uint32_t bufferCount,
                                                          const std::vector<bool>& playback,
                                                          const std::vector<bool>&) {
    EnsureInitialised();
    const OpenedDevice device{.name = name,
                              .index = index,
                              .system = system,
                              .directSound = directSound.get(),
                              .isEmulated = IsEmulated(),
                              .channelNames = channelNames,
                              .standardFormat = standardFormat,
                              .channelMask = channelMask};
    return std::make_unique<AdaptiveDirectSoundPipe>(log, device, rate, bufferLength, bufferCount, playback);
}

void AdaptiveDirectSoundDevice::EnsureInitialised() {
    const slib::Lock lock(initialisationMutex);
    if (initialisationFailed)
        throw DirectSoundException("An earlier attempt to initialise this device failed.");
    if (isInitialised) return;
    initialisationFailed = true;  // stays so when the next line throws
    Initialise();
    initialisationFailed = false;
    isInitialised = true;
}

void AdaptiveDirectSoundDevice::Initialise() {
    platform::IDirectSound8* created = nullptr;
    const platform::Result result = system->DirectSoundCreate8(guid ? guid->c_str() : nullptr, &created);
    directSound.reset(created);
    CheckResult(result);
    CheckResult(directSound->SetCooperativeLevel(ApplicationWindow(*system), platform::DSSCL_PRIORITY));
    caps.dwSize = sizeof(caps);
    CheckResult(directSound->GetCaps(&caps));
    CheckResult(directSound->GetSpeakerConfig(&speakerConfig));
    NoteSpeakers();
}

void AdaptiveDirectSoundDevice::NoteSpeakers() {
    if (!outputs.empty()) {
        channelNames = outputs;
        return;
    }
    const std::uint32_t setting = speakerConfig & 0xff;
    const SpeakerEntry& entry = speakerTable[setting < speakerTable.size() ? setting : 0];
    standardFormat = entry.standardFormat;
    channelMask = entry.channelMask;
    channelNames = standardFormat == StandardFormat::Unknown ? std::vector<std::string>{"Left", "Right"}
                                                             : slib::GetStandardChannelNames(standardFormat);
}

}  // namespace audiopipe::directsound

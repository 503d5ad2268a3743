#include "pipe/adaptivedirectsoundpipe.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <utility>

#include "pipe/directsoundexception.h"
#include "platform/clock.h"
#include "slib/exception.h"

namespace audiopipe::directsound {
namespace {

constexpr double fullScale = 2147483648.0;

// A sample that isn't a number is silence.
std::int32_t ToInteger(float value) {
    if (value >= 1) return INT32_MAX;
    if (value <= -1) return INT32_MIN;
    if (value > 0) return static_cast<std::int32_t>(value * fullScale + 0.5);
    return value <= 0 ? static_cast<std::int32_t>(value * fullScale - 0.5) : 0;
}

double CheckRate(double rate) {
    constexpr double highest = 1e6;  // Hz; far beyond any device, and within what the sums here hold
    if (!(rate >= 1 && rate <= highest))
        throw slib::BadParameterException("An output pipe can't run at a sample rate of " +
                                          std::to_string(rate) + " Hz.");
    return rate;
}

std::vector<bool> CheckFlags(std::vector<bool> flags, std::size_t channelCount) {
    if (flags.size() != channelCount)
        throw slib::BadParameterException("There are " + std::to_string(flags.size()) +
                                          " channel flags for a device of " + std::to_string(channelCount) +
                                          " channels.");
    return flags;
}

platform::WAVEFORMATEXTENSIBLE MakeFormat(double rate, std::uint32_t channelCount,
                                          std::uint32_t channelMask) {
    platform::WAVEFORMATEXTENSIBLE format;
    format.Format.wFormatTag = platform::WAVE_FORMAT_EXTENSIBLE;
    format.Format.nChannels = static_cast<std::uint16_t>(channelCount);
    format.Format.nSamplesPerSec = static_cast<std::uint32_t>(rate + 0.5);
    format.Format.nBlockAlign = static_cast<std::uint16_t>(4 * channelCount);
    format.Format.nAvgBytesPerSec = format.Format.nSamplesPerSec * format.Format.nBlockAlign;
    format.Format.wBitsPerSample = 32;
    format.Format.cbSize = 22;
    format.wValidBitsPerSample = 32;
    format.dwChannelMask = channelMask;
    format.SubFormat = platform::KSDATAFORMAT_SUBTYPE_PCM;
    return format;
}

}  // namespace

AdaptiveDirectSoundPipe::AdaptiveDirectSoundPipe(slib::Log* log, const OpenedDevice& device,
                                                 double sampleRate, std::uint32_t wantedLength,
                                                 std::uint32_t wantedCount, std::vector<bool> enabled)
    : Pipe(device.name, device.index),
      log(log),
      system(device.system),
      isEmulated(device.isEmulated),
      channelNames(device.channelNames),
      standardFormat(device.standardFormat),
      enabled(CheckFlags(std::move(enabled), channelNames.size())),
      enabledCount(static_cast<std::uint32_t>(std::count(this->enabled.begin(), this->enabled.end(), true))),
      buffering(*log, CheckRate(sampleRate), static_cast<std::uint32_t>(channelNames.size()), wantedLength,
                wantedCount),
      mix(buffering.bufferLength, static_cast<std::uint32_t>(channelNames.size())),
      returns(system->news->returns) {
    mix.fill(0);
    CreateBuffer(*device.directSound, device.channelMask);
}

AdaptiveDirectSoundPipe::~AdaptiveDirectSoundPipe() {
    if (!isPlaying) return;
    try {
        AdaptiveDirectSoundPipe::Stop();
    } catch (const std::exception& exception) {
        log->Write(exception.what(), true);
    }
}

void AdaptiveDirectSoundPipe::CreateBuffer(platform::IDirectSound8& directSound, std::uint32_t channelMask) {
    constexpr std::uint32_t publishedSize = 36;
    const platform::WAVEFORMATEXTENSIBLE format = MakeFormat(buffering.sampleRate, mix.columns, channelMask);
    const platform::DSBUFFERDESC description{
        .dwSize = publishedSize,
        .dwFlags = platform::DSBCAPS_GLOBALFOCUS | platform::DSBCAPS_GETCURRENTPOSITION2,
        .dwBufferBytes = buffering.ringBytes,
        .dwReserved = 0,
        .lpwfxFormat = &format,
        .guid3DAlgorithm = platform::DS3DALG_DEFAULT};
    platform::IDirectSoundBuffer* created = nullptr;
    const platform::Result result = directSound.CreateSoundBuffer(&description, &created);
    buffer.reset(created);
    CheckResult(result);
}

bool AdaptiveDirectSoundPipe::IsEmulated() {
    return isEmulated;
}

std::uint32_t AdaptiveDirectSoundPipe::GetPlaybackChannelCount() {
    return enabledCount;
}

std::string AdaptiveDirectSoundPipe::GetPlaybackChannelName(std::uint32_t channel) {
    for (std::size_t i = 0; i < enabled.size(); ++i)
        if (enabled[i] && channel-- == 0) return channelNames[i];
    throw slib::BadParameterException("The output pipe '" + id + "' has only " +
                                      std::to_string(enabledCount) + " channels.");
}

slib::StandardFormat AdaptiveDirectSoundPipe::GetStandardFormat() {
    return standardFormat;
}

std::uint32_t AdaptiveDirectSoundPipe::GetRecordingChannelCount() {
    return 0;
}

std::string AdaptiveDirectSoundPipe::GetRecordingChannelName(std::uint32_t) {
    slib::ThrowUnreachable();
}

double AdaptiveDirectSoundPipe::GetSampleRate() {
    return buffering.sampleRate;
}

std::uint32_t AdaptiveDirectSoundPipe::GetBufferLength() {
    return buffering.bufferLength;
}

std::uint32_t AdaptiveDirectSoundPipe::GetBufferCount() {
    return buffering.bufferCount;
}

std::uint32_t AdaptiveDirectSoundPipe::GetLatency() {
    return buffering.bufferLength * buffering.bufferCount;
}

std::uint32_t AdaptiveDirectSoundPipe::GetRecordingLatency() {
    return 0;
}

void AdaptiveDirectSoundPipe::Start() {
    mix.fill(0);
    buffering.Start(ReadCursors().play);
    CheckResult(buffer->Play(0, 0, platform::DSBPLAY_LOOPING));
    isPlaying = true;
}

void AdaptiveDirectSoundPipe::Write(const float* playback, float*) {
    if (!isPlaying) throw DirectSoundException("The output pipe '" + id + "' hasn't been started.");
    if (const std::uint32_t now = system->news->returns; std::exchange(returns, now) != now)
        buffering.StartAfresh();
    const bool shrink = std::exchange(buffering.shrinkRequested, false);
    // Before the wait, so that only a copy is left to do when there is room.
    Convert(playback);
    WaitForRoom(shrink, 1);
    CopyBlock();
    buffering.Advance();
    const Cursors cursors = ReadCursors();
    buffering.Follow(cursors.play);
    auto safety = static_cast<std::int32_t>(cursors.write) - static_cast<std::int32_t>(cursors.play);
    if (safety < 0) safety += static_cast<std::int32_t>(buffering.ringBytes);
    buffering.Adapt(safety, shrink);
    NoteState(safety);
}

// How far the write cursor is ahead of the play cursor (bytes) is what the output has taken.
void AdaptiveDirectSoundPipe::NoteState(std::int32_t safety) {
    const auto frames = [&](std::int32_t bytes) {
        return static_cast<std::uint32_t>(std::max(bytes, 0)) / buffering.frameBytes;
    };
    const std::int32_t ahead = buffering.writeTotal - buffering.playTotal;
    serverFrames.store(frames(std::min(safety, ahead)), std::memory_order_relaxed);
    ringFrames.store(frames(ahead - safety), std::memory_order_relaxed);
}

void AdaptiveDirectSoundPipe::Stop() {
    CheckResult(buffer->Stop());
    isPlaying = false;
    if (buffering.extraBuffers == 0) return;
    log->Write(std::string("The DirectSound pipe had to increase the buffer count by ") +
                   std::to_string(buffering.extraBuffers) +
                   " to ensure steady output. You may wish to change your default buffer count.",
               false);
}

AdaptiveDirectSoundPipe::Cursors AdaptiveDirectSoundPipe::ReadCursors() {
    Cursors cursors;
    CheckResult(buffer->GetCurrentPosition(&cursors.play, &cursors.write));
    return cursors;
}

void AdaptiveDirectSoundPipe::Convert(const float* samples) {
    if (samples == nullptr) return mix.fill(0);
    std::uint32_t taken = 0;
    for (std::uint32_t channel = 0; channel < mix.columns; ++channel) {
        if (!enabled[channel]) continue;
        const float* in = samples + taken++;
        std::int32_t* out = mix.data + channel;
        for (std::uint32_t f = 0; f < mix.rows; ++f, in += enabledCount, out += mix.columns)
            *out = ToInteger(*in);
    }
}

void AdaptiveDirectSoundPipe::AwaitRoom(std::uint32_t blocks) {
    if (isPlaying) WaitForRoom(buffering.shrinkRequested, std::clamp(blocks, 1U, buffering.bufferCount + 1));
}

void AdaptiveDirectSoundPipe::WaitForRoom(bool shrink, std::uint32_t blocks) {
    for (;;) {
        buffering.Measure(buffering.Follow(ReadCursors().play));
        // Of several blocks the last one.
        const std::int32_t room =
            buffering.Room(shrink) - static_cast<std::int32_t>((blocks - 1) * buffering.blockBytes);
        if (room >= static_cast<std::int32_t>(buffering.blockBytes)) return;
        const std::int64_t start = platform::NowNanoseconds();
        system->Sleep(buffering.Patience(room));
        waited.fetch_add(platform::NowNanoseconds() - start, std::memory_order_relaxed);
    }
}

double AdaptiveDirectSoundPipe::GetWaitedTime() const {
    return 1e-9 * static_cast<double>(waited.load(std::memory_order_relaxed));
}

OutputState AdaptiveDirectSoundPipe::GetOutputState() const {
    return {ringFrames.load(std::memory_order_relaxed), serverFrames.load(std::memory_order_relaxed),
            system->news->interruptions.load(std::memory_order_relaxed),
            system->news->isAway.load(std::memory_order_relaxed)};
}

bool AdaptiveDirectSoundPipe::IsPatient() const {
    return system->news->isPatient.load(std::memory_order_relaxed);
}

bool AdaptiveDirectSoundPipe::HasOutputChanged() const {
    return system->news->hasChanged.load(std::memory_order_relaxed);
}

void AdaptiveDirectSoundPipe::CopyBlock() {
    void* first = nullptr;
    void* second = nullptr;
    std::uint32_t firstBytes = 0;
    std::uint32_t secondBytes = 0;
    CheckResult(buffer->Lock(buffering.WriteOffset(), buffering.blockBytes, &first, &firstBytes, &second,
                             &secondBytes, 0));
    const auto* const block = reinterpret_cast<const std::byte*>(mix.data);
    std::memcpy(first, block, firstBytes);
    if (second != nullptr) std::memcpy(second, block + firstBytes, secondBytes);
    CheckResult(buffer->Unlock(first, firstBytes, second, secondBytes));
}

}  // namespace audiopipe::directsound

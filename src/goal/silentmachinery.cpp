#include "goal/silentmachinery.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <system_error>
#include <thread>

#include "goal/renderer.h"
#include "slib/exception.h"

namespace goal {
namespace {

using Clock = std::chrono::steady_clock;

// What this output can do; a wish beyond it gets the nearest, as from a device.
constexpr std::uint32_t lowestRate = 8000, highestRate = 192000;  // Hz
constexpr int longestBuffer = 8192;                               // frames
constexpr int mostBuffers = 16;

constexpr std::uint32_t greatestInputs = 25;  // channels of order 4
constexpr std::uint32_t channels = 2;

class SilentPipe : public audiopipe::Pipe {
public:
    SilentPipe(double sampleRate, std::uint32_t bufferLength, std::uint32_t bufferCount)
        : Pipe("Silence", 0),
          sampleRate(sampleRate),
          bufferLength(bufferLength),
          bufferCount(bufferCount),
          period(std::chrono::duration_cast<Clock::duration>(
              std::chrono::duration<double>(bufferLength / sampleRate))),
          end(Clock::now()) {}

    bool IsEmulated() override { return true; }
    std::uint32_t GetPlaybackChannelCount() override { return channels; }
    std::string GetPlaybackChannelName(std::uint32_t channel) override {
        return slib::GetStandardChannelNames(GetStandardFormat())[channel];
    }
    slib::StandardFormat GetStandardFormat() override { return slib::StandardFormat::Stereo; }
    std::uint32_t GetRecordingChannelCount() override { return 0; }
    std::string GetRecordingChannelName(std::uint32_t) override { return {}; }

    double GetSampleRate() override { return sampleRate; }
    std::uint32_t GetBufferLength() override { return bufferLength; }
    std::uint32_t GetBufferCount() override { return bufferCount; }
    std::uint32_t GetLatency() override { return bufferLength * bufferCount; }
    std::uint32_t GetRecordingLatency() override { return 0; }

    void Start() override {}
    void Stop() override {}

    // `end` is when the last block taken will have been played. A caller that was held up for longer than the
    // buffers last goes on from now, as a device does after an underrun.
    void Write(const float*, float*) override {
        end = std::max(end, Clock::now()) + period;
        std::this_thread::sleep_until(end - period * bufferCount);
    }

private:
    const double sampleRate;
    const std::uint32_t bufferLength;
    const std::uint32_t bufferCount;
    const Clock::duration period;
    Clock::time_point end;
};

// Two cardioids, to the left and to the right, in the first and second channel of the library's basis.
orb3::strans::TimeDomainTransform<float, 1> Cardioids(double sampleRate) {
    orb3::strans::TimeDomainTransform<float, 1> transform;
    transform.sampleRate = sampleRate;
    transform.width = 1;
    transform.impulses = hcml::GenericMatrix<hcml::GenericVector<float, 1>, 0>(greatestInputs, channels);
    transform.impulses.fill({0});
    const double omni = 0.5 / std::sqrt(4 * std::numbers::pi);
    for (std::uint32_t c = 0; c < channels; ++c) {
        transform.impulses(0, c) = {static_cast<float>(omni)};
        transform.impulses(1, c) = {static_cast<float>((c == 0 ? -omni : omni) / std::numbers::sqrt3)};
    }
    return transform;
}

}  // namespace

std::unique_ptr<FormatLibrary> SilentMachinery::OpenFormatLibrary(const std::string& path, slib::Log*) {
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored))
        throw slib::BadDataException("Nothing was found at '" + path + "'.");
    return std::make_unique<FormatLibrary>();
}

OutputSetUp SilentMachinery::SetUp(const SetUpRequest& request, slib::Log*, slib::Log*, orb3::Configuration&,
                                   FormatLibrary&) {
    const double sampleRate = std::clamp(request.sampleRate, lowestRate, highestRate);
    const auto bufferLength = static_cast<std::uint32_t>(std::clamp(request.bufferLength, 1, longestBuffer));
    const auto bufferCount = static_cast<std::uint32_t>(std::clamp(request.bufferCount, 1, mostBuffers));
    OutputSetUp result;
    result.pipe = audiopipe::PipePtr(new SilentPipe(sampleRate, bufferLength, bufferCount));
    result.transform = Cardioids(sampleRate);
    result.formatName = "Silence";
    result.methodName = "None";
    return result;
}

std::unique_ptr<BlockRenderer> SilentMachinery::CreateRenderer(double sampleRate,
                                                               const orb3::Configuration& configuration,
                                                               int filterOrder, std::uint32_t blockFrames,
                                                               slib::Log*) {
    return std::make_unique<Renderer>(sampleRate, configuration, filterOrder, blockFrames);
}

}  // namespace goal

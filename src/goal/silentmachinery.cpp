#include "goal/silentmachinery.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
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

constexpr std::uint32_t shortestBlock = 128;  // frames
constexpr std::uint32_t greatestInputs = 25;  // channels of a bus of order 4

class SilentDecoder : public Decoder {
public:
    SilentDecoder(double sampleRate, std::uint32_t blockFrames, int bufferCount)
        : blockFrames(blockFrames),
          period(std::chrono::duration_cast<Clock::duration>(
              std::chrono::duration<double>(blockFrames / sampleRate))),
          stored(period * bufferCount),
          end(Clock::now()) {}

    std::uint32_t BlockFrames() const override { return blockFrames; }

    // `end` is when the last block taken will have been played. A caller that was held up for longer than the
    // buffers last goes on from now, as a device does after an underrun.
    void writeBus(const hcml::ac::Bus&, std::span<const DirectFeed>) override {
        end = std::max(end, Clock::now()) + period;
        std::this_thread::sleep_until(end - stored);
    }

    void reportPeak(slib::Log* log) override { log->Write("The output was silent.", false); }

private:
    const std::uint32_t blockFrames;
    const Clock::duration period;
    const Clock::duration stored;
    Clock::time_point end;
};

class SilentOutput : public OutputSetUp {
public:
    explicit SilentOutput(const SetUpRequest& request)
        : bufferLength(static_cast<std::uint32_t>(std::clamp(request.bufferLength, 1, longestBuffer))),
          bufferCount(std::clamp(request.bufferCount, 1, mostBuffers)) {
        sampleRate = std::clamp(request.sampleRate, lowestRate, highestRate);
        transformInputs = greatestInputs;
        formatName = "Silence";
        methodName = "None";
    }

    std::unique_ptr<Decoder> CreateDecoder(std::uint32_t, slib::Log*, bool) override {
        const std::uint32_t buffers = (shortestBlock + bufferLength - 1) / bufferLength;
        return std::make_unique<SilentDecoder>(sampleRate, buffers * bufferLength, bufferCount);
    }

private:
    const std::uint32_t bufferLength;  // frames
    const int bufferCount;
};

}  // namespace

std::unique_ptr<FormatLibrary> SilentMachinery::OpenFormatLibrary(const std::string& path, slib::Log*) {
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored))
        throw slib::BadDataException("Nothing was found at '" + path + "'.");
    return std::make_unique<FormatLibrary>();
}

std::unique_ptr<OutputSetUp> SilentMachinery::SetUp(const SetUpRequest& request, slib::Log*, slib::Log*,
                                                    orb3::Configuration&, FormatLibrary&) {
    return std::make_unique<SilentOutput>(request);
}

std::unique_ptr<BlockRenderer> SilentMachinery::CreateRenderer(double sampleRate,
                                                               const orb3::Configuration& configuration,
                                                               int filterOrder, std::uint32_t blockFrames,
                                                               slib::Log*) {
    return std::make_unique<Renderer>(sampleRate, configuration, filterOrder, blockFrames);
}

}  // namespace goal

#include "platform/clockedinput.h"

#include <fcntl.h>
#include <sndfile.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/dynamiclibrary.h"
#include "slib/nodestroy.h"
#include "slib/thread.h"

namespace platform {
namespace {

constexpr std::uint32_t turn = 10;                            // ms
constexpr std::int64_t mostBytes = std::int64_t{256} << 20U;  // of the frames of a file

struct ReadingLibrary {
    DynamicLibrary library{"libsndfile.so.1"};

    Imported<decltype(sf_open_fd)> open{library, "sf_open_fd"};
    Imported<decltype(sf_close)> close{library, "sf_close"};
    Imported<decltype(sf_readf_float)> read{library, "sf_readf_float"};
    Imported<decltype(sf_strerror)> explain{library, "sf_strerror"};
};

ReadingLibrary& Library() {
    static slib::NoDestroy<ReadingLibrary> library;
    return *library;
}

// From Start to Stop a thread writes what is due.
class ClockedInput : public Input, private slib::Thread {
public:
    // Whole frames, played over and over; none for silence.
    ClockedInput(std::shared_ptr<InputRing> ring, std::vector<std::byte> frames)
        : Thread("Input", Priority::Normal), ring(std::move(ring)), bytes(std::move(frames)) {}
    ~ClockedInput() override { ClockedInput::Stop(); }

    void Start() override {
        if (isRunning) return;
        Thread::Start();
        ring->SetRunning(true);
        isRunning = true;
    }

    void Stop() override {
        ring->SetRunning(false);
        isRunning = false;
        if (!RequestStop()) return;
        signal.Post();
        AwaitEnd();
    }

private:
    void Run() override {
        const std::int64_t start = NowNanoseconds();
        std::int64_t written = 0;
        while (!IsStopRequested()) {
            if (signal.WaitFor(turn)) continue;
            const std::int64_t due = FramesIn(NowNanoseconds() - start, ring->format.rate) - written;
            // More than a second at once can only follow a time in which the process stood still.
            Write(static_cast<std::size_t>(std::min<std::int64_t>(due, ring->format.rate)));
            written += due;
        }
    }

    void Write(std::size_t frames) {
        if (bytes.empty()) return ring->Write(nullptr, frames);
        const std::size_t frameBytes = ring->format.FrameBytes();
        while (frames > 0) {
            const std::size_t piece = std::min(frames, (bytes.size() - next) / frameBytes);
            ring->Write(bytes.data() + next, piece);
            next = (next + piece * frameBytes) % bytes.size();
            frames -= piece;
        }
    }

    const std::shared_ptr<InputRing> ring;
    const std::vector<std::byte> bytes;
    slib::Semaphore signal;  // that the thread is to end
    std::size_t next = 0;    // byte; the thread's
    bool isRunning = false;  // the owner's
};

// Interleaved, full scale 1.
struct FileFrames {
    std::vector<float> samples;
    std::size_t channels = 0;
    std::int64_t rate = 0;  // Hz

    std::size_t Count() const { return samples.size() / channels; }
    float At(std::size_t frame, std::size_t channel) const { return samples[frame * channels + channel]; }

    // A sample of the frame for `wanted` channels.
    float Mixed(std::size_t frame, std::size_t channel, std::size_t wanted) const {
        if (wanted == 2) return At(frame, channels == 1 ? 0 : channel);
        float sum = 0;
        for (std::size_t c = 0; c < channels; ++c)
            sum += At(frame, c);
        return sum / static_cast<float>(channels);
    }
};

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
    throw slib::BadStateException("The file '" + path + "' can't be recorded from: " + reason);
}

FileFrames ReadFrames(const std::string& path) {
    ReadingLibrary& library = Library();
    if (!library.library.problem.empty()) Refuse(path, library.library.problem);
    // Without waiting for the other end of a pipe.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) Refuse(path, std::generic_category().message(errno));
    SF_INFO info{};
    const auto close = [](SNDFILE* file) { Library().close(file); };
    const std::unique_ptr<SNDFILE, decltype(close)> file(library.open(descriptor, SFM_READ, &info, SF_TRUE),
                                                         close);
    if (!file) Refuse(path, library.explain(nullptr));
    if (info.samplerate < 1 || info.channels < 1) Refuse(path, "It has no rate or no channels.");
    if (info.frames > mostBytes / (std::int64_t{info.channels} * 4))
        Refuse(path, "It is longer than 256 MiB.");
    FileFrames frames{{}, static_cast<std::size_t>(info.channels), info.samplerate};
    frames.samples.resize(static_cast<std::size_t>(info.frames) * frames.channels);
    const sf_count_t read = library.read(file.get(), frames.samples.data(), info.frames);
    if (read <= 0) Refuse(path, "It has no frames.");
    frames.samples.resize(static_cast<std::size_t>(read) * frames.channels);
    return frames;
}

template <typename T>
void Put(std::byte* place, float value, float scale, float zero) {
    const float whole = std::clamp(std::round(value * scale) + zero, zero - scale, zero + scale - 1);
    const T sample = static_cast<T>(std::isfinite(whole) ? whole : zero);
    std::memcpy(place, &sample, sizeof sample);
}

void PutSample(std::byte* place, float value, InputFormat::Sample kind) {
    switch (kind) {
        case InputFormat::Sample::Unsigned8:
            return Put<std::uint8_t>(place, value, 128, 128);
        case InputFormat::Sample::Signed16:
            return Put<std::int16_t>(place, value, 32768, 0);
        case InputFormat::Sample::Float32:
            std::memcpy(place, &value, sizeof value);
    }
}

std::vector<std::byte> Converted(const FileFrames& frames, const InputFormat& format, std::int64_t count) {
    const std::size_t frameBytes = format.FrameBytes(), sampleBytes = frameBytes / format.channels;
    std::vector<std::byte> bytes(static_cast<std::size_t>(count) * frameBytes);
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t at = i * frames.rate;
        const std::size_t before = static_cast<std::size_t>(at / format.rate) % frames.Count();
        const std::size_t after = (before + 1) % frames.Count();
        const float part = static_cast<float>(at % format.rate) / static_cast<float>(format.rate);
        for (std::size_t c = 0; c < format.channels; ++c) {
            const float first = frames.Mixed(before, c, format.channels);
            const float value = first + (frames.Mixed(after, c, format.channels) - first) * part;
            PutSample(bytes.data() + static_cast<std::size_t>(i) * frameBytes + c * sampleBytes, value,
                      format.sample);
        }
    }
    return bytes;
}

}  // namespace

std::unique_ptr<Input> MakeSilentInput(std::shared_ptr<InputRing> ring) {
    return std::make_unique<ClockedInput>(std::move(ring), std::vector<std::byte>());
}

std::unique_ptr<Input> MakeFileInput(const std::string& path, const std::shared_ptr<InputRing>& ring) {
    const FileFrames frames = ReadFrames(path);
    const InputFormat& format = ring->format;
    const std::int64_t count =
        std::max<std::int64_t>(static_cast<std::int64_t>(frames.Count()) * format.rate / frames.rate, 1);
    if (count > mostBytes / static_cast<std::int64_t>(format.FrameBytes()))
        Refuse(path, "At " + std::to_string(format.rate) + " Hz it is longer than 256 MiB.");
    return std::make_unique<ClockedInput>(ring, Converted(frames, format, count));
}

}  // namespace platform

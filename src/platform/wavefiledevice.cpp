#include "platform/wavefiledevice.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/fedbuffer.h"
#include "platform/outputdevice.h"
#include "platform/wavefile.h"
#include "slib/thread.h"

namespace platform {
namespace {

constexpr std::uint32_t turnsPerSecond = 100;
constexpr std::int64_t mostTurnsAtOnce = 3;

std::uint32_t TurnLength(const RingShape& shape) {
    return shape.rate / turnsPerSecond;
}

// The files of one ring, of which the last one is open. One thread at a time.
class Files {
public:
    Files(const RingShape& shape, std::string path, slib::Log* log)
        : shape(shape), path(std::move(path)), log(log) {
        OpenNext();
    }

    bool IsOpen() const { return file != nullptr; }

    // Before `frames` are written.
    void MakeRoom(std::uint32_t frames) {
        if (file && (file->IsFull(frames) || file->IsLost())) OpenNext();
    }

    [[nodiscard]] bool Write(const std::int32_t* samples, std::uint32_t frames) {
        return file != nullptr && file->Write(samples, frames);
    }

private:
    void OpenNext() {
        const std::string name = NextFilePath(path);
        std::string error;
        file = std::make_unique<WaveFile>(name, shape, error);
        if (error.empty()) return;
        file.reset();
        log->Write("The sound can't be written to the file '" + name + "': " + error, true);
    }

    const RingShape shape;
    const std::string path;
    slib::Log* const log;
    std::unique_ptr<WaveFile> file;
};

// Calls for each turn of the clock, until it is stopped.
class Writer : public slib::Thread {
public:
    explicit Writer(std::function<void()> turn)
        : Thread("WaveFile", slib::Thread::Priority::Normal), turn(std::move(turn)) {}

protected:
    void Run() override {
        while (!IsStopRequested()) {
            turn();
            std::this_thread::sleep_for(std::chrono::milliseconds(1000 / turnsPerSecond));
        }
    }

private:
    const std::function<void()> turn;
};

// Takes the ring by the clock, as a sound card does.
class RealTimeBuffer : public FedBuffer {
public:
    RealTimeBuffer(const RingShape& shape, const WaveFileOutput& output, slib::Log* log)
        : FedBuffer(shape, TurnLength(shape), output.news),
          files(shape, output.path, log),
          writer([this] { TakeTurn(); }) {}

    bool HasFile() const { return files.IsOpen(); }

protected:
    ~RealTimeBuffer() override { writer.Stop(); }

    Result StartTaking() override {
        start = NowNanoseconds();
        taken = 0;
        writer.Start();
        return DS_OK;
    }

    Result StopTaking() override {
        writer.Stop();
        return DS_OK;
    }

private:
    void TakeTurn() {
        const std::uint32_t turn = TurnLength(shape);
        std::int64_t due = FramesIn(NowNanoseconds() - start, shape.rate) + turn - taken;
        if (due > mostTurnsAtOnce * turn) {  // this thread was held up, and the output with it
            start = NowNanoseconds();
            taken = 0;
            due = turn;
        }
        Write(static_cast<std::uint32_t>(due));
        taken += due;
    }

    void Write(std::uint32_t frames) {
        files.MakeRoom(frames);
        bool isFine = files.IsOpen();
        Take(frames, 0, [&](const std::int32_t* samples, std::uint32_t count) {
            if (samples != nullptr) isFine = isFine && files.Write(samples, count);
        });
        if (!isFine) Fail(DSERR_GENERIC);
    }

    // The writer's, while it runs.
    Files files;
    std::int64_t start = 0;  // nanoseconds
    std::int64_t taken = 0;  // frames since then
    Writer writer;
};

// Takes each piece when it is written, and all of them. The play cursor moves by the clock, and stands where
// nothing is written, or too much not yet in the file:
//
//     pipe's thread:  ring ──> queue ──> writer's thread ──> file
//                                └── so that pieces go from the ring at once, however long a disk takes
class PatientBuffer : public RingBuffer {
public:
    PatientBuffer(const RingShape& shape, const WaveFileOutput& output, slib::Log* log)
        : RingBuffer(shape),
          isPaced(output.pace != PlatformSettings::Pace::Unpaced),
          queueFrames(2 * std::int64_t{shape.frames} + shape.rate),
          queue(static_cast<std::size_t>(queueFrames) * shape.channels),
          files(shape, output.path, log),
          writer([this] { Drain(); }) {}

    bool HasFile() const { return files.IsOpen(); }

protected:
    ~PatientBuffer() override { writer.Stop(); }

    Result ReadCursors(RingCursors& cursors) override {
        if (failure.load(std::memory_order_relaxed) != DS_OK) return failure;
        if (IsPlaying()) {
            const std::int64_t now = NowNanoseconds();
            const std::int64_t inFile = taken.load(std::memory_order_acquire);
            if (HasHung(inFile, now)) return DSERR_BUFFERLOST;
            MoveTo(std::min(writeEnd, inFile + shape.rate), now);
        }
        cursors.play = cursors.write = play;  // nobody reads the ring
        return DS_OK;
    }

    Result StartOutput() override {
        clockStart = lastLook = NowNanoseconds();
        clockPlay = play;
        waited = 0;
        writer.Start();
        return failure;
    }

    Result StopOutput() override {
        writer.Stop();
        Drain();
        play = writeEnd;
        return failure;
    }

    void NoteWritten(std::uint32_t offset, std::uint32_t frames) override {
        const auto end = static_cast<std::uint32_t>(writeEnd % shape.frames);
        Queue(nullptr, (offset + shape.frames - end) % shape.frames);  // what was left out
        Queue(samples.get() + std::size_t{offset} * shape.channels, frames);
        written.store(writeEnd, std::memory_order_release);
    }

private:
    // Up to `limit`. The clock waits there; and a reader of the cursor doesn't see whole rounds.
    void MoveTo(std::int64_t limit, std::int64_t now) {
        limit = std::min(limit, play + (shape.frames + 1) / 2);
        const std::int64_t byClock = isPaced ? clockPlay + FramesIn(now - clockStart, shape.rate) : limit;
        play = std::max(play, std::min(byClock, limit));
        if (byClock <= limit) return;
        clockPlay = play;
        clockStart = now;
    }

    // A disk that takes nothing for ten seconds. A process that stood still for a while hasn't waited.
    bool HasHung(std::int64_t inFile, std::int64_t now) {
        constexpr std::int64_t longestWait = 10'000'000'000, longestLook = 100'000'000;  // ns
        const bool isWaiting = inFile == lastTaken && inFile < writeEnd;
        waited = isWaiting ? waited + std::min(now - lastLook, longestLook) : 0;
        lastTaken = inFile;
        lastLook = now;
        return waited > longestWait;
    }

    // Null for silence. There is room: the play cursor, which the pipe writes less than a ring and a
    // piece ahead of, doesn't run away from the file.
    void Queue(const std::int32_t* from, std::int64_t frames) {
        while (frames > 0) {
            const std::int64_t place = writeEnd % queueFrames;
            const std::int64_t piece = std::min(frames, queueFrames - place);
            const std::size_t count = static_cast<std::size_t>(piece) * shape.channels;
            std::int32_t* const to = queue.data() + static_cast<std::size_t>(place) * shape.channels;
            if (from == nullptr)
                std::fill_n(to, count, 0);
            else
                std::memcpy(to, std::exchange(from, from + count), count * sizeof(std::int32_t));
            writeEnd += piece;
            frames -= piece;
        }
    }

    // On the writer's thread, or when that is over.
    void Drain() {
        const std::int64_t end = written.load(std::memory_order_acquire);
        std::int64_t next = taken.load(std::memory_order_relaxed);
        while (next < end && failure.load(std::memory_order_relaxed) == DS_OK) {
            const std::int64_t place = next % queueFrames;
            const auto piece = static_cast<std::uint32_t>(std::min(end - next, queueFrames - place));
            files.MakeRoom(piece);
            if (!files.Write(queue.data() + static_cast<std::size_t>(place) * shape.channels, piece))
                failure = DSERR_GENERIC;
            next += piece;
            taken.store(next, std::memory_order_release);
        }
    }

    const bool isPaced;
    const std::int64_t queueFrames;
    std::vector<std::int32_t> queue;  // queueFrames rows of shape.channels; a frame's place is its number
    std::atomic<std::int64_t> written{0};  // frames
    std::atomic<std::int64_t> taken{0};    // frames
    std::atomic<Result> failure{DS_OK};

    // Pipe's thread. Frames, and nanoseconds.
    std::int64_t writeEnd = 0;
    std::int64_t play = 0;
    std::int64_t clockPlay = 0, clockStart = 0;  // the clock went on from there at that time
    std::int64_t lastTaken = 0, lastLook = 0;
    std::int64_t waited = 0;  // since `taken` changed

    Files files;  // the writer's, while it runs
    Writer writer;
};

class WaveFileDevice : public OutputDevice {
public:
    WaveFileDevice(std::uint32_t speakerSetting, WaveFileOutput output, slib::Log* log)
        : OutputDevice(speakerSetting), output(std::move(output)), log(log) {}

protected:
    Result MakeBuffer(const RingShape& shape, SoundBufferPtr& buffer) override {
        return output.pace == PlatformSettings::Pace::RealTime ? Make<RealTimeBuffer>(shape, buffer)
                                                               : Make<PatientBuffer>(shape, buffer);
    }

private:
    template <typename Buffer>
    Result Make(const RingShape& shape, SoundBufferPtr& buffer) const {
        auto* const made = new Buffer(shape, output, log);
        buffer.reset(made);
        if (made->HasFile()) return DS_OK;
        buffer.reset();
        return DSERR_ACCESSDENIED;
    }

    const WaveFileOutput output;
    slib::Log* const log;
};

}  // namespace

SoundDevicePtr MakeWaveFileDevice(std::uint32_t speakerSetting, WaveFileOutput output, slib::Log* log) {
    return SoundDevicePtr(new WaveFileDevice(speakerSetting, std::move(output), log));
}

}  // namespace platform

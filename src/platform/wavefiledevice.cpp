#include "platform/wavefiledevice.h"

#include <chrono>
#include <memory>
#include <thread>

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

std::unique_ptr<WaveFile> OpenFile(const std::string& path, const RingShape& shape, slib::Log* log) {
    const std::string name = NextFilePath(path);
    std::string error;
    auto file = std::make_unique<WaveFile>(name, shape, error);
    if (error.empty()) return file;
    log->Write("The sound can't be written to the file '" + name + "': " + error, true);
    return nullptr;
}

class WaveFileBuffer : public FedBuffer {
public:
    WaveFileBuffer(const RingShape& shape, std::string path, slib::Log* log)
        : FedBuffer(shape, TurnLength(shape)), path(std::move(path)), log(log), writer(*this) {
        OpenNext();
    }

    bool HasFile() const { return file != nullptr; }

protected:
    ~WaveFileBuffer() override { writer.Stop(); }

    Result StartTaking() override {
        writer.Start();
        return DS_OK;
    }

    Result StopTaking() override {
        writer.Stop();
        return DS_OK;
    }

private:
    class Writer : public slib::Thread {
    public:
        explicit Writer(WaveFileBuffer& buffer)
            : Thread("WaveFile", slib::Thread::Priority::Normal), buffer(buffer) {}

    protected:
        void Run() override {
            std::int64_t start = NowNanoseconds();
            for (std::int64_t taken = 0; !IsStopRequested();) {
                const std::uint32_t turn = TurnLength(buffer.shape);
                std::int64_t due = FramesIn(NowNanoseconds() - start, buffer.shape.rate) + turn - taken;
                if (due > mostTurnsAtOnce * turn) {  // this thread was held up, and the output with it
                    start = NowNanoseconds();
                    taken = 0;
                    due = turn;
                }
                buffer.TakeTurn(static_cast<std::uint32_t>(due));
                taken += due;
                std::this_thread::sleep_for(std::chrono::milliseconds(1000 / turnsPerSecond));
            }
        }

    private:
        WaveFileBuffer& buffer;
    };

    void OpenNext() { file = OpenFile(path, shape, log); }

    // Writer's thread.
    void TakeTurn(std::uint32_t frames) {
        if (file && (file->IsFull(frames) || file->IsLost())) OpenNext();
        bool isFine = file != nullptr;
        Take(frames, 0, [&](const std::int32_t* taken, std::uint32_t count) {
            if (taken != nullptr) isFine = isFine && file->Write(taken, count);
        });
        if (!isFine) Fail(DSERR_GENERIC);
    }

    const std::string path;
    slib::Log* const log;
    std::unique_ptr<WaveFile> file;  // the writer's, while it runs
    Writer writer;
};

class WaveFileDevice : public OutputDevice {
public:
    WaveFileDevice(std::uint32_t speakerSetting, std::string path, slib::Log* log)
        : OutputDevice(speakerSetting), path(std::move(path)), log(log) {}

protected:
    Result MakeBuffer(const RingShape& shape, SoundBufferPtr& buffer) override {
        auto* const made = new WaveFileBuffer(shape, path, log);
        buffer.reset(made);
        if (made->HasFile()) return DS_OK;
        buffer.reset();
        return DSERR_ACCESSDENIED;
    }

private:
    const std::string path;
    slib::Log* const log;
};

}  // namespace

SoundDevicePtr MakeWaveFileDevice(std::uint32_t speakerSetting, const std::string& path, slib::Log* log) {
    return SoundDevicePtr(new WaveFileDevice(speakerSetting, path, log));
}

}  // namespace platform

#include "goal/recordingdesk.h"

#include <exception>
#include <thread>
#include <utility>

#include "numeric/ambisonicorder.h"
#include "orb3core/acoustics/ambix.h"
#include "platform/wavefile.h"

namespace goal {
namespace {

RecordedSignal FieldOf(const RunShape& run) {
    return {.channels = hcml::ChannelsOfOrder(run.order),
            .rate = run.rate,
            .blockFrames = run.blockFrames,
            .matrix = orb3::AmbixMatrix(run.order),
            .name = "sound field",
            .comment = "AmbiX (ACN, SN3D), order " + std::to_string(run.order)};
}

RecordedSignal OutputOf(const RunShape& run) {
    return {.channels = run.outputs,
            .rate = run.rate,
            .blockFrames = run.blockFrames,
            .matrix = {},
            .name = "output",
            .comment = ""};
}

std::unique_ptr<SoundRecorder> Begin(const std::string& path, RecordedSignal signal, slib::Log* log) {
    const std::string free = platform::NextFilePath(path);
    auto recorder = std::make_unique<SoundRecorder>(free, std::move(signal), log);
    log->Write("Recording into '" + free + "'.", false);
    return recorder;
}

}  // namespace

void RecorderTap::Set(SoundRecorder* other) {
    recorder = other;
    while (isBusy)
        std::this_thread::yield();
}

// What Set has taken away is no longer seen, or seen to be busy: the two orders of a store and a load each
// are one for both threads (memory_order_seq_cst).
template <typename Work>
void RecorderTap::WithRecorder(const Work& work) {
    if (recorder.load(std::memory_order_relaxed) == nullptr) return;
    isBusy = true;
    if (SoundRecorder* const current = recorder) work(*current);
    isBusy = false;
}

void RecorderTap::Take(const float* block) {
    WithRecorder([block](SoundRecorder& to) { to.WriteInterleaved(block); });
}

void RecorderTap::Take(const hcml::ac::Bus& block) {
    WithRecorder([&block](SoundRecorder& to) { to.WritePlanar(block.channels); });
}

void RecordingDesk::Ask(const std::optional<RecordingRequest>& request) noexcept {
    const slib::Lock lock(mutex);
    if (request == wanted) return;
    Close();
    wanted = request;
    Open();
}

void RecordingDesk::BeginRun(const RunShape& shape) noexcept {
    const slib::Lock lock(mutex);
    run = shape;
    Open();
}

void RecordingDesk::EndRun() noexcept {
    const slib::Lock lock(mutex);
    Close();
    run.reset();
}

// Where it doesn't work, the sound goes on without.
void RecordingDesk::Open() {
    if (!wanted || !run) return;
    try {
        if (wanted->HasField()) fieldRecorder = Begin(wanted->FieldPath(), FieldOf(*run), log);
        if (wanted->HasOutput()) outputRecorder = Begin(wanted->OutputPath(), OutputOf(*run), log);
        field.Set(fieldRecorder.get());
        output.Set(outputRecorder.get());
    } catch (const std::exception& failure) {
        Close();
        try {
            log->Write(std::string("Nothing is recorded. ") + failure.what(), true);
        } catch (const std::exception&) {  // no memory for a line
        }
    }
}

void RecordingDesk::Close() {
    field.Set(nullptr);
    output.Set(nullptr);
    fieldRecorder.reset();
    outputRecorder.reset();
}

}  // namespace goal

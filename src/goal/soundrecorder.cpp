#include "goal/soundrecorder.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include "slib/mutex.h"
#include "slib/text.h"

namespace goal {
namespace {

constexpr double ringSeconds = 4;
constexpr std::uint32_t fewestSlots = 8;
constexpr std::uint32_t pause = 20;  // ms, between two looks into the ring

std::size_t SlotCount(const RecordedSignal& signal) {
    return static_cast<std::size_t>(ringSeconds * signal.rate / signal.blockFrames) + fewestSlots;
}

std::string Seconds(std::uint64_t blocks, const RecordedSignal& signal) {
    const double seconds = static_cast<double>(blocks) * signal.blockFrames / signal.rate;
    return slib::FormatNumber(std::ceil(seconds * 100) * 0.01) + " s";
}

}  // namespace

SoundRecorder::SoundRecorder(const std::string& path, RecordedSignal recorded, slib::Log* log)
    : Thread("Recorder", Priority::Normal),
      path(path),
      signal(std::move(recorded)),
      log(log),
      file(path, signal.channels, signal.rate, signal.comment),
      blockFloats(std::size_t{signal.channels} * signal.blockFrames),
      blockOfSlot(SlotCount(signal)),
      ring(blockOfSlot.size() * blockFloats),
      frames(blockFloats) {
    Start();
}

SoundRecorder::~SoundRecorder() {
    Stop();
    Drain();
    WriteSilence(blocks);
    Report();
}

float* SoundRecorder::BeginSlot() {
    const std::uint64_t block = blocks.fetch_add(1, std::memory_order_relaxed);
    const std::uint64_t number = filled.load(std::memory_order_relaxed);
    if (number - emptied.load(std::memory_order_acquire) == blockOfSlot.size()) return nullptr;
    blockOfSlot[SlotOf(number)] = block;
    return ring.data() + SlotOf(number) * blockFloats;
}

void SoundRecorder::WritePlanar(const float* const* rows) {
    float* const slot = BeginSlot();
    if (slot == nullptr) return;
    for (std::uint32_t c = 0; c < signal.channels; ++c)
        std::copy_n(rows[c], signal.blockFrames, slot + std::size_t{c} * signal.blockFrames);
    filled.fetch_add(1, std::memory_order_release);
}

void SoundRecorder::WriteInterleaved(const float* block) {
    float* const slot = BeginSlot();
    if (slot == nullptr) return;
    std::copy_n(block, blockFloats, slot);
    filled.fetch_add(1, std::memory_order_release);
}

void SoundRecorder::Run() {
    slib::Semaphore never;
    while (!IsStopRequested()) {
        Drain();
        static_cast<void>(never.WaitFor(pause));
    }
}

void SoundRecorder::Drain() {
    for (std::uint64_t number = emptied; number < filled.load(std::memory_order_acquire); ++number) {
        WriteSilence(blockOfSlot[SlotOf(number)]);
        WriteBlock(ring.data() + SlotOf(number) * blockFloats);
        emptied.store(number + 1, std::memory_order_release);
    }
}

// Up to the block `end`.
void SoundRecorder::WriteSilence(std::uint64_t end) {
    if (inFile >= end) return;
    std::ranges::fill(frames, 0.0F);
    for (; inFile < end; ++missing)
        WriteFrames();
}

void SoundRecorder::WriteBlock(const float* slot) {
    if (signal.matrix.size == 0) {
        std::copy_n(slot, blockFloats, frames.data());
        return WriteFrames();
    }
    std::ranges::fill(frames, 0.0F);
    for (std::uint32_t to = 0; to < signal.channels; ++to)
        for (std::uint32_t from = 0; from < signal.channels; ++from) {
            const float gain = signal.matrix(to, from);
            if (gain == 0) continue;
            const float* const row = slot + std::size_t{from} * signal.blockFrames;
            for (std::uint32_t i = 0; i < signal.blockFrames; ++i)
                frames[std::size_t{i} * signal.channels + to] += gain * row[i];
        }
    WriteFrames();
}

// The ring is emptied even when the disk is full.
void SoundRecorder::WriteFrames() {
    ++inFile;
    if (isBroken || file.Write(frames.data(), signal.blockFrames)) return;
    isBroken = true;
    try {
        log->Write("The recording '" + path + "' ends: " +
                       (file.IsLost() ? "the game has closed its file." : "the disk is full, or failed."),
                   true);
    } catch (const std::exception&) {  // no memory for a line
    }
}

void SoundRecorder::Report() {
    try {
        std::string line = "Recorded the " + signal.name + " into '" + path + "': " + Seconds(inFile, signal);
        if (missing > 0)
            line += ", of which " + Seconds(missing, signal) + " are silence, as the disk was too slow";
        log->Write(line + ".", false);
    } catch (const std::exception&) {
    }
}

}  // namespace goal

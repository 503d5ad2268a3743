#pragma once

// Records blocks into a sound file, beside the sound:
//
//     audio thread ──copy──> ring of four seconds ──thread "Recorder"──> matrix, file
//
// The audio thread never waits. A block that found no room becomes silence of the same length in the file,
// and is counted.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "numeric/bus.h"
#include "numeric/genericmatrix.h"
#include "platform/floatfile.h"
#include "slib/log.h"
#include "slib/realtime.h"
#include "slib/thread.h"

namespace goal {

/// What is recorded.
struct RecordedSignal {
    std::uint32_t channels = 0;     ///< of what is written, as of the file
    std::uint32_t rate = 0;         ///< Hz
    std::uint32_t blockFrames = 0;  ///< of each block
    /// Of planar blocks: what goes into the file, a channel a row, of what is written, a channel a column.
    /// Empty for interleaved blocks, which go into it as they are.
    hcml::GenericMatrix<float, 1> matrix;
    std::string name;     ///< for the log: "sound field"
    std::string comment;  ///< for the file
};

class SoundRecorder : private slib::Thread {
public:
    /// Begins. `log` is borrowed. Throws slib::BadStateException when the file can't be made, std::bad_alloc,
    /// and slib::OperatingSystemGetLastErrorException when there is no thread.
    SoundRecorder(const std::string& path, RecordedSignal signal, slib::Log* log);
    /// Writes what is in the ring, completes the file, and says in the log what is in it.
    ~SoundRecorder() override;

    /// Both by one thread, the one that makes the blocks.
    void WritePlanar(const float* const* rows) SLIB_NONBLOCKING;
    void WriteInterleaved(const float* block) SLIB_NONBLOCKING;

private:
    void Run() override;
    std::size_t SlotOf(std::uint64_t number) const { return number % blockOfSlot.size(); }
    float* BeginSlot();
    void Drain();
    void WriteSilence(std::uint64_t end);
    void WriteBlock(const float* slot);
    void WriteFrames();
    void Report();

    const std::string path;
    const RecordedSignal signal;
    slib::Log* const log;
    platform::FloatFile file;

    const std::size_t blockFloats;
    std::vector<std::uint64_t> blockOfSlot;  // which block is in it, counted from the beginning
    std::vector<float> ring;                 // as many slots of a block
    std::atomic<std::uint64_t> filled{0};    // slots in all
    std::atomic<std::uint64_t> emptied{0};   // slots in all
    std::atomic<std::uint64_t> blocks{0};    // in all, those that found no room too

    std::vector<float> frames;  // a block as it goes into the file
    std::uint64_t inFile = 0;   // blocks
    std::uint64_t missing = 0;  // of them silence
    bool isBroken = false;      // nothing more can be written
};

}  // namespace goal

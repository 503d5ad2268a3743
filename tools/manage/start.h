#pragma once

// A game's start, tried out: all that it does but to open the device and to store what it found. For the
// commands that say what would become of it. One thread.

#include <cstdint>
#include <string>
#include <vector>

#include "orb3core/settings/configuration.h"
#include "orb3core/setup/devicelookup.h"
#include "orb3core/setup/outputsetup.h"
#include "slib/mutex.h"
#include "tools/manage/machine.h"

namespace tool {

/// Keeps what a start would write to the log.
class KeptLog : public slib::Log {
public:
    struct Line {
        std::string text;
        bool isError = false;
    };

    void Write(const std::string& text, bool isError) override;
    std::vector<Line> Lines() const;

private:
    mutable slib::Mutex mutex;
    std::vector<Line> lines SLIB_GUARDED_BY(mutex);
};

/// What a start comes to.
struct Outcome {
    orb3::Configuration before, after;
    orb3::OutputRequest request;
    orb3::OutputSetUp output;
    bool mayStore = true;             ///< the stored document could be used, or there is none
    int order = 1;                    ///< of the bus
    std::uint32_t blockFrames = 0;    ///< rendered at a time
    std::uint32_t decoderFrames = 0;  ///< by which the decoder lags

    bool StoresLayout() const { return output.isConfigurationChanged && mayStore; }
    /// A block is rendered as soon as there is room for it.
    std::uint32_t AheadFrames() const;
    /// From the call to the speaker, on average.
    std::uint32_t LatencyFrames() const { return blockFrames / 2 + decoderFrames + AheadFrames(); }
};

/// `gameRate` is the sample rate in Hz that the game asks for, or 0. Throws what would end the start.
Outcome TryStart(const FormatLibrary& library, const orb3::Frameworks& frameworks, int gameRate,
                 KeptLog& log);

/// Throws slib::BadStateException, which says what to do, for a rate that the device doesn't run at.
void CheckRate(const Outcome& outcome, const orb3::Frameworks& frameworks);

}  // namespace tool

#pragma once

// What a block is rendered into. Owned by the server's thread, written by the renderer, read by the decoder.

#include "numeric/bus.h"
#include "numeric/floattuplevector.h"

namespace goal {

/// One block. `spatial` holds (order+1)² channels; the two vectors are the signals of the dedicated outputs,
/// which bypass the decoder's transform. All have the same number of frames.
struct RenderOutput {
    hcml::ac::Bus spatial;
    hcml::FloatTupleVector lowFrequency;
    hcml::FloatTupleVector dialogue;
    bool hasLowFrequency = false;      ///< the output has such a channel
    bool hasDialogue = false;          ///< the output has such a channel
    bool lowFrequencyWritten = false;  ///< cleared at the start of a block, set when an effect first writes
    bool dialogueWritten = false;      ///< as lowFrequencyWritten

    /// Nothing is heard of the block.
    void Silence() {
        spatial.clear();
        lowFrequencyWritten = dialogueWritten = false;
    }
};

}  // namespace goal

#pragma once

// How a weight in the mix gets from what it was at the end of a block to what it is to be: in a line over the
// block, or, where that would be heard as a click, in half a turn of a cosine over 4 ms. One object serves
// all paths of a renderer; read-only once built.

#include <cstdint>
#include <vector>

#include "numeric/floattuplevector.h"

namespace goal {

/// One block of a fade, which rises from 0 before the first frame to 1 at the last.
struct CoursePart {
    const float* course;  ///< one factor for each frame of the block, in whole groups of four
    float share;          ///< of the way that is left, what the block goes of it
};

class FadeCourses {
public:
    /// For blocks of `blockFrames` at `sampleRate` Hz. Throws slib::OutOfMemoryException.
    FadeCourses(double sampleRate, std::uint32_t blockFrames);

    /// Of the same kind as the course of a fade, and to be gone all the way.
    const float* Line() const { return line.data; }

    /// Of a fade of 4 ms its blocks, of which the last gets there.
    std::uint32_t FadeBlocks() const { return static_cast<std::uint32_t>(fade.size()); }
    CoursePart FadePart(std::uint32_t block) const { return {fade[block].course.data, fade[block].share}; }

private:
    struct Part {
        hcml::FloatTupleVector course;
        float share;
    };

    hcml::FloatTupleVector line;
    std::vector<Part> fade;
};

}  // namespace goal

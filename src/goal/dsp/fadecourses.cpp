#include "goal/dsp/fadecourses.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace goal {
namespace {

constexpr double fadeSeconds = 0.004;

// How far a fade of `length` frames has come after `frames`.
double FadeAt(double frames, double length) {
    return frames >= length ? 1 : 0.5 - 0.5 * std::cos(std::numbers::pi * frames / length);
}

}  // namespace

FadeCourses::FadeCourses(double sampleRate, std::uint32_t blockFrames) {
    line.resize(blockFrames);
    line.clear();
    for (std::uint32_t i = 0; i < blockFrames; ++i)
        line.data[i] = static_cast<float>((i + 1.0) / blockFrames);

    const double length = std::max(std::round(sampleRate * fadeSeconds), 1.0);
    const auto blocks = static_cast<std::uint32_t>(std::ceil(length / blockFrames));
    for (std::uint32_t block = 0; block < blocks; ++block) {
        const double first = static_cast<double>(blockFrames) * block;
        const double before = FadeAt(first, length), after = FadeAt(first + blockFrames, length);
        Part part{hcml::FloatTupleVector(blockFrames), static_cast<float>((after - before) / (1 - before))};
        part.course.clear();
        for (std::uint32_t i = 0; i < blockFrames; ++i)
            part.course.data[i] =
                static_cast<float>((FadeAt(first + i + 1, length) - before) / (after - before));
        fade.push_back(std::move(part));
    }
}

}  // namespace goal

#include "tools/demo/levels.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>
#include <memory>

#include "slib/exception.h"

namespace demo {
namespace {

constexpr int stepsPerSecond = 200;
constexpr double onsetShare = 1e-4;  // of the greatest power: the sound has begun
constexpr double heard = 1e-12;      // power of what isn't rounding alone
constexpr double slack = 0.5;        // s that the end may be late in coming

using Powers = std::vector<double>;  // mean squares, one for each channel

// A recording as the power of each channel in short steps.
struct Course {
    std::size_t channels = 0;
    std::vector<Powers> steps;
};

double Sum(const Powers& powers) {
    double sum = 0;
    for (const double power : powers)
        sum += power;
    return sum;
}

Powers MeanSquares(const std::vector<float>& frames, std::size_t count, std::size_t channels) {
    Powers powers(channels);
    for (std::size_t i = 0; i < count * channels; ++i)
        powers[i % channels] += static_cast<double>(frames[i]) * frames[i] / static_cast<double>(count);
    return powers;
}

Course ReadCourse(const std::string& path) {
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_READ, &info),
                                                             &sf_close);
    if (!file)
        throw slib::BadDataException("The recording '" + path + "' can't be read: " + sf_strerror(nullptr) +
                                     " See that its folder can be written to and that the disk isn't full.");
    Course course{static_cast<std::size_t>(info.channels), {}};
    const sf_count_t count = info.samplerate / stepsPerSecond;
    std::vector<float> frames(static_cast<std::size_t>(count) * course.channels);
    while (sf_readf_float(file.get(), frames.data(), count) == count)
        course.steps.push_back(MeanSquares(frames, static_cast<std::size_t>(count), course.channels));
    return course;
}

std::size_t FindOnset(const Course& course, const std::string& path) {
    double greatest = 0;
    for (const Powers& step : course.steps)
        greatest = std::max(greatest, Sum(step));
    if (!(greatest > 0))
        throw slib::BadDataException("All of the recording '" + path +
                                     "' is silent. Look at Gain in 'tessarune-config show', and at what "
                                     "'tessarune-config check' says.");
    const auto onset = std::find_if(course.steps.begin(), course.steps.end(),
                                    [&](const Powers& step) { return Sum(step) >= onsetShare * greatest; });
    return static_cast<std::size_t>(onset - course.steps.begin());
}

std::size_t StepAt(double time) {
    return static_cast<std::size_t>(std::lround(time * stepsPerSecond));
}

Row Measure(const Course& course, const Segment& segment, double offset) {
    const std::size_t last = std::min(StepAt(segment.end + offset), course.steps.size());
    const std::size_t first = std::min(StepAt(segment.start + offset), last);
    Row row{segment.name, Powers(course.channels)};
    for (std::size_t i = first; i < last; ++i)
        for (std::size_t channel = 0; channel < course.channels; ++channel)
            row.levels[channel] += course.steps[i][channel] / static_cast<double>(last - first);
    for (double& level : row.levels)
        level = level < heard ? -std::numeric_limits<double>::infinity() : 10 * std::log10(level);
    return row;
}

// "Front Left" is FL; one word stays.
std::string Short(const std::string& name) {
    if (name.find('(') != std::string::npos) return "LFE";
    if (name.find(' ') == std::string::npos) return name;
    std::string initials;
    for (std::size_t i = 0; i < name.size(); ++i)
        if (i == 0 || name[i - 1] == ' ') initials += name[i];
    return initials;
}

std::string Level(double level, bool isLoudest) {
    char text[32] = "silent ";
    if (std::isfinite(level)) std::snprintf(text, sizeof text, "%.1f%c", level, isLoudest ? '*' : ' ');
    return text;
}

std::string Padded(const std::string& text, std::size_t width, bool isToTheRight) {
    const std::string blanks(width - std::min(width, text.size()), ' ');
    return isToTheRight ? blanks + text : text + blanks;
}

}  // namespace

std::vector<Row> MeasureLevels(const std::string& waveFile, const Played& played) {
    const Course course = ReadCourse(waveFile);
    const double begin = static_cast<double>(FindOnset(course, waveFile)) / stepsPerSecond;
    const double offset = begin - played.onset;
    if (StepAt(played.segments.back().end + offset - slack) > course.steps.size())
        throw slib::BadDataException("The recording '" + waveFile +
                                     "' ends before the scene does. See that the disk isn't full.");
    std::vector<Row> rows;
    for (const Segment& segment : played.segments)
        rows.push_back(Measure(course, segment, offset));
    return rows;
}

void PrintLevels(const std::vector<Row>& rows, const std::vector<std::string>& channels) {
    constexpr std::size_t nameWidth = 30, numberWidth = 9;
    std::string head = Padded("", nameWidth, false);
    for (const std::string& channel : channels)
        head += Padded(Short(channel) + " ", numberWidth, true);
    std::cout << "Level of each channel in dBFS rms, * the loudest:\n" << head << "\n";
    for (const Row& row : rows) {
        const double loudest = *std::max_element(row.levels.begin(), row.levels.end());
        std::string line = Padded(row.name, nameWidth, false);
        for (const double level : row.levels)
            line += Padded(Level(level, level == loudest), numberWidth, true);
        std::cout << line << "\n";
    }
}

}  // namespace demo

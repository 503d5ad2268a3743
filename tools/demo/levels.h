#pragma once

// How loud each channel of a recording is while each stretch of the scene is heard. One thread.

#include <string>
#include <vector>

#include "tools/demo/scene.h"

namespace demo {

/// Levels in dBFS rms, one for each channel, of one stretch. Where nothing is heard it is minus infinity.
struct Row {
    std::string name;
    std::vector<double> levels;
};

/// Measures the recording in `waveFile`, which begins in the silence before `played`. Throws
/// slib::BadDataException when it can't be read, is silent, or ends too early.
std::vector<Row> MeasureLevels(const std::string& waveFile, const Played& played);

/// A table on standard output, the loudest channel of each row marked. `channels` has their names.
void PrintLevels(const std::vector<Row>& rows, const std::vector<std::string>& channels);

}  // namespace demo

#pragma once

// A log that keeps its lines, for tests of what is written to one.

#include <string>

#include "slib/log.h"

namespace testing_support {

class RecordingLog : public slib::Log {
public:
    void Write(const std::string& text, bool isError) override { lines += (isError ? "E:" : "I:") + text; }
    std::string lines;
};

}  // namespace testing_support

#pragma once

// A log that keeps its lines, for tests of what is written to one.

#include <string>

#include "slib/log.h"
#include "slib/mutex.h"

namespace testing_support {

class RecordingLog : public slib::Log {
public:
    void Write(const std::string& text, bool isError) override {
        const slib::Lock lock(mutex);
        lines += (isError ? "E:" : "I:") + text;
    }
    bool Has(const std::string& text) const {
        const slib::Lock lock(mutex);
        return lines.find(text) != std::string::npos;
    }
    /// For a log that another thread may write to.
    std::string Lines() const {
        const slib::Lock lock(mutex);
        return lines;
    }
    std::string lines;  ///< while nobody writes

private:
    mutable slib::Mutex mutex;
};

}  // namespace testing_support

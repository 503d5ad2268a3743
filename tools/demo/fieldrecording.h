#pragma once

// Asks the library in this process to record its sound field, as 'tessarune-config record' asks that of a
// game. On the main thread, before the context is made.

#include <filesystem>
#include <string>

namespace demo {

class FieldRecording {
public:
    /// For contexts that are made from now on; `path` ends in ".wav" or ".caf". Throws tool::WrongUse for
    /// another name, slib::BadStateException where there is no folder for it.
    explicit FieldRecording(const std::string& path);
    /// What was asked for holds no longer; a recording that runs goes on until its context ends.
    ~FieldRecording();
    FieldRecording(const FieldRecording&) = delete;
    FieldRecording& operator=(const FieldRecording&) = delete;

private:
    std::filesystem::path request;
};

}  // namespace demo

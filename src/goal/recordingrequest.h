#pragma once

// What a person asks a running game to record, in a file beside its status page that the monitor looks at
// (goal/statusfiles.h). Plain data and functions; any thread.

#include <cstdint>
#include <optional>
#include <string>

namespace goal {

struct RecordingRequest {
    enum class What {
        Field,   ///< the spatial bus, as AmbiX
        Output,  ///< what goes to the speakers or headphones
        Both,    ///< the field into the file, the output into one with "-output" behind its name
    };

    std::uint64_t number = 0;     ///< another one for each request
    std::int32_t pid = 0;         ///< of the game, in its own space of process numbers
    std::uint64_t startTime = 0;  ///< of that process, see platform/processid.h
    What what = What::Field;
    std::string path;  ///< a full one, that ends in ".wav" or ".caf"

    bool operator==(const RecordingRequest&) const = default;

    bool HasField() const { return what != What::Output; }
    bool HasOutput() const { return what != What::Field; }
    std::string FieldPath() const { return path; }
    std::string OutputPath() const;
};

/// As it is written.
std::string RequestText(const RecordingRequest& request);
/// Nothing for what is no request, or names no file that can be made.
std::optional<RecordingRequest> ParseRequest(const std::string& text);

/// What this process is asked for: what is there for one that had its number before doesn't count, and
/// nothing does in a program with more rights than its caller.
std::optional<RecordingRequest> FindRequest();

}  // namespace goal

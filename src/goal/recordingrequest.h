#pragma once

// What a person asks a running game to record, as a value of the user's store that the monitor looks at.
// Plain data and functions; any thread.

#include <cstdint>
#include <optional>
#include <string>

namespace goal {

/// The key in the user's store; nothing there while nothing is to be recorded.
inline constexpr const char* recordingKey = "/Recording";

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

/// As it is stored.
std::string RequestText(const RecordingRequest& request);
/// Nothing for what is no request, or names no file that can be made.
std::optional<RecordingRequest> ParseRequest(const std::string& text);

}  // namespace goal

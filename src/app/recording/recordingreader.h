#pragma once

// Reads a recording, record by record, as far as it goes: a file that was cut off is read up to there. It
// trusts no file: what is allocated is held against what the stream can hold. For the replayer and what tells
// of recordings; one thread.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <istream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/recording/records.h"

namespace recording {

/// One call, with the samples that came before it.
struct RecordedCall {
    std::size_t index = 0;  ///< of the row in `calls`
    std::int64_t time = 0;  ///< microseconds since the recording began
    std::uint64_t thread = 0;
    std::string content;  ///< for DecodeCall
};

class RecordingReader {
public:
    /// `stream` is at its begin, can be sought in, and outlives this object. Throws slib::BadDataException
    /// for what is no recording, or one of a later version.
    explicit RecordingReader(std::istream& stream);

    /// Reads up to the next call that the table knows. False at the end, also one where the file was cut.
    /// Throws slib::BadDataException for a damaged file, with the place; all before it holds.
    bool Next(RecordedCall& call);

    /// Those read so far, by their numbers.
    struct SampleData {
        std::string bytes;        ///< of the first of their kind
        std::size_t content = 0;  ///< the number of that one
    };
    /// Null for a number that nothing has yet.
    const std::string* FindSamples(std::uint64_t number) const;

    std::deque<SampleData> samples;  ///< each stays where it is
    std::map<std::string, std::string> notes;
    std::map<std::string, std::uint64_t> unknown;  ///< functions that the table doesn't know, and their calls
    std::optional<Reason> stopped;
    std::optional<std::uint64_t> missing;  ///< calls; no value where the end of the recording is missing

private:
    struct Function {
        std::string name;
        std::optional<std::size_t> index;
    };

    std::optional<std::uint64_t> Number();
    bool TakeRecord(std::uint64_t& tag);
    void TakeNews(std::uint64_t tag);
    bool TakeCall(std::uint64_t tag, RecordedCall& call);

    std::istream& stream;
    std::uint64_t left = 0;  // bytes of the file
    std::string content;     // of the record
    std::vector<Function> functions;
    std::int64_t time = 0;
    std::uint64_t thread = 0;
};

/// How a recording ended, and what is missing: whole sentences, of what the reader has after the last call.
std::string ExplainEnd(const std::optional<Reason>& stopped, const std::optional<std::uint64_t>& missing);

}  // namespace recording

#include "app/recording/recordingreader.h"

#include <limits>
#include <utility>

#include "app/recording/calltable.h"
#include "slib/exception.h"

namespace recording {
namespace {

constexpr std::size_t mostFunctions = 4096;
constexpr std::int64_t longest = std::int64_t{366} * 24 * 3600 * 1'000'000;  // microseconds

}  // namespace

RecordingReader::RecordingReader(std::istream& stream) : stream(stream) {
    stream.seekg(0, std::ios::end);
    const std::streamoff size = stream.tellg();
    stream.seekg(0);
    left = size > 0 ? static_cast<std::uint64_t>(size) : 0;
    std::string begin(magic.size(), '\0');
    stream.read(begin.data(), static_cast<std::streamsize>(begin.size()));
    if (!stream || begin != magic)
        throw slib::BadDataException(
            "This is no recording of calls. 'tessarune-run --record FILE PROGRAM' makes one.");
    left -= magic.size();
    const auto number = Number();
    if (number > version)
        throw slib::BadDataException("The recording is of version " + std::to_string(*number) +
                                     ", and this program knows version " + std::to_string(version) +
                                     " at most. Use that of the library that recorded it.");
}

// Nothing where the file ends.
std::optional<std::uint64_t> RecordingReader::Number() {
    std::string bytes;
    for (;;) {
        const int byte = left > 0 ? stream.get() : std::istream::traits_type::eof();
        if (byte == std::istream::traits_type::eof()) return std::nullopt;
        --left;
        bytes += static_cast<char>(byte);
        if (byte < 0x80 || bytes.size() > 10) return ByteReader(bytes).Number();
    }
}

// False at the end of the file, and where a record was cut off.
bool RecordingReader::TakeRecord(std::uint64_t& tag) {
    const auto read = Number();
    const auto length = read ? Number() : std::nullopt;
    if (!length || *length > left) return false;
    tag = *read;
    content.resize(static_cast<std::size_t>(*length));
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    left -= *length;
    return static_cast<bool>(stream);
}

bool RecordingReader::Next(RecordedCall& call) {
    const auto place = [&] { return static_cast<std::uint64_t>(stream.tellg()); };
    std::uint64_t tag = 0;
    for (std::uint64_t begin = place(); TakeRecord(tag); begin = place())
        try {
            if (tag < firstCall)
                TakeNews(tag);
            else if (TakeCall(tag - firstCall, call))
                return true;
        } catch (const slib::BadDataException& failure) {
            throw slib::BadDataException("The recording is damaged at byte " + std::to_string(begin) + ": " +
                                         failure.what());
        }
    return false;
}

void RecordingReader::TakeNews(std::uint64_t tag) {
    ByteReader reader(content);
    switch (static_cast<Tag>(tag)) {
        case Tag::End:
            missing = reader.Number();
            left = 0;  // what follows is of a write that failed
            break;
        case Tag::Stopped:
            stopped = static_cast<Reason>(reader.Number());
            break;
        case Tag::Function:
            if (functions.size() == mostFunctions)
                throw slib::BadDataException("It names more functions than there may be.");
            functions.push_back({content, FindCall(content)});
            break;
        case Tag::Note: {
            const std::string name(reader.Text());
            notes[name] = reader.Text();
            break;
        }
        case Tag::Thread:
            thread = reader.Number();
            break;
        case Tag::Samples:
            samples.push_back({std::exchange(content, {}), samples.size()});
            break;
        case Tag::Same: {
            const std::uint64_t number = reader.Number();
            if (number >= samples.size())
                throw slib::BadDataException("It refers to samples that come later.");
            samples.push_back({{}, samples[static_cast<std::size_t>(number)].content});
            break;
        }
    }
}

// False for one that isn't in the table.
bool RecordingReader::TakeCall(std::uint64_t number, RecordedCall& call) {
    if (number >= functions.size()) throw slib::BadDataException("It calls a function that has no name.");
    ByteReader reader(content);
    const std::uint64_t passed = reader.Number();
    if (passed > static_cast<std::uint64_t>(longest - time))
        throw slib::BadDataException("Its time is beyond a year.");
    time += static_cast<std::int64_t>(passed);
    const Function& function = functions[static_cast<std::size_t>(number)];
    if (!function.index) {
        ++unknown[function.name];
        return false;
    }
    call = {*function.index, time, thread, std::string(reader.Bytes(reader.Left()))};
    return true;
}

std::string ExplainEnd(const std::optional<Reason>& stopped, const std::optional<std::uint64_t>& missing) {
    const std::string why = stopped ? Explain(*stopped) + " " : "";
    if (!missing) return why + "It has no end: the program was ended, or still runs.";
    if (*missing == 0) return why + "It is complete.";
    return why + std::to_string(*missing) + (*missing == 1 ? " call is missing." : " calls are missing.");
}

const std::string* RecordingReader::FindSamples(std::uint64_t number) const {
    if (number >= samples.size()) return nullptr;
    return &samples[samples[static_cast<std::size_t>(number)].content].bytes;
}

}  // namespace recording

#pragma once

// The records that a recording consists of. A file is `magic`, the version, and records up to its end:
//
//     tag, length, content       all numbers as in bytes.h
//
//     Function    name: the next function has the number of those before, and its calls the tag
//                 `firstCall` and that number
//     Note        name, value: what was recorded, by whom
//     Thread      number: what follows was called by that thread; the first is 0
//     Samples     the next samples have the number of those before; their bytes follow
//     Same        number: the next samples are those, whose number is lower
//     Stopped     Reason: nothing more was recorded
//     End         the number of calls that are missing: the program ended, or unloaded the library
//     a call      microseconds since the call before, and what app/recording/decodedcall.h says
//
// The time is that of the call's end, since that order is the one in which the library took them. A reader
// passes over records that it doesn't know. A file without an End is of a program that was ended, and may be
// cut anywhere.

#include <cstdint>
#include <string>
#include <string_view>

#include "app/recording/bytes.h"

namespace recording {

inline constexpr std::string_view magic = "TESSARUNE CALLS\n";
inline constexpr std::uint64_t version = 1;

enum class Tag : std::uint64_t { End, Stopped, Function, Note, Thread, Samples, Same };
inline constexpr std::uint64_t firstCall = 16;

/// Why a recording stopped before the program ended.
enum class Reason : std::uint64_t {
    Limit,   ///< it was as long as it may be
    Queue,   ///< the disk was too slow
    Disk,    ///< the disk was full, or the file was closed
    Memory,  ///< there was no memory left
};

/// A whole sentence for people.
std::string Explain(Reason reason);

/// Appends a record.
void AppendRecord(std::string& file, std::uint64_t tag, std::string_view content);
inline void AppendRecord(std::string& file, Tag tag, std::string_view content) {
    AppendRecord(file, static_cast<std::uint64_t>(tag), content);
}

/// The first bytes of a file.
std::string Beginning();

}  // namespace recording

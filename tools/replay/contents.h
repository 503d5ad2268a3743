#pragma once

// What is in a recording, told without playing it. For the program that plays; one thread.

#include <cstdint>
#include <istream>
#include <map>
#include <set>
#include <string>

#include "app/recording/recordingreader.h"
#include "tools/support/json.h"

namespace replay {

/// Of one format and rate.
struct SampleCount {
    std::uint64_t buffers = 0;  ///< that got such samples
    std::uint64_t bytes = 0;
};

struct Contents {
    std::map<std::string, std::string> notes;  ///< "program", "version"
    double seconds = 0;                        ///< up to the last call
    std::uint64_t calls = 0;
    std::set<std::uint64_t> threads;
    std::map<std::string, std::uint64_t> callsByName;
    std::map<std::string, std::uint64_t> made;  ///< "Sources", "Buffers" ..., and how many
    std::uint64_t contexts = 0;
    std::map<std::string, SampleCount> samples;  ///< by format and rate: "0x1101 44100 Hz"
    std::uint64_t distinctBytes = 0;             ///< of samples, each once
    std::set<std::string> asked;                 ///< extensions, functions and tokens asked for by name
    std::string damage;                          ///< why it couldn't be read to its end; empty when it was
    std::optional<recording::Reason> stopped;
    std::optional<std::uint64_t> missing;
};

/// Throws slib::BadDataException for what is no recording.
Contents ReadContents(std::istream& stream);

/// How it ended, and what is missing: whole sentences.
std::string EndOf(const Contents& contents);

void Print(const Contents& contents);
tool::Json ToJson(const Contents& contents);

}  // namespace replay

#pragma once

// What a person meant by a word that is almost right: names by their beginnings, the nearest names, and
// numbers as people write them. Plain functions; any thread.

#include <optional>
#include <string>
#include <vector>

namespace tool {

/// The index of the name that is meant where there is no doubt: the one that is `word`, else the one that has
/// its letters and digits, in whatever case, else the only one that begins or ends with them ("head" is
/// "Headphone Stereo", "5.1" is "Surround 5.1"). Plurals are taken as well.
[[nodiscard]] std::optional<std::size_t> FindMeant(const std::vector<std::string>& names,
                                                   const std::string& word);

/// Names that have `word` in them or are a slip or two away from it, the nearest first; three at most.
std::vector<std::string> NearestNames(const std::vector<std::string>& names, const std::string& word);

/// " Did you mean 'Quad' or 'Quiet'?", behind another sentence; empty where nothing is near.
std::string DidYouMean(const std::vector<std::string>& names, const std::string& word);

/// "Quad, Stereo or Mono", as words that may be said.
std::string Alternatives(const std::vector<std::string>& names);

/// The number with a point in place of a decimal comma. A comma that may as well part thousands ("1,000")
/// stays.
std::string WithDecimalPoint(const std::string& number);

/// A linear gain, of a number or of decibels: "0.5", "0,5", "-6dB", "-6 dB". Nothing for what is no such.
[[nodiscard]] std::optional<double> ParseGain(const std::string& text);

}  // namespace tool

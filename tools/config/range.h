#pragma once

// What a setting may be. Plain values; one thread.

#include <string>
#include <vector>

namespace tool {

struct Range {
    enum class Kind {
        Choice,  ///< one of `choices`
        Whole,   ///< a whole number from `least` to `greatest`
        Real,    ///< a number from `least` up
        Path,    ///< of a file in a folder that exists, or nothing
    };

    Kind kind = Kind::Choice;
    std::vector<std::string> choices;
    int least = 0;
    int greatest = 0;

    /// For people: "1 to 4".
    std::string Text() const;

    /// The one way in which `text` is stored. Throws slib::BadParameterException, with a text like "it has to
    /// be 1 to 4", for what isn't in the range.
    std::string Canonical(const std::string& text) const;
};

/// "True" or "False"; other words that mean the same are taken as well.
Range Flag();
/// Words, in whatever case.
Range Choice(std::vector<std::string> choices);
Range Whole(int least, int greatest);
Range RealFrom(int least);
Range FilePath();

}  // namespace tool

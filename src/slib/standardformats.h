#pragma once

// The short list of speaker layouts that an operating system can name, with their texts and output channels.
// The texts are part of stored documents. Used by layout selection, the output devices and the format
// library, at set-up only; no state.

#include <string>
#include <string_view>
#include <vector>

namespace slib {

/// The values are those that an output device reports as its speaker setting.
enum class StandardFormat {
    Unknown = 0,
    Mono = 1,
    Stereo = 2,
    HeadphoneStereo = 3,
    SurroundStereo = 4,
    Quad = 5,
    Surround51 = 6,
    Surround51ITU = 7,  ///< 5.1 with side instead of back speakers.
    Surround71 = 8,
    Surround71Wide = 9,  ///< 7.1 with two more front speakers instead of side speakers.
};

/// The text of a format, such as "Surround 5.1 (ITU)". A value outside the enumeration is an integrity
/// failure.
std::string GetStandardFormatName(StandardFormat format);

/// The format with exactly this text. Throws BadDataException when there is none.
StandardFormat ParseStandardFormat(std::string_view text);

/// The names of the output channels, in the device's order. Throws BadDataException for Unknown; a value
/// outside the enumeration is an integrity failure.
std::vector<std::string> GetStandardChannelNames(StandardFormat format);

}  // namespace slib

#pragma once

// The user's own heads and headphones: how they come into his format library and into force, and go again.
// For the commands and the page; one thread.

#include <cstddef>
#include <string>

#include "tools/manage/report.h"

namespace tool {

/// What a person gives of a new head.
struct HeadFile {
    std::string path;  ///< of the measurement, a SOFA file
    std::string name;
    /// Around the head, in metres, whose delays it gets; 0 to leave them as they were measured.
    double circumference = 0;
};

/// A length in metres, from a text with its unit: "57cm", "570 mm", "22.4in". Throws WrongUse, which begins
/// with `what`, for what isn't that of a head.
double ParseCircumference(const std::string& text, const std::string& what);

/// Designs the decoders of a head and stores them in the user's library. Returns the number of directions
/// that it was measured in. Throws what reading it and the design throw, and `report`; then nothing was
/// stored.
std::size_t AddHead(const HeadFile& head, const StepReport& report);

/// What changed for headphones.
struct HeadphoneChange {
    std::string name;  ///< of the head or the headphones, as the library spells it
    std::string note;  ///< a sentence where headphones aren't what is heard; else empty
};

/// Lets headphones play by a head. All of these take a name or a tag, and throw WrongUse for what there
/// isn't.
HeadphoneChange UseHead(const std::string& name);
HeadphoneChange RemoveHead(const std::string& name);

/// Adds a pair of headphones by the file of its correction.
void AddHeadphones(const std::string& path, const std::string& name);
HeadphoneChange UseHeadphones(const std::string& name);
/// The sound is evened for none. The note, as above.
std::string SwitchHeadphonesOff();
HeadphoneChange RemoveHeadphones(const std::string& name);

}  // namespace tool

#pragma once

// What a user adds for himself: heads, headphones and rooms, in his own library over the system's
// (orb3::fl::LayeredLibrarian). Called by the programs that change it, which commit; on one thread.
//
// A head is a method that decodes for headphones. A pair of headphones is an equaliser, a private conversion
// from the format of headphones to itself; a decoder followed by it is a composite conversion, by a method of
// its own with both names. There is one for each decoder, the system's too, and each pair of headphones.

#include <string>
#include <vector>

#include "library/headphoneequaliser.h"
#include "library/libraryassembly.h"
#include "orb3core/library/formatlibrarian.h"
#include "orb3core/library/layeredlibrarian.h"

namespace design {

/// The tag of the format of headphones.
std::string HeadphoneFormatTag();

/// A method that decodes for headphones, by the tag that settings name, or a pair of headphones.
struct OwnEntry {
    std::string tag;
    std::string name;  ///< as the user gave it, or as the library has it
    std::string writeup;
    bool isOwn = true;  ///< else the system's
};

/// All heads that decode for headphones, the system's ways first; those with headphones left out.
std::vector<OwnEntry> ListHeads(const orb3::fl::FormatLibrarian& library);
std::vector<OwnEntry> ListHeadphones(const orb3::fl::FormatLibrarian& library);

/// A method for headphones taken apart: the tags of its head, and of its headphones, empty for none.
struct HeadChoice {
    std::string head, headphones;
};
HeadChoice ChoiceOf(const std::string& method);
/// The inverse.
std::string MethodOf(const HeadChoice& choice);

/// The tag that a new head of this name would have. Throws slib::BadDataException for a name that has none,
/// or one that is taken.
std::string NewHeadTag(const std::string& name, const orb3::fl::FormatLibrarian& library);
std::string NewHeadphonesTag(const std::string& name, const orb3::fl::FormatLibrarian& library);

/// Adds the decoders of a head at the rates of the library, and their composites with all headphones. The
/// text is made from `name` and `head`.
void AddOwnHead(AddedHead head, const std::string& name, orb3::fl::FormatRegistrar& library);

/// Adds a pair of headphones at the rates of the library (44.1 and 48 kHz where it has none), for all heads.
void AddOwnHeadphones(const HeadphoneCorrection& correction, const std::string& name,
                      const std::string& writeup, orb3::fl::FormatRegistrar& library);

/// Takes away a head or headphones of the user's, by the tag, with all that was made with it.
void RemoveOwn(const std::string& tag, orb3::fl::FormatRegistrar& library);

/// Takes away a room of the user's, by the tag of its format. False when the user has none of that tag.
bool RemoveOwnRoom(const std::string& format, orb3::fl::LayeredLibrarian& library);

}  // namespace design

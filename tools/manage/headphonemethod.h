#pragma once

// What plays on headphones: the head and the headphones that the stored layout of headphones decodes by, and
// the change of them. For the commands of both; one thread.

#include <functional>
#include <string>
#include <vector>

#include "library/ownlibrary.h"
#include "orb3core/library/formatlibrarian.h"
#include "orb3core/settings/configuration.h"

namespace tool {

/// What the stored layout of headphones decodes by, the last if there are several; nothing where none is
/// stored.
design::HeadChoice StoredChoice(const orb3::Configuration& configuration);

/// The entry that a person means: by its name, or its tag with or without what stands before or behind the
/// name in it ("measured" for "measuredhead"). `what` is "head" or "pair of headphones". Throws WrongUse,
/// which lists those there are.
const design::OwnEntry& FindEntry(const std::vector<design::OwnEntry>& entries, const std::string& name,
                                  const std::string& what);

/// Changes what the stored layouts of headphones decode by. Where there are none, one is made, on the default
/// device, if `makesLayout`. Where headphones aren't what is heard, the sentence that says so, else nothing.
/// Throws what changing the document throws.
std::string ChangeChoice(const orb3::fl::FormatLibrarian& library,
                         const std::function<void(design::HeadChoice& choice)>& change, bool makesLayout);

/// The tag of the system's head that a start would choose.
std::string SystemsHead(const orb3::fl::FormatLibrarian& library);

}  // namespace tool

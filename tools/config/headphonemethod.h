#pragma once

// What plays on headphones: the head and the headphones that the stored layout of headphones decodes by, and
// the change of them. For the commands of both; one thread.

#include <functional>
#include <string>
#include <vector>

#include "library/ownlibrary.h"
#include "orb3core/library/formatlibrarian.h"
#include "orb3core/settings/configuration.h"
#include "tools/support/table.h"

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
/// device, if `makesLayout`. Says where headphones aren't what is heard. Throws what changing the document
/// throws.
void ChangeChoice(const orb3::fl::FormatLibrarian& library,
                  const std::function<void(design::HeadChoice& choice)>& change, bool makesLayout);

/// The tag of the system's head that a start would choose.
std::string SystemsHead(const orb3::fl::FormatLibrarian& library);

/// The entries, the one in use marked, with the columns "is_used", "name", "method", "is_own" and
/// "description".
Table Entries(const std::string& title, const std::vector<design::OwnEntry>& entries,
              const std::string& used);

}  // namespace tool

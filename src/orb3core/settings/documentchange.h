#pragma once

// How the configuration document in the store is replaced: a text there that isn't a document any more, such
// as one that was edited by hand, is kept first. For the server and the programs; plain functions.

#include <string>

#include "orb3core/store/configstore.h"

namespace orb3 {

/// What a log says when a document was kept.
inline constexpr const char* keptText =
    "The stored configuration couldn't be used and was replaced. It is kept: 'tessarune-config restore' puts "
    "it back.";

/// Stores `text` as the document. True when the one before couldn't be used; it is then stored under
/// keptConfigurationKey.
bool ReplaceDocument(OpenStore& store, const std::string& text);

/// Exchanges the document and the one that was kept, whatever they are. False when none was kept, and then
/// nothing changes.
bool RestoreDocument(OpenStore& store);

}  // namespace orb3

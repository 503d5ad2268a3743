#pragma once

// The extensions that the library names to a game. Called by alGetString, alcGetString and the two calls that
// ask for one extension, on any thread.

#include <span>
#include <string_view>

namespace goal {

/// A fixed list of extensions. All of it is static memory.
struct ExtensionList {
    std::span<const std::string_view> names;  ///< in alphabetical order
    const char* text;                         ///< the same names with one blank between them, NUL-terminated

    /// True when the list has `name`, upper and lower case being the same.
    bool contains(std::string_view name) const;
};

/// The text of AL_EXTENSIONS: 14 names.
const ExtensionList& AlExtensions();

/// The text of ALC_EXTENSIONS: 7 names, and an eighth where each thread may have a context of its own.
const ExtensionList& AlcExtensions(bool withThreadContexts);

}  // namespace goal

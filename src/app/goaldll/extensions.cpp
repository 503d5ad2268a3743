#include "app/goaldll/extensions.h"

#include <array>
#include <cstddef>

#include "app/goaldll/nametable.h"
#include "app/goaldll/threadcontexts.h"

namespace goal {
namespace {

constexpr std::string_view alNames[] = {
    "AL_EXT_BFORMAT",       "AL_EXT_DOUBLE",        "AL_EXT_EXPONENT_DISTANCE", "AL_EXT_FLOAT32",
    "AL_EXT_FOLDBACK",      "AL_EXT_IMA4",          "AL_EXT_LINEAR_DISTANCE",   "AL_EXT_MCFORMATS",
    "AL_EXT_MULAW",         "AL_EXT_MULAW_BFORMAT", "AL_EXT_MULAW_MCFORMATS",   "AL_EXT_OFFSET",
    "AL_EXT_SOURCE_RADIUS", "AL_EXT_STEREO_ANGLES",
};

constexpr std::string_view alcNames[] = {
    "ALC_ENUMERATE_ALL_EXT",        "ALC_ENUMERATION_EXT", "ALC_EXT_CAPTURE",       "ALC_EXT_DEDICATED",
    "ALC_EXT_DEFAULT_FILTER_ORDER", "ALC_EXT_EFX",         "ALC_EXT_STATIC_BUFFER",
};

constexpr std::string_view alcNamesWithThreadContexts[] = {
    "ALC_ENUMERATE_ALL_EXT",        "ALC_ENUMERATION_EXT", "ALC_EXT_CAPTURE",       "ALC_EXT_DEDICATED",
    "ALC_EXT_DEFAULT_FILTER_ORDER", "ALC_EXT_EFX",         "ALC_EXT_STATIC_BUFFER", threadContextsName,
};

// The characters of all names, each with one more for the blank or the NUL after it.
constexpr std::size_t TextSize(std::span<const std::string_view> names) {
    std::size_t size = 0;
    for (std::string_view name : names)
        size += name.size() + 1;
    return size;
}

template <std::size_t size>
constexpr std::array<char, size> Join(std::span<const std::string_view> names) {
    std::array<char, size> text{};
    std::size_t end = 0;
    for (std::string_view name : names) {
        for (char letter : name)
            text[end++] = letter;
        text[end++] = ' ';
    }
    text[size - 1] = '\0';
    return text;
}

// Joined by the compiler, so that the texts outlive every static object of the process.
constexpr auto alText = Join<TextSize(alNames)>(alNames);
constexpr auto alcText = Join<TextSize(alcNames)>(alcNames);
constexpr auto alcTextWithThreadContexts =
    Join<TextSize(alcNamesWithThreadContexts)>(alcNamesWithThreadContexts);

constexpr ExtensionList alExtensions{alNames, alText.data()};
constexpr ExtensionList alcExtensions{alcNames, alcText.data()};
constexpr ExtensionList alcExtensionsWithThreadContexts{alcNamesWithThreadContexts,
                                                        alcTextWithThreadContexts.data()};

}  // namespace

bool ExtensionList::contains(std::string_view name) const {
    return ContainsIgnoringCase(names, name);
}

const ExtensionList& AlExtensions() {
    return alExtensions;
}

const ExtensionList& AlcExtensions(bool withThreadContexts) {
    return withThreadContexts ? alcExtensionsWithThreadContexts : alcExtensions;
}

}  // namespace goal

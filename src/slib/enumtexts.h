#pragma once

// The texts of an enumeration whose values count from 0: one table that both readers and writers of documents
// use. A constant; usable from any thread.

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "slib/exception.h"
#include "slib/text.h"

namespace slib {

/// `texts[i]` is the text of the value i.
template <typename Enum, std::size_t count>
struct EnumTexts {
    std::array<std::string_view, count> texts;

    /// True for a value of the enumeration.
    [[nodiscard]] constexpr bool Has(Enum value) const { return static_cast<std::size_t>(value) < count; }

    /// A value outside the enumeration is an integrity failure, at the caller's line.
    [[nodiscard]] std::string TextOf(Enum value,
                                     const SourceLocation& where = SourceLocation::Current()) const {
        if (!Has(value)) ThrowUnreachable(where);
        return std::string(texts[static_cast<std::size_t>(value)]);
    }

    /// The value with exactly this text, if there is one.
    [[nodiscard]] std::optional<Enum> Find(std::string_view text) const {
        return ValueAt(std::ranges::find(texts, text));
    }

    /// The same, in whatever case of the letters A to Z.
    [[nodiscard]] std::optional<Enum> FindIgnoringCase(std::string_view text) const {
        return ValueAt(std::ranges::find_if(
            texts, [text](std::string_view own) { return EqualIgnoringCase(own, text); }));
    }

private:
    [[nodiscard]] std::optional<Enum> ValueAt(const std::string_view* found) const {
        if (found == texts.end()) return std::nullopt;
        return static_cast<Enum>(found - texts.begin());
    }
};

/// The table of an enumeration, in the order of its values.
template <typename Enum, typename... Texts>
constexpr EnumTexts<Enum, sizeof...(Texts)> MakeEnumTexts(Texts... texts) {
    return {{texts...}};
}

}  // namespace slib

#include "app/goaldll/nametable.h"

#include <algorithm>

namespace goal {
namespace {

char LowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, LowerCase, LowerCase);
}

bool ContainsIgnoringCase(std::span<const std::string_view> names, std::string_view name) {
    return std::ranges::any_of(names, [&](std::string_view known) { return EqualIgnoringCase(known, name); });
}

}  // namespace goal

#include "app/goaldll/nametable.h"

#include <algorithm>

#include "slib/text.h"

namespace goal {

bool ContainsIgnoringCase(std::span<const std::string_view> names, std::string_view name) {
    return std::ranges::any_of(names,
                               [&](std::string_view known) { return slib::EqualIgnoringCase(known, name); });
}

}  // namespace goal

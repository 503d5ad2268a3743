#include "orb3core/speakers/standardchannels.h"

#include "slib/text.h"

namespace orb3 {

bool NamesMatch(std::string_view a, std::string_view b) {
    return slib::sameIgnoringSpaceAndParentheses(a, b);
}

}  // namespace orb3

#include "pipe/alphanumeric.h"

#include <algorithm>
#include <iterator>

namespace audiopipe {
namespace {

bool IsAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

}  // namespace

std::string KeepAlphanumeric(std::string_view text) {
    std::string kept;
    std::copy_if(text.begin(), text.end(), std::back_inserter(kept), IsAlphanumeric);
    return kept;
}

}  // namespace audiopipe

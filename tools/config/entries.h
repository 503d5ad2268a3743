#pragma once

// The lists of heads and of headphones. For the commands of both; one thread.

#include <string>
#include <vector>

#include "library/ownlibrary.h"
#include "tools/support/table.h"

namespace tool {

/// The entries, the one in use marked, with the columns "is_used", "name", "method", "is_own" and
/// "description".
Table Entries(const std::string& title, const std::vector<design::OwnEntry>& entries,
              const std::string& used);

}  // namespace tool

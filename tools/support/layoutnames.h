#pragma once

// The layouts of speakers that have names everywhere. Any thread.

#include <string>
#include <vector>

namespace tool {

/// "Mono", "Stereo" ... as the format library and devices name them.
std::vector<std::string> StandardLayoutNames();

}  // namespace tool

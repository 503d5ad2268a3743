#include "tools/support/layoutnames.h"

#include "slib/standardformats.h"

namespace tool {

std::vector<std::string> StandardLayoutNames() {
    using slib::StandardFormat;
    std::vector<std::string> names;
    for (int i = 1; i <= static_cast<int>(StandardFormat::Surround71Wide); ++i)
        names.push_back(slib::GetStandardFormatName(static_cast<StandardFormat>(i)));
    return names;
}

}  // namespace tool

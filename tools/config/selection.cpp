#include "tools/config/selection.h"

#include <iostream>

#include "tools/config/warnings.h"
#include "tools/manage/connection.h"

namespace tool {

void PrintSelection(const orb3::spk::Layout& layout) {
    std::cout << "'" << layout.format << "' on '" << layout.pipeDevice << "' by the method '" << layout.method
              << "' is now in force, whatever the system's speakers are. 'tessarune-config select --auto' "
                 "follows them again.\n";
    PrintWarnings(BassWarnings(layout));
}

}  // namespace tool

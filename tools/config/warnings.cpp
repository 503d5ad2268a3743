#include "tools/config/warnings.h"

#include <iostream>

namespace tool {

void PrintWarnings(const std::vector<std::string>& warnings) {
    for (const std::string& warning : warnings)
        std::cout << "Warning: " << warning << "\n";
}

void PrintNote(const std::string& note) {
    if (!note.empty()) std::cout << note << "\n";
}

}  // namespace tool

#include "tools/support/json.h"

#include <iostream>

namespace tool {

CLI::Option* AddJsonFlag(CLI::App& command, bool& isJson) {
    return command.add_flag("--json", isJson, "Print as JSON, for programs");
}

void PrintJson(const Json& document) {
    std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

}  // namespace tool

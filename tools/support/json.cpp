#include "tools/support/json.h"

#include <iostream>

#include "tools/support/program.h"

namespace tool {

Option* AddJsonFlag(CommandLine& command, bool& isJson) {
    return command.AddFlag("--json", isJson, "Print as JSON, for programs");
}

void PrintJson(const Json& document) {
    std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

}  // namespace tool

#pragma once

// What the programs print for other programs (`--json`): one document, and nothing else, on standard output.
// One thread.

#include <nlohmann/json.hpp>

namespace tool {

class CommandLine;
class Option;

/// Members keep the order in which they are added.
using Json = nlohmann::ordered_json;

/// Adds `--json`, which sets `isJson`.
Option* AddJsonFlag(CommandLine& command, bool& isJson);

/// On standard output. Bytes that are no UTF-8 are replaced.
void PrintJson(const Json& document);

}  // namespace tool

#pragma once

// Names of a server's outputs: for people, so that no two look the same, and for what is stored of one
// output. Plain functions; any thread.

#include <string>
#include <vector>

#include "platform/serverconnection.h"

namespace platform {

/// The description with the server's own name behind it, "USB Audio (usb-2)", unless it ends so already.
std::string FullName(const std::string& description, const std::string& identifier);

/// Gives outputs of one description their full names, but for the first by the server's own names: whatever
/// the order in which the server lists them, each keeps its name.
void TellApart(std::vector<ServerOutput>& outputs);

/// Letters and digits of the full name: by them what is stored of one output is found.
std::string OutputKey(const std::string& description, const std::string& identifier);

}  // namespace platform

#pragma once

// Names of a server's outputs: for people, so that no two look the same, and for what is stored of one
// output. Plain functions; any thread.

#include <string>
#include <vector>

#include "platform/serverconnection.h"

namespace platform {

/// The description with the server's own name behind it, "USB Audio (usb-2)", unless it ends so already.
std::string FullName(const std::string& description, const std::string& identifier);

/// The description alone, of one that ends so.
std::string PlainName(const std::string& description, const std::string& identifier);

/// Gives outputs of one description their full names, whatever the order in which the server lists them.
void TellApart(std::vector<ServerOutput>& outputs);

/// Letters and digits of the full name: by them what is stored of one output is found.
std::string OutputKey(const std::string& description, const std::string& identifier);

}  // namespace platform

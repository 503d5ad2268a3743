#pragma once

// The page docs/settings.md, for the command that prints it. One thread.

#include <string>

namespace tool {

/// From the table of settings.
std::string SettingsPage();

}  // namespace tool

#pragma once

// Opens a page of this machine in the user's browser, where there is a desktop. Main thread.

#include <sys/types.h>

#include <filesystem>

namespace page {

/// The program that was started for it, for the caller to reap: the first that $BROWSER names, or else
/// xdg-open. It goes on by itself, and what it prints is dropped. 0 without a desktop, and where there is no
/// such program. `file` has a full path.
pid_t OpenInBrowser(const std::filesystem::path& file);

}  // namespace page

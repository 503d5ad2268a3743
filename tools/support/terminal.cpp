#include "tools/support/terminal.h"

#include <errno.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "tools/support/progress.h"

namespace tool {

std::size_t TerminalWidth(int descriptor) {
    constexpr std::size_t usual = 80;
    if (isatty(descriptor) != 1) return 0;
    winsize size{};
    const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : usual;
}

std::size_t WidthOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

void Complain(const std::string& sentence) {
    Progress::Hide();
    std::cerr << program_invocation_short_name << ": " << sentence << "\n";
}

}  // namespace tool

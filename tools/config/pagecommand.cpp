#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "slib/exception.h"
#include "tools/config/commands.h"
#include "tools/support/elffile.h"

namespace tool {
namespace {

using std::filesystem::path;

constexpr const char* footer =
    R"(Starts tessarune-page, which serves the page to browsers of this machine and this user until Ctrl-C ends it, or ten minutes
after the page was last open. Where there is no desktop it prints the file by which a browser finds the page.)";

struct Options {
    bool isOnlyPrinted = false;
    bool isRootAllowed = false;
};

// "libcpp-httplib0.11" has libcpp-httplib.so.0.11.
std::string PackageOf(const std::string& library) {
    const std::string middle = ".so.";
    const std::size_t place = library.find(middle);
    if (place == std::string::npos) return library;
    return library.substr(0, place) + library.substr(place + middle.size());
}

// The loader would say it too, but not what to do.
void CheckLibrariesOf(const path& program) {
    const std::optional<ElfFile> file = ReadElfFile(program);
    for (const std::string& library : file ? file->needed : std::vector<std::string>())
        if (dlopen(library.c_str(), RTLD_LAZY | RTLD_LOCAL) == nullptr)
            throw slib::BadStateException("The page needs the library '" + library +
                                          "', which can't be loaded. Install the package " +
                                          PackageOf(library) + ", or what has that library on your system.");
}

// Becomes the server, so that a terminal's Ctrl-C and its end are the server's own.
void Page(const Options& options) {
    const path program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "tessarune-page";
    if (!std::filesystem::exists(program))
        throw slib::BadStateException("There is no '" + program.string() +
                                      "'. Install the package tessarune-page, or all of Tessarune again.");
    CheckLibrariesOf(program);
    std::string print = "--print", root = "--as-root", name = program.string();
    std::vector<char*> words{name.data()};
    if (options.isOnlyPrinted) words.push_back(print.data());
    if (options.isRootAllowed) words.push_back(root.data());
    words.push_back(nullptr);
    std::cout.flush();
    execv(name.c_str(), words.data());
    throw slib::OperatingSystemErrnoException("'" + name + "' can't be started. Install Tessarune again.");
}

}  // namespace

void AddPageCommand(Program& program) {
    const auto options = std::make_shared<Options>();
    CommandLine* command =
        program.AddCommand("page", "Open a page in your browser that shows and changes all of it.");
    command->SetFooter(footer);
    command->AddFlag("--print", options->isOnlyPrinted, "Print where the page is, and open no browser");
    command->AddFlag("--as-root", options->isRootAllowed, "Start even as root");
    command->OnUse([options] { Page(*options); });
}

}  // namespace tool

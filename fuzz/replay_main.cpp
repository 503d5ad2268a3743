// Runs a fuzz target over files, so that a corpus also serves as an ordinary test, with any compiler.
// Usage: <program> FOLDER   Exit code 1 when there was no file to run.

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

void Run(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    file.exceptions(std::ios::badbit);
    if (!file) throw std::ios_base::failure("Failed to open file '" + path.string() + "'.");
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    try {
        std::size_t count = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(argc == 2 ? argv[1] : ""))
            Run(entry.path()), ++count;
        std::cout << count << " files run\n";
        return count == 0 ? 1 : 0;
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}

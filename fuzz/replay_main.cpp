// Runs a fuzz target over files, so that a corpus also serves as an ordinary test, with any compiler.
// Usage: <program> FOLDER [SECONDS]   Exit code 1 when there was no file to run. With a time it goes on with
// random inputs for so long, for sanitizers that the coverage-guided engine doesn't go with.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
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

void RunRandomInputs(std::chrono::seconds duration) {
    std::random_device random;
    const auto end = std::chrono::steady_clock::now() + duration;
    while (std::chrono::steady_clock::now() < end) {
        std::vector<std::uint8_t> bytes(random() % 64);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        std::size_t count = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(argc > 1 ? argv[1] : ""))
            Run(entry.path()), ++count;
        if (argc > 2) RunRandomInputs(std::chrono::seconds(std::stol(argv[2])));
        std::cout << count << " files run\n";
        return count == 0 ? 1 : 0;
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}

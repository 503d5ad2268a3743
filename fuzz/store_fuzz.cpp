// Fuzz target for the text of the store's file. Whatever stands in the file, reading and changing it prints
// nothing, a repaired text needs no second repair, each line of it reads back, and a change of one value
// leaves all others as they were. Also linked with replay_main.cpp into a program that runs the corpus in the
// ordinary tests.

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include "orb3core/configstore.h"
#include "orb3core/storetext.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t maximumSize = 1 << 14;

void Check(bool holds) {
    if (!holds) std::abort();
}

// The user's scope in a folder of its own, which goes with the process.
class StoreFolder {
public:
    StoreFolder() {
        std::string name = (fs::temp_directory_path() / "store-fuzz-XXXXXX").string();
        Check(mkdtemp(name.data()) != nullptr);
        folder = name;
        setenv("XDG_CONFIG_HOME", name.c_str(), 1);
        fs::create_directory(folder / orb3::storeRoot);
    }
    ~StoreFolder() {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
    StoreFolder(const StoreFolder&) = delete;
    StoreFolder& operator=(const StoreFolder&) = delete;

    fs::path File() const { return folder / orb3::storeRoot / "store.conf"; }

private:
    fs::path folder;
};

// Standard output and error go into memory while this lives.
class Silence {
public:
    Silence() : file(memfd_create("printed", MFD_CLOEXEC)), output(dup(1)), error(dup(2)) {
        Check(file >= 0 && dup2(file, 1) >= 0 && dup2(file, 2) >= 0);
    }
    ~Silence() {
        dup2(output, 1);
        dup2(error, 2);
        std::string printed(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
        const ssize_t count = pread(file, printed.data(), printed.size(), 0);
        if (count != 0) std::cerr << printed;
        for (const int descriptor : {file, output, error})
            close(descriptor);
        Check(count == 0);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    int file, output, error;
};

std::string Content(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The plain name that an escaped one stands for.
std::string Unescape(std::string_view escaped) {
    std::string plain;
    for (std::size_t i = 0; i < escaped.size(); ++i)
        plain += escaped[i] == '\\' && i + 1 < escaped.size() ? escaped[++i] : escaped[i];
    return plain;
}

std::size_t EndOfName(std::string_view line, char end) {
    std::size_t i = 0;
    while (line[i] != end)
        i += line[i] == '\\' ? 2 : 1;
    return i;
}

// The value behind "=", after the rules of the form, written apart from the parser.
std::string ValueOf(std::string_view spelled) {
    if (spelled.starts_with('"')) spelled = spelled.substr(1, spelled.size() - 2);
    std::string value;
    for (std::size_t i = 0; i < spelled.size(); ++i) {
        if (spelled[i] != '\\') {
            value += spelled[i];
            continue;
        }
        const char c = spelled[++i];
        value += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
    }
    return value;
}

// What a repaired text holds, by full key. Keys that a path can't name are left out.
std::map<std::string, std::string> ValuesOf(std::string_view text) {
    std::map<std::string, std::string> values;
    std::string group;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() + 1);
        if (line.front() == '#' || line.front() == ';') continue;
        if (line.front() == '[') {
            group = Unescape(line.substr(1, EndOfName(line, ']') - 1));
            continue;
        }
        const std::size_t end = EndOfName(line, '=');
        const std::string key = Unescape(line.substr(0, end));
        const bool isNameable = key.find('/') == std::string::npos && key != "." && key != "..";
        if (isNameable) values["/" + group + "/" + key] = ValueOf(line.substr(end + 1));
    }
    return values;
}

void CheckValues(const orb3::ConfigStore& store, const std::map<std::string, std::string>& values) {
    for (const auto& [key, value] : values)
        Check(store.Read(key, "not there") == value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const StoreFolder folder;
    if (size > maximumSize) return 0;
    // What is a blank or a small letter depends on the locale, in the parser and so in the repair.
    std::setlocale(LC_ALL, size % 2 == 0 ? "C" : "C.UTF-8");
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::string repaired = orb3::RepairStoreText(bytes);
    Check(orb3::RepairStoreText(repaired) == repaired);
    const std::map<std::string, std::string> values = ValuesOf(repaired);
    if (values.size() > 64) return 0;  // each check reads the file anew

    std::ofstream(folder.File(), std::ios::binary) << bytes;
    const Silence silence;
    const orb3::ConfigStore store(orb3::storeRoot, orb3::ConfigStore::Scope::User);
    CheckValues(store, values);
    const std::string own = "A key that no other file has";
    for (const std::string value : {"1", " \"two\"\n\t\\ "}) {
        store.Write("/" + own + "/" + own, value);
        Check(store.Read("/" + own + "/" + own, "") == value);
        CheckValues(store, values);
    }
    const std::string written = Content(folder.File());
    Check(orb3::RepairStoreText(written) == written);
    return 0;
}

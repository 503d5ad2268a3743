// Fuzz target for the text of the store's file. Whatever stands in the file, a repaired text needs no second
// repair, a change leaves all lines of it as they were, and any bytes written as a value read back. Also
// linked with replay_main.cpp into a program that runs the corpus in the ordinary tests.

#include <clocale>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/check.h"
#include "orb3core/store/configstore.h"
#include "orb3core/store/storetext.h"
#include "tests/support/temporaryfolder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const testing_support::TemporaryStore store;
    std::filesystem::create_directories(store.UserFile().parent_path());
    const std::string ownGroup = "3141592653589793";
    const std::string ownKey = "/" + ownGroup + "/" + ownGroup;
    // What is a blank or a small letter depends on the locale, in the parser and so in the repair.
    std::setlocale(LC_ALL, size % 2 == 0 ? "C" : "C.UTF-8");
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::string repaired = orb3::RepairStoreText(bytes);
    Check(orb3::RepairStoreText(repaired) == repaired);
    if (repaired.find(ownGroup) != std::string::npos) return 0;

    std::ofstream(store.UserFile(), std::ios::binary) << bytes;
    const orb3::ConfigStore user(orb3::storeRoot, orb3::ConfigStore::Scope::User);
    for (const std::string& value : {bytes.substr(bytes.find('=') + 1), bytes}) {
        user.Write(ownKey, value);
        Check(user.Read(ownKey, "") == orb3::RepairUtf8(value));
    }
    std::string written = testing_support::ReadFile(store.UserFile());
    const std::size_t header = written.find("[" + ownGroup + "]\n" + ownGroup + "=");
    Check(header != std::string::npos);
    written.erase(header, written.find('\n', written.find('\n', header) + 1) + 1 - header);
    Check(written == repaired);
    return 0;
}

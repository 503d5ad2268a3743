// Another process that writes into the user's store while a test reads it.
// Usage: storewriter NAME COUNT         writes the lines "0" to "COUNT - 1" under that program's name
//        storewriter document COUNT     stores that many documents, of 100 "a" and of 5,000 "b" in turn

#include <cstdlib>
#include <string>

#include "orb3core/store/configstore.h"
#include "orb3core/store/registrylog.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string name = argv[1];
    ggui::RegistryLog log(orb3::storeRoot, name);
    for (int i = 0; i < std::atoi(argv[2]); ++i) {
        if (name != "document")
            log.Write(std::to_string(i), false);
        else
            orb3::WriteSpeakerConfiguration(i % 2 == 0 ? std::string(100, 'a') : std::string(5000, 'b'));
    }
}

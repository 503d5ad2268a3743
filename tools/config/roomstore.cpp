#include "tools/config/roomstore.h"

#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "tools/config/machine.h"

namespace tool {

void StoreRoom(const design::SpeakerLayout& room) {
    ChangeOwnLibrary([&](orb3::fl::LayeredLibrarian& library) {
        design::AddSpeakerLayout(room, design::BaseRates(library), library);
    });
}

}  // namespace tool

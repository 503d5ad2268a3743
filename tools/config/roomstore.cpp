#include "tools/config/roomstore.h"

#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "tools/config/machine.h"
#include "tools/support/progress.h"

namespace tool {

void StoreRoom(const design::SpeakerLayout& room) {
    const Progress progress("Designing the decoders of '" + room.name + "'");
    ChangeOwnLibrary([&](orb3::fl::LayeredLibrarian& library) {
        design::AddSpeakerLayout(room, design::BaseRates(library), library);
    });
}

}  // namespace tool

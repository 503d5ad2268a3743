#include "tools/manage/roomstore.h"

#include <algorithm>
#include <fstream>

#include "library/layoutreader.h"
#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "library/ownlibrary.h"
#include "orb3core/library/conversionchoice.h"
#include "slib/exception.h"
#include "tools/manage/history.h"
#include "tools/manage/machine.h"
#include "tools/manage/selecting.h"
#include "tools/manage/speakers.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using orb3::spk::Layout;

// Gains and outputs, which the library doesn't hold.
bool IsPlain(const RoomInUse& use) {
    return use.outputs.empty() &&
           std::ranges::all_of(use.room.speakers, [](const auto& speaker) { return speaker.gain == 1; });
}

}  // namespace

void StoreRoom(const design::SpeakerLayout& room, const StepReport& report) {
    ChangeOwnLibrary([&](orb3::fl::LayeredLibrarian& library) {
        design::AddSpeakerLayout(room, design::BaseRates(library), library, 0, [&](unsigned order) {
            report(order, design::greatestOrder, "order " + std::to_string(order));
        });
    });
}

Layout ApplyRoom(const RoomInUse& use, const StepReport& report) {
    const LayoutChoice choice{use.room.name, use.device, ""};
    CheckOutputs(choice, use.room.speakers.size());
    StoreRoom(use.room, report);
    const ChangeStep step("the room '" + use.room.name + "'");
    Layout selected = SelectLayout(choice);
    if (IsPlain(use)) return selected;
    ErrorsToTerminal log;
    const orb3::Frameworks frameworks = MakeFrameworks(log);
    ChangeDocument(
        [&](orb3::Configuration& configuration) {
            Layout& layout = FindLayoutToChange(configuration, selected.format);
            const std::size_t count = std::min(layout.channels.size(), use.room.speakers.size());
            for (std::size_t i = 0; i < count; ++i) {
                layout.channels[i].gain = use.room.speakers[i].gain;
                if (i < use.outputs.size() && !use.outputs[i].empty())
                    Connect(layout, i, use.outputs[i], frameworks);
            }
            selected = layout;
        },
        Force::Yes);
    return selected;
}

design::SpeakerLayout ReadRoom(const std::string& file) {
    std::ifstream stream(file);
    if (!stream) throw slib::OperatingSystemErrnoException("Unable to open '" + file + "'.");
    return design::ReadLayout(stream, file);
}

void RemoveRoom(const std::string& name) {
    ChangeOwnLibrary([&](orb3::fl::LayeredLibrarian& library) {
        if (!design::RemoveOwnRoom(orb3::MakeFormatTag(name), library))
            throw WrongUse("Your library has no room '" + name + "'. 'tessarune-config layouts' lists all.");
    });
}

}  // namespace tool

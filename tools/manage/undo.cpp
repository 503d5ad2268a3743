#include "tools/manage/undo.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "orb3core/settings/gameprofile.h"
#include "orb3core/settings/platformsettings.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/exception.h"
#include "tools/manage/documentparts.h"
#include "tools/manage/history.h"
#include "tools/manage/layouts.h"
#include "tools/manage/machine.h"
#include "tools/manage/room.h"
#include "tools/manage/roomstore.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using LayoutPtr = orb3::Configuration::LayoutPtr;

// Whether a step is taken back or made again.
enum class Way { Back, Forth };

const std::string& From(const ChangedValue& value, Way way) {
    return way == Way::Back ? value.after : value.before;
}

const std::string& To(const ChangedValue& value, Way way) {
    return way == Way::Back ? value.before : value.after;
}

std::string NameOf(const std::string& key) {
    for (const orb3::Setting& setting : orb3::Settings())
        if (setting.GetPlace() == orb3::Setting::Place::Platform && setting.StoreKey() == key)
            return setting.Name();
    if (key == orb3::speakerSettingsKey) return "the speakers of single devices";
    if (key == orb3::gameProfilesKey) return "the profiles of games";
    if (key == orb3::keptConfigurationKey) return "the configuration that is kept";
    return "the configuration";
}

std::optional<orb3::Configuration> Usable(const std::string& document) {
    if (document.empty()) return std::nullopt;
    try {
        return ParseDocument(document);
    } catch (const slib::Exception&) {
        return std::nullopt;
    }
}

// What `current` becomes; what can't be moved is added to `kept`.
std::string Moved(const ChangedValue& value, Way way, const std::string& current,
                  std::vector<std::string>& kept) {
    const std::string &from = From(value, way), &to = To(value, way);
    if (current == from) return to;
    const auto before = Usable(from), after = Usable(to);
    auto now = Usable(current);
    if (value.key != orb3::configurationKey || !before || !after || !now) {
        if (current != to) kept.push_back(NameOf(value.key));
        return current;
    }
    const std::vector<std::string> differing = MoveParts(PartsOf(*before), PartsOf(*after), *now);
    kept.insert(kept.end(), differing.begin(), differing.end());
    std::string moved = DocumentText(*now);
    static_cast<void>(ParseDocument(moved));  // so that nothing is stored that a start can't read
    return moved;
}

// A sentence that begins with the names.
std::string Sentence(const std::vector<std::string>& names, const char* verbOfOne,
                     const char* verbOfSeveral) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 < names.size() ? ", " : " and ") + names[i];
    if (text.starts_with("the ")) text[0] = 'T';
    return text + (names.size() == 1 ? verbOfOne : verbOfSeveral);
}

// Names what differs; true where something is to be stored.
bool MoveAll(const Step& step, Way way, orb3::OpenStore& store, std::vector<std::string>& kept) {
    bool isMoved = false;
    for (const ChangedValue& value : step.values) {
        const std::string current = store.Read(value.key, "");
        const std::string moved = Moved(value, way, current, kept);
        if (moved == current) continue;
        store.Write(value.key, moved);
        isMoved = true;
    }
    return isMoved;
}

bool AreSamePlaces(const orb3::spk::Layout& layout, const orb3::spk::SpeakerSet& set) {
    constexpr double nearly = 1e-6;
    return std::ranges::equal(layout.speakers, set.speakers,
                              [&](const orb3::spk::Speaker& a, const orb3::spk::Speaker& b) {
                                  return std::abs(a.location.x - b.location.x) < nearly &&
                                         std::abs(a.location.y - b.location.y) < nearly &&
                                         std::abs(a.location.z - b.location.z) < nearly && a.type == b.type;
                              });
}

// Null for none.
LayoutPtr SelectedOf(const std::optional<orb3::Configuration>& document) {
    return document ? orb3::FindSelectedLayout(*document) : LayoutPtr();
}

// Whether other speakers are in force before than after.
bool MovesSpeakers(const Step& step) {
    for (const ChangedValue& value : step.values) {
        if (value.key != orb3::configurationKey) continue;
        const auto before = Usable(value.before), after = Usable(value.after);
        const LayoutPtr old = SelectedOf(before), fresh = SelectedOf(after);
        if (old && fresh) return !(old->speakers == fresh->speakers);
        return true;
    }
    return false;
}

// The decoders in the user's library are for the places of the layout in force.
void FitOwnRoom(const StepReport& report, std::vector<std::string>& warnings) {
    const LayoutPtr layout = SelectedOf(Usable(ReadDocumentText()));
    if (!layout) return;
    try {
        ErrorsToTerminal log;
        const FormatLibrary library(log);
        for (const orb3::fl::Format& format : LibraryLayouts(library.Librarian())) {
            if (format.name != layout->format) continue;
            const std::vector<std::string> own = OwnLayoutNames();
            if (std::ranges::find(own, format.name) == own.end() || !format.speakers) return;
            if (!AreSamePlaces(*layout, *format.speakers)) StoreRoom(RoomOf(*layout), report);
            return;
        }
        warnings.push_back("'" + layout->format +
                           "' isn't in the format library any more. "
                           "'tessarune-config speakers room FILE --apply' makes its decoders anew.");
    } catch (const slib::Exception& failure) {
        warnings.push_back("The decoders of '" + layout->format +
                           "' can't be made for where its speakers are now: " + failure.what());
    }
}

TakenBack Move(Way way, const StepReport& report) {
    const History history = ReadHistory();
    const std::vector<Step>& steps = way == Way::Back ? history.done : history.undone;
    if (steps.empty()) {
        std::string problem;
        ReadHistory(&problem);
        throw WrongUse(
            (way == Way::Back ? "There is no change to take back." : "There is no change to make again.") +
            (problem.empty() ? "" : " " + problem));
    }
    const Step step = steps.back();
    std::vector<std::string> kept;
    bool isMoved = false;
    UpdateStoreUnnoted([&](orb3::OpenStore& store) { isMoved = MoveAll(step, way, store, kept); });
    ChangeHistory([&](History& now) {
        std::vector<Step>& source = way == Way::Back ? now.done : now.undone;
        if (source.empty() || source.back().time != step.time || source.back().what != step.what) return;
        if (isMoved || kept.empty()) (way == Way::Back ? now.undone : now.done).push_back(source.back());
        source.pop_back();
    });
    const std::string differing = kept.empty() ? ""
                                               : Sentence(kept, " was changed since and stays as it is.",
                                                          " were changed since and stay as they are.");
    if (!isMoved && !kept.empty())
        throw slib::BadStateException(std::string("The last change can't be ") +
                                      (way == Way::Back ? "taken back" : "made again") + " (" + step.what +
                                      "): " + differing + " It is forgotten now.");
    TakenBack taken{step.what, {}};
    if (!kept.empty()) taken.warnings.push_back(differing);
    if (MovesSpeakers(step)) FitOwnRoom(report, taken.warnings);
    return taken;
}

}  // namespace

TakenBack Undo(const StepReport& report) {
    return Move(Way::Back, report);
}

TakenBack Redo(const StepReport& report) {
    return Move(Way::Forth, report);
}

}  // namespace tool

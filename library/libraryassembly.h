#pragma once

// Puts a whole format library together: the spatial formats, the layouts with their speakers, the methods,
// and the designed transforms. Called by the program that builds libraries; offline, and the same every time.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "library/headdata.h"
#include "library/layouts.h"
#include "library/speakerdecoder.h"
#include "orb3core/library/formatlibrarian.h"

namespace design {

/// The greatest order of a spatial format in a library.
inline constexpr unsigned greatestOrder = 4;

/// The tags of the methods for headphones.
inline constexpr const char* measuredHead = "measuredhead";
inline constexpr const char* sphereHead = "spherehead";
inline constexpr const char* virtualSpeakers = "virtualspeakers";

/// The tag of the spatial format of an order.
std::string SpatialFormatTag(unsigned order);

/// What a library is to hold.
struct LibraryPlan {
    std::string tag = "Tessarune";
    std::vector<SpeakerLayout> layouts;    ///< the standard ones and more
    std::vector<int> rates{44100, 48000};  ///< Hz
    std::string sofaPath;                  ///< of a measured head (ReadSofaInChild); empty for none
    /// Threads to design on; 0 for as many as there are processors. The library is the same by any number.
    unsigned threads = 0;
    /// Called with a layout's name before its decoders are designed and stored; may be empty.
    std::function<void(const std::string& layout)> report;
};

/// The content of the default library, with the measured head at `sofaPath`.
LibraryPlan DefaultPlan(const std::string& sofaPath);

/// A measured head to be added, and how it is named.
struct AddedHead {
    HeadImpulses impulses;
    MethodText text;
    orb3::fl::Priority priority = orb3::fl::Priority::Normal;
    /// Metres around the head of the listener, whose delays between the ears are as much longer or shorter as
    /// this differs from the circumference of the sphere that has those of the measured head
    /// (EffectiveRadius); 0 to leave the delays as they were measured.
    double circumference = 0;
    std::function<void(unsigned order)> report;  ///< called before an order is designed; may be empty
};

/// Adds decoders of all orders for the format with the tag `headphones`, at the rates given in Hz. Throws
/// what preparing the head and the library throw.
void AddHead(const AddedHead& head, const std::vector<int>& rates, const std::string& headphones,
             orb3::fl::FormatRegistrar& library);

/// Stores everything in `library`, which the caller commits. Throws what reading the head, the designs and
/// the library throw.
void AssembleLibrary(const LibraryPlan& plan, orb3::fl::FormatRegistrar& library);

/// Adds one layout of speakers with all methods that fit, at the rates given; it takes the place of one of
/// the same name. One with the name and the count of speakers of a standard layout gets its family, so that
/// the system's speaker setting finds it. `threads` as in a plan; `report`, which may be empty, is called
/// before the designs of an order are waited for, and what it throws ends the work. Throws
/// slib::BadDataException, with nothing stored, for the name of a format that isn't a layout, that others are
/// made through, or that has a standard count of speakers.
void AddSpeakerLayout(const SpeakerLayout& layout, const std::vector<int>& rates,
                      orb3::fl::FormatRegistrar& library, unsigned threads = 0,
                      const std::function<void(unsigned order)>& report = {});

}  // namespace design

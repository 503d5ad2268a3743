#pragma once

// A format of the format library: what a set of channels is, be it a speaker layout, a headphone signal or a
// sound field. Librarians return formats by value; the copies share the acoustic and the speakers, which
// nobody changes once they are in a format, so that threads may hold copies of their own.

#include <cstdint>
#include <memory>
#include <string>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/speakers/speakers.h"
#include "slib/smartptr.h"
#include "slib/standardformats.h"
#include "slib/sxml.h"

namespace orb3::fl {

struct Format {
    std::string tag;   ///< The key in the library.
    std::string name;  ///< For display.
    slib::StandardFormat family = slib::StandardFormat::Unknown;
    std::int32_t quillFormat = 0;  ///< An identifier that others gave the format; 0 for none.
    slib::SmartPtr<aspace::Acoustic, slib::ThreadsafeCounter> acoustic;  ///< May be null.
    slib::SmartPtr<spk::SpeakerSet, slib::ThreadsafeCounter> speakers;   ///< May be null.
    std::uint32_t channelCount = 0;
    bool isLayout = false;
    bool isPreset = false;

    /// Fills the record from a node labelled "Format". On a failure, a slib::BadDataException or what
    /// `factory` throws, it stays as it was.
    void Read(const slib::SXMLNode& node, const aspace::AcousticFactory& factory);

    /// A new node labelled "Format".
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

}  // namespace orb3::fl

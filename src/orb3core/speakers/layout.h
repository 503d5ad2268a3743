#pragma once

// One way of driving the speakers: their places, which format and method decode for them, and which outputs
// of which device they are connected to. Part of the configuration document; used at set-up and by the
// configuration monitor, never on the audio thread.

#include <memory>
#include <string>
#include <vector>

#include "orb3core/speakers/speakers.h"
#include "slib/sxml.h"

namespace orb3::spk {

struct Layout : SpeakerSet {
    std::string format;             ///< Name of a format in the library; also the layout's name.
    std::vector<Channel> channels;  ///< One per speaker, in the speakers' order.
    std::string pipeFramework;      ///< Name of the audio framework, empty when not connected.
    std::string pipeDevice;         ///< Name of a device of that framework, empty when not connected.
    float gain = 1.0f;              ///< Linear.
    std::string method;             ///< Tag of the decoding method.

    bool operator==(const Layout&) const = default;

    /// Fills the record from a node labelled "Layout"; on a failure, a slib::BadDataException, it stays as it
    /// was. Whether speakers and channels match up is for the set-up to check.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Layout".
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

}  // namespace orb3::spk

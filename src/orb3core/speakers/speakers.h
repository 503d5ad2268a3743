#pragma once

// Speakers, the sets that they form in a room, and the outputs that they are connected to. Records of the
// configuration document and of the format library; read, compared and written at set-up and by the
// configuration monitor, never on the audio thread.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "orb3core/speakers/audiencearrangement.h"
#include "orb3core/speakers/location.h"
#include "slib/sxml.h"

namespace orb3::spk {

/// The role of a speaker.
enum class Role {
    Unknown,
    FrontLeft,
    FrontRight,
    FrontCentre,
    FrontCentreDialogue,  ///< Plays the dialogue channel only.
    BassManaged,
    BassLFE,
    BackLeft,
    BackRight,
    BackCentre,
    SideLeft,
    SideRight
};

enum class SpeakerType { Normal, Small, SubWoofer };

/// The texts that documents hold. A value outside its enumeration is an integrity failure.
std::string GetRoleText(Role role);
std::string GetSpeakerTypeText(SpeakerType type);

/// The value of a text, without regard to case. Throws slib::BadDataException for an unknown text.
Role ParseRole(std::string_view text);
SpeakerType ParseSpeakerType(std::string_view text);

struct Speaker {
    std::string label;  ///< The speaker's name in the layout.
    Location location;
    SpeakerType type = SpeakerType::Normal;
    Role role = Role::Unknown;

    /// The role takes no part.
    bool operator==(const Speaker& other) const;

    /// Fills the record from a node labelled "Speaker"; on a failure, a slib::BadDataException, it stays as
    /// it was. Doesn't validate.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Speaker".
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;

    /// Throws slib::BadDataException unless bass roles and sub-woofers come together.
    void Validate() const;
};

struct SpeakerSet {
    std::vector<Speaker> speakers;
    bool discardDistance = false;  ///< False: gains of dedicated outputs grow with a speaker's distance.
    AudienceArrangement audienceArrangement = AudienceArrangement::Forward;
    double distance = 0;  ///< Metres to the furthest decoded speaker; 0 where nobody measured it.

    /// The distance takes no part.
    bool operator==(const SpeakerSet& other) const;

    /// Fills the record from a node; with `checkLabel` its label must be "SpeakerSet". Each child labelled
    /// "Speaker" gives a speaker, scaled by the attribute "Scale" if there is one; "Distance" may be left
    /// out. On a failure, a slib::BadDataException, the record stays as it was.
    void Read(const slib::SXMLNode& node, bool checkLabel);

    /// A new node labelled "SpeakerSet"; the caller may relabel it.
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

/// One output of a layout.
struct Channel {
    std::string pipePlaybackChannel;  ///< Name of the device's channel, empty when not connected.
    double gain = 1.0;                ///< Linear.

    bool operator==(const Channel&) const = default;

    /// Fills the record from a node labelled "Channel"; on a failure, a slib::BadXMLException, it stays as it
    /// was.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Channel".
    [[nodiscard]] std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

}  // namespace orb3::spk

#include "library/formatlayout.h"

#include <algorithm>
#include <cmath>

#include "orb3core/acoustics/fsascheme.h"
#include "slib/exception.h"

namespace design {
namespace {

LayoutKind KindOf(slib::StandardFormat family) {
    if (family == slib::StandardFormat::HeadphoneStereo) return LayoutKind::Headphones;
    if (family == slib::StandardFormat::SurroundStereo) return LayoutKind::MatrixStereo;
    return LayoutKind::Speakers;
}

}  // namespace

SpeakerLayout LayoutOfFormat(const orb3::fl::Format& format) {
    if (!format.speakers)
        throw slib::BadParameterException("The format '" + format.name + "' has no speakers.");
    SpeakerLayout layout{
        .name = format.name, .family = format.family, .kind = KindOf(format.family), .speakers = {}};
    for (const orb3::spk::Speaker& speaker : format.speakers->speakers) {
        const Direction place(speaker.location.x, speaker.location.y, speaker.location.z);
        RoomSpeaker placed{.label = speaker.label,
                           .direction = Direction::UnitX(),
                           .distance = place.norm(),
                           .type = speaker.type,
                           .role = speaker.role};
        if (placed.distance > 0) placed.direction = place / placed.distance;
        layout.speakers.push_back(placed);
    }
    const double reference = layout.ReferenceDistance();
    const bool isMeasured = format.speakers->distance > 0;
    for (RoomSpeaker& speaker : layout.speakers) {
        speaker.distance *= (isMeasured ? format.speakers->distance : 1) / reference;
        speaker.hasDistance = isMeasured;
    }
    return layout;
}

bool HasUnknownDelays(const SpeakerLayout& layout) {
    return std::ranges::any_of(layout.speakers, [](const RoomSpeaker& speaker) {
        return speaker.IsDecoded() && !speaker.hasDistance && std::abs(speaker.distance - 1) > 1e-3;
    });
}

unsigned OrderOfFormat(const orb3::fl::Format& format) {
    if (!format.acoustic) return 0;
    const auto* scheme = dynamic_cast<const orb3::FSAScheme*>(&*format.acoustic);
    return scheme == nullptr ? 0 : scheme->order;
}

}  // namespace design

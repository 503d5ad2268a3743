#pragma once

// Head tracking as a person sets it up and looks at it. One thread.

#include <cstdint>
#include <functional>
#include <optional>

#include "orb3core/settings/goalconfig.h"

namespace tool {

struct Tracking {
    orb3::HeadTracking mode = orb3::HeadTracking::Off;
    std::uint16_t port = 0;
};

/// As the document has it. Throws as PeekDocument.
Tracking ReadTracking();

/// Stores it as one change, and answers what holds then; what is left out stays as it is. Throws WrongUse
/// where both are, and as ChangeDocument.
Tracking SetTracking(std::optional<orb3::HeadTracking> mode, std::optional<std::uint16_t> port);

/// Tells all games that listen that where the head is now is ahead. Throws WrongUse while tracking is off,
/// and slib::BadStateException when nothing can be sent.
void CentreTracking();

/// Where a head is turned to, in degrees: to the left, upwards, and with the right ear downwards.
struct HeadAngles {
    double yaw = 0, pitch = 0, roll = 0;
};

/// Listens to the tracker itself, or looks at what a game that has the port hears, and tells each change
/// until `isOver`; nothing means that no tracker speaks. Throws slib::OperatingSystemErrnoException where
/// neither works.
void WatchTracker(const std::function<void(const std::optional<HeadAngles>&)>& tell,
                  const std::function<bool()>& isOver);

}  // namespace tool

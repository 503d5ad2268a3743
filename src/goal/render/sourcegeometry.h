#pragma once

// Where a one-channel source is and what that makes of it: pitch, gains, and its weights in the spatial bus.
//
//     Source, GlobalParameters ──LocateSource──> SourceGeometry ──ComputeSendGains──> SendGains, one per send
//
// Pure functions of the snapshot, called by the renderer on the audio thread once per source and block. They
// allocate nothing, and compute in 32-bit floats.
//
// A game may set any property to infinity or NaN, and finite ones may overflow. Nothing of that is sorted out
// on the way; instead the renderer asks IsFinite about each result, and what fails is not mixed in this
// block. So such a value never leaves its source, and the source sounds again once its properties are fit.

#include <array>
#include <cstdint>

#include "goal/fx/effectprocessorstate.h"
#include "goal/render/sourceradiustable.h"
#include "goal/state/basis.h"
#include "goal/state/enginestate.h"
#include "numeric/ambisonicorder.h"
#include "slib/realtime.h"

namespace goal {

/// The basis of an AL_ORIENTATION: `at` is forward, and `up` is made perpendicular to it. Neither need have
/// length 1. An `at` that is zero or not finite counts as (0, 0, -1); an `up` that is so, or parallel to
/// `at`, as (0, 1, 0), or (0, 0, 1) where `at` is on that axis. So the result is always a rotation.
Basis BuildBasis(const Vector3& at, const Vector3& up) SLIB_NONBLOCKING;

/// Where a source is heard. What a game sets, or on the way to it.
struct SourcePlace {
    Vector3 offset{};     ///< from the listener, in the axes of the scene; of a relative source in its own
    Vector3 direction{};  ///< of the cone
    Vector3 velocity{};   ///< units per second
    Vector3 listenerVelocity{};  ///< the same
    float gain = 1;              ///< AL_GAIN
};

/// As the game has set it.
SourcePlace PlaceOf(const SourceBaseParameters& source, const GlobalParameters& globals) SLIB_NONBLOCKING;

/// What LocateSource makes of a source. Gains are linear, angles in radians.
struct SourceGeometry {
    float distance = 0;        ///< from the listener, in units
    float airDistance = 0;     ///< metres, times the source's air absorption factor
    float innerHalfAngle = 0;  ///< of the cone, never above the outer one
    float outerHalfAngle = 0;
    float angle = 0;       ///< between the source's direction and the way from it to the listener; 0 where
                           ///< that matters nothing
    float sourceGain = 1;  ///< AL_GAIN
    float pitch = 1;       ///< AL_PITCH with the Doppler shift; not above 0 when a wave never arrives
    float gain = 1;        ///< of the direct path, but for its filter
    float gainHF = 1;      ///< of the direct path at high frequencies, 0 to 1: cone and air
    Vector3 direction{};   ///< towards the source as the listener has it: X forward, Y left, Z up
    std::array<float, hcml::mostBusChannels> encode{};  ///< weights of the spatial bus; 0 beyond the order
};

/// Places the source. `listener` is the basis of the listener's orientation in `globals`; `radiusTable` is of
/// `order`, the order of the spatial bus. Throws slib::IntegrityFailureException unless that is 1 to 4.
SourceGeometry LocateSource(const SourceBaseParameters& source, const GlobalParameters& globals,
                            const Basis& listener, const SourceRadiusTable& radiusTable,
                            unsigned order) SLIB_NONBLOCKING;

/// The same for a source that is heard at `place`.
SourceGeometry LocateSource(const SourceBaseParameters& source, const SourcePlace& place,
                            const GlobalParameters& globals, const Basis& listener,
                            const SourceRadiusTable& radiusTable, unsigned order) SLIB_NONBLOCKING;

/// What decides about a send at the slot's end. The two last values are those of a reverb.
struct SendTarget {
    EffectInput inputKind = EffectInput::Mono;
    bool auxiliarySendAuto = true;  ///< AL_EFFECTSLOT_AUXILIARY_SEND_AUTO
    RoomOfSends room;
};

struct SendGains {
    float gain = 1;
    float gainHF = 1;  ///< 0 to 1
};

/// The gains of one send of a one-channel source, but for its filter. An automatic send takes the cone as
/// what the source gives off into the whole room, wherever the listener is.
SendGains ComputeSendGains(const SourceBaseParameters& source, const GlobalParameters& globals,
                           const SourceGeometry& geometry, const SendTarget& target) SLIB_NONBLOCKING;

/// The bounds of what is mixed: +120 dB, and what lets a sound of a second pass within a sample. A greater
/// pitch is held there.
inline constexpr float largestGain = 1e6F;
inline constexpr float largestPitch = 65536;

/// The one rule that keeps unfit values inside their source: true when all values are numbers, gains and
/// weights within ± largestGain, HF gains 0 to 1. A source of which the
/// geometry (or, for one of several channels, gain and pitch) fails is silent for the block, sends and all,
/// and its position holds; a send that fails contributes nothing.
[[nodiscard]] bool IsFinite(const SourceGeometry& geometry) SLIB_NONBLOCKING;
[[nodiscard]] bool IsFinite(const SendGains& gains) SLIB_NONBLOCKING;
[[nodiscard]] bool IsFinite(float gain, float pitch) SLIB_NONBLOCKING;

}  // namespace goal

#include "goal/render/sourcegeometry.h"

#include <algorithm>
#include <cmath>

#include "goal/render/distancegain.h"
#include "numeric/directionpolynomials.h"
#include "slib/exception.h"

namespace goal {
namespace {

static_assert(sizeof(Basis) == 9 * sizeof(float), "effects read a basis as nine floats");

using DoubleVector3 = std::array<double, 3>;

DoubleVector3 Widen(const Vector3& v) {
    return {v[0], v[1], v[2]};
}
Vector3 Narrow(const DoubleVector3& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

DoubleVector3 Cross(const DoubleVector3& a, const DoubleVector3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// Scales v to length 1. False when it has no direction: shorter than `least`, or not finite.
bool Normalize(DoubleVector3& v, double least) {
    const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (!(length > least) || !std::isfinite(length)) return false;
    for (double& component : v)
        component /= length;
    return true;
}

float Dot(const Vector3& a, const Vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// Sets `distance` and returns the unit vector from the listener to the source, in the axes of the scene. It
// is zero for a source at the listener.
Vector3 DirectionOf(const Vector3& p, float& distance) {
    distance = std::sqrt(Dot(p, p)) + 1e-20F;
    return {p[0] / distance, p[1] / distance, p[2] / distance};
}

// From 1 inside the cone to `outerGain` outside.
float ConeGain(const SourceGeometry& g, float outerGain) {
    if (g.angle <= g.innerHalfAngle) return 1;
    if (g.angle >= g.outerHalfAngle) return outerGain;
    return 1 + (outerGain - 1) * (g.angle - g.innerHalfAngle) / (g.outerHalfAngle - g.innerHalfAngle);
}

// No angle is beyond a cone that fills the sphere.
void SetCone(SourceGeometry& g, const SourceBaseParameters& source, const Vector3& direction,
             const Vector3& u) {
    g.innerHalfAngle = std::min(source.coneInnerHalfAngle, source.coneOuterHalfAngle);
    g.outerHalfAngle = source.coneOuterHalfAngle;
    const float cosine = std::clamp(Dot(u, direction), -1.0F, 1.0F);
    if (g.innerHalfAngle >= pi && !std::isnan(cosine)) return;
    g.angle = std::acos(-cosine);
}

void SetDirectGains(SourceGeometry& g, const SourceBaseParameters& source, const GlobalParameters& globals) {
    const float sourceGain = g.sourceGain * ConeGain(g, source.coneOuterGain);
    const float byDistance = distanceGain(globals.distanceModel, source.referenceDistance, source.maxDistance,
                                          source.rolloffFactor, g.distance);
    const float gain = sourceGain * byDistance;
    g.gain = gain < source.minGain ? source.minGain : gain > source.maxGain ? source.maxGain : gain;
    if (source.directFilterGainHFAuto) g.gainHF = ConeGain(g, source.coneOuterGainHF);
    if (g.airDistance > 0) g.gainHF *= std::pow(0.994F, g.airDistance);
}

// The shift by the velocities along u. Where neither matters it is 1, even for a speed of sound of 0.
float DopplerShift(bool isRelative, const SourcePlace& place, const GlobalParameters& globals,
                   const Vector3& u) {
    const float listenerSpeed = isRelative ? 0 : -Dot(place.listenerVelocity, u);
    const float sourceSpeed = -Dot(place.velocity, u);
    const float c = globals.speedOfSound * globals.dopplerVelocity;
    const float heard = c - globals.dopplerFactor * listenerSpeed;
    const float sent = c - globals.dopplerFactor * sourceSpeed;
    return heard == sent ? 1 : heard / sent;
}

Vector3 EncodeDirection(const Vector3& u, bool relative, const Basis& listener) {
    if (relative) return {-u[2], -u[0], u[1]};
    return {-Dot(listener.back, u), -Dot(listener.right, u), Dot(listener.up, u)};
}

void SetEncode(SourceGeometry& g, float radius, const SourceRadiusTable& radiusTable, unsigned order) {
    hcml::directionPolynomials(g.direction[0], g.direction[1], g.direction[2], order, g.encode.data());
    if (!(radius > 0) || !std::isfinite(g.distance / radius)) return;
    std::array<float, 6> gains;
    radiusTable.lookupRadiusGains(g.distance / radius, gains.data());
    for (unsigned n = 0, i = 0; n <= order; ++n)
        for (; i < hcml::ChannelsOfOrder(n); ++i)
            g.encode[i] *= gains[n];
}

// The share of the sphere that a cone fills, what lies between inner and outer angle counting half.
float ConeShare(const SourceGeometry& g) {
    const float ci = std::cos(g.innerHalfAngle), co = std::cos(g.outerHalfAngle);
    if (g.innerHalfAngle + 1e-8F < g.outerHalfAngle) return ((1 - ci) + (ci - co) / 2) / 2;
    return (1 - ci) / 2;
}

// False for NaN as well.
bool WithinGains(float value) {
    return std::abs(value) <= largestGain;
}
bool IsShare(float value) {
    return value >= 0 && value <= 1;
}

}  // namespace

Basis BuildBasis(const Vector3& at, const Vector3& up) {
    DoubleVector3 back{-double{at[0]}, -double{at[1]}, -double{at[2]}};
    if (!Normalize(back, 0)) back = {0, 0, 1};
    DoubleVector3 right{};
    for (DoubleVector3 candidate : {Widen(up), DoubleVector3{0, 1, 0}, DoubleVector3{0, 0, 1}}) {
        if (!Normalize(candidate, 0)) continue;
        right = Cross(candidate, back);
        if (Normalize(right, 1e-6)) break;
    }
    return {Narrow(right), Narrow(Cross(back, right)), Narrow(back)};
}

SourcePlace PlaceOf(const SourceBaseParameters& source, const GlobalParameters& globals) {
    SourcePlace place{source.position, source.direction, source.velocity, globals.listenerVelocity,
                      source.gain};
    if (!source.relative)
        for (std::size_t i = 0; i < 3; ++i)
            place.offset[i] -= globals.listenerPosition[i];
    return place;
}

SourceGeometry LocateSource(const SourceBaseParameters& source, const GlobalParameters& globals,
                            const Basis& listener, const SourceRadiusTable& radiusTable, unsigned order) {
    return LocateSource(source, PlaceOf(source, globals), globals, listener, radiusTable, order);
}

SourceGeometry LocateSource(const SourceBaseParameters& source, const SourcePlace& place,
                            const GlobalParameters& globals, const Basis& listener,
                            const SourceRadiusTable& radiusTable, unsigned order) {
    if (order < 1 || order > hcml::highestOrder) slib::ThrowUnreachable();
    SourceGeometry g;
    const Vector3 u = DirectionOf(place.offset, g.distance);
    g.airDistance = g.distance * globals.metersPerUnit * source.airAbsorptionFactor;
    g.sourceGain = place.gain;
    SetCone(g, source, place.direction, u);
    SetDirectGains(g, source, globals);
    g.pitch = std::min(DopplerShift(source.relative, place, globals, u) * source.pitch, largestPitch);
    g.direction = EncodeDirection(u, source.relative, listener);
    SetEncode(g, source.radius, radiusTable, order);
    return g;
}

SendGains ComputeSendGains(const SourceBaseParameters& source, const GlobalParameters& globals,
                           const SourceGeometry& geometry, const SendTarget& target) {
    if (!target.auxiliarySendAuto) return {geometry.gain, 1};
    SendGains result{geometry.sourceGain, 1};
    // Within rounding of half a turn there is no cone.
    if (geometry.innerHalfAngle < 3.141561269760132F) {
        const float inside = ConeShare(geometry);
        if (source.auxSendFilterGainAuto) result.gain *= inside + source.coneOuterGain * (1 - inside);
        if (source.auxSendFilterGainHFAuto) result.gainHF = inside + source.coneOuterGainHF * (1 - inside);
    }
    float rolloff = source.roomRolloffFactor;
    if (target.inputKind == EffectInput::Reverb) {
        rolloff += target.room.roomRolloffFactor;
        if (geometry.airDistance > 0 && target.room.airAbsorptionGainHF != 1)
            result.gainHF *= std::pow(target.room.airAbsorptionGainHF, geometry.airDistance);
    }
    if (source.auxSendFilterGainAuto && rolloff > 0)
        result.gain *= distanceGain(globals.distanceModel, source.referenceDistance, source.maxDistance,
                                    rolloff, geometry.distance);
    return result;
}

bool IsFinite(float gain, float pitch) {
    return WithinGains(gain) && std::isfinite(pitch);
}

bool IsFinite(const SourceGeometry& geometry) {
    return IsFinite(geometry.gain, geometry.pitch) && IsShare(geometry.gainHF) &&
           std::all_of(geometry.direction.begin(), geometry.direction.end(), WithinGains) &&
           std::all_of(geometry.encode.begin(), geometry.encode.end(), WithinGains);
}

bool IsFinite(const SendGains& gains) {
    return WithinGains(gains.gain) && IsShare(gains.gainHF);
}

}  // namespace goal

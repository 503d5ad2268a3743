#pragma once

// The plain formulas of one source, in double precision: an independent writing, from what a game sets to
// the first channels of the sound field, block by block. What is tabulated or counted in whole numbers
// (filter rows, play positions, positions of the converter's kernels) is so here as well; the pattern of
// 5e-8 against denormals is left out.

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>
#include <vector>

#include "AL/tessarune.h"
#include "goal/dsp/samplerateconverter.h"
#include "goal/render/sourceradiustable.h"
#include "orb3core/settings/goalconfig.h"

namespace plain {

constexpr std::size_t blockFrames = 256;
constexpr double outputRate = 48000, pi = std::numbers::pi;
using Floats3 = std::array<float, 3>;
using Vector = std::array<double, 3>;
using Block = std::array<double, blockFrames>;

/// What a game sets, with the defaults of the calls. Angles in degrees, but for the stereo angles.
struct Scene {
    float gain = 1, minGain = 0, maxGain = 1, pitch = 1;
    ALenum model = AL_INVERSE_DISTANCE_CLAMPED;
    float reference = 1, maxDistance = FLT_MAX, rolloff = 1;
    float innerAngle = 360, outerAngle = 360, outerGain = 0, outerGainHF = 1;
    float radius = 0, airAbsorption = 0, metersPerUnit = 1;
    float filterGain = 1, gainHF = 1, gainLF = 1;
    bool isRelative = false, isHighByCone = true;
    Floats3 position{}, velocity{}, direction{}, at{0, 0, -1}, up{0, 1, 0};
    std::optional<std::array<float, 2>> stereoAngles = {};
    float dopplerFactor = 1, dopplerVelocity = 1, speedOfSound = 343.3F;
    float listenerGain = 1;
    Floats3 listenerPosition{}, listenerVelocity{}, listenerAt{0, 0, -1}, listenerUp{0, 1, 0};
};

/// What is played: raw values by channel and frame, and what brings them to full scale 1.
struct Sound {
    ALenum format;
    double rate, scale;
    std::vector<std::vector<double>> raw;
    std::vector<double> azimuths = {};  ///< of the channels, degrees to the left; none for mono and B-format
    bool isLooping = false;
    std::vector<unsigned char> bytes = {};  ///< compressed, as the game gives it
    std::size_t pieces = 1;                 ///< buffers that it is queued in

    double At(std::size_t channel, std::int64_t frame) const {
        const auto frames = static_cast<std::int64_t>(raw[channel].size());
        if (frame < 0 || (!isLooping && frame >= frames)) return 0;
        return raw[channel][static_cast<std::size_t>(frame % frames)];
    }
};

// ---- Vectors ----

inline Vector Wide(const Floats3& v) {
    return {v[0], v[1], v[2]};
}
inline double Dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline Vector Cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline Vector Times(const Vector& v, double factor) {
    return {v[0] * factor, v[1] * factor, v[2] * factor};
}
inline Vector Unit(const Vector& v) {
    return Times(v, 1 / std::sqrt(Dot(v, v)));
}

struct Basis {
    Vector right, up, back;
    Basis(const Floats3& at, const Floats3& upward) : back(Times(Unit(Wide(at)), -1)) {
        right = Cross(Unit(Wide(upward)), back);
        up = Cross(back, right);
    }
};

// ---- Geometry of a mono source ----

inline double DistanceGain(const Scene& s, double d) {
    const double r = s.reference, m = s.maxDistance, f = s.rolloff;
    const double c = r <= d ? std::min(d, m) : r;
    double gain = 1;
    if (s.model == AL_INVERSE_DISTANCE) gain = r / ((d - r) * f + r);
    if (s.model == AL_INVERSE_DISTANCE_CLAMPED) gain = r / ((c - r) * f + r);
    if (s.model == AL_LINEAR_DISTANCE) gain = 1 - (std::min(d, m) - r) * f / (m - r);
    if (s.model == AL_LINEAR_DISTANCE_CLAMPED) gain = 1 - (c - r) * f / (m - r);
    if (s.model == AL_EXPONENT_DISTANCE) gain = std::pow(d / r, -f);
    if (s.model == AL_EXPONENT_DISTANCE_CLAMPED) gain = std::pow(c / r, -f);
    return gain >= 0 && gain < 1e30 ? gain : 1;
}

// 1 inside the cone, `outside` out of it, and a line by the angle between.
inline double ConeGain(const Scene& s, double angle, double outside) {
    const double outer = std::min(s.outerAngle * pi / 360, pi),
                 inner = std::min(s.innerAngle * pi / 360, outer);
    if (angle <= inner) return 1;
    return angle >= outer ? outside : 1 + (outside - 1) * (angle - inner) / (outer - inner);
}

// The share of the direction that is left of a source around the listener.
inline double RadiusGain(double x) {
    static const goal::SourceRadiusTable table(1);
    const double row = std::log(x) * 32 + 161.5;
    if (row < 1) return 0;
    if (row + 1 >= 323) return 1;
    const auto i = static_cast<std::size_t>(row);
    return table.gains[2 * i + 1] +
           (row - std::floor(row)) * (table.gains[2 * i + 3] - double{table.gains[2 * i + 1]});
}

struct Place {
    double pitch, gain, gainHF;
    std::array<double, 3> encode;  ///< of W, X (ahead), Y (left)
};

inline Place Locate(const Scene& s) {
    Vector p = Wide(s.position);
    for (std::size_t i = 0; i < 3 && !s.isRelative; ++i)
        p[i] -= s.listenerPosition[i];
    const double distance = std::sqrt(Dot(p, p)) + 1e-20;
    const Vector u = Times(p, 1 / distance);
    const double angle = std::acos(-std::clamp(Dot(u, Wide(s.direction)), -1.0, 1.0));
    const double air = distance * s.metersPerUnit * s.airAbsorption;
    const double listener = s.isRelative ? 0 : -Dot(Wide(s.listenerVelocity), u);
    const double c = double{s.speedOfSound} * s.dopplerVelocity;
    const double doppler =
        (c - s.dopplerFactor * listener) / (c + s.dopplerFactor * Dot(Wide(s.velocity), u));
    const double gain = s.gain * ConeGain(s, angle, s.outerGain) * DistanceGain(s, distance);
    const Basis ear(s.listenerAt, s.listenerUp);
    const double shape = s.radius > 0 ? RadiusGain(distance / s.radius) : 1;
    const double x = s.isRelative ? -u[2] : -Dot(ear.back, u), y = s.isRelative ? -u[0] : -Dot(ear.right, u);
    return {doppler * s.pitch,
            std::min(std::max(gain, double{s.minGain}), double{s.maxGain}),
            (air > 0 ? std::pow(0.994, air) : 1) * (s.isHighByCone ? ConeGain(s, angle, s.outerGainHF) : 1),
            {1, shape * x, shape * y}};
}

// ---- The filter stage ----

constexpr std::size_t slewFrames = 5;  // at 48 kHz

/// A step of `slewFrames` at 2000 dB per second.
inline void Slew(double& value, double target, double floor) {
    const double factor = std::pow(1e10, 10 * slewFrames / outputRate);
    if (value < target)
        value = std::min(target, value < floor ? floor : value * factor);
    else if (value > target)
        value = value / factor < floor ? target : std::max(target, value / factor);
}

/// Of a section; a gain has a row in a table of 1025 by its square root.
struct Coefficients {
    double a, b1, b2 = 0;
};

inline Coefficients FirstOrder(double gain, double frequency, bool isHigh) {
    const int row = static_cast<int>(1024 * std::sqrt(gain));
    if (row == 0 || row == 1024) return {(row == 0) == isHigh ? 0.0 : 1.0, 0};
    const double h = std::pow((row + 0.5) / 1024, 2), g = h * h,
                 c = std::cos(2 * pi * frequency / outputRate);
    const double root = h * std::sqrt(g * (c * c - 1) + 2 * (1 - c));
    const double b = isHigh ? (1 - c * g - root) / (1 - g) : (root - c * g) / (2 - 2 * c - g);
    return {1 - b, b};
}

inline Coefficients SecondOrder(double gain, double frequency, bool isHigh) {
    const int row = static_cast<int>(1024 * std::sqrt(gain));
    if (row == 0 || row == 1024) return {row == 0 ? 0.0 : 1.0, 0};
    const double h = std::pow((row + 0.5) / 1024, 2), t = (1 - h) / 0.03, root = std::numbers::sqrt2;
    const double away = std::pow(1 / (h * h) - 1, 0.25) * (t < 1 ? 0.8 * t + 0.2 : 1);
    const double k = pi / outputRate * (isHigh ? frequency / away : frequency * away), d = 1 + k * (root + k);
    return {(isHigh ? k * k : 1) / d, (2 * k * k - 2) / d, (1 + k * (k - root)) / d};
}

/// Lets low frequencies pass when it is the high shelf, and high ones when it is the low shelf.
class Section {
public:
    Section(int order, bool isHigh) : order(order), isHigh(isHigh) {}

    void Run(double* begin, const double* end, double shelf, double gain, bool isOpen) {
        const Coefficients c = (order == 2 ? SecondOrder : FirstOrder)(shelf, isHigh ? 5000 : 250, isHigh);
        if (isOpen) y1 = y2 = 0;
        for (; begin != end; ++begin)
            *begin = isOpen ? gain * *begin : Next(*begin, c, gain);
    }

private:
    double Next(double x, const Coefficients& c, double gain) {
        const double w = order == 2 ? x - c.b1 * y1 - c.b2 * y2 : gain * c.a * x + c.b1 * y1;
        const double out = order == 2 ? gain * c.a * (w + (isHigh ? 2 : -2) * y1 + y2) : isHigh ? w : x - w;
        y2 = y1;
        y1 = w;
        return out;
    }

    int order;
    bool isHigh;
    double y1 = 0, y2 = 0;
};

struct Gains {
    double gain, high, low;
};

/// The stage on one channel.
class Path {
public:
    explicit Path(int order) : order(order) {}

    /// False when the path is silent. `shelfFloor` is that of the gains of the sections.
    bool Run(Block& samples, const Gains& to, double shelfFloor) {
        if (!isUsed) now = to;
        isUsed = true;
        if ((now.gain == 0 && to.gain == 0) || (now.high == 0 && to.high == 0) ||
            (now.low == 0 && to.low == 0)) {
            *this = Path(order);
            isUsed = true;
            return false;
        }
        RunHigh(samples.data(), to, shelfFloor);
        RunLow(samples.data(), to, shelfFloor);
        return true;
    }

private:
    void RunHigh(double* at, const Gains& to, double floor) {
        const double* const end = at + blockFrames;
        for (; (now.gain != to.gain || now.high != to.high) && end - at >= slew; at += slew) {
            const bool isOpen = now.high == 1 && to.high == 1;
            Slew(now.gain, to.gain, 0.001);
            Slew(now.high, to.high, floor);
            high.Run(at, at + slew, now.high, now.gain, isOpen);
        }
        high.Run(at, end, now.high, now.gain, now.high == 1);
    }
    void RunLow(double* at, const Gains& to, double floor) {
        const double* const end = at + blockFrames;
        for (; now.low != to.low && end - at >= slew; at += slew) {
            Slew(now.low, to.low, floor);
            low.Run(at, at + slew, now.low, 1, false);
        }
        low.Run(at, end, now.low, 1, now.low == 1);
    }

    static constexpr std::ptrdiff_t slew = slewFrames;
    int order;
    bool isUsed = false;
    Gains now{};
    Section high{order, true}, low{order, false};
};

// ---- The source ----

using orb3::SampleRateConversion;

/// One source from its start on. It is copied to look at what a block would be.
class Player {
public:
    /// With a converter, whose weights are data, for the qualities that have one.
    Player(const Sound& sound, SampleRateConversion quality, const goal::SampleRateConverter* converter,
           int filterOrder)
        : sound(&sound), quality(quality), converter(converter), paths(sound.raw.size(), Path(filterOrder)) {}

    /// The next block of W, X and Y.
    std::array<Block, 3> Render(const Scene& s) {
        std::array<Block, 3> field{};
        if (hasStopped) return field;
        sound->raw.size() == 1 ? RenderMono(s, field) : RenderChannels(s, field);
        if (listenerGain < 0) listenerGain = s.listenerGain;
        for (std::size_t i = 0; i < blockFrames; ++i) {
            if (i % slewFrames == 0 && i + slewFrames <= blockFrames)
                Slew(listenerGain, s.listenerGain, 0.001);
            for (Block& channel : field)
                channel[i] *= listenerGain;
        }
        return field;
    }

private:
    // Of the mix, which the linear reader leaves to it.
    double BufferScale() const {
        return quality == SampleRateConversion::Linear ? sound->scale / 65536 : sound->scale;
    }

    void RenderMono(const Scene& s, std::array<Block, 3>& field) {
        const Place place = Locate(s);
        std::vector<Block> samples = Read(place.pitch);
        const Gains to{s.filterGain * place.gain, s.gainHF * place.gainHF, s.gainLF};
        if (!paths[0].Run(samples[0], to, 0.001)) {
            areWeightsKnown = false;
            return;
        }
        if (!areWeightsKnown) weights = place.encode;
        areWeightsKnown = true;
        for (std::size_t channel = 0; channel < 3; ++channel)
            for (std::size_t i = 0; i < blockFrames; ++i) {
                const double step = 0.05 / BufferScale(), way = place.encode[channel] - weights[channel];
                weights[channel] += std::clamp(way, -step, step);
                field[channel][i] = weights[channel] * samples[0][i];
            }
    }

    void RenderChannels(const Scene& s, std::array<Block, 3>& field) {
        std::vector<Block> samples = Read(s.pitch);
        const Gains to{s.filterGain * s.gain, s.gainHF, s.gainLF};
        for (std::size_t channel = 0; channel < samples.size(); ++channel) {
            if (!paths[channel].Run(samples[channel], to, 0.001 * BufferScale())) continue;
            const std::array<double, 3> weight = Weights(s, channel);
            for (std::size_t to = 0; to < 3; ++to)
                for (std::size_t i = 0; i < blockFrames; ++i)
                    field[to][i] += weight[to] * samples[channel][i];
        }
    }

    // Of a channel of a sound that has several, in W, X and Y.
    std::array<double, 3> Weights(const Scene& s, std::size_t channel) const {
        if (sound->azimuths.empty()) return BFormatWeights(s, channel);
        const double angle =
            s.stereoAngles ? (*s.stereoAngles)[channel] : sound->azimuths[channel] * pi / 180;
        return {1, std::cos(angle), std::sin(angle)};
    }
    static std::array<double, 3> BFormatWeights(const Scene& s, std::size_t channel) {
        if (channel == 0) return {std::numbers::sqrt2, 0, 0};
        const Basis source(s.at, s.up), ear(s.listenerAt, s.listenerUp);
        const Vector axis = channel == 1 ? source.back : channel == 2 ? source.right : Times(source.up, -1);
        if (s.isRelative) return {0, axis[2], axis[0]};
        return {0, Dot(ear.back, axis), Dot(ear.right, axis)};
    }

    std::vector<Block> Read(double pitch) {
        const double ratio = pitch * sound->rate / outputRate;
        const bool isSinc = converter != nullptr;
        const auto step = static_cast<std::uint64_t>(ratio * (isSinc ? 524288 : 65536) + 0.5);
        std::vector<Block> samples(sound->raw.size(), Block{});
        for (std::size_t i = 0; i < blockFrames; ++i, position += step) {
            if (HasEnded(step)) break;
            for (std::size_t channel = 0; channel < samples.size(); ++channel)
                samples[channel][i] =
                    sound->scale * (isSinc ? Convolve(channel, ratio) : Interpolate(channel));
        }
        return samples;
    }

    // Whether there is no output any more. The source stops with the block in which its data ends; a kernel
    // plays on there, as far as half its length of silence takes it.
    bool HasEnded(std::uint64_t step) {
        const std::uint64_t frames = sound->raw[0].size();
        if (sound->isLooping) return false;
        if (converter == nullptr) return hasStopped = position >= frames << 16;
        hasStopped = position + step + (static_cast<std::uint64_t>(Taps() / 2) << 19) > frames << 19;
        return position + step > frames << 19;
    }

    double Interpolate(std::size_t channel) const {
        const auto frame = static_cast<std::int64_t>(position >> 16);
        const double share = static_cast<double>(position & 65535) / 65536;
        const double before = IsAfterSilence(frame) ? 0 : sound->At(channel, frame - 1),
                     at = sound->At(channel, frame);
        return quality == SampleRateConversion::Off ? at : (1 - share) * before + share * at;
    }
    // The last frame of a compressed buffer isn't kept for what follows it.
    bool IsAfterSilence(std::int64_t frame) const {
        return sound->format == AL_FORMAT_MONO_IMA4 && frame % std::ssize(sound->raw[0]) == 0;
    }
    double Convolve(std::size_t channel, double ratio) const {
        const auto band = static_cast<std::uint32_t>(std::log(std::max(ratio, 1.0)) * converter->ratioScale);
        const std::uint64_t row = std::min(band, converter->filterCount - 1) * 64 + (position >> 13 & 63);
        const float* const weights = converter->coefficients + (row << converter->tapsLog2);
        const std::int64_t first = static_cast<std::int64_t>(position >> 19) - (Taps() / 2 - 1);
        double sum = 0;
        for (std::int64_t tap = 0; tap < Taps(); ++tap)
            sum += double{weights[tap]} * sound->At(channel, first + tap);
        return sum;
    }
    std::int64_t Taps() const { return std::int64_t{1} << converter->tapsLog2; }

    const Sound* sound;
    SampleRateConversion quality;
    const goal::SampleRateConverter* converter;
    std::vector<Path> paths;
    std::uint64_t position = 0;  // of 16 fraction bits, with the converter 19
    bool hasStopped = false, areWeightsKnown = false;
    std::array<double, 3> weights{};
    double listenerGain = -1;
};

}  // namespace plain

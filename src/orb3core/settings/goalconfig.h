#pragma once

// The settings of the OpenAL renderer, stored in the `Tessarune` node of the configuration document. Read
// when the configuration is loaded; the server, the renderer and the call interface read the fields of their
// copy. Names, ranges and texts of the settings are rows of settingtable.cpp.

#include <memory>

#include "slib/sxml.h"

namespace orb3 {

/// Quality of the source sample rate converter; stored by name.
enum class SampleRateConversion { Off, Linear, SincLow, SincMedium, SincHigh, SincBest };

/// Quality of the reverb; stored by name, and kept as two fields.
enum class EffectsQuality { Low, Medium, High };

/// Which of the two renders; stored by name.
enum class Sound {
    Refined,  ///< what the ear asks for beyond the formulas: no click, no step, no clipping
    Classic,  ///< the plain formulas, exactly
};

/// Whether the sound field turns against the listener's head; stored by name.
enum class HeadTracking {
    Off,
    Headphones,  ///< where the layout is that of headphones
    Always,      ///< with speakers too
};

struct GoalConfig {
    double gain = 1.0;  ///< Overall output gain, linear, finite and not negative.
    int order = 3;      ///< Spherical-harmonic order of the rendering bus, 1 to 4.
    bool useDirectionalEarlyReflections = false;
    bool useFullLateReflections = true;
    SampleRateConversion sampleRateConversion = SampleRateConversion::Linear;
    bool isLoggingVerbose = false;         ///< Also log calls and informational lines.
    bool isSuspendSupported = true;        ///< Suspend and process calls take effect.
    bool measureOutputPeak = true;         ///< The decoder watches the peak of its output.
    bool useParallelDecoder = false;       ///< The decoder may use several threads.
    bool onlyOneReverb = false;            ///< Only one slot may hold a reverb.
    bool ignoreGameSampleRate = false;     ///< Use defaultSampleRate whatever rate a context asks for.
    bool releaseASIOInBackground = false;  ///< Carried and stored, without effect.
    int defaultFilterOrder = 1;       ///< Order of the source filters where a context names none, 1 or 2.
    int defaultSampleRate = 48000;    ///< Rate in Hz where a context names none, at least 1.
    int suggestedBufferLength = 512;  ///< Frames per output buffer, at least 64.
    int suggestedBufferCount = 4;     ///< Output buffers in the ring, at least 1.
    Sound sound = Sound::Refined;
    HeadTracking headTracking = HeadTracking::Off;
    int headTrackingPort = 4242;               ///< At which trackers are listened to, 1 to 65535.
    bool masqueradeAsGenericSoftware = false;  ///< The device list also has "Generic Software".
    bool masqueradeAsGenericHardware = false;  ///< The device list also has "Generic Hardware".

    bool operator==(const GoalConfig&) const = default;

    /// Fills the record from a node labelled "Tessarune". Numbers out of range are corrected silently. Throws
    /// slib::BadXMLException for another label or a missing attribute, slib::BadDataException for a bad bool;
    /// the record then stays as it was.
    void Read(const slib::SXMLNode& node);

    /// A new node labelled "Tessarune". A sampleRateConversion outside its enumeration is an integrity
    /// failure.
    std::unique_ptr<slib::SXMLNode> CreateNode() const;
};

/// What useDirectionalEarlyReflections and useFullLateReflections stand for.
EffectsQuality GetEffectsQuality(const GoalConfig& config);
void SetEffectsQuality(GoalConfig& config, EffectsQuality quality);

}  // namespace orb3

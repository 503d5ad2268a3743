#pragma once

// The texts by which settings that are enumerations are stored and shown. Used by the table of settings and
// by the reader of the machine's own; no state.

#include "orb3core/settings/goalconfig.h"
#include "platform/platformsettings.h"
#include "slib/enumtexts.h"

namespace orb3 {

/// Of each enumeration that is a setting.
template <typename Enum>
inline constexpr auto choiceTexts = slib::MakeEnumTexts<Enum>();

template <>
inline constexpr auto choiceTexts<SampleRateConversion> = slib::MakeEnumTexts<SampleRateConversion>(
    "Off", "Linear", "SincLow", "SincMedium", "SincHigh", "SincBest");

template <>
inline constexpr auto choiceTexts<EffectsQuality> = slib::MakeEnumTexts<EffectsQuality>("Low", "Medium",
                                                                                        "High");

template <>
inline constexpr auto choiceTexts<Sound> = slib::MakeEnumTexts<Sound>("Refined", "Classic");

template <>
inline constexpr auto choiceTexts<HeadTracking> = slib::MakeEnumTexts<HeadTracking>("Off", "Headphones",
                                                                                    "Always");

template <>
inline constexpr auto choiceTexts<platform::PlatformSettings::Output> =
    slib::MakeEnumTexts<platform::PlatformSettings::Output>("Auto", "Silent", "WaveFile", "PulseAudio",
                                                            "JACK", "ALSA");

template <>
inline constexpr auto choiceTexts<platform::InputSettings::Input> =
    slib::MakeEnumTexts<platform::InputSettings::Input>("Auto", "Silent", "WaveFile");

template <>
inline constexpr auto choiceTexts<platform::PlatformSettings::Pace> =
    slib::MakeEnumTexts<platform::PlatformSettings::Pace>("Renderer", "RealTime");

}  // namespace orb3

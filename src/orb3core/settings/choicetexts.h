#pragma once

// The texts by which settings that are enumerations are stored and shown. Used by the table of settings and
// by the reader of the machine's own; no state.

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "orb3core/settings/goalconfig.h"
#include "platform/platformsettings.h"

namespace orb3 {

/// Of each enumeration, indexed by its values.
template <typename Enum>
inline constexpr std::array<std::string_view, 0> choiceTexts;

template <>
inline constexpr std::array<std::string_view, 5> choiceTexts<SampleRateConversion>{"Off", "Linear", "SincLow",
                                                                                   "SincMedium", "SincHigh"};

template <>
inline constexpr std::array<std::string_view, 3> choiceTexts<EffectsQuality>{"Low", "Medium", "High"};

template <>
inline constexpr std::array<std::string_view, 3> choiceTexts<platform::PlatformSettings::Output>{
    "Auto", "Silent", "WaveFile"};

/// The value with exactly this text; nothing when there is none.
template <typename Enum>
std::optional<Enum> FindChoice(std::string_view text) {
    const auto& texts = choiceTexts<Enum>;
    const auto found = std::find(texts.begin(), texts.end(), text);
    if (found == texts.end()) return std::nullopt;
    return static_cast<Enum>(found - texts.begin());
}

}  // namespace orb3

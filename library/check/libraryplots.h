#pragma once

// The plots of a decoder, ready to be drawn. Called by the program that draws libraries; pure functions.

#include "library/check/librarycheck.h"
#include "library/check/svgplot.h"
#include "library/headdata.h"
#include "library/layouts.h"

namespace design {

/// Level in dB around the horizon, at a low and at a high frequency band.
PolarPlot PlotLevels(const SpeakerLayout& layout, const DecoderTransform& transform, const std::string& name);

/// Length of the energy vector over its own azimuth, with that of the limit of the `order`.
PolarPlot PlotEnergyVectors(const SpeakerLayout& layout, unsigned order, const DecoderTransform& transform,
                            const std::string& name);

/// The signals of all outputs for a unit impulse from `azimuth` (radians), labelled by the layout's speakers.
LinePlot PlotImpulses(const SpeakerLayout& layout, const DecoderTransform& transform, double azimuth,
                      const std::string& name);

/// Interaural delays and level differences over azimuth of a decoder, with those of `head` for comparison,
/// which may be null.
LinePlot PlotDelays(const DecoderTransform& transform, const HeadSpectra* head, const std::string& name);
LinePlot PlotLevelDifferences(const DecoderTransform& transform, const HeadSpectra* head,
                              const std::string& name);

}  // namespace design

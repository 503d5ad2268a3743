#include "library/check/libraryplots.h"

#include <cmath>
#include <numbers>

#include "library/check/acousticcheck.h"
#include "library/fieldbasis.h"
#include "library/headdecoder.h"

namespace design {
namespace {

using std::numbers::pi;

constexpr unsigned steps = 180;
constexpr FrequencyBand low{60, 120, 2}, high{6000, 12000, 3};

// Directions around the horizon, the first again at the end.
std::vector<Direction> ClosedHorizon() {
    std::vector<Direction> directions = HorizonPoints(steps).directions;
    directions.push_back(directions.front());
    return directions;
}

std::vector<double> Marks(const SpeakerLayout& layout) {
    std::vector<double> marks;
    for (const std::size_t i : layout.DecodedSpeakers())
        marks.push_back(AzimuthOf(layout.speakers[i].direction));
    return marks;
}

PlotSeries LevelSeries(const SpeakerLayout& layout, const DecoderTransform& transform,
                       const FrequencyBand& band, const std::string& label) {
    PlotSeries series{.label = label, .x = {}, .y = {}};
    for (const DirectionFigures& at : CheckDirections(layout, transform, band, ClosedHorizon())) {
        series.x.push_back(AzimuthOf(at.direction));
        series.y.push_back(at.level);
    }
    return series;
}

// The azimuths and lengths of the energy vectors of sources around the horizon.
PlotSeries EnergySeries(const SpeakerLayout& layout, const DecoderTransform& transform) {
    PlotSeries series{.label = "energy vector", .x = {}, .y = {}};
    for (const DirectionFigures& at : CheckDirections(layout, transform, high, ClosedHorizon())) {
        series.x.push_back(AzimuthOf(at.energyVector));
        series.y.push_back(at.energyLength);
    }
    return series;
}

using Value = double HorizontalDifference::*;

PlotSeries DifferenceSeries(const HeadSpectra& spectra, Value value, double scale, const std::string& label) {
    PlotSeries series{.label = label, .x = {}, .y = {}};
    for (const HorizontalDifference& at : HorizontalDifferences(spectra)) {
        series.x.push_back(at.azimuth * 180 / pi);
        series.y.push_back(at.*value * scale);
    }
    return series;
}

LinePlot PlotDifferences(const DecoderTransform& transform, const HeadSpectra* head, Value value,
                         double scale, const LinePlot& frame) {
    LinePlot plot = frame;
    plot.xLabel = "azimuth, degrees to the left";
    plot.xRange = {-180, 180};
    plot.xStep = 45;
    std::vector<Direction> horizon;
    for (int degrees = -180; degrees <= 180; degrees += 5)
        horizon.push_back(DirectionAt(degrees * pi / 180, 0));
    const HeadSpectra decoded = DecodedSpectra(transform, horizon);
    plot.series.push_back(DifferenceSeries(decoded, value, scale, "decoder"));
    if (head == nullptr) return plot;
    HeadSpectra measured = *head;
    measured.directions.resize(static_cast<std::size_t>(head->measured));
    for (Eigen::MatrixXcd& ear : measured.ears)
        ear.conservativeResize(head->measured, Eigen::NoChange);
    plot.series.push_back(DifferenceSeries(measured, value, scale, "head"));
    plot.series.back().isDashed = true;
    return plot;
}

}  // namespace

PolarPlot PlotLevels(const SpeakerLayout& layout, const DecoderTransform& transform,
                     const std::string& name) {
    return {.title = name + ": level by direction",
            .unit = " dB",
            .series = {LevelSeries(layout, transform, low, "60 to 120 Hz"),
                       LevelSeries(layout, transform, high, "6 to 12 kHz")},
            .range = {-12, 6},
            .marks = Marks(layout)};
}

PolarPlot PlotEnergyVectors(const SpeakerLayout& layout, unsigned order, const DecoderTransform& transform,
                            const std::string& name) {
    PlotSeries limit{.label = "limit of order " + std::to_string(order), .x = {}, .y = {}, .isDashed = true};
    for (unsigned i = 0; i <= steps; ++i) {
        limit.x.push_back(2 * pi * i / steps);
        limit.y.push_back(MaxEnergyLength(order, layout.IsFlat()));
    }
    return {.title = name + ": energy vectors, 6 to 12 kHz",
            .unit = "",
            .series = {EnergySeries(layout, transform), limit},
            .range = {0, 1},
            .marks = Marks(layout)};
}

LinePlot PlotImpulses(const SpeakerLayout& layout, const DecoderTransform& transform, double azimuth,
                      const std::string& name) {
    const unsigned order = static_cast<unsigned>(std::lround(std::sqrt(transform.impulses.rows))) - 1;
    const Eigen::MatrixXd wave = PlaneWaveMatrix({DirectionAt(azimuth, 0)}, order);
    const std::uint32_t length = transform.Length();
    const double first =
        transform.start == 0 ? 0 : static_cast<double>(transform.start) - static_cast<double>(length);
    LinePlot plot{.title = name + ": a source at " + std::to_string(std::lround(azimuth * 180 / pi)) + "°",
                  .xLabel = "time, ms",
                  .yLabel = "amplitude",
                  .series = {},
                  .xRange = {},
                  .yRange = {}};
    for (std::uint32_t output = 0; output < transform.impulses.columns; ++output) {
        PlotSeries series{.label = layout.speakers[output].label, .x = {}, .y = {}};
        for (std::uint32_t i = 0; i < transform.width; ++i) {
            double sum = 0;
            for (std::uint32_t input = 0; input < transform.impulses.rows; ++input)
                sum += wave(0, input) * transform.impulses(input, output)[(transform.start + i) % length];
            series.x.push_back((first + i) / transform.sampleRate * 1000);
            series.y.push_back(sum);
        }
        plot.series.push_back(std::move(series));
    }
    return plot;
}

LinePlot PlotDelays(const DecoderTransform& transform, const HeadSpectra* head, const std::string& name) {
    LinePlot frame;
    frame.title = name + ": interaural delay below 1.5 kHz";
    frame.yLabel = "right ear behind left, µs";
    return PlotDifferences(transform, head, &HorizontalDifference::delay, 1e6, frame);
}

LinePlot PlotLevelDifferences(const DecoderTransform& transform, const HeadSpectra* head,
                              const std::string& name) {
    LinePlot frame;
    frame.title = name + ": interaural level difference";
    frame.yLabel = "left ear above right, dB";
    return PlotDifferences(transform, head, &HorizontalDifference::level, 1, frame);
}

}  // namespace design

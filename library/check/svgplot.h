#pragma once

// Plots as SVG documents: lines over two axes, and lines around a listener. Called by the program that draws
// libraries; pure functions that return a whole document, UTF-8, of a fixed size.

#include <string>
#include <vector>

namespace design {

/// One line, with as many `x` as `y`. Points that aren't finite break it.
struct PlotSeries {
    std::string label;  ///< for the legend
    std::vector<double> x, y;
    bool isDashed = false;
};

/// A range of an axis; without one, with both ends alike, it is that of the data.
struct PlotRange {
    double low = 0, high = 0;
};

struct LinePlot {
    std::string title, xLabel, yLabel;
    std::vector<PlotSeries> series;
    PlotRange xRange, yRange;
    double xStep = 0;  ///< between ticks; 0 for a round one
};

/// Throws slib::BadParameterException without a single point to draw.
std::string DrawLines(const LinePlot& plot);

/// As seen from above: ahead is up, left is left.
struct PolarPlot {
    std::string title, unit;
    std::vector<PlotSeries> series;  ///< x: azimuths in radians, to the left; y: radii, held inside the range
    PlotRange range;                 ///< of the radii, from the middle outwards
    std::vector<double> marks;       ///< azimuths of speakers
};

/// Throws slib::BadParameterException for an empty range.
std::string DrawPolar(const PolarPlot& plot);

/// The multiples of a round number within the range, ascending, at most `count` or one or two more.
std::vector<double> RoundTicks(const PlotRange& range, int count);

}  // namespace design

#include "library/check/svgplot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>

#include "slib/exception.h"
#include "slib/sxml.h"

namespace design {
namespace {

// Distinct also to the colour-blind (Okabe and Ito 2008), the lightest left out.
constexpr std::array<const char*, 8> colours{"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                             "#e69f00", "#56b4e9", "#333333", "#8b6914"};
constexpr double plotWidth = 760, plotHeight = 460, polarHeight = 600;
constexpr double leftMargin = 76, topMargin = 52, bottomMargin = 60, legend = 170;  // margins
constexpr double rowHeight = 22;                                                    // of the legend

std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value == 0 ? 0 : value);
    return text;
}

// As short as it differs from its neighbours.
std::string TickText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", std::abs(value) < 1e-12 ? 0 : value);
    return text;
}

// XML has no control characters.
std::string Escaped(std::string text) {
    std::erase_if(text, [](char c) { return static_cast<unsigned char>(c) < ' '; });
    return slib::EscapeXml(text);
}

struct Point {
    double x, y;
};

class Drawing {
public:
    Drawing(double width, double height, const std::string& title) {
        const std::string size = Number(width) + " " + Number(height);
        text =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
            "viewBox=\"0 0 " +
            size + "\" width=\"" + Number(width) + "\" height=\"" + Number(height) +
            "\" font-family=\"sans-serif\" font-size=\"13\" fill=\"#222\">\n<title>" + Escaped(title) +
            "</title>\n<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
        Text({width / 2, 28}, "middle", title, "font-size=\"17\" font-weight=\"bold\"");
    }

    void Line(Point from, Point to, const char* colour, double width = 1) {
        text += "<line x1=\"" + Number(from.x) + "\" y1=\"" + Number(from.y) + "\" x2=\"" + Number(to.x) +
                "\" y2=\"" + Number(to.y) + "\" stroke=\"" + colour + "\" stroke-width=\"" + Number(width) +
                "\"/>\n";
    }

    void Circle(Point centre, double radius, const std::string& style) {
        text += "<circle cx=\"" + Number(centre.x) + "\" cy=\"" + Number(centre.y) + "\" r=\"" +
                Number(radius) + "\" " + style + "/>\n";
    }

    void Text(Point at, const char* anchor, const std::string& content, const std::string& style = "") {
        text += "<text x=\"" + Number(at.x) + "\" y=\"" + Number(at.y) + "\" text-anchor=\"" + anchor + "\"" +
                (style.empty() ? "" : " ") + style + ">" + Escaped(content) + "</text>\n";
    }

    void Stroke(const std::vector<Point>& points, const std::string& style) {
        if (points.empty()) return;
        text += "<polyline fill=\"none\" " + style + " points=\"";
        for (const Point& point : points)
            text += Number(point.x) + "," + Number(point.y) + " ";
        text.back() = '"';
        text += "/>\n";
    }

    // A series by the place of each of its points.
    template <typename Place>
    void Series(const PlotSeries& series, std::size_t index, const Place& place) {
        std::vector<Point> points;
        for (std::size_t i = 0; i < std::min(series.x.size(), series.y.size()); ++i) {
            if (std::isfinite(series.x[i]) && std::isfinite(series.y[i])) {
                points.push_back(place(series.x[i], series.y[i]));
                continue;
            }
            Stroke(points, StyleOf(series, index));
            points.clear();
        }
        Stroke(points, StyleOf(series, index));
    }

    void Legend(const std::vector<PlotSeries>& all, Point at) {
        for (std::size_t i = 0; i < all.size(); ++i, at.y += rowHeight) {
            Stroke({at, {at.x + 26, at.y}}, StyleOf(all[i], i));
            Text({at.x + 34, at.y + 4.5}, "start", all[i].label);
        }
    }

    std::string Finish() { return text + "</svg>\n"; }

private:
    std::string text;

    static std::string StyleOf(const PlotSeries& series, std::size_t index) {
        return std::string("stroke=\"") + colours[index % colours.size()] +
               "\" stroke-width=\"2\" stroke-linejoin=\"round\"" +
               (series.isDashed ? " stroke-dasharray=\"6 4\"" : "");
    }
};

// The given range, or that of all values, widened so that it has a height.
PlotRange RangeOf(const PlotRange& given, const std::vector<PlotSeries>& all,
                  std::vector<double> PlotSeries::*values) {
    if (given.low < given.high) return given;
    PlotRange range{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (const PlotSeries& series : all)
        for (const double value : series.*values)
            if (std::isfinite(value)) range = {std::min(range.low, value), std::max(range.high, value)};
    if (range.low > range.high) throw slib::BadParameterException("A plot needs points.");
    const double margin = range.low == range.high ? 0.5 : (range.high - range.low) / 30;
    return {range.low - margin, range.high + margin};
}

std::vector<double> Multiples(const PlotRange& range, double step) {
    std::vector<double> ticks;
    const auto first = std::llround(std::ceil(range.low / step - 1e-9));
    const auto last = std::llround(std::floor(range.high / step + 1e-9));
    for (auto i = first; i <= last; ++i)
        ticks.push_back(static_cast<double>(i) * step);
    return ticks;
}

double ShareOf(const PlotRange& range, double value) {
    return std::clamp((value - range.low) / (range.high - range.low), 0.0, 1.0);
}

Point Around(Point centre, double azimuth, double radius) {
    return {centre.x - radius * std::sin(azimuth), centre.y - radius * std::cos(azimuth)};
}

void DrawRings(Drawing& drawing, const PolarPlot& plot, Point centre, double radius) {
    for (int spoke = 0; spoke < 12; ++spoke) {
        const double azimuth = spoke * std::numbers::pi / 6;
        drawing.Line(centre, Around(centre, azimuth, radius), "#e2e2e2");
        const Point at = Around(centre, azimuth, radius + 30);
        const int degrees = spoke <= 6 ? 30 * spoke : 30 * spoke - 360;
        drawing.Text({at.x, at.y + 4.5}, "middle", std::to_string(degrees) + "°", "fill=\"#666\"");
    }
    for (const double tick : RoundTicks(plot.range, 5)) {
        const double ring = radius * ShareOf(plot.range, tick);
        drawing.Circle(centre, ring, "fill=\"none\" stroke=\"#d0d0d0\"");
        drawing.Text({centre.x + 4, centre.y - ring - 3}, "start", TickText(tick) + plot.unit,
                     "fill=\"#666\" font-size=\"11\"");
    }
    drawing.Circle(centre, radius, "fill=\"none\" stroke=\"#888\"");
    for (const double mark : plot.marks)
        drawing.Circle(Around(centre, mark, radius), 6, "fill=\"#222\"");
}

}  // namespace

std::vector<double> RoundTicks(const PlotRange& range, int count) {
    const double rough = (range.high - range.low) / count;
    const double power = std::pow(10, std::floor(std::log10(rough)));
    double step = 10 * power;
    for (const double factor : {5.0, 2.0, 1.0})
        if (factor * power >= rough * 0.999) step = factor * power;
    return Multiples(range, step);
}

std::string DrawLines(const LinePlot& plot) {
    const PlotRange x = RangeOf(plot.xRange, plot.series, &PlotSeries::x);
    const PlotRange y = RangeOf(plot.yRange, plot.series, &PlotSeries::y);
    const double right = plotWidth - legend, bottom = plotHeight - bottomMargin;
    const auto place = [&](double atX, double atY) {
        return Point{leftMargin + (right - leftMargin) * ShareOf(x, atX),
                     bottom - (bottom - topMargin) * ShareOf(y, atY)};
    };
    Drawing drawing(plotWidth, plotHeight, plot.title);
    for (const double tick : (plot.xStep > 0 ? Multiples(x, plot.xStep) : RoundTicks(x, 8))) {
        const Point at = place(tick, y.low);
        drawing.Line(at, {at.x, topMargin}, "#e2e2e2");
        drawing.Text({at.x, bottom + 18}, "middle", TickText(tick));
    }
    for (const double tick : RoundTicks(y, 6)) {
        const Point at = place(x.low, tick);
        drawing.Line(at, {right, at.y}, tick == 0 ? "#999" : "#e2e2e2");
        drawing.Text({leftMargin - 8, at.y + 4.5}, "end", TickText(tick));
    }
    drawing.Stroke({{leftMargin, topMargin}, {leftMargin, bottom}, {right, bottom}}, "stroke=\"#444\"");
    for (std::size_t i = 0; i < plot.series.size(); ++i)
        drawing.Series(plot.series[i], i, place);
    drawing.Text({(leftMargin + right) / 2, plotHeight - 16}, "middle", plot.xLabel);
    const std::string middle = Number((topMargin + bottom) / 2);
    drawing.Text({22, (topMargin + bottom) / 2}, "middle", plot.yLabel,
                 "transform=\"rotate(-90 22 " + middle + ")\"");
    drawing.Legend(plot.series, {right + 18, topMargin + 10});
    return drawing.Finish();
}

std::string DrawPolar(const PolarPlot& plot) {
    if (!(plot.range.low < plot.range.high))
        throw slib::BadParameterException("A polar plot needs a range of radii.");
    const double radius = 225;
    const Point centre{60 + radius, 60 + 30 + radius};
    Drawing drawing(plotWidth, polarHeight, plot.title);
    DrawRings(drawing, plot, centre, radius);
    for (std::size_t i = 0; i < plot.series.size(); ++i)
        drawing.Series(plot.series[i], i, [&](double azimuth, double value) {
            return Around(centre, azimuth, radius * ShareOf(plot.range, value));
        });
    drawing.Legend(plot.series, {centre.x + radius + 62, 80});
    return drawing.Finish();
}

}  // namespace design

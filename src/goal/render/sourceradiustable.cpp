#include "goal/render/sourceradiustable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "slib/exception.h"

namespace goal {
namespace {

constexpr unsigned lastRow = SourceRadiusTable::rowCount - 1;

struct KnownRow {
    unsigned row;
    std::array<double, 6> gains;
};

constexpr std::array<KnownRow, 6> knownRows{{
    {1, {1, 1.223e-05, 4.66e-06, -3e-07, -4.5e-07, 8e-08}},
    {120, {1, 0.02142, 0.0075482, -0.00049053, -0.0014943, 8.963e-05}},
    {160, {1, 0.40502, 0.17193, 0.020708, -0.018116, -0.0031691}},
    {200, {1, 0.96011, 0.88422, 0.77959, 0.65586, 0.52377}},
    {240, {1, 0.99667, 0.99003, 0.98013, 0.96707, 0.95094}},
    {320, {1, 0.99998, 0.99993, 0.99987, 0.99978, 0.99966}},
}};

double LogDistance(unsigned row) {
    return (row - 161.5) / 32;
}

// Of the slopes on both sides of a knot, weighted by their widths; 0 where they differ in sign.
double HarmonicMean(double before, double widthBefore, double after, double widthAfter) {
    if (before * after <= 0) return 0;
    const double weightBefore = 2 * widthAfter + widthBefore, weightAfter = widthAfter + 2 * widthBefore;
    return (weightBefore + weightAfter) / (weightBefore / before + weightAfter / after);
}

// One column from order 1 on, as a cubic in s between knots.
struct Column {
    static constexpr std::size_t knotCount = knownRows.size() + 2, lastKnown = knownRows.size();

    double b;
    std::array<double, knotCount> s{}, gain{}, slope{};

    explicit Column(unsigned order);
    double Abscissa(unsigned row) const;
    double Secant(std::size_t knot) const { return (gain[knot + 1] - gain[knot]) / (s[knot + 1] - s[knot]); }
    double MonotoneSlope(std::size_t knot) const;
    double operator()(unsigned row) const;
};

Column::Column(unsigned order) : b(0.45 * order * (order + 1) / 2) {
    for (std::size_t i = 0; i < knownRows.size(); ++i) {
        s[i + 1] = Abscissa(knownRows[i].row);
        gain[i + 1] = knownRows[i].gains[order];
    }
    s.back() = gain.back() = 1;
    slope[0] = slope[1] = Secant(0);
    for (std::size_t i = 2; i < lastKnown; ++i)
        slope[i] = MonotoneSlope(i);
    slope[lastKnown] = slope.back() = 1;
}

double Column::Abscissa(unsigned row) const {
    const double square = std::exp(2 * LogDistance(row));
    return square / (square + b);
}

// The slope over s at a knot between two known rows, 0 where the column turns.
double Column::MonotoneSlope(std::size_t knot) const {
    const double before = Secant(knot - 1), after = Secant(knot);
    if (before * after <= 0) return 0;
    // Over ln x, in which gain / s changes slowly.
    const auto at = [&](std::size_t i) { return LogDistance(knownRows[i - 1].row); };
    const auto quotient = [&](std::size_t i) { return gain[i] / s[i]; };
    const double widthBefore = at(knot) - at(knot - 1), widthAfter = at(knot + 1) - at(knot);
    const double rise = HarmonicMean((quotient(knot) - quotient(knot - 1)) / widthBefore, widthBefore,
                                     (quotient(knot + 1) - quotient(knot)) / widthAfter, widthAfter);
    const double raw = quotient(knot) + rise / (2 * (1 - s[knot]));  // ds / d ln x = 2 s (1 - s)
    const double steepest = 3 * std::min(std::abs(before), std::abs(after));
    return std::copysign(std::clamp(std::copysign(1.0, before) * raw, 0.0, steepest), before);
}

double Column::operator()(unsigned row) const {
    const double at = Abscissa(row);
    const auto right = std::upper_bound(s.begin(), s.end(), at);
    const auto i = static_cast<std::size_t>(right - s.begin()) - 1;
    const double width = s[i + 1] - s[i], t = (at - s[i]) / width, rest = 1 - t;
    return gain[i] * rest * rest * (1 + 2 * t) + gain[i + 1] * t * t * (3 - 2 * t) +
           width * t * rest * (slope[i] * rest - slope[i + 1] * t);
}

}  // namespace

SourceRadiusTable::SourceRadiusTable(unsigned order)
    : columnCount(order + 1), gains(std::size_t{rowCount} * columnCount, 1) {
    if (order > 5) slib::ThrowUnreachable();
    for (unsigned c = 1; c < columnCount; ++c) {
        const Column column(c);
        gains[c] = 0;
        for (unsigned row = 1; row < lastRow; ++row)
            gains[std::size_t{row} * columnCount + c] = static_cast<float>(column(row));
    }
}

void SourceRadiusTable::lookupRadiusGains(float x, float* out) const {
    const float position = std::log(x) * 32 + 161.5F;
    if (!(position >= 1 && position < lastRow)) {
        std::copy_n(gains.data() + (position >= 1 ? std::size_t{lastRow} * columnCount : 0), columnCount,
                    out);
        return;
    }
    const auto row = static_cast<unsigned>(position);
    const float share = position - static_cast<float>(row);
    const float* low = gains.data() + std::size_t{row} * columnCount;
    const float* high = low + columnCount;
    for (unsigned c = 0; c < columnCount; ++c)
        out[c] = low[c] + share * (high[c] - low[c]);
}

}  // namespace goal

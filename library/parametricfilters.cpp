#include "library/parametricfilters.h"

#include <array>
#include <charconv>
#include <cmath>
#include <complex>
#include <numbers>
#include <optional>
#include <sstream>
#include <string_view>

#include "slib/exception.h"
#include "slib/text.h"

namespace design {
namespace {

using Complex = std::complex<double>;

constexpr std::size_t mostFilters = 64;
constexpr std::size_t longestLine = 1000;

struct Word {
    const char* text;
    FilterKind kind;
};
constexpr std::array<Word, 11> kinds{{{"PK", FilterKind::Peak},
                                      {"PEQ", FilterKind::Peak},
                                      {"LS", FilterKind::LowShelf},
                                      {"LSC", FilterKind::LowShelf},
                                      {"HS", FilterKind::HighShelf},
                                      {"HSC", FilterKind::HighShelf},
                                      {"LP", FilterKind::LowPass},
                                      {"LPQ", FilterKind::LowPass},
                                      {"HP", FilterKind::HighPass},
                                      {"HPQ", FilterKind::HighPass},
                                      {"NO", FilterKind::Notch}}};

bool HasGain(FilterKind kind) {
    return kind == FilterKind::Peak || kind == FilterKind::LowShelf || kind == FilterKind::HighShelf;
}

bool NeedsQ(FilterKind kind) {
    return kind == FilterKind::Peak || kind == FilterKind::Notch;
}

class LineReader {
public:
    LineReader(std::string line, std::string place) : place(std::move(place)), words(std::move(line)) {}

    /// The filter of the line, when it has one that is on.
    std::optional<ParametricFilter> Read() {
        std::string word = Next();
        if (word.empty()) return std::nullopt;
        if (slib::EqualIgnoringCase(word, "Preamp:")) {
            Number("preamp", -100, 100, "dB");
            End();
            return std::nullopt;
        }
        if (slib::EqualIgnoringCase(word, "Filter"))
            Next();  // its number
        else if (!slib::EqualIgnoringCase(word, "Filter:"))
            Fail("'" + word + "' is neither 'Preamp:' nor 'Filter'");
        const std::string state = slib::toUpper(Next());
        if (state != "ON" && state != "OFF") Fail("the filter is neither ON nor OFF");
        if (state == "OFF") return std::nullopt;
        return ReadFilter();
    }

private:
    const std::string place;
    std::istringstream words;

    [[noreturn]] void Fail(const std::string& fault) const {
        throw slib::BadDataException(place + fault + ".");
    }

    std::string Next() {
        std::string word;
        words >> word;
        return word;
    }

    ParametricFilter ReadFilter() {
        ParametricFilter filter;
        filter.kind = Kind();
        bool hasFrequency = false, hasGain = false, hasQ = false;
        for (std::string name = slib::toUpper(Next()); !name.empty(); name = slib::toUpper(Next())) {
            if (name == "FC" && !hasFrequency) {
                filter.frequency = Number("frequency", 10, 22049, "Hz");
                hasFrequency = true;
            } else if (name == "GAIN" && !hasGain && HasGain(filter.kind)) {
                filter.gain = Number("gain", -40, 40, "dB");
                hasGain = true;
            } else if (name == "Q" && !hasQ) {
                filter.q = Number("Q", 0.05, 50, "");
                hasQ = true;
            } else {
                Fail("'" + name + "' isn't expected here");
            }
        }
        if (!hasFrequency) Fail("the filter has no frequency (Fc)");
        if (HasGain(filter.kind) && !hasGain) Fail("the filter has no gain (Gain)");
        if (NeedsQ(filter.kind) && !hasQ) Fail("the filter has no Q");
        return filter;
    }

    FilterKind Kind() {
        const std::string word = Next();
        for (const Word& kind : kinds)
            if (slib::EqualIgnoringCase(word, kind.text)) return kind.kind;
        std::string known;
        for (const Word& kind : kinds)
            known.append(known.empty() ? "" : ", ").append(kind.text);
        Fail("the filter '" + word + "' is unknown; it must be one of " + known);
    }

    // With its unit behind it, if that is there.
    double Number(const std::string& what, double least, double greatest, const std::string& unit) {
        const std::string word = Next();
        double value = 0;
        const char* first = word.data() + (word.starts_with('+') ? 1 : 0);
        const char* end = word.data() + word.size();
        const auto result = std::from_chars(first, end, value);
        const bool isNumber = result.ec == std::errc() && result.ptr == end;
        if (!isNumber || !(value >= least && value <= greatest)) {
            std::string fault("the ");
            fault.append(what).append(" must be a number from ").append(slib::FormatNumber(least));
            fault.append(" to ").append(slib::FormatNumber(greatest));
            if (!unit.empty()) fault.append(" ").append(unit);
            Fail(fault.append(", not '").append(word).append("'"));
        }
        SkipUnit(unit);
        return value;
    }

    void SkipUnit(const std::string& unit) {
        const auto before = words.tellg();
        if (before < 0) return;
        if (unit.empty() || !slib::EqualIgnoringCase(Next(), unit)) {
            words.clear();
            words.seekg(before);
        }
    }

    void End() {
        if (const std::string word = Next(); !word.empty()) Fail("'" + word + "' isn't expected here");
    }
};

/// Numerator and denominator, from the power 0 of the delay up.
struct Section {
    std::array<double, 3> b, a;
};

Section ShelfOf(bool isHigh, double amplitude, double cosine, double alpha) {
    const double plus = amplitude + 1, minus = amplitude - 1, slope = 2 * std::sqrt(amplitude) * alpha;
    const double turn = isHigh ? -cosine : cosine, sign = isHigh ? -1 : 1;
    return {{amplitude * (plus - minus * turn + slope), sign * 2 * amplitude * (minus - plus * turn),
             amplitude * (plus - minus * turn - slope)},
            {plus + minus * turn + slope, -sign * 2 * (minus + plus * turn), plus + minus * turn - slope}};
}

Section SectionOf(const ParametricFilter& filter, double sampleRate) {
    const double omega = 2 * std::numbers::pi * filter.frequency / sampleRate;
    const double cosine = std::cos(omega), alpha = std::sin(omega) / (2 * filter.q);
    const double amplitude = std::pow(10, filter.gain / 40);
    const std::array<double, 3> resonance{1 + alpha, -2 * cosine, 1 - alpha};
    switch (filter.kind) {
        case FilterKind::Peak:
            return {{1 + alpha * amplitude, -2 * cosine, 1 - alpha * amplitude},
                    {1 + alpha / amplitude, -2 * cosine, 1 - alpha / amplitude}};
        case FilterKind::LowShelf:
            return ShelfOf(false, amplitude, cosine, alpha);
        case FilterKind::HighShelf:
            return ShelfOf(true, amplitude, cosine, alpha);
        case FilterKind::LowPass:
            return {{(1 - cosine) / 2, 1 - cosine, (1 - cosine) / 2}, resonance};
        case FilterKind::HighPass:
            return {{(1 + cosine) / 2, -(1 + cosine), (1 + cosine) / 2}, resonance};
        case FilterKind::Notch:
            return {{1, -2 * cosine, 1}, resonance};
    }
    slib::ThrowUnreachable();
}

}  // namespace

std::vector<ParametricFilter> ReadParametricFilters(std::istream& stream, const std::string& source) {
    std::vector<ParametricFilter> filters;
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
        const std::string place = source + ", line " + std::to_string(++number) + ": ";
        if (line.size() > longestLine) throw slib::BadDataException(place + "the line is too long.");
        if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
        if (const auto filter = LineReader(line.substr(0, line.find('#')), place).Read())
            filters.push_back(*filter);
        if (filters.size() > mostFilters)
            throw slib::BadDataException(place + "there are more than 64 filters.");
    }
    if (filters.empty()) throw slib::BadDataException(source + ": the file has no filter that is on.");
    return filters;
}

Eigen::VectorXd FilterLevels(const std::vector<ParametricFilter>& filters, double sampleRate,
                             const Eigen::VectorXd& frequencies) {
    Eigen::VectorXd levels = Eigen::VectorXd::Zero(frequencies.size());
    for (const ParametricFilter& filter : filters) {
        const Section section = SectionOf(filter, sampleRate);
        for (Eigen::Index i = 0; i < frequencies.size(); ++i) {
            const Complex z = std::polar(1.0, -2 * std::numbers::pi * frequencies[i] / sampleRate);
            const auto at = [&](const std::array<double, 3>& c) {
                return std::norm(c[0] + z * (c[1] + z * c[2]));
            };
            levels[i] += 10 * std::log10(std::max(at(section.b) / at(section.a), 1e-12));
        }
    }
    return levels;
}

}  // namespace design

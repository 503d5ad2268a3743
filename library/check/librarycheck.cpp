#include "library/check/librarycheck.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <numbers>

#include "library/check/acousticcheck.h"
#include "library/fieldbasis.h"
#include "library/formatlayout.h"
#include "library/headpreparation.h"
#include "library/libraryassembly.h"
#include "library/librarywriter.h"
#include "library/panning.h"
#include "library/sofareader.h"
#include "library/speakerdecoder.h"
#include "library/spherehead.h"
#include "slib/exception.h"

namespace design {
namespace {

using orb3::fl::Conversion;
using orb3::fl::Format;
using orb3::fl::FormatLibrarian;

const FrequencyBand bands[] = {{60, 120, 2},    {120, 250, 2},   {250, 500, 3},   {500, 1000, 3},
                               {1000, 2000, 3}, {2000, 6000, 3}, {6000, 12000, 3}};
constexpr double velocityCounts = 700;  // Hz, up to where
constexpr double widestPair = 90 * std::numbers::pi / 180;

constexpr FrequencyBand lowBand{60, 120, 2}, highBand{6000, 12000, 3}, wholeBand{300, 15000, 12};

Format FormatOf(const FormatLibrarian& library, const std::string& tag) {
    Format format;
    library.getFormat(library.findFormat(tag), format);
    return format;
}

// "-0.74", for a level in dB.
std::string Rounded(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%+.2f", value);
    return text;
}

// Reads the transform at `index` and fills the finding from it.
void Examine(const FormatLibrarian& library, std::uint32_t index, TransformFinding& finding) {
    const Format from = FormatOf(library, finding.conversion.from);
    const Format to = FormatOf(library, finding.conversion.to);
    library.findMethod(finding.conversion.method);
    DecoderTransform transform;
    library.getTransform(index, finding.rate, transform);
    transform.validate();
    finding.inputs = transform.impulses.rows;
    finding.outputs = transform.impulses.columns;
    finding.width = transform.width;
    if (finding.inputs != from.channelCount || finding.outputs != to.channelCount)
        throw slib::BadDataException("The transform is not of its formats' channels.");
    finding.hasLevel = OrderOfFormat(from) > 0 && to.speakers;
    if (!finding.hasLevel) return;
    finding.level = FrontLevel(LayoutOfFormat(to), transform);
    if (!(std::abs(finding.level) <= levelTolerance))
        throw slib::BadDataException("A source ahead is off in level by " + Rounded(finding.level) + " dB.");
}

bool IsHeadphones(const Format& format) {
    return format.family == slib::StandardFormat::HeadphoneStereo;
}

// Runs `use` for each decoder of the sound field, for headphones or for speakers, with its order and formats.
template <typename Use>
void ForEachDecoder(const FormatLibrarian& library, bool isForHeadphones, int rate, const Use& use) {
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i) {
        Conversion conversion;
        library.getConversion(i, conversion);
        const unsigned order = OrderOfFormat(FormatOf(library, conversion.from));
        const Format to = FormatOf(library, conversion.to);
        if (order == 0 || !to.speakers || IsHeadphones(to) != isForHeadphones) continue;
        DecoderTransform transform;
        library.getTransform(i, rate, transform);
        use(conversion, order, to, transform);
    }
}

bool IsBetweenFarNeighbours(const SpeakerLayout& layout, const Direction& direction) {
    const double azimuth = AzimuthOf(direction);
    double toLeft = 2 * std::numbers::pi, toRight = 2 * std::numbers::pi;
    for (const std::size_t speaker : layout.DecodedSpeakers()) {
        const double turn =
            std::remainder(AzimuthOf(layout.speakers[speaker].direction) - azimuth, 2 * std::numbers::pi);
        if (std::abs(turn) < 1e-6) return false;
        toLeft = std::min(toLeft, turn > 0 ? turn : turn + 2 * std::numbers::pi);
        toRight = std::min(toRight, turn < 0 ? -turn : 2 * std::numbers::pi - turn);
    }
    return toLeft + toRight > widestPair + 1e-6;
}

// One a direction.
std::vector<bool> GapsOf(const SpeakerLayout& layout, const std::vector<Direction>& directions) {
    std::vector<bool> gaps;
    gaps.reserve(directions.size());
    std::vector<Direction> speakers;
    for (const std::size_t speaker : layout.DecodedSpeakers())
        speakers.push_back(layout.speakers[speaker].direction);
    const Panner panner(speakers, layout.IsFlat());
    for (const Direction& direction : directions)
        gaps.push_back(layout.IsFlat() ? IsBetweenFarNeighbours(layout, direction)
                                       : panner(direction).isInGap);
    return gaps;
}

void AddBand(const std::vector<DirectionFigures>& directions, const std::vector<bool>& gaps,
             bool isOfVelocity, SpeakerFigures& figures) {
    double sum = 0, greatest = 0;
    int count = 0;
    for (std::size_t i = 0; i < directions.size(); ++i) {
        const DirectionFigures& at = directions[i];
        figures.leastInBands = std::min(figures.leastInBands, at.level);
        figures.greatestInBands = std::max(figures.greatestInBands, at.level);
        if (gaps[i]) continue;
        const double error = isOfVelocity ? at.velocityError : at.energyError;
        sum += error;
        greatest = std::max(greatest, error);
        ++count;
    }
    figures.meanErrorInBands = std::max(figures.meanErrorInBands, count == 0 ? 0 : sum / count);
    figures.greatestErrorInBands = std::max(figures.greatestErrorInBands, greatest);
}

void AddBands(const SpeakerLayout& layout, const DecoderTransform& transform,
              const std::vector<Direction>& around, SpeakerFigures& figures) {
    const std::vector<bool> gaps = GapsOf(layout, around);
    const double lowest = layout.BassSpeakers().empty() ? 0 : 2 * layout.bassCrossover;
    for (const FrequencyBand& band : bands) {
        if (band.low < lowest) continue;
        const bool isOfVelocity = band.high < velocityCounts;
        if (isOfVelocity && !figures.hasVelocity) continue;
        AddBand(CheckDirections(layout, transform, band, around), gaps, isOfVelocity, figures);
    }
}

struct Limits {
    double level, meanError, greatestError;  // dB, degrees
};

Limits LimitsOf(const SpeakerLayout& layout, unsigned order) {
    const bool isSurround = layout.family == slib::StandardFormat::Surround51 ||
                            layout.family == slib::StandardFormat::Surround51ITU ||
                            layout.family == slib::StandardFormat::Surround71 ||
                            layout.family == slib::StandardFormat::Surround71Wide;
    if (isSurround && order >= 3) return {0.5, 2, 5};
    if (layout.IsFlat()) return {0.75, 4, 15};
    return order == 1 ? Limits{0.75, 9, 26} : Limits{1.1, 5, 15};
}

std::string FaultOf(const SpeakerFigures& figures, const Limits& limits) {
    const std::string decoder =
        "'" + figures.layout + "' by '" + figures.method + "' at order " + std::to_string(figures.order);
    const double level = std::max(-figures.leastInBands, figures.greatestInBands);
    if (level > limits.level) return decoder + " is off in level by " + Rounded(level) + " dB.";
    if (figures.meanErrorInBands > limits.meanError)
        return decoder + " is off in direction by " + Rounded(figures.meanErrorInBands) +
               " degrees in the mean.";
    if (figures.greatestErrorInBands > limits.greatestError)
        return decoder + " is off in direction by " + Rounded(figures.greatestErrorInBands) + " degrees.";
    return "";
}

bool StandsAs(const SpeakerLayout& layout, const SpeakerLayout& planned) {
    return layout.name == planned.name &&
           std::ranges::equal(layout.speakers, planned.speakers,
                              [](const RoomSpeaker& a, const RoomSpeaker& b) {
                                  return AngleBetween(a.direction, b.direction) < 1e-3;
                              });
}

// What we chose ourselves, and all around the listener: a room is as good as it can be.
bool HasLimits(const SpeakerLayout& layout, const SpeakerFigures& figures) {
    const std::vector<SpeakerLayout> planned = DefaultPlan("").layouts;
    return figures.hasVelocity && figures.method == DescribeMethod(SpeakerMethod::DualBand).tag &&
           std::ranges::any_of(planned, [&](const SpeakerLayout& ours) { return StandsAs(layout, ours); });
}

SpeakerFigures FiguresOf(const SpeakerLayout& layout, unsigned order, const DecoderTransform& transform) {
    const bool isFlat = layout.IsFlat();
    const std::vector<Direction> around = (isFlat ? HorizonPoints(180) : SpiralPoints(400)).directions;
    SpeakerFigures figures;
    figures.layout = layout.name;
    figures.order = order;
    figures.hasVelocity = layout.kind == LayoutKind::Speakers && layout.DecodedSpeakers().size() > 2 &&
                          !HasUnknownDelays(layout);
    for (const DirectionFigures& at : CheckDirections(layout, transform, lowBand, around)) {
        figures.velocityLength += at.velocityLength / static_cast<double>(around.size());
        figures.velocityError = std::max(figures.velocityError, at.velocityError);
    }
    const AcousticSummary energy = Summarise(CheckDirections(layout, transform, highBand, around));
    figures.limit = MaxEnergyLength(order, isFlat);
    figures.meanLength = energy.meanLength;
    figures.leastLength = energy.leastLength;
    figures.meanError = energy.meanError;
    figures.greatestError = energy.greatestError;
    figures.leastLevel = energy.leastLevel;
    figures.greatestLevel = energy.greatestLevel;
    figures.frontError =
        Summarise(CheckDirections(layout, transform, highBand, FrontDirections(30, 31))).greatestError;
    AddBands(layout, transform, around, figures);
    return figures;
}

}  // namespace

std::vector<TransformFinding> CheckTransforms(const FormatLibrarian& library) {
    std::vector<TransformFinding> findings;
    const std::vector<int> all = BaseRates(library);
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i) {
        Conversion conversion;
        library.getConversion(i, conversion);
        for (const int rate : conversion.chain.size == 0 ? BaseRates(library, i) : all) {
            TransformFinding& finding =
                findings.emplace_back(TransformFinding{.conversion = conversion, .rate = rate, .fault = {}});
            try {
                Examine(library, i, finding);
            } catch (const std::exception& failure) {
                finding.fault = failure.what();
            }
        }
    }
    return findings;
}

double FrontLevel(const SpeakerLayout& layout, const DecoderTransform& transform) {
    if (layout.kind == LayoutKind::Headphones)
        return 10 * std::log10(FrontalEnergy(transform) / (4 * std::numbers::pi));
    return CheckDirections(layout, transform, wholeBand, {Direction::UnitX()}).front().level;
}

std::vector<SpeakerFigures> CheckSpeakers(const FormatLibrarian& library, int rate) {
    std::vector<SpeakerFigures> all;
    ForEachDecoder(library, false, rate,
                   [&](const Conversion& conversion, unsigned order, const Format& to,
                       const DecoderTransform& transform) {
                       all.push_back(FiguresOf(LayoutOfFormat(to), order, transform));
                       SpeakerFigures& figures = all.back();
                       figures.method = conversion.method;
                       const SpeakerLayout layout = LayoutOfFormat(to);
                       if (HasLimits(layout, figures))
                           figures.fault = FaultOf(figures, LimitsOf(layout, order));
                   });
    return all;
}

void CheckLimits(const FormatLibrarian& library, int rate) {
    for (const SpeakerFigures& figures : CheckSpeakers(library, rate))
        if (!figures.fault.empty()) throw slib::BadDataException(figures.fault);
}

ReferenceHeads MakeReferenceHeads(const std::string& sofaPath, int rate) {
    ReferenceHeads heads;
    if (!sofaPath.empty()) heads.measured = PrepareMeasuredHead(ReadSofa(sofaPath), rate);
    heads.sphere = PrepareSphereHead({}, rate);
    return heads;
}

const HeadSpectra* ReferenceOf(const std::string& method, const ReferenceHeads& heads) {
    const HeadSpectra& head = method == sphereHead ? heads.sphere : heads.measured;
    return head.directions.empty() ? nullptr : &head;
}

std::vector<HeadFigures> CheckHeads(const FormatLibrarian& library, const ReferenceHeads& heads, int rate) {
    std::vector<HeadFigures> all;
    ForEachDecoder(
        library, true, rate,
        [&](const Conversion& conversion, unsigned order, const Format&, const DecoderTransform& transform) {
            const HeadSpectra* head = ReferenceOf(conversion.method, heads);
            if (head == nullptr) return;
            all.push_back({conversion.method, order, CheckHead(transform, *head)});
        });
    return all;
}

}  // namespace design

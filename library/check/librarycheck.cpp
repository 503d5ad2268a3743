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
#include "library/sofareader.h"
#include "library/spherehead.h"
#include "slib/exception.h"

namespace design {
namespace {

using orb3::fl::Conversion;
using orb3::fl::Format;
using orb3::fl::FormatLibrarian;

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

// Runs `use` for each decoder of the sound field that is available at `rate`, with its index and formats.
template <typename Use>
void ForEachDecoder(const FormatLibrarian& library, int rate, const Use& use) {
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i) {
        Conversion conversion;
        library.getConversion(i, conversion);
        const unsigned order = OrderOfFormat(FormatOf(library, conversion.from));
        const Format to = FormatOf(library, conversion.to);
        if (order == 0 || !to.speakers) continue;
        DecoderTransform transform;
        library.getTransform(i, rate, transform);
        use(conversion, order, to, transform);
    }
}

SpeakerFigures FiguresOf(const SpeakerLayout& layout, unsigned order, const DecoderTransform& transform) {
    const bool isFlat = layout.IsFlat();
    const std::vector<Direction> around = (isFlat ? HorizonPoints(180) : SpiralPoints(400)).directions;
    SpeakerFigures figures;
    figures.layout = layout.name;
    figures.order = order;
    figures.hasVelocity = layout.kind == LayoutKind::Speakers && layout.DecodedSpeakers().size() > 2 &&
                          !HasUnequalDistances(layout);
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
    ForEachDecoder(library, rate,
                   [&](const Conversion& conversion, unsigned order, const Format& to,
                       const DecoderTransform& transform) {
                       if (IsHeadphones(to)) return;
                       all.push_back(FiguresOf(LayoutOfFormat(to), order, transform));
                       all.back().method = conversion.method;
                   });
    return all;
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
    ForEachDecoder(library, rate,
                   [&](const Conversion& conversion, unsigned order, const Format& to,
                       const DecoderTransform& transform) {
                       const HeadSpectra* head = ReferenceOf(conversion.method, heads);
                       if (!IsHeadphones(to) || head == nullptr) return;
                       all.push_back({conversion.method, order, CheckHead(transform, *head)});
                   });
    return all;
}

}  // namespace design

#include "library/libraryassembly.h"

#include <cmath>
#include <functional>
#include <future>
#include <map>
#include <numbers>
#include <utility>
#include <vector>

#include "library/headdecoder.h"
#include "library/headpreparation.h"
#include "library/interauraldelay.h"
#include "library/magls.h"
#include "library/sofachild.h"
#include "library/speakerdecoder.h"
#include "library/spherehead.h"
#include "library/virtualspeakers.h"
#include "numeric/ambisonicorder.h"
#include "orb3core/acoustics/fsascheme.h"
#include "orb3core/library/conversionchoice.h"
#include "slib/exception.h"
#include "slib/standardformats.h"

namespace design {
namespace {

using orb3::fl::Conversion;
using orb3::fl::Format;
using orb3::fl::FormatRegistrar;
using orb3::fl::Priority;
using slib::StandardFormat;
using Transform = orb3::strans::TimeDomainTransform<double, 1>;

// As loud as speakers: the energy of the two signals of a plane wave from ahead.
constexpr double frontalEnergy = 4 * std::numbers::pi;

void StoreMethod(const MethodText& text, FormatRegistrar& library) {
    orb3::fl::Method method;
    method.tag = text.tag;
    method.name = text.name;
    method.writeup = text.writeup;
    library.storeMethod(method);
}

Conversion MakeConversion(std::string from, std::string to, std::string method, Priority priority) {
    Conversion conversion;
    conversion.from = std::move(from);
    conversion.to = std::move(to);
    conversion.method = std::move(method);
    conversion.priority = priority;
    conversion.lossy = true;
    return conversion;
}

void StoreTransform(const Conversion& conversion, const Transform& transform, FormatRegistrar& library) {
    library.storeTransform(conversion, {.possible = true}, transform);
}

using Designs = std::vector<std::future<Transform>>;  // by rate

// What `design` makes for each of the rates, side by side.
Designs BeginDesigns(const std::vector<int>& rates, const std::function<Transform(int rate)>& design) {
    Designs designs;
    designs.reserve(rates.size());
    for (const int rate : rates)
        designs.push_back(std::async(std::launch::async, design, rate));
    return designs;
}

void StoreDesigns(const Conversion& conversion, Designs designs, FormatRegistrar& library) {
    for (std::future<Transform>& made : designs)
        StoreTransform(conversion, made.get(), library);
}

void StoreSpatialFormat(unsigned order, FormatRegistrar& library) {
    Format format;
    format.tag = SpatialFormatTag(order);
    format.name = "FSA Order " + std::to_string(order);
    format.acoustic = decltype(format.acoustic)(new orb3::FSAScheme(order));
    format.channelCount = hcml::ChannelsOfOrder(order);
    format.isPreset = true;
    library.storeFormat(format);
}

void StoreLayoutFormat(const SpeakerLayout& layout, FormatRegistrar& library) {
    Format format;
    format.tag = orb3::MakeFormatTag(layout.name);
    format.name = layout.name;
    format.family = layout.family;
    format.speakers = decltype(format.speakers)(new orb3::spk::SpeakerSet(MakeSpeakerSet(layout)));
    format.channelCount = static_cast<std::uint32_t>(layout.speakers.size());
    format.isLayout = true;
    format.isPreset = true;
    library.storeFormat(format);
}

// An earlier layout of the name goes with everything that was designed for it.
void EraseConversionsTo(const std::string& format, FormatRegistrar& library) {
    for (std::uint32_t i = library.getConversionCount(); i-- > 0;) {
        Conversion conversion;
        library.getConversion(i, conversion);
        if (conversion.to != format) continue;
        hcml::GenericVector<int, 1> rates;
        library.getSampleRates(i, rates);
        for (std::uint32_t r = 0; r < rates.size; ++r)
            library.eraseTransform(conversion, rates[r]);
        library.eraseConversion(conversion);
    }
}

// The standard layout of the name, if it is one.
StandardFormat StandardFamilyOf(const SpeakerLayout& layout) {
    for (const SpeakerLayout& standard : StandardLayouts()) {
        if (orb3::MakeFormatTag(standard.name) != orb3::MakeFormatTag(layout.name)) continue;
        const std::size_t count = standard.speakers.size();
        if (layout.speakers.size() == count && standard.kind == LayoutKind::Speakers) return standard.family;
        throw slib::BadDataException("'" + standard.name +
                                     "' is a standard layout with channels of its own (" +
                                     std::to_string(count) + "). Give the layout another name.");
    }
    return StandardFormat::Unknown;
}

void CheckReplaceable(const std::string& tag, const FormatRegistrar& library) {
    if (!library.hasFormat(tag)) return;
    Format format;
    library.getFormat(library.findFormat(tag), format);
    bool isInUse = !format.isLayout;
    for (std::uint32_t i = 0; i < library.getConversionCount() && !isInUse; ++i) {
        Conversion conversion;
        library.getConversion(i, conversion);
        isInUse = conversion.from == tag;
    }
    if (isInUse)
        throw slib::BadDataException("The library needs its format '" + format.name +
                                     "' as it is. Give the layout another name.");
}

// The heads that decoders for headphones are designed on, ready at a rate.
struct HeadMethod {
    MethodText text;
    Priority priority;
    std::map<int, HeadSpectra> heads = {};            // by rate
    std::function<void(unsigned order)> report = {};  // may be empty
};

HeadMethod MeasuredHead(const LibraryPlan& plan, const HeadImpulses& measured) {
    HeadMethod method{{measuredHead, "Measured Head",
                       "The ears of a measured head: exact below 1.8 kHz (0.7 kHz at order 1, 1.4 kHz at "
                       "order 2), and above it in level, where hearing "
                       "no longer follows the phase. Equalised to a diffuse field."},
                      Priority::High};
    if (!measured.credit.empty()) method.text.writeup += " " + measured.credit;
    for (const int rate : plan.rates)
        method.heads.emplace(rate, PrepareMeasuredHead(measured, rate));
    return method;
}

HeadMethod RigidSphere(const LibraryPlan& plan) {
    HeadMethod method{
        {sphereHead, "Sphere Head",
         "Two ears on a rigid sphere, without pinnae: true delays and shadows of a head, and no "
         "colour of anybody's ears. Equalised to a diffuse field."},
        Priority::Normal};
    for (const int rate : plan.rates)
        method.heads.emplace(rate, PrepareSphereHead({}, rate));
    return method;
}

void StoreHeadDecoders(const HeadMethod& method, const std::vector<int>& rates, const std::string& headphones,
                       FormatRegistrar& library) {
    std::map<unsigned, Designs> designs;  // by order, all side by side
    for (unsigned order = 1; order <= greatestOrder; ++order)
        designs[order] = BeginDesigns(rates, [&method, order](int rate) {
            return DesignMagls(method.heads.at(rate), {.order = order, .frontalEnergy = frontalEnergy});
        });
    StoreMethod(method.text, library);
    for (auto& [order, made] : designs) {
        if (method.report) method.report(order);
        const Conversion conversion =
            MakeConversion(SpatialFormatTag(order), headphones, method.text.tag, method.priority);
        library.storeConversion(conversion);
        StoreDesigns(conversion, std::move(made), library);
    }
}

// Headphones by way of the speakers of `room`, a layout of the library, around the measured head.
void StoreVirtualSpeakers(const HeadMethod& method, const SpeakerLayout& room, const std::string& headphones,
                          FormatRegistrar& library) {
    const MethodText ears{"earsofspeakers", "Ears of Speakers",
                          "What each speaker of a layout sends to the ears of a measured head."};
    const MethodText whole{
        virtualSpeakers, "Virtual Speakers",
        "The speakers of " + room.name +
            " around a measured head: a rendering for speakers, heard through headphones."};
    StoreMethod(ears, library);
    StoreMethod(whole, library);
    const std::string roomTag = orb3::MakeFormatTag(room.name);
    const Conversion last = MakeConversion(roomTag, headphones, ears.tag, Priority::Private);
    library.storeConversion(last);
    double energy = 0;
    const Transform gains = DesignSpeakerDecoder(room, greatestOrder, SpeakerMethod::Energy, 48000).transform;
    for (const auto& [rate, head] : method.heads) {
        const Transform transform = EarsOfSpeakers(head, room);
        energy += FrontalEnergyOfChain(gains, transform) / static_cast<double>(method.heads.size());
        StoreTransform(last, transform, library);
    }
    const std::string spatial = SpatialFormatTag(greatestOrder);
    Conversion chain = MakeConversion(spatial, headphones, whole.tag, Priority::Low);
    chain.chain.append({spatial, roomTag, DescribeMethod(SpeakerMethod::Energy).tag});
    chain.chain.append(last);
    chain.gain = std::sqrt(frontalEnergy / energy);
    library.storeConversion(chain);
}

const SpeakerLayout& LayoutOf(const LibraryPlan& plan, StandardFormat family) {
    for (const SpeakerLayout& layout : plan.layouts)
        if (layout.family == family) return layout;
    throw slib::BadDataException("The plan of the library has no layout '" +
                                 slib::GetStandardFormatName(family) + "'.");
}

// `measured` is null for none.
void StoreHeadphones(const LibraryPlan& plan, const HeadImpulses* measuredImpulses,
                     FormatRegistrar& library) {
    const SpeakerLayout& layout = LayoutOf(plan, StandardFormat::HeadphoneStereo);
    const std::string headphones = orb3::MakeFormatTag(layout.name);
    StoreLayoutFormat(layout, library);
    StoreHeadDecoders(RigidSphere(plan), plan.rates, headphones, library);
    if (measuredImpulses == nullptr) return;
    const HeadMethod measured = MeasuredHead(plan, *measuredImpulses);
    StoreHeadDecoders(measured, plan.rates, headphones, library);
    StoreVirtualSpeakers(measured, LayoutOf(plan, StandardFormat::Surround71), headphones, library);
}

}  // namespace

std::string SpatialFormatTag(unsigned order) {
    return "fsa" + std::to_string(order);
}

LibraryPlan DefaultPlan(const std::string& sofaPath) {
    LibraryPlan plan;
    plan.layouts = StandardLayouts();
    for (SpeakerLayout& layout : RegularLayouts())
        plan.layouts.push_back(std::move(layout));
    plan.sofaPath = sofaPath;
    return plan;
}

void AddSpeakerLayout(const SpeakerLayout& added, const std::vector<int>& rates, FormatRegistrar& library) {
    SpeakerLayout layout = added;
    if (layout.family == StandardFormat::Unknown) layout.family = StandardFamilyOf(layout);
    // Selection looks for it under exactly the system's name.
    if (layout.family != StandardFormat::Unknown) layout.name = slib::GetStandardFormatName(layout.family);
    const std::string format = orb3::MakeFormatTag(layout.name);
    CheckReplaceable(format, library);
    StoreLayoutFormat(layout, library);  // in a user's library it hides what the system's has for it
    EraseConversionsTo(format, library);
    for (const SpeakerMethod method : MethodsFor(layout)) {
        StoreMethod(DescribeMethod(method), library);
        for (unsigned order = 1; order <= greatestOrder; ++order) {
            const Conversion conversion =
                MakeConversion(SpatialFormatTag(order), format, DescribeMethod(method).tag,
                               static_cast<Priority>(PriorityOf(method)));
            library.storeConversion(conversion);
            StoreDesigns(conversion,
                         BeginDesigns(rates,
                                      [&](int rate) {
                                          return DesignSpeakerDecoder(layout, order, method, rate).transform;
                                      }),
                         library);
        }
    }
}

void AddHead(const AddedHead& head, const std::vector<int>& rates, const std::string& headphones,
             FormatRegistrar& library) {
    HeadMethod method{head.text, head.priority};
    method.report = head.report;
    for (const int rate : rates) {
        HeadSpectra& spectra = method.heads[rate] = PrepareMeasuredHead(head.impulses, rate);
        if (head.circumference > 0)
            ScaleInterauralDelays(spectra,
                                  head.circumference / (2 * std::numbers::pi * EffectiveRadius(spectra)));
    }
    StoreHeadDecoders(method, rates, headphones, library);
}

void AssembleLibrary(const LibraryPlan& plan, FormatRegistrar& library) {
    std::optional<HeadImpulses> measured;
    if (!plan.sofaPath.empty()) measured = ReadSofaInChild(plan.sofaPath);
    library.setTag(plan.tag);
    for (unsigned order = 1; order <= greatestOrder; ++order)
        StoreSpatialFormat(order, library);
    const auto report = [&](const std::string& layout) {
        if (plan.report) plan.report(layout);
    };
    for (const SpeakerLayout& layout : plan.layouts) {
        if (layout.kind == LayoutKind::Headphones) continue;
        report(layout.name);
        AddSpeakerLayout(layout, plan.rates, library);
    }
    report(LayoutOf(plan, StandardFormat::HeadphoneStereo).name);
    StoreHeadphones(plan, measured ? &*measured : nullptr, library);
}

}  // namespace design

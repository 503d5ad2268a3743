#include "library/libraryassembly.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <future>
#include <map>
#include <numbers>
#include <optional>
#include <thread>
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

// A transform and what it is of; the conversion is stored with the first of its rates.
struct Design {
    Conversion conversion;
    Transform transform;
};

// Designs that are made side by side, and stored one after the other in the order in which they were added.
class Designs {
public:
    // Before the ones that are added next are stored.
    void Announce(std::function<void()> announcement) { Add(std::move(announcement), {}); }

    void Add(const Conversion& conversion, const std::vector<int>& rates,
             const std::function<Transform(int rate)>& design) {
        for (const int rate : rates)
            Add([design, conversion, rate] { return std::vector<Design>{{conversion, design(rate)}}; });
    }

    void Add(std::function<std::vector<Design>()> make) { Add({}, std::move(make)); }

    // On so many threads; 0 for all processors.
    void Store(unsigned threads, FormatRegistrar& library) {
        if (threads == 0) threads = std::max(std::thread::hardware_concurrency(), 1U);
        std::atomic<std::size_t> next{0};
        std::vector<std::future<void>> workers;
        const Finally end([&] { next = entries.size(); });  // when storing fails, what is left isn't made
        for (unsigned i = 0; i < threads; ++i)
            workers.push_back(std::async(std::launch::async, [&] { Work(next); }));
        for (Entry& entry : entries) {
            if (entry.announcement) entry.announcement();
            if (!entry.result) continue;
            for (const Design& made : entry.result->get()) {
                if (!library.hasConversion(made.conversion)) library.storeConversion(made.conversion);
                StoreTransform(made.conversion, made.transform, library);
            }
        }
    }

private:
    struct Entry {
        std::function<void()> announcement;
        std::packaged_task<std::vector<Design>()> make;
        std::optional<std::future<std::vector<Design>>> result;
    };

    struct Finally {
        explicit Finally(std::function<void()> function) : function(std::move(function)) {}
        ~Finally() { function(); }
        Finally(const Finally&) = delete;
        Finally& operator=(const Finally&) = delete;
        const std::function<void()> function;
    };

    void Add(std::function<void()> announcement, std::function<std::vector<Design>()> make) {
        Entry entry{std::move(announcement), {}, {}};
        if (make) {
            entry.make = std::packaged_task<std::vector<Design>()>(std::move(make));
            entry.result = entry.make.get_future();
        }
        entries.push_back(std::move(entry));
    }

    void Work(std::atomic<std::size_t>& next) {
        for (std::size_t i = next++; i < entries.size(); i = next++)
            if (entries[i].make.valid()) entries[i].make();
    }

    std::vector<Entry> entries;
};

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
                       unsigned threads, FormatRegistrar& library) {
    StoreMethod(method.text, library);
    Designs designs;
    for (unsigned order = 1; order <= greatestOrder; ++order) {
        if (method.report) designs.Announce([&method, order] { method.report(order); });
        designs.Add(MakeConversion(SpatialFormatTag(order), headphones, method.text.tag, method.priority),
                    rates, [&method, order](int rate) {
                        return DesignMagls(method.heads.at(rate),
                                           {.order = order, .frontalEnergy = frontalEnergy});
                    });
    }
    designs.Store(threads, library);
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
        const Transform transform = EarsOfSpeakers(head, room, gains);
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
    StoreHeadDecoders(RigidSphere(plan), plan.rates, headphones, plan.threads, library);
    if (measuredImpulses == nullptr) return;
    const HeadMethod measured = MeasuredHead(plan, *measuredImpulses);
    StoreHeadDecoders(measured, plan.rates, headphones, plan.threads, library);
    StoreVirtualSpeakers(measured, LayoutOf(plan, StandardFormat::Surround71), headphones, library);
}

// Stores all but the transforms.
void AddSpeakerLayout(const SpeakerLayout& added, const std::vector<int>& rates, Designs& designs,
                      const std::function<void(unsigned order)>& report, FormatRegistrar& library) {
    SpeakerLayout layout = added;
    if (layout.family == StandardFormat::Unknown) {
        layout.family = StandardFamilyOf(layout);
        // Selection looks for it under exactly the system's name.
        if (layout.family != StandardFormat::Unknown)
            layout.name = slib::GetStandardFormatName(layout.family);
    }
    const std::string format = orb3::MakeFormatTag(layout.name);
    CheckReplaceable(format, library);
    StoreLayoutFormat(layout, library);  // in a user's library it hides what the system's has for it
    EraseConversionsTo(format, library);
    const std::vector<SpeakerMethod> methods = MethodsFor(layout);
    for (const SpeakerMethod method : methods)
        StoreMethod(DescribeMethod(method), library);
    for (unsigned order = 1; order <= greatestOrder; ++order) {
        if (report) designs.Announce([report, order] { report(order); });
        designs.Add([layout, order, methods, rates, format] {
            std::vector<Design> made;
            for (SpeakerDecoder& decoder : DesignSpeakerDecoders(layout, order, methods, rates))
                made.push_back(
                    {MakeConversion(SpatialFormatTag(order), format, DescribeMethod(decoder.method).tag,
                                    static_cast<Priority>(decoder.priority)),
                     std::move(decoder.transform)});
            return made;
        });
    }
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
    for (SpeakerLayout& layout : SmallLayouts())
        plan.layouts.push_back(std::move(layout));
    for (SpeakerLayout& layout : WideLayouts())
        plan.layouts.push_back(std::move(layout));
    plan.sofaPath = sofaPath;
    return plan;
}

void AddSpeakerLayout(const SpeakerLayout& layout, const std::vector<int>& rates, FormatRegistrar& library,
                      unsigned threads, const std::function<void(unsigned order)>& report) {
    Designs designs;
    AddSpeakerLayout(layout, rates, designs, report, library);
    designs.Store(threads, library);
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
    StoreHeadDecoders(method, rates, headphones, 0, library);
}

void AssembleLibrary(const LibraryPlan& plan, FormatRegistrar& library) {
    std::optional<HeadImpulses> measured;
    if (!plan.sofaPath.empty()) measured = ReadSofaInChild(plan.sofaPath);
    library.setTag(plan.tag);
    for (unsigned order = 1; order <= greatestOrder; ++order)
        StoreSpatialFormat(order, library);
    Designs designs;
    const auto announce = [&](const std::string& layout) {
        if (plan.report) designs.Announce([&plan, layout] { plan.report(layout); });
    };
    for (const SpeakerLayout& layout : plan.layouts) {
        if (layout.kind == LayoutKind::Headphones) continue;
        announce(layout.name);
        AddSpeakerLayout(layout, plan.rates, designs, {}, library);
    }
    announce(LayoutOf(plan, StandardFormat::HeadphoneStereo).name);
    designs.Store(plan.threads, library);
    StoreHeadphones(plan, measured ? &*measured : nullptr, library);
}

}  // namespace design

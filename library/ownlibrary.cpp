#include "library/ownlibrary.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "library/headdecoder.h"
#include "library/librarywriter.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/library/processingformatlibrarian.h"
#include "slib/exception.h"
#include "slib/standardformats.h"

namespace design {
namespace {

using orb3::fl::Conversion;
using orb3::fl::ConversionTag;
using orb3::fl::FormatLibrarian;
using orb3::fl::FormatRegistrar;
using orb3::fl::Method;
using orb3::fl::Priority;

constexpr const char* headPrefix = "ownhead";
constexpr const char* headphonesPrefix = "headphones";
constexpr char joint = '+';  // in no tag that is made from a name
constexpr std::size_t longestName = 40;

Method MethodAt(const FormatLibrarian& library, const std::string& tag) {
    Method method;
    library.getMethod(library.findMethod(tag), method);
    return method;
}

std::string NewTag(const char* prefix, const std::string& what, const std::string& name,
                   const FormatLibrarian& library) {
    const std::string letters = orb3::MakeFormatTag(name);
    if (letters.empty() || name.size() > longestName)
        throw slib::BadDataException(
            "The name must have a letter or digit, and 40 characters at most, not '" + name + "'.");
    std::string tag = prefix + letters;
    if (library.hasMethod(tag))
        throw slib::BadDataException("There " + what + " '" + MethodAt(library, tag).name +
                                     "' already. Remove it first, or take another name.");
    return tag;
}

std::vector<int> RatesOf(const FormatLibrarian& library) {
    std::vector<int> rates = BaseRates(library);
    if (rates.empty()) rates = {44100, 48000};
    return rates;
}

ConversionTag EqualiserOf(const std::string& headphones) {
    return {HeadphoneFormatTag(), HeadphoneFormatTag(), headphones};
}

// The transform of a conversion, made of its links where it has some. The library isn't changed.
HeadTransform TransformOf(const ConversionTag& tag, int rate, const FormatLibrarian& library) {
    const std::uint32_t index = library.findConversion(tag);
    Conversion conversion;
    library.getConversion(index, conversion);
    HeadTransform transform;
    if (conversion.chain.size == 0) {
        library.getTransform(index, rate, transform);
        return transform;
    }
    std::vector<HeadTransform> links;
    std::vector<const HeadTransform*> pointers;
    links.reserve(conversion.chain.size);
    pointers.reserve(conversion.chain.size);
    for (const ConversionTag& link : conversion.chain)
        links.push_back(TransformOf(link, rate, library));
    for (const HeadTransform& link : links)
        pointers.push_back(&link);
    return orb3::fl::ChainTransforms(pointers, conversion.gain);
}

// What keeps a diffuse field as loud as by the decoder alone.
double GainOf(const Conversion& composite, const FormatLibrarian& library) {
    const int rate = RatesOf(library).back();
    const HeadTransform decoder = TransformOf(composite.chain[0], rate, library);
    const HeadTransform equaliser = TransformOf(composite.chain[1], rate, library);
    const HeadTransform whole = orb3::fl::ChainTransforms({&decoder, &equaliser}, 1);
    return std::sqrt(DiffuseEnergy(decoder) / DiffuseEnergy(whole));
}

// The decoder followed by the equaliser.
void StoreComposite(const Conversion& decoder, const std::string& headphones, FormatRegistrar& library) {
    Method method;
    method.tag = MethodOf({decoder.method, headphones});
    method.name = MethodAt(library, decoder.method).name + " + " + MethodAt(library, headphones).name;
    method.writeup = "The head '" + MethodAt(library, decoder.method).name + "' for the headphones '" +
                     MethodAt(library, headphones).name + "'.";
    Conversion composite;
    composite.from = decoder.from;
    composite.to = decoder.to;
    composite.method = method.tag;
    composite.priority = Priority::Low;
    composite.lossy = true;
    composite.chain.append(ConversionTag{decoder.from, decoder.to, decoder.method});
    composite.chain.append(EqualiserOf(headphones));
    if (library.hasConversion(composite)) return;
    composite.gain = GainOf(composite, library);
    library.storeMethod(method);
    library.storeConversion(composite);
}

// Each decoder with each pair of headphones that it isn't with yet.
void StoreComposites(FormatRegistrar& library) {
    const std::vector<OwnEntry> all = ListHeadphones(library);
    for (const orb3::Decoder& decoder : orb3::FindDecoders(library, HeadphoneFormatTag()))
        if (ChoiceOf(decoder.conversion.method).headphones.empty())
            for (const OwnEntry& headphones : all)
                StoreComposite(decoder.conversion, headphones.tag, library);
}

template <typename Condition>
void EraseConversions(const Condition& condition, FormatRegistrar& library) {
    for (std::uint32_t i = library.getConversionCount(); i-- > 0;) {
        Conversion conversion;
        library.getConversion(i, conversion);
        if (condition(conversion)) EraseConversion(library, i);
    }
}

}  // namespace

std::string HeadphoneFormatTag() {
    return orb3::MakeFormatTag(slib::GetStandardFormatName(slib::StandardFormat::HeadphoneStereo));
}

std::vector<OwnEntry> ListHeads(const FormatLibrarian& library) {
    std::vector<OwnEntry> heads;
    for (const orb3::Decoder& decoder : orb3::FindDecoders(library, HeadphoneFormatTag())) {
        const std::string& tag = decoder.conversion.method;
        const bool isKnown =
            std::ranges::any_of(heads, [&](const OwnEntry& head) { return head.tag == tag; });
        if (isKnown || !ChoiceOf(tag).headphones.empty()) continue;
        const Method method = MethodAt(library, tag);
        heads.push_back({tag, method.name, method.writeup, tag.starts_with(headPrefix)});
    }
    return heads;
}

std::vector<OwnEntry> ListHeadphones(const FormatLibrarian& library) {
    std::vector<OwnEntry> headphones;
    for (std::uint32_t i = 0; i < library.getMethodCount(); ++i) {
        Method method;
        library.getMethod(i, method);
        if (method.tag.starts_with(headphonesPrefix) && library.hasConversion(EqualiserOf(method.tag)))
            headphones.push_back({method.tag, method.name, method.writeup});
    }
    return headphones;
}

HeadChoice ChoiceOf(const std::string& method) {
    const std::size_t at = method.find(joint);
    if (at == std::string::npos) return {method, ""};
    return {method.substr(0, at), method.substr(at + 1)};
}

std::string MethodOf(const HeadChoice& choice) {
    return choice.headphones.empty() ? choice.head : choice.head + joint + choice.headphones;
}

std::string NewHeadTag(const std::string& name, const FormatLibrarian& library) {
    return NewTag(headPrefix, "is a head", name, library);
}

std::string NewHeadphonesTag(const std::string& name, const FormatLibrarian& library) {
    return NewTag(headphonesPrefix, "are headphones", name, library);
}

void AddOwnHead(AddedHead head, const std::string& name, FormatRegistrar& library) {
    head.text = {NewHeadTag(name, library), name, "A head that was added by the user."};
    if (head.circumference > 0)
        head.text.writeup += " Delays between the ears for a circumference of " +
                             std::to_string(std::lround(head.circumference * 1000)) + " mm.";
    if (!head.impulses.credit.empty()) head.text.writeup += " " + head.impulses.credit;
    AddHead(head, RatesOf(library), HeadphoneFormatTag(), library);
    StoreComposites(library);
}

void AddOwnHeadphones(const HeadphoneCorrection& correction, const std::string& name,
                      const std::string& writeup, FormatRegistrar& library) {
    const Method method{NewHeadphonesTag(name, library), name, writeup};
    Conversion equaliser;
    static_cast<ConversionTag&>(equaliser) = EqualiserOf(method.tag);
    equaliser.priority = Priority::Private;
    const std::vector<int> rates = RatesOf(library);
    library.storeMethod(method);
    library.storeConversion(equaliser);
    for (const int rate : rates)
        library.storeTransform(equaliser, {.possible = true}, DesignHeadphoneEqualiser(correction, rate));
    StoreComposites(library);
}

void RemoveOwn(const std::string& tag, FormatRegistrar& library) {
    const auto hasTag = [&](const std::string& method) {
        const HeadChoice choice = ChoiceOf(method);
        return choice.head == tag || choice.headphones == tag;
    };
    EraseConversions([&](const Conversion& conversion) { return hasTag(conversion.method); }, library);
    for (std::uint32_t i = library.getMethodCount(); i-- > 0;) {
        Method method;
        library.getMethod(i, method);
        if (hasTag(method.tag)) library.eraseMethod(method.tag);
    }
}

bool RemoveOwnRoom(const std::string& format, orb3::fl::LayeredLibrarian& library) {
    if (!library.IsOwnLayout(format)) return false;
    EraseConversions([&](const Conversion& conversion) { return conversion.to == format; }, library);
    library.eraseFormat(format);
    return true;
}

}  // namespace design

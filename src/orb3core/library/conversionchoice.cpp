#include "orb3core/library/conversionchoice.h"

#include <optional>

#include "orb3core/acoustics/fsascheme.h"
#include "slib/exception.h"
#include "slib/text.h"

namespace orb3 {
namespace {

// The order of a format that is a sound field. A conversion may come from a format that its library doesn't
// hold; nothing can be said about that one.
std::optional<std::uint32_t> SchemeOrder(const fl::FormatLibrarian& librarian, const std::string& formatTag) {
    if (!librarian.hasFormat(formatTag)) return std::nullopt;
    fl::Format format;
    librarian.getFormat(librarian.findFormat(formatTag), format);
    const auto* scheme = dynamic_cast<const FSAScheme*>(format.acoustic.Get());
    return scheme == nullptr ? std::nullopt : std::optional(scheme->order);
}

bool ServesBetter(std::uint32_t candidate, std::uint32_t best, std::uint32_t order) {
    if (candidate >= order) return best < order || candidate < best;
    return best < candidate;
}

}  // namespace

std::string MakeFormatTag(std::string_view formatName) {
    return slib::toLower(slib::KeepAlphanumeric(formatName));
}

std::vector<Decoder> FindDecoders(const fl::FormatLibrarian& librarian, const std::string& formatTag) {
    std::vector<Decoder> decoders;
    const std::uint32_t count = librarian.getConversionCount();
    for (std::uint32_t index = 0; index < count; ++index) {
        fl::Conversion conversion;
        librarian.getConversion(index, conversion);
        if (conversion.to != formatTag) continue;
        if (const auto order = SchemeOrder(librarian, conversion.from))
            decoders.push_back({index, conversion, *order});
    }
    return decoders;
}

std::uint32_t FindConversion(const fl::FormatLibrarian& librarian, const std::string& formatName,
                             const std::string& methodName, std::uint32_t order) {
    std::optional<Decoder> best;
    for (const Decoder& decoder : FindDecoders(librarian, MakeFormatTag(formatName)))
        if (decoder.conversion.method == methodName &&
            (!best || ServesBetter(decoder.order, best->order, order)))
            best = decoder;
    if (best) return best->index;
    throw slib::BadDataException("Failed to find a valid conversion for method '" + methodName +
                                 "' to format '" + formatName + "'.");
}

}  // namespace orb3

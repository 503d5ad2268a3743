#include "orb3core/library/pakwriter.h"

#include <cstdint>
#include <limits>
#include <sstream>
#include <utility>

#include "orb3core/library/catalogue.h"
#include "orb3core/library/libraryfiles.h"
#include "orb3core/library/packeddescription.h"
#include "orb3core/transform/littleendian.h"
#include "orb3core/transform/transformwriter.h"
#include "slib/exception.h"
#include "slib/files.h"

namespace orb3::fl {
namespace {

constexpr char version = 2;
constexpr std::size_t headerSize = 8;

std::uint32_t OffsetOf(std::size_t position) {
    if (position <= std::numeric_limits<std::uint32_t>::max()) return static_cast<std::uint32_t>(position);
    throw slib::BadDataException("A format library is too large for one file.");
}

// Appends the base transforms of a conversion to `bytes`, which starts at the beginning of the file.
ConversionData<EmbeddedTransform> Embed(const FormatLibrarian& library, std::uint32_t index,
                                        strans::TransformForm form, std::string& bytes) {
    ConversionData<EmbeddedTransform> conversion;
    library.getConversion(index, conversion);
    hcml::GenericVector<int, 1> rates;
    library.getSampleRates(index, rates);
    for (const int rate : rates) {
        TransformStatus status;
        library.getTransformStatus(index, rate, status);
        if (!status.possible || status.generated) continue;
        strans::TimeDomainTransform<double, 1> transform;
        library.getTransform(index, rate, transform);
        std::ostringstream stream;
        strans::writeTransform(stream, transform, form);
        conversion.transforms[rate] = {status, OffsetOf(bytes.size())};
        bytes += stream.view();
    }
    return conversion;
}

Catalogue<EmbeddedTransform> EmbedAll(const FormatLibrarian& library, strans::TransformForm form,
                                      std::string& bytes) {
    Catalogue<EmbeddedTransform> catalogue;
    catalogue.tag = library.getTag();
    for (std::uint32_t i = 0; i < library.getFormatCount(); ++i) {
        Format format;
        library.getFormat(i, format);
        catalogue.formats.append(std::move(format));
    }
    for (std::uint32_t i = 0; i < library.getMethodCount(); ++i) {
        Method method;
        library.getMethod(i, method);
        catalogue.methods.append(std::move(method));
    }
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i)
        catalogue.conversions.append(Embed(library, i, form, bytes));
    return catalogue;
}

}  // namespace

void WritePAKLibrary(const FormatLibrarian& library, const std::string& path, strans::TransformForm form) {
    std::string transforms(headerSize, '\0');
    const Catalogue<EmbeddedTransform> catalogue = EmbedAll(library, form, transforms);
    const auto root = catalogue.CreateNode(pakRootLabel);
    const std::string index = ScrambleIndex(root->ToString(slib::SXMLNode::Style::Indented));
    std::string bytes(pakMagic);
    bytes += version;
    strans::AppendLittleEndian(bytes, OffsetOf(transforms.size()));
    bytes.append(transforms, headerSize);
    strans::AppendLittleEndian(bytes, OffsetOf(index.size()));
    bytes += index;
    slib::createDirectories(FolderOf(path));
    const LibraryLock lock(path);
    ReplaceFile(path, bytes);
}

}  // namespace orb3::fl

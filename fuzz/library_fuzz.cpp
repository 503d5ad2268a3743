// Fuzz target for format libraries of all kinds. Whatever a library holds, everything in it can be asked for
// and either comes or is refused with a reason; and what is committed reads back as the same library. Also
// linked with replay_main.cpp into a program that runs the corpus in the ordinary tests.
//
// The first byte chooses the kind: 0 a plain description, 1 a packed file, 2 a library in one file, as they
// are; 3 and 4 the latter two from the text of their description. Behind the first zero byte, in the kinds
// made from text, stands a transform: the file "t", or what is at offset 8 of the one file.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "fuzz/check.h"
#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/directoryformatlibrarian.h"
#include "orb3core/library/packeddescription.h"
#include "orb3core/library/pakformatlibrarian.h"
#include "orb3core/library/pakwriter.h"
#include "orb3core/library/processingformatlibrarian.h"
#include "orb3core/transform/littleendian.h"
#include "slib/exception.h"
#include "slib/files.h"
#include "tests/support/temporaryfolder.h"

namespace {

namespace fl = orb3::fl;

// Sound fields of a high order take their memory when they are made.
class SmallFactory : public orb3::aspace::BasicAcousticFactory {
public:
    std::unique_ptr<orb3::aspace::Acoustic> createAcoustic(const slib::SXMLNode& node) const override {
        if (node.HasAttribute("Order") && node.GetAttribute("Order").size() > 2)
            throw slib::BadDataException("Too high an order for here.");
        return BasicAcousticFactory::createAcoustic(node);
    }
};

struct Input {
    std::string bytes;            // all
    std::string text, transform;  // before and behind the first zero byte
};

Input Split(std::string bytes) {
    const std::size_t end = bytes.find('\0');
    std::string text = bytes.substr(0, end);
    std::string transform = end == std::string::npos ? "" : bytes.substr(end + 1);
    return {std::move(bytes), std::move(text), std::move(transform)};
}

std::string MakePAK(const Input& input) {
    std::string file = std::string(fl::pakMagic) + '\1';
    orb3::strans::AppendLittleEndian(file, static_cast<std::uint32_t>(8 + input.transform.size()));
    file += input.transform;
    const std::string index = fl::ScrambleIndex(input.text);
    orb3::strans::AppendLittleEndian(file, static_cast<std::uint32_t>(index.size()));
    return file + index;
}

using Transform = orb3::strans::TimeDomainTransform<double, 1>;

// From odd rates the way to others is long, and so it is for rings of millions of samples.
bool IsQuick(int rate, const Transform& transform) {
    return rate % 100 == 0 && rate <= 192000 && transform.impulses.size < 64 && transform.Length() <= 4096;
}

// True when the transform came and others can be made of it in no time.
bool Read(const fl::FormatLibrarian& library, std::uint32_t index, int rate) try {
    Transform transform;
    library.getTransform(index, rate, transform);
    transform.validate();
    return IsQuick(rate, transform);
} catch (const slib::StringException&) {
    return false;  // refused with a reason
}

// Asks for everything, at the stored rates and at others.
void Walk(const fl::FormatLibrarian& library) {
    for (std::uint32_t i = 0; i < library.getFormatCount(); ++i) {
        fl::Format format;
        library.getFormat(i, format);
        Check(library.findFormat(format.tag) <= i);
    }
    bool isQuick = true;
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i) {
        fl::Conversion conversion;
        library.getConversion(i, conversion);
        Check(library.findConversion(conversion) <= i);
        hcml::GenericVector<int, 1> rates;
        library.getSampleRates(i, rates);
        for (const int rate : rates)
            isQuick = Read(library, i, rate) && isQuick;
    }
    for (std::uint32_t i = 0; isQuick && i < library.getConversionCount(); ++i)
        for (const int rate : {48000, 44100})
            Read(library, i, rate);
}

template <typename Action>
void RunSafely(const Action& action) {
    try {
        action();
    } catch (const slib::StringException&) {
        // Refused with a reason.
    } catch (const slib::OutOfMemoryException&) {
        // Likewise.
    }
}

// noexcept: what was committed must be readable, so an exception is a finding.
void CheckReadBack(const std::string& path, bool isPacked) noexcept {
    const SmallFactory factory;
    const std::string text = testing_support::ReadFile(path);
    fl::DirectoryBasedFormatLibrarian again(path, "", factory, false, isPacked);
    again.setTag("new");
    again.commit();
    Check(testing_support::ReadFile(path) == text);
}

// Takes over the stored library.
template <typename Stored>
fl::ProcessingFormatLibrarian Processed(Stored* stored) {
    return {slib::SmartPtr<fl::FormatLibrarian, slib::ThreadsafeCounter>(stored), stored, 0.025, nullptr,
            true};
}

void RunDirectoryLibrary(const std::string& folder, const std::string& file, bool isPacked,
                         const std::string& transform) {
    const SmallFactory factory;
    const std::string path = folder + "/lib";
    slib::writeFile(path, file);
    slib::writeFile(folder + (isPacked ? "/t" : "/t.gtrn"), transform);
    auto* const stored = new fl::DirectoryBasedFormatLibrarian(path, "", factory, false, isPacked);
    const fl::ProcessingFormatLibrarian library = Processed(stored);
    Walk(library);
    stored->setTag("new");
    stored->commit();
    CheckReadBack(path, isPacked);
}

void RunPAKLibrary(const std::string& folder, const std::string& file) {
    const SmallFactory factory;
    Walk(Processed(new fl::PAKFormatLibrarian(file.data(), file.data() + file.size(), folder, factory)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t maximumSize = std::size_t{1} << 14;
    if (size == 0 || size > maximumSize) return 0;
    const testing_support::TemporaryFolder folder;
    const Input input = Split(std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
    RunSafely([&] {
        switch (data[0] % 5) {
            case 0:
                return RunDirectoryLibrary(folder.path, input.text, false, input.transform);
            case 1:
                return RunDirectoryLibrary(folder.path, input.bytes, true, "");
            case 2:
                return RunPAKLibrary(folder.path, input.bytes);
            case 3:
                return RunDirectoryLibrary(folder.path, fl::PackDescription(input.text), true,
                                           input.transform);
            default:
                return RunPAKLibrary(folder.path, MakePAK(input));
        }
    });
    return 0;
}

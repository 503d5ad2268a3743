#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <tuple>

#include "library/formatlayout.h"
#include "library/librarywriter.h"
#include "tools/library/commands.h"
#include "tools/library/opening.h"
#include "tools/library/table.h"

namespace tool {
namespace {

namespace fs = std::filesystem;
using orb3::fl::Conversion;
using orb3::fl::FormatLibrarian;

// What the library takes on the disc: one file, or all of its folder's.
double BytesOf(const fs::path& path) {
    if (path.extension() == ".pfl") return static_cast<double>(fs::file_size(path));
    double bytes = 0;
    for (const fs::directory_entry& file : fs::directory_iterator(fs::absolute(path).parent_path()))
        if (file.is_regular_file()) bytes += static_cast<double>(file.file_size());
    return bytes;
}

void ShowFormats(const FormatLibrarian& library) {
    Table table({"tag", "name", "what", ">channels"});
    for (std::uint32_t i = 0; i < library.getFormatCount(); ++i) {
        orb3::fl::Format format;
        library.getFormat(i, format);
        const unsigned order = design::OrderOfFormat(format);
        const bool isStandard = format.family != slib::StandardFormat::Unknown;
        const std::string what = order > 0          ? "sound field of order " + std::to_string(order)
                                 : !format.isLayout ? "other"
                                 : isStandard       ? "standard layout"
                                                    : "layout";
        table.AddRow({format.tag, format.name, what, std::to_string(format.channelCount)});
    }
    table.Print(std::cout);
}

void ShowMethods(const FormatLibrarian& library) {
    Table table({"method", "name", "what it is"});
    for (std::uint32_t i = 0; i < library.getMethodCount(); ++i) {
        orb3::fl::Method method;
        library.getMethod(i, method);
        table.AddRow({method.tag, method.name, method.writeup});
    }
    table.Print(std::cout);
}

const char* NameOf(orb3::fl::Priority priority) {
    switch (priority) {
        case orb3::fl::Priority::Private:
            return "private";
        case orb3::fl::Priority::Low:
            return "low";
        case orb3::fl::Priority::Normal:
            return "normal";
        case orb3::fl::Priority::High:
            return "high";
    }
    return "?";
}

// The conversions to one format by one method, which differ in what they come from.
struct Group {
    std::string from, rates, through;
    std::uint32_t length = 0;
    double bytes = 0;
};

void AddTo(Group& group, const FormatLibrarian& library, std::uint32_t index, const Conversion& conversion) {
    group.from += (group.from.empty() ? "" : " ") + conversion.from;
    for (std::uint32_t i = 0; i + 1 < conversion.chain.size; ++i)
        group.through += (i == 0 ? "" : " ") + conversion.chain[i].to;
    group.rates.clear();
    for (const int rate : design::BaseRates(library, index)) {
        group.rates += (group.rates.empty() ? "" : " ") + std::to_string(rate);
        orb3::strans::TimeDomainTransform<float, 1> transform;
        library.getTransform(index, rate, transform);
        group.length = std::max(group.length, transform.width);
        group.bytes += double{sizeof(float)} * transform.width * transform.impulses.size;
    }
}

void ShowConversions(const FormatLibrarian& library) {
    std::vector<std::tuple<std::string, std::string, orb3::fl::Priority>> order;
    std::map<std::tuple<std::string, std::string, orb3::fl::Priority>, Group> groups;
    for (std::uint32_t i = 0; i < library.getConversionCount(); ++i) {
        Conversion conversion;
        library.getConversion(i, conversion);
        const std::tuple key(conversion.to, conversion.method, conversion.priority);
        const auto [place, isNew] = groups.try_emplace(key);
        if (isNew) order.push_back(key);
        AddTo(place->second, library, i, conversion);
    }
    Table table({"to", "method", "priority", "from", "through", "stored at Hz", ">longest", ">samples"});
    for (const auto& key : order) {
        const Group& group = groups[key];
        table.AddRow({std::get<0>(key), std::get<1>(key), NameOf(std::get<2>(key)), group.from, group.through,
                      group.rates.empty() ? "made on demand" : group.rates,
                      group.length == 0 ? "" : std::to_string(group.length),
                      group.bytes == 0 ? "" : Size(group.bytes)});
    }
    table.Print(std::cout);
}

void Show(const std::string& path) {
    const LibraryPtr library = OpenToRead(path);
    std::cout << path << " is the library '" << library->getTag() << "', " << Size(BytesOf(path)) << ".\n\n";
    ShowFormats(*library);
    std::cout << "\n";
    ShowMethods(*library);
    std::cout << "\n";
    ShowConversions(*library);
}

}  // namespace

void AddShowCommand(CLI::App& program) {
    CLI::App* command = program.add_subcommand("show", "List formats, methods and conversions of a library.");
    command->footer("Example:\n  tessarune-library show lib/default.afl");
    const auto path = std::make_shared<std::string>();
    command->add_option("PATH", *path, "The library, .afl, .dfl or .pfl")->required();
    command->callback([path] { Show(*path); });
}

}  // namespace tool

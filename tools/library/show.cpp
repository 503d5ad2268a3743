#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "library/formatlayout.h"
#include "library/librarywriter.h"
#include "tools/library/commands.h"
#include "tools/library/opening.h"
#include "tools/support/table.h"

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

Table Formats(const FormatLibrarian& library) {
    Table table({{"tag", "tag"}, {"name", "name"}, {"what", "what"}, {"channels", "channels", true}});
    for (std::uint32_t i = 0; i < library.getFormatCount(); ++i) {
        orb3::fl::Format format;
        library.getFormat(i, format);
        const unsigned order = design::OrderOfFormat(format);
        const bool isStandard = format.family != slib::StandardFormat::Unknown;
        const std::string what = order > 0          ? "sound field of order " + std::to_string(order)
                                 : !format.isLayout ? "other"
                                 : isStandard       ? "standard layout"
                                                    : "layout";
        table.AddRow({format.tag, format.name, what, format.channelCount});
    }
    return table;
}

Table Methods(const FormatLibrarian& library) {
    Table table({{"method", "method"}, {"name", "name"}, {"what it is", "description"}});
    for (std::uint32_t i = 0; i < library.getMethodCount(); ++i) {
        orb3::fl::Method method;
        library.getMethod(i, method);
        table.AddRow({method.tag, method.name, method.writeup});
    }
    return table;
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
    std::vector<std::string> from, through;
    std::vector<int> rates;
    std::uint32_t length = 0;
    double bytes = 0;
};

void AddTo(Group& group, const FormatLibrarian& library, std::uint32_t index, const Conversion& conversion) {
    group.from.push_back(conversion.from);
    for (std::uint32_t i = 0; i + 1 < conversion.chain.size; ++i)
        group.through.push_back(conversion.chain[i].to);
    group.rates = design::BaseRates(library, index);
    for (const int rate : group.rates) {
        orb3::strans::TimeDomainTransform<float, 1> transform;
        library.getTransform(index, rate, transform);
        group.length = std::max(group.length, transform.width);
        group.bytes += double{sizeof(float)} * transform.width * transform.impulses.size;
    }
}

// With blanks between.
Cell List(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return {text, words};
}

Cell Rates(const std::vector<int>& rates) {
    std::string text;
    for (const int rate : rates)
        text += (text.empty() ? "" : " ") + std::to_string(rate);
    return {text.empty() ? "made on demand" : text, rates};
}

Table Conversions(const FormatLibrarian& library) {
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
    Table table({{"to", "to"},
                 {"method", "method"},
                 {"priority", "priority"},
                 {"from", "from"},
                 {"through", "through"},
                 {"stored at Hz", "rates"},
                 {"longest", "longest", true},
                 {"samples", "bytes", true}});
    for (const auto& key : order) {
        const Group& group = groups[key];
        table.AddRow({std::get<0>(key),
                      std::get<1>(key),
                      NameOf(std::get<2>(key)),
                      List(group.from),
                      List(group.through),
                      Rates(group.rates),
                      {group.length == 0 ? "" : std::to_string(group.length), group.length},
                      {group.bytes == 0 ? "" : Size(group.bytes), std::llround(group.bytes)}});
    }
    return table;
}

void Show(const std::string& path, bool isJson) {
    const LibraryPtr library = OpenToRead(path);
    const Table formats = Formats(*library), methods = Methods(*library), conversions = Conversions(*library);
    if (isJson)
        return PrintJson({{"path", path},
                          {"tag", library->getTag()},
                          {"bytes", std::llround(BytesOf(path))},
                          {"formats", formats.ToJson()},
                          {"methods", methods.ToJson()},
                          {"conversions", conversions.ToJson()}});
    std::cout << path << " is the library '" << library->getTag() << "', " << Size(BytesOf(path)) << ".\n";
    for (const Table* table : {&formats, &methods, &conversions}) {
        std::cout << "\n";
        table->PrintMarkdown(std::cout);
    }
}

}  // namespace

void AddShowLibraryCommand(Program& program) {
    CommandLine* command = program.AddCommand("show", "List formats, methods and conversions of a library.");
    command->SetFooter("Example:\n  tessarune-library show lib/default.afl");
    const auto path = std::make_shared<std::string>();
    command->AddOption("PATH", *path, "The library, .afl, .dfl or .pfl")->Require();
    const auto isJson = std::make_shared<bool>(false);
    AddJsonFlag(*command, *isJson);
    command->OnUse([path, isJson] { Show(*path, *isJson); });
}

}  // namespace tool

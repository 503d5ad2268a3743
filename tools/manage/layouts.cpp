#include "tools/manage/layouts.h"

#include <algorithm>
#include <cstdint>
#include <set>

#include "orb3core/acoustics/acousticfactory.h"
#include "orb3core/library/conversionchoice.h"
#include "orb3core/library/formatlibraries.h"
#include "slib/files.h"

namespace tool {
namespace {

using LayoutPtr = orb3::Configuration::LayoutPtr;

LayoutEntry Entry(const orb3::Configuration& configuration, const std::string& name) {
    const LayoutPtr stored = FindStored(configuration, name);
    LayoutEntry entry;
    entry.name = name;
    entry.isSelected = stored && configuration.selectedName == name;
    entry.stored = stored;
    return entry;
}

}  // namespace

std::vector<std::string> MethodsFor(const orb3::fl::FormatLibrarian& librarian, const std::string& layout) {
    std::vector<std::string> methods;
    for (const orb3::Decoder& decoder : orb3::FindDecoders(librarian, orb3::MakeFormatTag(layout)))
        if (std::find(methods.begin(), methods.end(), decoder.conversion.method) == methods.end())
            methods.push_back(decoder.conversion.method);
    return methods;
}

LayoutPtr FindStored(const orb3::Configuration& configuration, const std::string& name) {
    LayoutPtr found;
    for (const LayoutPtr& layout : configuration.layouts)
        if (layout->format == name) found = layout;
    return found;
}

std::vector<orb3::fl::Format> LibraryLayouts(const orb3::fl::FormatLibrarian& librarian) {
    std::vector<orb3::fl::Format> layouts;
    for (std::uint32_t i = 0; i < librarian.getFormatCount(); ++i) {
        orb3::fl::Format format;
        librarian.getFormat(i, format);
        if (format.isLayout) layouts.push_back(format);
    }
    return layouts;
}

std::vector<LayoutEntry> ListLayouts(const FormatLibrary& library, const orb3::Configuration& configuration) {
    std::vector<LayoutEntry> entries;
    std::set<std::string> listed;
    for (const orb3::fl::Format& format : LibraryLayouts(library.Librarian())) {
        LayoutEntry& entry = entries.emplace_back(Entry(configuration, format.name));
        entry.channels = format.channelCount;
        entry.methods = MethodsFor(library.Librarian(), format.name);
        listed.insert(format.name);
    }
    for (const LayoutPtr& layout : configuration.layouts) {
        if (!listed.insert(layout->format).second) continue;
        LayoutEntry& entry = entries.emplace_back(Entry(configuration, layout->format));
        entry.channels = layout->speakers.size();
        entry.isInLibrary = false;
    }
    return entries;
}

std::vector<std::string> OwnLayoutNames() {
    const std::string path = orb3::fl::OwnLibraryPath();
    std::vector<std::string> names;
    if (path.empty() || !slib::fileExists(path)) return names;
    try {
        const orb3::aspace::BasicAcousticFactory factory;
        const auto library = orb3::fl::createLibrarian(path, factory, nullptr, false);
        for (const orb3::fl::Format& format : LibraryLayouts(*library))
            names.push_back(format.name);
    } catch (const slib::Exception&) {  // a start leaves it aside too, and logs that
        names.clear();
    }
    return names;
}

std::string Listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

}  // namespace tool

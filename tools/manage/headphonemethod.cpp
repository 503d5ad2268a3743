#include "tools/manage/headphonemethod.h"

#include <algorithm>

#include "orb3core/library/conversionchoice.h"
#include "orb3core/setup/layoutselection.h"
#include "slib/standardformats.h"
#include "tools/manage/connection.h"
#include "tools/manage/machine.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/nearest.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

using orb3::spk::Layout;
using LayoutPtr = orb3::Configuration::LayoutPtr;

std::string FormatName() {
    return slib::GetStandardFormatName(slib::StandardFormat::HeadphoneStereo);
}

bool IsForHeadphones(const Layout& layout) {
    return orb3::MakeFormatTag(layout.format) == design::HeadphoneFormatTag();
}

bool HasHeadphones(const orb3::Configuration& configuration) {
    return std::ranges::any_of(configuration.layouts,
                               [](const LayoutPtr& layout) { return IsForHeadphones(*layout); });
}

Layout MakeLayout(const orb3::fl::FormatLibrarian& library) {
    ErrorsToTerminal log;
    const Output output = FindOutput(MakeFrameworks(log), "");
    Layout layout;
    orb3::ConfigureLayout(library, layout, output.framework.Get(), output.device.Get(), FormatName());
    ConnectTo(*output.device, layout);
    return layout;
}

std::string WhatIsHeard(const orb3::Configuration& configuration) {
    const LayoutPtr selected = orb3::FindSelectedLayout(configuration);
    if (selected && IsForHeadphones(*selected)) return "";
    return "Headphones aren't in force now. 'tessarune-config select \"" + FormatName() +
           "\"' puts them in force; so does a system whose speakers are headphones.";
}

// What a name and a tag have in common: "measuredhead" is "measured".
bool IsMeant(const design::OwnEntry& entry, const std::string& letters) {
    return orb3::MakeFormatTag(entry.name) == letters || entry.tag == letters ||
           entry.tag == letters + "head";
}

}  // namespace

design::HeadChoice StoredChoice(const orb3::Configuration& configuration) {
    design::HeadChoice choice;
    for (const LayoutPtr& layout : configuration.layouts)
        if (IsForHeadphones(*layout)) choice = design::ChoiceOf(layout->method);
    return choice;
}

const design::OwnEntry& FindEntry(const std::vector<design::OwnEntry>& entries, const std::string& name,
                                  const std::string& what) {
    std::vector<std::string> names;
    std::string known;
    for (const design::OwnEntry& entry : entries) {
        if (IsMeant(entry, orb3::MakeFormatTag(name))) return entry;
        names.push_back(entry.name);
        known += (known.empty() ? "" : ", ") + entry.name;
    }
    if (known.empty()) throw WrongUse("There is no " + what + " yet.");
    throw WrongUse("There is no " + what + " '" + name + "'." + DidYouMean(names, name) + " There is " +
                   known + ".");
}

std::string ChangeChoice(const orb3::fl::FormatLibrarian& library,
                         const std::function<void(design::HeadChoice& choice)>& change, bool makesLayout) {
    const bool needsLayout = makesLayout && !HasHeadphones(ReadDocument());
    if (!needsLayout && !HasHeadphones(ReadDocument())) return "";
    const LayoutPtr made(needsLayout ? new Layout(MakeLayout(library)) : nullptr);
    orb3::Configuration changed;
    ChangeDocument([&](orb3::Configuration& configuration) {
        if (made && !HasHeadphones(configuration)) configuration.layouts.push_back(made);
        if (configuration.selectedName.empty() && made) configuration.selectedName = made->format;
        for (const LayoutPtr& layout : configuration.layouts) {
            if (!IsForHeadphones(*layout)) continue;
            design::HeadChoice choice = design::ChoiceOf(layout->method);
            change(choice);
            layout->method = design::MethodOf(choice);
        }
        changed = configuration;
    });
    return WhatIsHeard(changed);
}

std::string SystemsHead(const orb3::fl::FormatLibrarian& library) {
    Layout layout;
    orb3::ConfigureLayout(library, layout, nullptr, nullptr, FormatName());
    return layout.method;
}

}  // namespace tool

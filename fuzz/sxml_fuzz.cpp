// Fuzz target for SXML documents and the configuration in them. What parses must come back the same through
// each style of the writer, and a configuration must survive being written and read. Also linked with
// replay_main.cpp into a program that runs the corpus in the ordinary tests.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/check.h"
#include "orb3core/settings/configuration.h"
#include "slib/exception.h"
#include "slib/sxml.h"

namespace {

using Style = slib::SXMLNode::Style;

// The indented styles of a tree grow with the square of its depth; longer documents are left to the tests.
constexpr std::size_t maximumSize = 1 << 14;

// An element with an empty label and no children is written "</>", which is a closing tag.
bool CanBeReadBack(const slib::SXMLNode& root) {
    std::vector<const slib::SXMLNode*> left{&root};
    while (!left.empty()) {
        const slib::SXMLNode& node = *left.back();
        left.pop_back();
        if (node.label.empty() && node.children.empty()) return false;
        for (const auto& child : node.children)
            left.push_back(child.get());
    }
    return true;
}

// noexcept here and below: what the writer wrote must be readable, so an exception is a finding.
void CheckStyles(const slib::SXMLNode& root) noexcept {
    const std::string compact = root.ToString(Style::Compact);
    for (const Style style : std::array{Style::Compact, Style::Indented, Style::Spread})
        Check(slib::SXMLNode(root.ToString(style)).ToString(Style::Compact) == compact);
}

// The first writing may cost digits that a document doesn't hold; the second must cost nothing.
void CheckConfiguration(const orb3::Configuration& read) noexcept {
    const std::string text = read.CreateNode()->ToString(Style::Compact);
    orb3::Configuration second;
    second.Read(slib::SXMLNode(text));
    Check(second.CreateNode()->ToString(Style::Compact) == text);
    orb3::Configuration third;
    third.Read(slib::SXMLNode(text));
    Check(third == second);
    Check(orb3::Configuration(third) == third);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > maximumSize) return 0;
    try {
        const slib::SXMLNode root(std::string_view(reinterpret_cast<const char*>(data), size));
        if (CanBeReadBack(root)) CheckStyles(root);
        orb3::Configuration configuration;
        configuration.Read(root);
        CheckConfiguration(configuration);
        configuration.arraySet.Prepare();
    } catch (const slib::BadDataException&) {
        // An answer like any other: the document is wrong.
    }
    return 0;
}

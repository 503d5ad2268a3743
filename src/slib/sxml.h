#pragma once

// SXML: the element-and-attribute core of XML and nothing else. Every structured text that the system stores
// (the configuration, the format library's descriptions) is a tree of these nodes; this file knows nothing of
// any schema. Used at start-up and when the configuration changes, never on the audio thread. Distinct trees
// may be used from distinct threads.
//
// Parsing, writing and destroying take linear time and don't recurse, so neither the depth nor the size of a
// document that came from outside can bring the process down.

#include <cstddef>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace slib {

/// One element with its subtree. There is no text content: the grammar has no place for it. Text is bytes.
class SXMLNode {
public:
    /// The layouts of the writer.
    enum class Style {
        Compact,   ///< One line without line ends; equal trees have equal Compact texts.
        Indented,  ///< Each element on its own line, two blanks per level.
        Spread     ///< Each element and each attribute on its own line, four blanks per level.
    };

    /// An empty node with an empty label.
    SXMLNode() = default;

    /// Parses a whole document; the node becomes its root element. Throws BadXMLException with "Failed to
    /// parse SXML: " and the text that was left where parsing stopped. A NUL byte is nowhere allowed.
    explicit SXMLNode(std::string_view text);

    SXMLNode(SXMLNode&&) noexcept = default;
    SXMLNode& operator=(SXMLNode&&) noexcept = default;
    ~SXMLNode();

    /// Writes the node and its subtree as an element at depth `level`. Labels and attribute names are written
    /// as they are, so they must hold no white space, "=", "/" or ">"; attribute values are escaped.
    void Write(std::ostream& stream, Style style, std::size_t level) const;

    /// The text of the node at level 0.
    std::string ToString(Style style) const;

    /// The value of an attribute. Throws BadXMLException when it is missing.
    const std::string& GetAttribute(std::string_view name) const;

    bool HasAttribute(std::string_view name) const;

    /// The one child with this label. Throws BadXMLException when there is none, or more than one.
    const SXMLNode& GetChild(std::string_view label) const;

    /// Appends `node`, which must not be null, and returns it.
    SXMLNode& AddChild(std::unique_ptr<SXMLNode> node);

    /// Throws BadXMLException when the label is another one.
    void CheckLabel(std::string_view expected) const;

    /// Throws BadXMLException when the number of children is another one.
    void CheckChildCount(std::size_t expected) const;

    std::string label;  ///< The element's name.
    std::map<std::string, std::string, std::less<>>
        attributes;                                   ///< Values by name, in byte order of the names.
    std::vector<std::unique_ptr<SXMLNode>> children;  ///< In document order, never null.
};

/// `text` as an attribute value or the content of an XML element: the four characters & < > " as entities.
[[nodiscard]] std::string EscapeXml(std::string_view text);

}  // namespace slib

#include "slib/sxml.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <sstream>
#include <stack>
#include <utility>

#include "slib/exception.h"
#include "slib/text.h"

namespace slib {
namespace {

struct Entity {
    char character;
    std::string_view text;
};

constexpr std::array<Entity, 4> entities{{{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}}};

// The text of an attribute value with its entities replaced. "&" before anything else stays a plain "&".
std::string Unescaped(std::string_view raw) {
    std::string value;
    for (std::size_t at = raw.find('&'); at != std::string_view::npos; at = raw.find('&')) {
        value.append(raw, 0, at);
        raw.remove_prefix(at);
        const auto entity = std::find_if(entities.begin(), entities.end(),
                                         [raw](const Entity& known) { return raw.starts_with(known.text); });
        value += entity == entities.end() ? '&' : entity->character;
        raw.remove_prefix(entity == entities.end() ? 1 : entity->text.size());
    }
    return value.append(raw);
}

// What the parser reports about a document while it walks over it; the two receivers below have this form.
// Labels and values are views of the document, values with their entities.
//
//     StartElement(label), AddAttribute(name, value), EndElement(), GetLabel() of the element now open

// Keeps no more than the grammar asks for, so that a document that is wrong costs no tree.
class Checker {
public:
    void StartElement(std::string_view label) { open.push(label); }
    void AddAttribute(std::string_view, std::string_view) {}
    void EndElement() { open.pop(); }
    std::string_view GetLabel() const { return open.top(); }

private:
    std::stack<std::string_view> open;
};

// Fills a node with the root element.
class Builder {
public:
    explicit Builder(SXMLNode& root) : root(root) {}

    void StartElement(std::string_view label) {
        SXMLNode& node = open.empty() ? root : open.back()->AddChild(std::make_unique<SXMLNode>());
        node.label = label;
        open.push_back(&node);
    }
    void AddAttribute(std::string_view name, std::string_view value) {
        open.back()->attributes.insert_or_assign(std::string(name), Unescaped(value));
    }
    void EndElement() { open.pop_back(); }
    std::string_view GetLabel() const { return open.back()->label; }

private:
    SXMLNode& root;
    std::vector<SXMLNode*> open;
};

// A cursor that walks over a document. A failure is a ParseException and leaves the cursor where parsing
// stopped.
template <typename Receiver>
class Parser {
public:
    Parser(std::string_view text, Receiver& receiver) : rest(text), receiver(receiver) {}

    void ParseDocument();

    std::string_view rest;  // the text from the cursor on

private:
    // The byte at the cursor; NUL at the end, so that an embedded NUL reads like the end too.
    char Peek() const { return rest.empty() ? '\0' : rest.front(); }
    void Skip();
    void Take(char expected);
    bool TakeTagStart();
    bool TakeOpeningTag();
    void TakeClosingTag();
    void TakeAttribute();

    // The bytes up to the first for which `isEnd` holds, NUL or the end of the text.
    template <typename Predicate>
    std::string_view TakeUntil(Predicate isEnd) {
        const auto end =
            std::find_if(rest.begin(), rest.end(), [&](char c) { return c == '\0' || isEnd(c); });
        const std::string_view taken = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
        rest.remove_prefix(taken.size());
        return taken;
    }

    Receiver& receiver;
};

template <typename Receiver>
void Parser<Receiver>::Skip() {
    while (!rest.empty() && IsSpace(rest.front()))
        rest.remove_prefix(1);
}

// Moves past one byte, which must be `expected`.
template <typename Receiver>
void Parser<Receiver>::Take(char expected) {
    if (rest.empty() || rest.front() != expected) throw ParseException();
    rest.remove_prefix(1);
}

// Moves past "<", and past the "/" of a closing tag; false for a closing tag.
template <typename Receiver>
bool Parser<Receiver>::TakeTagStart() {
    Skip();
    Take('<');
    Skip();
    if (Peek() != '/') return true;
    Take('/');
    Skip();
    return false;
}

// Reads the label and the attributes, and the ">"; true when children and a closing tag follow.
template <typename Receiver>
bool Parser<Receiver>::TakeOpeningTag() {
    receiver.StartElement(TakeUntil([](char c) { return IsSpace(c) || c == '>' || c == '/'; }));
    for (Skip(); Peek() != '/' && Peek() != '>'; Skip())
        TakeAttribute();
    const bool hasChildren = Peek() == '>';
    if (!hasChildren) {
        Take('/');
        Skip();
    }
    Take('>');
    Skip();
    if (!hasChildren) receiver.EndElement();
    return hasChildren;
}

// Reads on from the label of a closing tag.
template <typename Receiver>
void Parser<Receiver>::TakeClosingTag() {
    const std::string_view label = receiver.GetLabel();
    if (!rest.starts_with(label)) throw ParseException();
    rest.remove_prefix(label.size());
    Skip();
    Take('>');
    Skip();
    receiver.EndElement();
}

template <typename Receiver>
void Parser<Receiver>::TakeAttribute() {
    const std::string_view name = TakeUntil([](char c) { return IsSpace(c) || c == '>' || c == '='; });
    Skip();
    Take('=');
    Skip();
    Take('"');
    const std::string_view value = TakeUntil([](char c) { return c == '"'; });
    Take('"');
    receiver.AddAttribute(name, value);
}

template <typename Receiver>
void Parser<Receiver>::ParseDocument() {
    std::size_t depth = 0;
    do {
        if (TakeTagStart()) {
            if (TakeOpeningTag()) ++depth;
            continue;
        }
        if (depth == 0) throw ParseException();
        TakeClosingTag();
        --depth;
    } while (depth > 0);
    Skip();
    if (!rest.empty()) throw ParseException();
}

// Writes the tags of a tree in one style.
class Writer {
public:
    Writer(std::ostream& stream, SXMLNode::Style style) : stream(stream), style(style) {}

    void StartTag(const SXMLNode& node, std::size_t level);
    void EndTag(const SXMLNode& node, std::size_t level);

private:
    // Unformatted output: a width or a locale of the stream has no say in a document.
    void Put(std::string_view text) { stream.write(text.data(), static_cast<std::streamsize>(text.size())); }
    void PutLineEnd();
    void PutPad(std::size_t level);
    void PutAttribute(const std::string& name, const std::string& value, std::size_t level);

    std::ostream& stream;
    SXMLNode::Style style;
};

void Writer::PutLineEnd() {
    if (style != SXMLNode::Style::Compact) Put("\n");
}

void Writer::PutPad(std::size_t level) {
    if (style == SXMLNode::Style::Compact) return;
    const std::string_view step = style == SXMLNode::Style::Spread ? "    " : "  ";
    for (std::size_t i = 0; i < level; ++i)
        Put(step);
}

void Writer::PutAttribute(const std::string& name, const std::string& value, std::size_t level) {
    if (style == SXMLNode::Style::Spread) {
        Put("\n  ");
        PutPad(level);
    } else {
        Put(" ");
    }
    Put(name);
    Put("=\"");
    Put(EscapeXml(value));
    Put("\"");
}

void Writer::StartTag(const SXMLNode& node, std::size_t level) {
    PutPad(level);
    Put("<");
    Put(node.label);
    for (const auto& [name, value] : node.attributes)
        PutAttribute(name, value, level);
    Put(node.children.empty() ? "/>" : ">");
    PutLineEnd();
}

void Writer::EndTag(const SXMLNode& node, std::size_t level) {
    PutPad(level);
    Put("</");
    Put(node.label);
    Put(">");
    PutLineEnd();
}

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

}  // namespace

SXMLNode::SXMLNode(std::string_view text) {
    Checker checker;
    Parser check(text, checker);
    try {
        check.ParseDocument();
    } catch (const ParseException&) {
        throw BadXMLException("Failed to parse SXML: " + std::string(check.rest));
    }
    Builder builder(*this);
    Parser(text, builder).ParseDocument();
}

// Takes the tree apart leaf by leaf, without recursion and without memory of its own: while a node's last
// child is being worked on, that child's slot holds the link back to the node's own parent.
SXMLNode::~SXMLNode() {
    for (std::unique_ptr<SXMLNode>& top : children) {
        std::unique_ptr<SXMLNode> parent;
        std::unique_ptr<SXMLNode> node = std::move(top);
        while (node) {
            if (!node->children.empty()) {
                std::unique_ptr<SXMLNode> child = std::move(node->children.back());
                node->children.back() = std::move(parent);
                parent = std::move(node);
                node = std::move(child);
                continue;
            }
            node = std::move(parent);
            if (!node) break;
            parent = std::move(node->children.back());
            node->children.pop_back();
        }
    }
}

void SXMLNode::Write(std::ostream& stream, Style style, std::size_t level) const {
    struct Open {
        const SXMLNode* node;
        std::size_t next;  // index of the child to write next
    };
    Writer writer(stream, style);
    std::vector<Open> open;
    writer.StartTag(*this, level);
    if (!children.empty()) open.push_back({this, 0});
    while (!open.empty()) {
        const SXMLNode& node = *open.back().node;
        if (open.back().next == node.children.size()) {
            open.pop_back();
            writer.EndTag(node, level + open.size());
            continue;
        }
        const SXMLNode& child = *node.children[open.back().next++];
        writer.StartTag(child, level + open.size());
        if (!child.children.empty()) open.push_back({&child, 0});
    }
}

std::string SXMLNode::ToString(Style style) const {
    std::ostringstream stream;
    Write(stream, style, 0);
    return std::move(stream).str();
}

const std::string& SXMLNode::GetAttribute(std::string_view name) const {
    const auto found = attributes.find(name);
    if (found == attributes.end())
        throw BadXMLException("Attribute " + Quoted(name) + " not found in " + Quoted(label) + ".");
    return found->second;
}

bool SXMLNode::HasAttribute(std::string_view name) const {
    return attributes.contains(name);
}

const SXMLNode& SXMLNode::GetChild(std::string_view label) const {
    const auto hasLabel = [label](const std::unique_ptr<SXMLNode>& child) { return child->label == label; };
    const auto found = std::find_if(children.begin(), children.end(), hasLabel);
    if (found == children.end())
        throw BadXMLException("Child " + Quoted(label) + " not found in " + Quoted(this->label) + ".");
    if (std::any_of(found + 1, children.end(), hasLabel))
        throw BadXMLException("Child " + Quoted(label) + " found more than once in " + Quoted(this->label) +
                              ".");
    return **found;
}

SXMLNode& SXMLNode::AddChild(std::unique_ptr<SXMLNode> node) {
    return *children.emplace_back(std::move(node));
}

void SXMLNode::CheckLabel(std::string_view expected) const {
    if (label == expected) return;
    throw BadXMLException("A label was " + Quoted(label) + ", but " + Quoted(expected) + " was expected.");
}

void SXMLNode::CheckChildCount(std::size_t expected) const {
    if (children.size() == expected) return;
    throw BadXMLException("A child count of " + std::to_string(expected) + " was expected in a " +
                          Quoted(label) + " node, but " + std::to_string(children.size()) + " was seen.");
}

std::string EscapeXml(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        const auto* const entity = std::ranges::find(entities, c, &Entity::character);
        if (entity == entities.end())
            escaped += c;
        else
            escaped += entity->text;
    }
    return escaped;
}

}  // namespace slib

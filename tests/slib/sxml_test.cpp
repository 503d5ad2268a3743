#include "slib/sxml.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <utility>

#include "tests/support/failure.h"

namespace {

using slib::SXMLNode;
using Style = SXMLNode::Style;
using testing_support::Failure;

std::string Repeated(const std::string& text, std::size_t count) {
    std::string repeated;
    while (count-- > 0)
        repeated += text;
    return repeated;
}

// Each document as it is read, and as it is written back.
const std::pair<std::string, std::string> goodDocuments[] = {
    {" \t< A / > \n", "<A/>"},
    {"<A>< / A >\v\f\r", "<A/>"},
    {R"(<A b = "1" a="2" B="3" />)", R"(<A B="3" a="2" b="1"/>)"},
    {"<A \xC3\xA4=\"1\" z=\"2\"/>", "<A z=\"2\" \xC3\xA4=\"1\"/>"},
    {R"(<A x="1" x="2"/>)", R"(<A x="2"/>)"},
    {R"(<A x="&amp;&lt;&gt;&quot;"/>)", R"(<A x="&amp;&lt;&gt;&quot;"/>)"},
    {R"(<A x="&amp;lt;&apos;&#65;&am"/>)", R"(<A x="&amp;lt;&amp;apos;&amp;#65;&amp;am"/>)"},
    {"<A x=\"a\nb<>'/\"/>", "<A x=\"a\nb&lt;&gt;'/\"/>"},
    {R"(<A ="1" b/c="1"/>)", R"(<A ="1" b/c="1"/>)"},
    {"<><B/><C><D/></C>\n<B/></>", "<><B/><C><D/></C><B/></>"}};

TEST(GoodDocument, Parsed_WritesBackInCanonicalForm) {
    for (const auto& [text, compact] : goodDocuments)
        EXPECT_EQ(SXMLNode(text).ToString(Style::Compact), compact);
}

TEST(BadDocument, Refused_TellsTheTextLeftAtTheCursor) {
    const std::pair<const char*, const char*> documents[] = {
        {"  A", "A"},           {"<A>text</A>", "text</A>"}, {"<?xml version=\"1.0\"?><A/>", "><A/>"},
        {"<AB></A>", "A>"},     {"<A></A><B/>", "<B/>"},     {"<A x y=\"1\"/>", "y=\"1\"/>"},
        {"<A x='1'/>", "'1'/>"}};
    for (const auto& [text, rest] : documents)
        EXPECT_EQ(Failure([document = text] { SXMLNode node(document); }),
                  std::string("Failed to parse SXML: ") + rest);
}

// what() ends at a NUL, as the text does for the grammar.
TEST(BadDocument, CutShortOrWithANulByte_EndsTooEarly) {
    const std::string whole = "<A x=\"&quot;\"><B/></A>";
    for (std::size_t at = 0; at < whole.size(); ++at) {
        const std::string head = whole.substr(0, at);
        for (const std::string& text : {head, head + '\0' + whole.substr(at), whole + '\0'})
            EXPECT_EQ(Failure([&] { SXMLNode node(text); }), "Failed to parse SXML: ");
    }
}

TEST(Writer, IndentedAndSpread_PutEachElementOrAttributeOnALine) {
    const SXMLNode sample(R"(<A x="1" y="&lt;"><B/><C z="3"><D/></C></A>)");
    EXPECT_EQ(
        sample.ToString(Style::Spread),
        "<A\n  x=\"1\"\n  y=\"&lt;\">\n    <B/>\n    <C\n      z=\"3\">\n        <D/>\n    </C>\n</A>\n");
    std::ostringstream stream;
    stream.width(20);  // has no say
    sample.children[1]->Write(stream, Style::Indented, 2);
    EXPECT_EQ(stream.str(), "    <C z=\"3\">\n      <D/>\n    </C>\n");
}

TEST(Node, LookupOfAChild_FailsWithItsName) {
    const SXMLNode node("<A x=\"1\"><B/><B/><C/></A>");
    EXPECT_FALSE(node.HasAttribute("X"));
    EXPECT_EQ(Failure([&] { node.GetChild("D"); }), "Child 'D' not found in 'A'.");
    EXPECT_EQ(Failure([&] { node.GetChild("B"); }), "Child 'B' found more than once in 'A'.");
}

// A million levels end a process that recurses, and the sizes below take hours where work is quadratic.
constexpr std::size_t million = 1000000;

TEST(HostileDocument, DeepOrWideOrHuge_ParsesWritesAndDiesButNotTenMillionDeep) {
    for (const std::string& text :
         {Repeated("<a>", million) + "<b/>" + Repeated("</a>", million),
          Repeated("<a><b/><b/>", million / 4) + "<b/>" + Repeated("<c/></a>", million / 4),
          "<a v=\"" + Repeated("&amp;&lt;", million) + Repeated("x", 100 * million) + "\"/>"})
        EXPECT_TRUE(SXMLNode(text).ToString(Style::Compact) == text);
    EXPECT_EQ(Failure([] { SXMLNode node(Repeated("<a>", 10 * million)); }), "Failed to parse SXML: ");
}

}  // namespace

#include "slib/sxml.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

#include "slib/exception.h"

namespace {

using slib::SXMLNode;
using Style = SXMLNode::Style;
using namespace std::string_literals;

template <typename Call>
std::string TextOfBadXML(Call call) {
    try {
        call();
    } catch (const slib::BadXMLException& failure) {
        return failure.what();
    }
    return "nothing was thrown";
}

std::string Repeated(std::string_view text, std::size_t count) {
    std::string repeated;
    repeated.reserve(text.size() * count);
    while (count-- > 0)
        repeated += text;
    return repeated;
}

struct Good {
    std::string text;
    std::string compact;
};

class GoodDocument : public testing::TestWithParam<Good> {};

TEST_P(GoodDocument, Parsed_WritesBackInCanonicalForm) {
    EXPECT_EQ(SXMLNode(GetParam().text).ToString(Style::Compact), GetParam().compact);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, GoodDocument,
    testing::Values(
        Good{"<A/>", "<A/>"}, Good{" \t< A / > \n", "<A/>"}, Good{"<A></A>", "<A/>"},
        Good{"<A>< / A >\v\f\r", "<A/>"}, Good{"<A x = \"1\" />", R"(<A x="1"/>)"},
        Good{R"(<A b="1" a="2" B="3"/>)", R"(<A B="3" a="2" b="1"/>)"},
        Good{"<A \xC3\xA4=\"1\" z=\"2\"/>", "<A z=\"2\" \xC3\xA4=\"1\"/>"},
        Good{R"(<A x="1" x="2"/>)", R"(<A x="2"/>)"}, Good{R"(<A x="a&b"/>)", R"(<A x="a&amp;b"/>)"},
        Good{R"(<A x="&amp;&lt;&gt;&quot;"/>)", R"(<A x="&amp;&lt;&gt;&quot;"/>)"},
        Good{R"(<A x="&amp;lt;&apos;&#65;&am"/>)", R"(<A x="&amp;lt;&amp;apos;&amp;#65;&amp;am"/>)"},
        Good{"<A x=\"a\nb<>'/\"/>", "<A x=\"a\nb&lt;&gt;'/\"/>"}, Good{R"(<A ="1"/>)", R"(<A ="1"/>)"},
        Good{R"(<A b/c="1"/>)", R"(<A b/c="1"/>)"}, Good{"<A<\"=&/>", "<A<\"=&/>"},
        Good{"<A><B/><C><D/></C>\n<B/></A>", "<A><B/><C><D/></C><B/></A>"}, Good{"<><A/></>", "<><A/></>"}));

struct Bad {
    std::string text;
    std::string rest;  // what is left where parsing stops
};

class BadDocument : public testing::TestWithParam<Bad> {};

TEST_P(BadDocument, Refused_TellsTheTextLeftAtTheCursor) {
    EXPECT_EQ(TextOfBadXML([] { SXMLNode node(GetParam().text); }),
              "Failed to parse SXML: " + GetParam().rest);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, BadDocument,
    testing::Values(Bad{"", ""}, Bad{"  A", "A"}, Bad{"<", ""}, Bad{"<A", ""}, Bad{"<A>", ""},
                    Bad{"<A>text</A>", "text</A>"}, Bad{"<?xml version=\"1.0\"?><A/>", "><A/>"},
                    Bad{"<!-- note --><A/>", "--><A/>"}, Bad{"<A></AB>", "B>"}, Bad{"<AB></A>", "A>"},
                    Bad{"<A></A><B/>", "<B/>"}, Bad{"</A>", "A>"}, Bad{"< / A>", "A>"}, Bad{"<A/ x", "x"},
                    Bad{"<A/B=\"1\"/>", "B=\"1\"/>"}, Bad{"<A x/>", ">"}, Bad{"<A x y=\"1\"/>", "y=\"1\"/>"},
                    Bad{"<A x='1'/>", "'1'/>"}, Bad{"<A x=\"1", ""}, Bad{"<A x=\"&quot", ""}, Bad{"<A x", ""},
                    Bad{"<A x=", ""}, Bad{"<A x=\"1\"", ""}, Bad{"<A></A", ""}, Bad{"<A><B/>", ""},
                    Bad{"<A><B></A></B>", "A></B>"}));

// what() ends at a NUL, as the text does for the grammar.
TEST(NulBytes, AnywhereInADocument_EndTheTextTooEarly) {
    for (const std::string& text : {"\0<A/>"s, "<A\0/>"s, "<A x=\"1\0\"/>"s, "<A x\0=\"1\"/>"s, "<A>\0</A>"s,
                                    "<A></A\0>"s, "<A/>\0"s, "<A/>\0<B/>"s})
        EXPECT_EQ(TextOfBadXML([&] { SXMLNode node(text); }), "Failed to parse SXML: ");
}

SXMLNode Sample() {
    return SXMLNode(R"(<A x="1" y="&lt;"><B/><C z="3"><D/></C></A>)");
}

TEST(Writer, Indented_PutsEachElementOnALine) {
    EXPECT_EQ(Sample().ToString(Style::Indented),
              "<A x=\"1\" y=\"&lt;\">\n  <B/>\n  <C z=\"3\">\n    <D/>\n  </C>\n</A>\n");
}

TEST(Writer, Spread_PutsEachAttributeOnALine) {
    EXPECT_EQ(
        Sample().ToString(Style::Spread),
        "<A\n  x=\"1\"\n  y=\"&lt;\">\n    <B/>\n    <C\n      z=\"3\">\n        <D/>\n    </C>\n</A>\n");
}

TEST(Writer, AtALevelOnAFormattingStream_PadsByTheLevelAlone) {
    std::ostringstream stream;
    stream.width(20);
    Sample().children[1]->Write(stream, Style::Indented, 2);
    EXPECT_EQ(stream.str(), "    <C z=\"3\">\n      <D/>\n    </C>\n");
}

TEST(Node, Lookups_FailWithTheirNames) {
    const SXMLNode node("<A x=\"1\"><B/><B/><C/></A>");
    EXPECT_EQ(node.GetAttribute("x"), "1");
    EXPECT_FALSE(node.HasAttribute("X"));
    EXPECT_EQ(TextOfBadXML([&] { node.GetAttribute("X"); }), "Attribute 'X' not found in 'A'.");
    EXPECT_EQ(node.GetChild("C").label, "C");
    EXPECT_EQ(TextOfBadXML([&] { node.GetChild("D"); }), "Child 'D' not found in 'A'.");
    EXPECT_EQ(TextOfBadXML([&] { node.GetChild("B"); }), "Child 'B' found more than once in 'A'.");
    EXPECT_EQ(TextOfBadXML([&] { node.CheckLabel("E"); }), "A label was 'A', but 'E' was expected.");
    EXPECT_EQ(TextOfBadXML([&] { node.CheckChildCount(2); }),
              "A child count of 2 was expected in a 'A' node, but 3 was seen.");
    EXPECT_NO_THROW(node.CheckChildCount(3));
}

TEST(Node, BuiltByHand_ParsesBackWithItsValues) {
    SXMLNode root;
    root.label = "Root";
    root.attributes["v"] = "<\"&amp;\">";
    root.AddChild(std::make_unique<SXMLNode>()).label = "First";
    root.AddChild(std::make_unique<SXMLNode>()).label = "Second";
    const SXMLNode copy(root.ToString(Style::Spread));
    EXPECT_EQ(copy.GetAttribute("v"), "<\"&amp;\">");
    ASSERT_EQ(copy.children.size(), 2u);
    EXPECT_EQ(copy.children[1]->label, "Second");
}

// A million levels end a process that recurses, and the sizes below take hours where work is quadratic.
constexpr std::size_t million = 1000000;

TEST(HostileDocument, NestedAMillionDeep_ParsesWritesAndDies) {
    const std::string text = Repeated("<a>", million) + "<b/>" + Repeated("</a>", million);
    EXPECT_EQ(SXMLNode(text).ToString(Style::Compact), text);
}

TEST(HostileDocument, MillionsOfOpenElements_AreRefused) {
    EXPECT_EQ(TextOfBadXML([] { SXMLNode node(Repeated("<a>", 10 * million)); }), "Failed to parse SXML: ");
    EXPECT_EQ(TextOfBadXML([] { SXMLNode node(Repeated("<a>", million) + "</b>"); }),
              "Failed to parse SXML: b>");
}

TEST(HostileDocument, HugeValue_KeepsEveryByte) {
    const std::string value(100 * million, 'x');
    EXPECT_EQ(SXMLNode("<a v=\"" + value + "\"/>").GetAttribute("v"), value);
    EXPECT_EQ(SXMLNode("<a v=\"" + Repeated("&amp;&", million) + "\"/>").GetAttribute("v"),
              std::string(2 * million, '&'));
}

TEST(HostileDocument, WideTreesWithBranchesAtEachLevel_AreTakenApart) {
    const std::string text =
        "<r>" + Repeated("<a><b/><b/>", million / 4) + Repeated("<c/></a>", million / 4) + "</r>";
    SXMLNode node(text);
    EXPECT_EQ(node.ToString(Style::Compact), text);
    node = SXMLNode("<A/>");
    EXPECT_TRUE(node.children.empty());
}

}  // namespace

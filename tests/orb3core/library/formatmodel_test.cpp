#include <gtest/gtest.h>

#include <string>

#include "orb3core/library/formatlibrarian.h"
#include "tests/support/failure.h"

namespace {

using namespace orb3::fl;
using slib::SXMLNode;

const std::string completeFormat =
    R"x(<Format ChannelCount="4" FormatFamily="Surround 5.1 (ITU)" IsLayout="True" IsPreset="False" )x"
    R"(Name="A &amp; B" QUILLFormat="FFFFFFFE" Tag="T"><Acoustic><FSAScheme Order="1"/></Acoustic>)"
    R"(<SpeakerSet AudienceArrangement="Forward" DiscardDistance="False"><Speaker Label="L" Type="Normal">)"
    R"(<Location X="1" Y="0" Z="0"/></Speaker></SpeakerSet></Format>)";
const std::string plainFormat =
    R"(<Format ChannelCount="2" FormatFamily="Unknown" IsLayout="False" IsPreset="True" Name="" Tag="T"/>)";
const std::string composite =
    R"(<Conversion ExpertDecoder="E" FromFormat="A" InformationLoss="True" Method="M" Priority="High" )"
    R"(ToFormat="C"><CompositeChain Gain="0.1234567891"><Link FromFormat="A" Method="M1" ToFormat="B"/>)"
    R"(<Link FromFormat="B" Method="M2" ToFormat="C"/></CompositeChain></Conversion>)";
const std::string plainConversion =
    R"(<Conversion FromFormat="A" InformationLoss="False" Method="M" Priority="Private" ToFormat="B"/>)";
const std::string method = R"(<Method Name="N" Tag="T" Writeup="W"/>)";
const std::string status = R"(<Transform Generated="True" NeedsGeneration="False" Possible="True"/>)";

template <typename Record, typename... Factory>
std::string Rewritten(const SXMLNode& node, const Factory&... factory) {
    Record record;
    record.Read(node, factory...);
    return record.CreateNode()->ToString(SXMLNode::Style::Compact);
}

// What `text` reads as, written again; or the failure.
std::string ReadAndWritten(const std::string& text) {
    try {
        const SXMLNode node(text);
        if (node.label == "Format") return Rewritten<Format>(node, orb3::aspace::BasicAcousticFactory());
        if (node.label == "Method") return Rewritten<Method>(node);
        if (node.label == "Conversion") return Rewritten<Conversion>(node);
        TransformStatus record;
        record.Read(node);
        SXMLNode written("<Transform/>");
        record.SetAttributes(written);
        return written.ToString(SXMLNode::Style::Compact);
    } catch (const slib::StringException& e) {
        return e.what();
    }
}

std::string With(std::string text, const std::string& part, const std::string& other) {
    return text.replace(text.find(part), part.size(), other);
}

TEST(LibraryRecords, ReadAndWritten_AreTheSameOrTellWhy) {
    for (const std::string& text : {completeFormat, plainFormat, composite, plainConversion, method, status})
        EXPECT_EQ(ReadAndWritten(text), text);
    EXPECT_EQ(ReadAndWritten(With(plainConversion, "Private", "high")),
              With(plainConversion, "Private", "Low"));
    struct Damage {
        std::string text, message;
    };
    const Damage damages[] = {
        {With(plainFormat, "\"2\"", "\"-2\""), "Invalid channel count '-2'."},
        {With(completeFormat, "FFFFFFFE", "FFFFFFFE0"), "Invalid QUILL format ID 'FFFFFFFE0'."},
        {With(plainConversion, "/>", R"(><CompositeChain Gain="1"/></Conversion>)"),
         "Empty composite chain."},
        {With(With(status, "\"True\"", "\"False\""), "n=\"False\"", "n=\"True\""),
         "A transform status was badly defined: a transform that is not to be generated apparently needs "
         "generation."},
    };
    for (const auto& [text, message] : damages)
        EXPECT_EQ(ReadAndWritten(text), message);
}

TEST(Format, AfterAFailedRead_KeepsEverything) {
    const orb3::aspace::BasicAcousticFactory factory;
    Format format;
    format.Read(SXMLNode(completeFormat), factory);
    EXPECT_EQ(format.quillFormat, -2);
    EXPECT_THROW(format.Read(SXMLNode(With(plainFormat, "Tag", "Tug")), factory), slib::BadXMLException);
    EXPECT_EQ(format.CreateNode()->ToString(SXMLNode::Style::Compact), completeFormat);
}

Conversion Read(const std::string& text) {
    Conversion conversion;
    conversion.Read(SXMLNode(text));
    return conversion;
}

TEST(Conversion, Validate_AsksForNamesAndAChainThatLinksUp) {
    const auto failureWith = [](const std::string& part, const std::string& other) {
        const Conversion conversion = Read(With(composite, part, other));
        return testing_support::Failure([&] { conversion.validate(); });
    };
    EXPECT_EQ(failureWith("M", "M"), "");
    EXPECT_EQ(describe(Read(composite)), "A->C(M,high,lossy,composite)");
    EXPECT_EQ(failureWith("\"A\" Inf", "\"\" Inf"), "A conversion has a blank format.");
    EXPECT_EQ(failureWith("\"M\"", "\"\""), "A conversion has a blank method.");
    for (const char* broken : {"\"A\" Inf", "\"B\" Method", "\"C\"/>"})
        EXPECT_EQ(failureWith(broken, "\"X" + std::string(broken + 2)),
                  "A format composite chain does not link up properly.");
}

}  // namespace

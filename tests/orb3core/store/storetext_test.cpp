#include "orb3core/store/storetext.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Case {
    std::string text, repaired;
};

// In the repaired text "?" stands for the replacement character.
const Case utf8Cases[] = {
    {"", ""},
    {std::string("a\x01\x7F\0b", 5), "a\x01\x7F?b"},
    {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF", "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF"},
    {"\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    {"\xC1\xBF|\xE0\x9F\xBF|\xF0\x8F\xBF\xBF", "??|???|????"},            // longer than need be
    {"\xED\xA0\x80|\xF4\x90\x80\x80|\xF5\x80\x80\x80", "???|????|????"},  // no characters
    {"\x80|\xFF\xFE|\xE2\x82|\xF0\x9F\x8E\xE9|\xE2\x82", "?|??|??|????|??"}};

TEST(RepairUtf8, EachByteThatIsNoPartOfASequence_IsReplaced) {
    for (const auto& [text, repaired] : utf8Cases) {
        std::string expected;
        for (const char c : repaired)
            expected += c == '?' ? "\xEF\xBF\xBD" : std::string(1, c);
        EXPECT_EQ(orb3::RepairUtf8(text), expected);
    }
}

const Case storeTextCases[] = {
    // lines
    {"", ""},
    {"\xEF\xBB\xBF[A]\r\n\r\nk=v", "[A]\nk=v\n"},
    {" \t# one\n;two\n", "# one\n;two\n"},
    {"  k \t= \t v  \nk\n=v\n= \n==\nl=\nm=a=b\n", "k=v  \nl=\nm=a=b\n"},
    // keys
    {"My Key=1\nMy\\ Key\\ =2\na\\=b=1\n\xC3\xA9=1\n", "My\\ Key=1\na\\=b=1\n\xC3\xA9=1\n"},
    {"\\a=1\na=2\nA=3\n[A]\na=4\n", "a=1\n[A]\na=4\n"},
    {"!!\\!k=1\nk=2\n!=1\n\\=1\n", "k=1\n"},
    // groups
    {"[A] # note\nx=1\n[B]stray\nk=2\n[a]\nX=3\ny=4\n", "[A]\nx=1\ny=4\n[B]\nk=2\n"},
    {"[A]\nx=1\n[]\ny=2\n[/]\nz=3\n", "y=2\nz=3\n[A]\nx=1\n"},
    {"[../A]\nx=1\n[My B]\ny=1\n[C/../..]\nz=1\n[\\.\\./A]\n", "[My\\ B]\ny=1\n"},
    {"[A\\]b]\nx=1\n[C\\]\nx=1\n", "[A\\]b]\nx=1\n"},
    // values
    {"k=\" v \"\nl=\"a\"b\"\nm=\"open\nn=\"\n", "k=\" v \"\nl=\"a\\\"b\"\nm=\"open\"\nn=\"\"\n"},
    {"k=a\\n\\r\\t\\\\\\\"b\nl=C:\\games\\q\n", "k=a\\n\\r\\t\\\\\\\"b\nl=C:\\\\games\\\\q\n"},
    {"k=cut\\\nl=\"cut\\\n", "k=cut\\\\\nl=\"cut\\\\\"\n"},
    {"k=\xE3\x80\x80v \"q\"\n", "k=\"\xE3\x80\x80v \\\"q\\\"\"\n"}};

TEST(RepairStoreText, KeepsWhatCanBeUsedInOneSpelling) {
    for (const auto& [text, repaired] : storeTextCases) {
        EXPECT_EQ(orb3::RepairStoreText(text), repaired);
        EXPECT_EQ(orb3::RepairStoreText(repaired), repaired);
    }
}

}  // namespace

#include "orb3core/storetext.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace {

struct Utf8Case {
    std::string text, repaired;
};

class Utf8 : public testing::TestWithParam<Utf8Case> {};

TEST_P(Utf8, Repair_ReplacesEachByteThatIsNoPartOfASequence) {
    EXPECT_EQ(orb3::RepairUtf8(GetParam().text), GetParam().repaired);
}

const std::string bad = "\xEF\xBF\xBD";

INSTANTIATE_TEST_SUITE_P(
    Texts, Utf8,
    testing::Values(Utf8Case{"", ""}, Utf8Case{"a\x01\x7F", "a\x01\x7F"},
                    Utf8Case{std::string("a\0b", 3), "a" + bad + "b"}, Utf8Case{"\xC3\xA9", "\xC3\xA9"},
                    Utf8Case{"\xC2\x80\xDF\xBF", "\xC2\x80\xDF\xBF"}, Utf8Case{"\xC0\xAF", bad + bad},
                    Utf8Case{"\xC1\xBF", bad + bad}, Utf8Case{"\xE0\xA0\x80", "\xE0\xA0\x80"},
                    Utf8Case{"\xE0\x9F\xBF", bad + bad + bad}, Utf8Case{"\xED\x9F\xBF", "\xED\x9F\xBF"},
                    Utf8Case{"\xED\xA0\x80", bad + bad + bad}, Utf8Case{"\xEF\xBF\xBF", "\xEF\xBF\xBF"},
                    Utf8Case{"\xF0\x90\x80\x80", "\xF0\x90\x80\x80"},
                    Utf8Case{"\xF0\x8F\xBF\xBF", bad + bad + bad + bad},
                    Utf8Case{"\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"},
                    Utf8Case{"\xF4\x90\x80\x80", bad + bad + bad + bad},
                    Utf8Case{"\xF5\x80\x80\x80", bad + bad + bad + bad}, Utf8Case{"\x80", bad},
                    Utf8Case{"\xFF\xFE", bad + bad}, Utf8Case{"\xE2\x82", bad + bad},
                    Utf8Case{"\xE2\x82"
                             "A",
                             bad + bad + "A"},
                    Utf8Case{"\xF0\x9F\x8E\xE9", bad + bad + bad + bad}));

struct StoreTextCase {
    std::string text, repaired;
};

class StoreText : public testing::TestWithParam<StoreTextCase> {};

TEST_P(StoreText, Repair_KeepsWhatCanBeUsedInOneSpelling) {
    EXPECT_EQ(orb3::RepairStoreText(GetParam().text), GetParam().repaired);
    EXPECT_EQ(orb3::RepairStoreText(GetParam().repaired), GetParam().repaired);
}

using C = StoreTextCase;

INSTANTIATE_TEST_SUITE_P(Lines, StoreText,
                         testing::Values(C{"", ""}, C{"[A]\nk=v\n", "[A]\nk=v\n"},
                                         C{"[A]\r\n\r\nk=v", "[A]\nk=v\n"},
                                         C{"\xEF\xBB\xBF[A]\nk=v\n", "[A]\nk=v\n"},
                                         C{" \t# one\n;two\n", "# one\n;two\n"},
                                         C{"  k \t= \t v  \n", "k=v  \n"}, C{"k\n=v\n= \n==\n", ""},
                                         C{"k=\n", "k=\n"}, C{"k=a=b\n", "k=a=b\n"}));

INSTANTIATE_TEST_SUITE_P(Keys, StoreText,
                         testing::Values(C{"My Key=1\n", "My\\ Key=1\n"},
                                         C{"My\\ Key\\ =1\n", "My\\ Key=1\n"}, C{"a\\=b=1\n", "a\\=b=1\n"},
                                         C{"\\a=1\na=2\nA=3\n", "a=1\n"}, C{"!k=1\n", "k=1\n"},
                                         C{"!!\\!k=1\nk=2\n", "k=1\n"}, C{"!=1\n\\=1\n", ""},
                                         C{"\xC3\xA9=1\n", "\xC3\xA9=1\n"},
                                         C{"k=1\n[A]\nk=2\n", "k=1\n[A]\nk=2\n"}));

INSTANTIATE_TEST_SUITE_P(
    Groups, StoreText,
    testing::Values(C{"[A] # note\nk=v\n[B]stray\n", "[A]\nk=v\n[B]\n"},
                    C{"[A]\nx=1\n[B]\nk=2\n[a]\nX=3\ny=4\n", "[A]\nx=1\ny=4\n[B]\nk=2\n"},
                    C{"[A]\nx=1\n[]\ny=2\n[/]\nz=3\n", "y=2\nz=3\n[A]\nx=1\n"},
                    C{"[/A//./B/]\nx=1\n[A/C/../B]\ny=1\n", "[A/B]\nx=1\ny=1\n"},
                    C{"[../A]\nx=1\n[B]\ny=1\n[C/../..]\nz=1\n", "[B]\ny=1\n"}, C{"[\\.\\./A]\nx=1\n", ""},
                    C{"[A\\]b]\nx=1\n", "[A\\]b]\nx=1\n"}, C{"[A\nx=1\n[B]\ny=1\n", "[B]\ny=1\n"},
                    C{"[A\\]\nx=1\n", ""}, C{"[My Group]\nx=1\n", "[My\\ Group]\nx=1\n"}));

INSTANTIATE_TEST_SUITE_P(Values, StoreText,
                         testing::Values(C{"k=\" v \"\n", "k=\" v \"\n"}, C{"k=\"a\"b\"\n", "k=\"a\\\"b\"\n"},
                                         C{"k=\"open\n", "k=\"open\"\n"}, C{"k=\"\n", "k=\"\"\n"},
                                         C{"k=\"\"\n", "k=\"\"\n"}, C{"k=\"a\\\"\n", "k=\"a\\\"\"\n"},
                                         C{"k=a\"b\"\n", "k=a\"b\"\n"},
                                         C{"k=a\\n\\r\\t\\\\\\\"b\n", "k=a\\n\\r\\t\\\\\\\"b\n"},
                                         C{"k=C:\\games\\q\n", "k=C:\\\\games\\\\q\n"},
                                         C{"k=cut\\\n", "k=cut\\\\\n"}, C{"k=\"cut\\\n", "k=\"cut\\\\\"\n"},
                                         C{"k=\xE3\x80\x80v \"q\"\n", "k=\"\xE3\x80\x80v \\\"q\\\"\"\n"}));

// What is a small letter is a question of the process's locale, as it is for the parser.
TEST(StoreTextInALocale, KeysThatDifferInCase_AreOneWhereTheLocaleSaysSo) {
    const std::string text = "\xC3\x89=1\n\xC3\xA9=2\n";
    EXPECT_EQ(orb3::RepairStoreText(text), text);
    if (std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr) {
        EXPECT_EQ(orb3::RepairStoreText(text), "\xC3\x89=1\n");
    }
    std::setlocale(LC_CTYPE, "C");
}

}  // namespace

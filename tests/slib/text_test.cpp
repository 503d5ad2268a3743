#include "slib/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>

#include "slib/exception.h"

namespace {

TEST(ParseBool, OtherTexts_AreRefusedWithTheText) {
    EXPECT_TRUE(slib::ParseBool("True"));
    EXPECT_FALSE(slib::ParseBool("False"));
    for (const std::string text : {"true", "FALSE", "", " True", "1"}) {
        try {
            slib::ParseBool(text);
            ADD_FAILURE() << text;
        } catch (const slib::BadDataException& failure) {
            EXPECT_EQ(failure.what(), "Unable to parse string '" + text + "' as 'True' or 'False'.");
        }
    }
}

class NumberText : public testing::TestWithParam<const char*> {};

// The C library in its "C" locale, which a test starts in, is the second opinion.
TEST_P(NumberText, ParseDouble_ReadsWhatAtofReads) {
    const double expected = std::atof(GetParam());
    const double actual = slib::ParseDouble(GetParam());
    if (std::isnan(expected)) {
        EXPECT_TRUE(std::isnan(actual));
    } else {
        EXPECT_EQ(actual, expected);
        EXPECT_EQ(std::signbit(actual), std::signbit(expected));
    }
}

TEST_P(NumberText, ParseInt_ReadsWhatStrtolReadsClampedToInt) {
    const long expected =
        std::min<long>(std::max<long>(std::strtol(GetParam(), nullptr, 10), INT_MIN), INT_MAX);
    EXPECT_EQ(slib::ParseInt(GetParam()), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, NumberText,
    testing::Values("", "0", "-0", "1.5", " \t\n\v\f\r42", "+7", "-7", "+-7", "-+7", "--7", "- 7", "12abc",
                    "abc", ".5", "5.", ".", "-.25e2x", "1e", "1e+", "1e5", "1E-5", "e5", "1,5", "0x10", "0x",
                    "0x.8", "0x.", "-0X1.8p3", "0x1p", "0xg", "1e999", "-1e999", "1e-999", "-1e-999",
                    "4.9e-324", "2e-324", "1e-310", "1.7976931348623157e308", "1.9e308", "0x1p1024",
                    "0x1p-1080", "0x1p99999", "0x0.0001p1030", "1e99999999999999999999",
                    "1e-99999999999999999999", "0e999", "0.000000000000000000000000000001e400",
                    "1000000000000000000000000000000e-400", "inf", "-INF", "Infinity", "infinit", "nan",
                    "-nan", "nan(12)", "in", "2147483647", "2147483648", "-2147483648", "-2147483649",
                    "99999999999999999999", "-99999999999999999999", "000123"));

TEST(ParseFinite, InfinitiesAndNaN_BecomeNumbersThatArithmeticSurvives) {
    EXPECT_EQ(slib::ParseFiniteDouble("inf"), DBL_MAX);
    EXPECT_EQ(slib::ParseFiniteDouble("-1e999"), -DBL_MAX);
    EXPECT_EQ(slib::ParseFiniteDouble("nan"), 0.0);
    EXPECT_EQ(slib::ParseFiniteDouble("0.1"), 0.1);
    EXPECT_EQ(slib::ParseFiniteFloat("-1e39"), -FLT_MAX);
    EXPECT_EQ(slib::ParseFiniteFloat("0.1"), 0.1f);
}

TEST(FormatNumber, Doubles_LookLikeDefaultStreamOutput) {
    for (const double value :
         {0.0, -0.0, 1.0, 0.1, 100000.0, 1e6, 1234567.0, 1e-5, 0.0001234567, 1e300, -2.5, DBL_MIN}) {
        std::ostringstream stream;
        stream.imbue(std::locale::classic());
        stream << value;
        EXPECT_EQ(slib::FormatNumber(value), stream.str());
        stream.str("");
        stream.precision(10);
        stream << value;
        EXPECT_EQ(slib::FormatNumber(value, 10), stream.str());
    }
    EXPECT_EQ(slib::FormatNumber(INT_MIN), "-2147483648");
}

class CommaPoint : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(Numbers, UnderAForeignLocale_ReadAndWriteThePoint) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    EXPECT_EQ(slib::FormatNumber(1234.5), "1234.5");
    EXPECT_EQ(slib::FormatNumber(48000), "48000");
    EXPECT_EQ(slib::ParseDouble("1.5"), 1.5);
    std::locale::global(before);
}

TEST(CaseOfText, BytesOutsideAToZ_Stay) {
    EXPECT_EQ(slib::toLower("Sub-WOOFER\xC4 [@Z"), "sub-woofer\xC4 [@z");
    EXPECT_EQ(slib::toUpper("az`{ \xE4"), "AZ`{ \xE4");
}

struct NamePair {
    const char* a;
    const char* b;
    bool isSame;
};

class Names : public testing::TestWithParam<NamePair> {};

TEST_P(Names, SameIgnoringSpaceAndParentheses_ComparesWhatRemains) {
    EXPECT_EQ(slib::sameIgnoringSpaceAndParentheses(GetParam().a, GetParam().b), GetParam().isSame);
    EXPECT_EQ(slib::sameIgnoringSpaceAndParentheses(GetParam().b, GetParam().a), GetParam().isSame);
}

INSTANTIATE_TEST_SUITE_P(Pairs, Names,
                         testing::Values(NamePair{"Front Left (L)", "FrontLeft", true},
                                         NamePair{"(1) Front\tLeft", " FrontLeft\n", true},
                                         NamePair{"FrontLeft", "Frontleft", false},
                                         NamePair{"Front", "FrontLeft", false},
                                         NamePair{"", " (all of it)", true},
                                         NamePair{"Bass (LFE", "Bass", true},
                                         NamePair{"a(b(c)d)", "ad)", true}, NamePair{"a)", "a", false},
                                         NamePair{"a()b", "ab", true}));

}  // namespace

#include "slib/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/failure.h"

namespace {

TEST(ParseBool, OtherTexts_AreRefusedWithTheText) {
    EXPECT_TRUE(slib::ParseBool("True"));
    EXPECT_FALSE(slib::ParseBool("False"));
    for (const std::string text : {"true", "FALSE", ""})
        EXPECT_EQ(testing_support::Failure([&] { static_cast<void>(slib::ParseBool(text)); }),
                  "Unable to parse string '" + text + "' as 'True' or 'False'.");
}

// Words, and what has blanks in it.
std::vector<std::string> NumberTexts() {
    std::istringstream words(
        "-0 +7 -7 +-7 -+7 --7 12abc .5 5. . -.25e2x 1e 1e+ 1E-5 e5 1,5 0x10 0x 0x.8 0x. -0X1.8p3 0x1p 0xg "
        "1e999 -1e999 -1e-999 4.9e-324 2e-324 1e-310 1.9e308 0x1p1024 0x1p-1080 0x0.0001p1030 0e999 "
        "1e99999999999999999999 1e-99999999999999999999 0.000000000000000000000000000001e400 "
        "1000000000000000000000000000000e-400 inf -INF infinit nan nan(12) in 2147483648 -2147483648 "
        "-2147483649 99999999999999999999");
    std::vector<std::string> texts{"", " \t\n\v\f\r42", "- 7"};
    texts.insert(texts.end(), std::istream_iterator<std::string>(words), {});
    return texts;
}

// The C library in its "C" locale, which a test starts in, is the second opinion.
TEST(NumberText, IsReadAsTheCLibraryReadsItClampedToInt) {
    for (const std::string& text : NumberTexts()) {
        SCOPED_TRACE(text);
        const double expected = std::atof(text.c_str()), actual = slib::ParseDouble(text);
        EXPECT_TRUE(std::isnan(expected) ? std::isnan(actual) : actual == expected);
        EXPECT_TRUE(std::isnan(expected) || std::signbit(actual) == std::signbit(expected));
        const long integer = std::strtol(text.c_str(), nullptr, 10);
        EXPECT_EQ(slib::ParseInt(text), std::clamp<long>(integer, INT_MIN, INT_MAX));
    }
}

TEST(ParseFinite, InfinitiesAndNaN_BecomeNumbersThatArithmeticSurvives) {
    EXPECT_EQ(slib::ParseFiniteDouble("-1e999"), -DBL_MAX);
    EXPECT_EQ(slib::ParseFiniteDouble("nan"), 0.0);
    EXPECT_EQ(slib::ParseFiniteFloat("1e39"), FLT_MAX);
}

class CommaPoint : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(FormatNumber, UnderAForeignLocale_LooksLikeStreamOutputInTheClassicOne) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    for (const double value :
         {-0.0, 0.1, 100000.0, 1e6, 1234567.0, 1e-5, 0.0001234567, 1e300, -2.5, DBL_MIN}) {
        for (const int digits : {6, 10}) {
            std::ostringstream stream;
            stream.imbue(std::locale::classic());
            stream.precision(digits);
            stream << value;
            EXPECT_EQ(slib::FormatNumber(value, digits), stream.str());
        }
    }
    EXPECT_EQ(slib::FormatNumber(1234.5678), "1234.57");
    EXPECT_EQ(slib::ParseDouble("1.5"), 1.5);
    std::locale::global(before);
}

TEST(CaseOfText, BytesOutsideAToZ_Stay) {
    EXPECT_EQ(slib::toLower("Sub-WOOFER\xC4 [@Z"), "sub-woofer\xC4 [@z");
    EXPECT_EQ(slib::toUpper("az`{ \xE4"), "AZ`{ \xE4");
}

TEST(SameIgnoringSpaceAndParentheses, ComparesWhatRemains) {
    const auto both = [](const char* a, const char* b) {
        return slib::sameIgnoringSpaceAndParentheses(a, b) && slib::sameIgnoringSpaceAndParentheses(b, a);
    };
    EXPECT_TRUE(both("(1) Front\tLeft (L)", " FrontLeft\n"));
    EXPECT_TRUE(both("Bass (LFE", "Bass"));
    EXPECT_FALSE(both("FrontLeft", "Frontleft"));
    EXPECT_FALSE(slib::sameIgnoringSpaceAndParentheses("Front", "FrontLeft"));
}

}  // namespace

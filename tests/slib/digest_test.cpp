#include "slib/digest.h"

#include <gtest/gtest.h>

#include <string>

// From the test suite of RFC 1321.
TEST(Md5, OfAText_IsThePublishedDigest) {
    EXPECT_EQ(slib::hexText(slib::md5("")), "D41D8CD98F00B204E9800998ECF8427E");
    EXPECT_EQ(slib::hexText(slib::md5("message digest")), "F96B697D7CB7938D525A2F31AAF161D0");
    std::string digits;
    for (int i = 1; i <= 80; ++i)
        digits += static_cast<char>('0' + i % 10);
    EXPECT_EQ(slib::hexText(slib::md5(digits)), "57EDF4A22BE3C955AC49DA2E2107B67A");
}

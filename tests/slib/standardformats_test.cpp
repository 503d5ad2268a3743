#include "slib/standardformats.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "slib/exception.h"

namespace {

using slib::StandardFormat;

struct Case {
    int value;
    const char* name;
    const char* channels;  // joined by "|"
};

class Formats : public testing::TestWithParam<Case> {};

std::string Joined(const std::vector<std::string>& names) {
    std::string joined;
    for (const std::string& name : names)
        joined += (joined.empty() ? "" : "|") + name;
    return joined;
}

TEST_P(Formats, EachValue_HasItsTextAndChannels) {
    const auto format = static_cast<StandardFormat>(GetParam().value);
    EXPECT_EQ(slib::GetStandardFormatName(format), GetParam().name);
    EXPECT_EQ(slib::ParseStandardFormat(GetParam().name), format);
    EXPECT_EQ(Joined(slib::GetStandardChannelNames(format)), GetParam().channels);
}

INSTANTIATE_TEST_SUITE_P(
    Values, Formats,
    testing::Values(
        Case{1, "Mono", "Output"}, Case{2, "Stereo", "Left|Right"}, Case{3, "Headphone Stereo", "Left|Right"},
        Case{4, "Surround Stereo", "Left|Right"},
        Case{5, "Quad", "Front Left|Front Right|Back Left|Back Right"},
        Case{6, "Surround 5.1", "Front Left|Front Right|Front Centre|Bass (LFE Only)|Back Left|Back Right"},
        Case{7, "Surround 5.1 (ITU)",
             "Front Left|Front Right|Front Centre|Bass (LFE Only)|Side Left|Side Right"},
        Case{8, "Surround 7.1",
             "Front Left|Front Right|Front Centre|Bass (LFE Only)|Back Left|Back Right|Side Left|Side Right"},
        Case{9, "Surround 7.1 (Wide)",
             "Front Left|Front Right|Front Centre|Bass (LFE Only)|Back Left|Back Right|Front Left of Centre|"
             "Front Right of Centre"}));

TEST(StandardFormats, UnknownFormat_HasANameButNoChannels) {
    EXPECT_EQ(slib::GetStandardFormatName(StandardFormat::Unknown), "Unknown");
    EXPECT_EQ(slib::ParseStandardFormat("Unknown"), StandardFormat::Unknown);
    try {
        slib::GetStandardChannelNames(StandardFormat::Unknown);
        ADD_FAILURE();
    } catch (const slib::BadDataException& failure) {
        EXPECT_STREQ(failure.what(), "Channel names are unavailable for this standard format.");
    }
}

TEST(StandardFormats, TextInOtherCase_IsUnknown) {
    try {
        slib::ParseStandardFormat("stereo");
        ADD_FAILURE();
    } catch (const slib::BadDataException& failure) {
        EXPECT_STREQ(failure.what(), "Unknown standard format 'stereo'.");
    }
}

TEST(StandardFormats, ValueOutsideTheTable_IsAnIntegrityFailure) {
    for (const int value : {-1, 10}) {
        const auto format = static_cast<StandardFormat>(value);
        EXPECT_THROW(slib::GetStandardFormatName(format), slib::IntegrityFailureException);
        EXPECT_THROW(slib::GetStandardChannelNames(format), slib::IntegrityFailureException);
    }
}

}  // namespace

#include "slib/standardformats.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/failure.h"

namespace {

using slib::StandardFormat;

// The channel names, or the text of the failure.
std::string ChannelsOf(StandardFormat format) {
    std::string joined;
    return testing_support::Failure([&] {
               for (const std::string& channel : slib::GetStandardChannelNames(format))
                   joined += "|" + channel;
           }) +
           joined;
}

TEST(StandardFormats, EachValue_HasItsTextAndChannels) {
    const std::string front = "|Front Left|Front Right", front51 = front + "|Front Centre|Bass (LFE Only)";
    const std::pair<std::string, std::string> table[] = {
        {"Unknown", "Channel names are unavailable for this standard format."},
        {"Mono", "|Output"},
        {"Stereo", "|Left|Right"},
        {"Headphone Stereo", "|Left|Right"},
        {"Surround Stereo", "|Left|Right"},
        {"Quad", front + "|Back Left|Back Right"},
        {"Surround 5.1", front51 + "|Back Left|Back Right"},
        {"Surround 5.1 (ITU)", front51 + "|Side Left|Side Right"},
        {"Surround 7.1", front51 + "|Back Left|Back Right|Side Left|Side Right"},
        {"Surround 7.1 (Wide)",
         front51 + "|Back Left|Back Right|Front Left of Centre|Front Right of Centre"}};
    int value = 0;
    for (const auto& [name, channels] : table) {
        const auto format = static_cast<StandardFormat>(value++);
        EXPECT_EQ(slib::GetStandardFormatName(format), name);
        EXPECT_EQ(slib::ParseStandardFormat(name), format);
        EXPECT_EQ(ChannelsOf(format), channels);
    }
}

}  // namespace

#include "pipe/devicesummary.h"

#include <gtest/gtest.h>

#include "tests/support/failure.h"
#include "tests/support/testpipe.h"

namespace {

using testing_support::TestPipe;

TEST(DeviceSummary, Id_IsTheAlphanumericPartOfTheNameOrItsNumber) {
    EXPECT_EQ(TestPipe(1, "Speakers (USB Audio)").id, "SpeakersUSBAudio");
    EXPECT_EQ(TestPipe(1, "a-B-1-2").id, "aB12");
    EXPECT_EQ(TestPipe(1, "abc").id, "DeviceNU1");
    EXPECT_EQ(TestPipe(1, "<>", 2).id, "DeviceNU3");
}

TEST(DeviceSummary, ChannelIndex_IsTheFirstOfThatVeryNameOrARefusal) {
    TestPipe device(1, "Card (A)");
    EXPECT_EQ(device.GetPlaybackChannelIndex("Right"), 1U);
    EXPECT_EQ(testing_support::Failure<slib::BadParameterException>(
                  [&] { device.GetPlaybackChannelIndex("right"); }),
              "Unknown playback channel name 'right' in device 'CardA'.");
}

}  // namespace

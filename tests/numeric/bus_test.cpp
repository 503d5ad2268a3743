#include "numeric/bus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include "numeric/floattuplevector.h"
#include "numeric/genericvector.h"

namespace hcml {
namespace {

bool IsAligned(const float* block) {
    return reinterpret_cast<std::uintptr_t>(block) % 128 == 0;
}

class Blocks : public testing::TestWithParam<std::uint32_t> {};

TEST_P(Blocks, FloatTupleVector_IsAlignedAndZeroInWholeGroups) {
    FloatTupleVector vector(GetParam());
    ASSERT_EQ(vector.tuples, (GetParam() + 3) / 4);
    EXPECT_TRUE(IsAligned(vector.data));
    for (std::uint32_t i = 0; i < vector.tuples * 4; ++i)
        EXPECT_EQ(vector.data[i], 0.0f);
    std::fill_n(vector.data, vector.tuples * 4, 1.0f);
    const float* block = vector.data;
    vector.resize(GetParam());
    EXPECT_EQ(vector.data, block);
    vector.clear();
    EXPECT_EQ(std::accumulate(vector.data, vector.data + vector.tuples * 4, 0.0f), 0.0f);
}

TEST_P(Blocks, Bus_ChannelsAreAlignedApartAndOutOfStep) {
    ac::Bus bus(GetParam(), 25);
    ASSERT_EQ(bus.vectors, (GetParam() + 3) / 4);
    for (std::uint32_t c = 0; c < 25; ++c) {
        ASSERT_TRUE(IsAligned(bus.channels[c]));
        std::fill_n(bus.channels[c], bus.vectors * 4, static_cast<float>(c + 1));
        for (std::uint32_t d = c < 15 ? 0 : c - 15; d < c; ++d) {
            EXPECT_NE((bus.channels[c] - bus.channels[d]) * 4 % 2048, 0) << c << " " << d;
        }
    }
    for (std::uint32_t c = 0; c < 25; ++c) {
        for (std::uint32_t i = 0; i < bus.vectors * 4; ++i) {
            ASSERT_EQ(bus.channels[c][i], static_cast<float>(c + 1));
        }
    }
    bus.clear();
    for (std::uint32_t c = 0; c < 25; ++c) {
        EXPECT_EQ(std::count(bus.channels[c], bus.channels[c] + bus.vectors * 4, 0.0f), bus.vectors * 4);
    }
}

INSTANTIATE_TEST_SUITE_P(Lengths, Blocks,
                         testing::Values(1, 3, 4, 5, 32, 33, 64, 441, 512, 960, 1023, 1024, 4096));

TEST(Bus, Add_AddsTheGainedSignalToOneChannelInWholeGroups) {
    ac::Bus bus(5, 3);
    FloatTupleVector source(5);
    std::iota(source.data, source.data + 8, 1.0f);
    bus.add(1, source.data, 0.5f);
    bus.add(1, source.data, 2.0f);
    for (std::uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(bus.channels[0][i], 0.0f);
        EXPECT_EQ(bus.channels[1][i], 2.5f * static_cast<float>(i + 1));
        EXPECT_EQ(bus.channels[2][i], 0.0f);
    }
}

TEST(Bus, Resize_DiscardsOnlyWhenTheShapeChanges) {
    ac::Bus bus(100, 4);
    bus.channels[3][99] = 1;
    float** channels = bus.channels;
    bus.resize(100, 4);
    EXPECT_EQ(bus.channels, channels);
    EXPECT_EQ(bus.channels[3][99], 1.0f);
    bus.resize(4, 100);
    EXPECT_EQ(bus.channels[99][3], 0.0f);
    bus.resize(4, 0);
    EXPECT_EQ(bus.channels, nullptr);
}

TEST(Bus, ImpossibleSizes_AreOutOfMemoryAndChangeNothing) {
    ac::Bus bus(4, 2);
    EXPECT_THROW(bus.resize(0xFFFFFFFF, 0xFFFFFFFF), slib::OutOfMemoryException);
    EXPECT_EQ(bus.frames, 4u);
    EXPECT_EQ(bus.channelCount, 2u);
    EXPECT_TRUE(IsAligned(bus.channels[1]));
}

TEST(Bus, CopiesInAGrowingVector_KeepTheirOwnSamples) {
    GenericVector<ac::Bus, 0> buses;
    for (std::uint32_t i = 0; i < 5; ++i) {
        buses.append(ac::Bus(i, 2));
        if (i > 0) buses[i].channels[1][i - 1] = static_cast<float>(i);
    }
    GenericVector<ac::Bus, 0> copy = buses;
    for (ac::Bus& bus : buses)
        bus.clear();
    for (std::uint32_t i = 1; i < 5; ++i)
        EXPECT_EQ(copy[i].channels[1][i - 1], static_cast<float>(i));
    copy = buses;
    EXPECT_EQ(copy[4].channels[1][3], 0.0f);
}

TEST(FloatTupleVector, CopyAndMove_LeaveTwoOwners) {
    FloatTupleVector vector(6);
    vector.data[5] = 5;
    FloatTupleVector copy(vector);
    FloatTupleVector moved(std::move(vector));
    copy.data[5] = 1;
    EXPECT_EQ(moved.data[5], 5.0f);
    EXPECT_EQ(vector.data, nullptr);  // NOLINT(bugprone-use-after-move): a moved-from vector is an empty one
    vector = moved;
    EXPECT_EQ(vector.data[5], 5.0f);
    vector.resize(0);
    EXPECT_EQ(vector.data, nullptr);
}

}  // namespace
}  // namespace hcml

#include "numeric/bus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "numeric/floattuplevector.h"

namespace hcml {
namespace {

// Whether all `count` floats have the value and the first is aligned.
bool Holds(const float* block, std::uint32_t count, float value) {
    return reinterpret_cast<std::uintptr_t>(block) % 128 == 0 &&
           std::count(block, block + count, value) == static_cast<std::ptrdiff_t>(count);
}

TEST(FloatTupleVector, Resized_KeepsWhatItHoldsFromItsCopies) {
    FloatTupleVector vector(33);
    std::fill_n(vector.data, 36, 5.0f);
    vector.resize(33);
    FloatTupleVector copy(vector);
    FloatTupleVector moved(std::move(vector));
    EXPECT_TRUE(Holds(copy.data, 36, 5));
    copy.clear();
    EXPECT_EQ(vector.data, nullptr);  // NOLINT(bugprone-use-after-move): a moved-from vector is an empty one
    vector = moved;
    moved.resize(0);
    EXPECT_EQ(moved.data, nullptr);
    EXPECT_TRUE(Holds(vector.data, 36, 5));
}

TEST(Bus, Channels_AreAlignedApartAndOutOfStep) {
    for (const std::uint32_t frames : {1u, 33u, 511u}) {
        const ac::Bus bus(frames, 16);
        for (std::uint32_t c = 0; c < 16; ++c)
            std::fill_n(bus.channels[c], (frames + 3) / 4 * 4, static_cast<float>(c + 1));
        ac::Bus copy(frames, 16);
        copy = bus;
        for (std::uint32_t c = 0; c < 16; ++c) {
            EXPECT_TRUE(Holds(copy.channels[c], (frames + 3) / 4 * 4, static_cast<float>(c + 1)));
            for (std::uint32_t d = 0; d < c; ++d)
                EXPECT_NE((bus.channels[c] - bus.channels[d]) * 4 % 2048, 0) << c << " " << d;
        }
    }
}

TEST(Bus, Resize_DiscardsOnlyWhenTheShapeChanges) {
    ac::Bus bus(100, 4);
    bus.channels[3][99] = 1;
    bus.resize(100, 4);
    EXPECT_THROW(bus.resize(0xFFFFFFFF, 0xFFFFFFFF), slib::OutOfMemoryException);
    EXPECT_EQ(bus.channels[3][99], 1.0f);
    bus.resize(4, 100);
    EXPECT_EQ(bus.channels[99][3], 0.0f);
}

}  // namespace
}  // namespace hcml

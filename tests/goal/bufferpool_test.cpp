#include "goal/bufferpool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace goal {
namespace {

std::unique_ptr<Buffer> MakeBuffer(std::uint32_t name, bool copyData = true) {
    static const std::uint8_t sample = 1;
    return std::make_unique<Buffer>(name, 0x1100, 44100.0f, &sample, 1, copyData);
}

TEST(BufferPool, Add_TakesTheLowestDeletedName) {
    BufferPool pool;
    EXPECT_FALSE(pool.IsValid(1));
    for (std::uint32_t name = 1; name <= 5; ++name)
        EXPECT_EQ(pool.Add(), name);
    pool.Replace(MakeBuffer(2), nullptr);
    const std::vector<std::uint32_t> names{2, 4, 4};
    pool.Delete(names, nullptr);
    std::vector<std::uint32_t> valid;
    for (const std::uint32_t name : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 0xFFFFFFFFu})
        if (pool.IsValid(name)) valid.push_back(name);
    EXPECT_EQ(valid, (std::vector<std::uint32_t>{1, 3, 5}));
    EXPECT_EQ(pool.Add(), 2u);
    EXPECT_EQ(pool.slots[1].buffer, nullptr);
    EXPECT_EQ(pool.Add(), 4u);
    EXPECT_EQ(pool.Add(), 6u);
}

TEST(BufferPool, BuffersThatLeave_GoToTheListOfTheState) {
    BufferPool pool;
    BufferPool::BufferList deleted;
    pool.Add();
    pool.Replace(MakeBuffer(1), &deleted);
    EXPECT_EQ(deleted.size, 0u);
    const std::unique_ptr<Buffer> first(pool.slots[0].buffer);
    pool.Replace(MakeBuffer(1), &deleted);
    const std::unique_ptr<Buffer> second(pool.slots[0].buffer);
    pool.Delete(std::vector<std::uint32_t>{1, 1}, &deleted);
    EXPECT_EQ(deleted, (BufferPool::BufferList{first.get(), second.get()}));
}

TEST(InUse, OnlyStaticData_IsHeldByTheRendererUntilTheNextSnapshot) {
    for (const bool isStatic : {false, true}) {
        BufferPool pool;
        pool.Replace(MakeBuffer(pool.Add(), !isStatic), nullptr);
        Buffer& buffer = *pool.slots[0].buffer;
        EXPECT_FALSE(InUse(buffer));
        ++buffer.useCount;
        pool.MarkUsage();
        EXPECT_TRUE(InUse(buffer));
        --buffer.useCount;
        EXPECT_EQ(InUse(buffer), isStatic);
        pool.MarkUsage();
        EXPECT_FALSE(InUse(buffer));
    }
}

}  // namespace
}  // namespace goal

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

void Delete(BufferPool& pool, std::vector<std::uint32_t> names, BufferPool::BufferList* deletedBuffers) {
    pool.Delete(names, deletedBuffers);
}

TEST(BufferPool, Add_TakesTheLowestDeletedName) {
    BufferPool pool;
    for (std::uint32_t name = 1; name <= 5; ++name)
        EXPECT_EQ(pool.Add(), name);
    EXPECT_EQ(pool.slots.capacity, 8u);
    pool.Replace(MakeBuffer(2), nullptr);
    Delete(pool, {4, 2, 4}, nullptr);
    EXPECT_EQ(pool.slots.size, 5u);
    EXPECT_EQ(pool.Add(), 2u);
    EXPECT_EQ(pool.slots[1].buffer, nullptr);
    EXPECT_EQ(pool.Add(), 4u);
    EXPECT_EQ(pool.Add(), 6u);
}

TEST(BufferPool, IsValid_OnlyForNamesThatLive) {
    BufferPool pool;
    EXPECT_FALSE(pool.IsValid(1));
    pool.Add();
    pool.Add();
    Delete(pool, {1}, nullptr);
    std::vector<bool> valid;
    for (const std::uint32_t name : {0u, 1u, 2u, 3u, 0xFFFFFFFFu})
        valid.push_back(pool.IsValid(name));
    EXPECT_EQ(valid, (std::vector<bool>{false, false, true, false, false}));
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
    EXPECT_NE(first, second);
    Delete(pool, {1, 1}, &deleted);
    EXPECT_EQ(deleted, (BufferPool::BufferList{first.get(), second.get()}));
    EXPECT_FALSE(pool.IsValid(1));
}

TEST(BufferPool, AStaticBufferOutOfItsQueue_IsHeldUntilTheNextSnapshot) {
    BufferPool pool;
    pool.Add();
    pool.Add();
    pool.Replace(MakeBuffer(2, false), nullptr);
    Buffer& buffer = *pool.slots[1].buffer;
    ++buffer.useCount;
    pool.MarkUsage();
    --buffer.useCount;
    EXPECT_TRUE(InUse(buffer));
    pool.MarkUsage();
    EXPECT_FALSE(InUse(buffer));
}

}  // namespace
}  // namespace goal

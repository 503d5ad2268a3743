#include "slib/smartptr.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

namespace {

struct Base {
    virtual ~Base() = default;
    int value = 7;
};

// Only a virtual destructor gets to count its end.
struct Counted : Base {
    explicit Counted(int& ends) : ends(ends) {}
    ~Counted() override { ++ends; }
    int& ends;
};

template <typename CounterType>
class SmartPtr : public testing::Test {
protected:
    using Ptr = slib::SmartPtr<Base, CounterType>;
    int ends = 0;
};

using Counters = testing::Types<slib::Counter, slib::ThreadsafeCounter>;
TYPED_TEST_SUITE(SmartPtr, Counters);

TYPED_TEST(SmartPtr, LastOwner_DeletesTheObjectOnce) {
    {
        typename TestFixture::Ptr first(new Counted(this->ends));
        const typename TestFixture::Ptr second = first;
        first = typename TestFixture::Ptr();
        EXPECT_FALSE(first);
        EXPECT_EQ(this->ends, 0);
        EXPECT_EQ(second->value, 7);
    }
    EXPECT_EQ(this->ends, 1);
}

TYPED_TEST(SmartPtr, AssignmentToItself_KeepsTheObject) {
    typename TestFixture::Ptr pointer(new Counted(this->ends));
    const typename TestFixture::Ptr& same = pointer;
    pointer = same;
    EXPECT_EQ(this->ends, 0);
    EXPECT_EQ((*pointer).value, 7);
}

TYPED_TEST(SmartPtr, Move_LeavesNullBehindAndTheCountAsItWas) {
    typename TestFixture::Ptr first(new Counted(this->ends));
    typename TestFixture::Ptr second = std::move(first);
    EXPECT_EQ(first.Get(), nullptr);  // NOLINT(bugprone-use-after-move)
    second = typename TestFixture::Ptr(nullptr);
    EXPECT_EQ(this->ends, 1);
}

TYPED_TEST(SmartPtr, Null_CanBeCopiedAndDropped) {
    const typename TestFixture::Ptr null;
    const typename TestFixture::Ptr copy = null;
    EXPECT_FALSE(copy);
}

static_assert(sizeof(slib::SmartPtr<Base, slib::Counter>) == 2 * sizeof(void*));

TEST(SmartPtrOfThreads, CopiesOnManyThreads_DeleteTheObjectOnceAndSeeAllWrites) {
    struct Shared {
        explicit Shared(int& sum) : sum(sum) {}
        ~Shared() {
            for (const int part : parts)
                sum += part;
        }
        std::vector<int> parts = std::vector<int>(4);
        int& sum;
    };
    using Ptr = slib::SmartPtr<Shared, slib::ThreadsafeCounter>;
    int sum = 0;
    Ptr pointer(new Shared(sum));
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i)
        threads.emplace_back([i, own = pointer]() mutable {
            for (int pass = 0; pass < 1000; ++pass) {
                Ptr copy = own;
                ++copy->parts[i];
            }
            own = Ptr();
        });
    pointer = Ptr();
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(sum, 4000);
}

}  // namespace

#include "slib/smartptr.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

// At its end it counts that and adds what its owners wrote.
struct Summing {
    ~Summing() { sum += 1 + parts[0] + parts[1] + parts[2] + parts[3]; }
    int& sum;
    int parts[4] = {};
};

TEST(SmartPtr, CopiesOnManyThreads_DeleteTheObjectOnceAndSeeAllWrites) {
    using Ptr = slib::SmartPtr<Summing, slib::ThreadsafeCounter>;
    int sum = 0;
    {
        std::vector<std::jthread> threads;
        Ptr pointer(new Summing{sum});
        for (std::size_t i = 0; i < 4; ++i)
            threads.emplace_back([i, own = pointer]() mutable {
                for (int pass = 0; pass < 1000; ++pass)
                    ++Ptr(own)->parts[i];
            });
    }
    EXPECT_EQ(sum, 4001);
}

}  // namespace

#pragma once

// Tells whether the machine itself stood still, as one that shares its processors with others does: a thread
// on each processor, above all others in priority, that asks to be woken every two milliseconds. For tests of
// what has to be in time, where a failure says nothing then.

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace testing_support {

class StallWatch {
public:
    StallWatch() {
        for (unsigned processor = 0; processor < std::thread::hardware_concurrency(); ++processor)
            threads.emplace_back([this, processor] { Watch(processor); });
    }
    ~StallWatch() { Longest(); }
    StallWatch(const StallWatch&) = delete;
    StallWatch& operator=(const StallWatch&) = delete;

    /// The longest that a processor stood still, in seconds; 0 where that priority isn't allowed. Ends the
    /// watch.
    double Longest() {
        isOver = true;
        for (std::thread& thread : threads)
            thread.join();
        threads.clear();
        return longest;
    }

private:
    void Watch(unsigned processor) {
        cpu_set_t own;
        CPU_ZERO(&own);
        CPU_SET(processor, &own);
        const sched_param priority{.sched_priority = 90};
        if (pthread_setaffinity_np(pthread_self(), sizeof own, &own) != 0 ||
            pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority) != 0)
            return;
        while (!isOver) {
            const auto asleep = std::chrono::steady_clock::now();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            const std::chrono::duration<double> slept = std::chrono::steady_clock::now() - asleep;
            double before = longest;
            while (before < slept.count() && !longest.compare_exchange_weak(before, slept.count())) {
            }
        }
    }

    std::atomic<bool> isOver{false};
    std::atomic<double> longest{0};
    std::vector<std::thread> threads;
};

}  // namespace testing_support

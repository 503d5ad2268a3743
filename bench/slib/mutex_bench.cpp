// What a lock costs that nobody else wants: the unit in which the calls of a game are measured.

#include "slib/mutex.h"

#include <benchmark/benchmark.h>

namespace {

void LockAndUnlock(benchmark::State& state) {
    slib::Mutex mutex;
    for (auto _ : state) {
        const slib::Lock lock(mutex);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(LockAndUnlock);

void PostAndWait(benchmark::State& state) {
    slib::Semaphore semaphore;
    for (auto _ : state) {
        semaphore.Post();
        semaphore.Wait();
    }
}
BENCHMARK(PostAndWait);

}  // namespace

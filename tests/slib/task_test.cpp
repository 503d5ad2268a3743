#include "slib/task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "process.h"
#include "slib/exception.h"

namespace {

using slib::TaskPtr;
using slib::TaskQueue;
using testing_support::IsAlone;
using testing_support::RunInChild;
using testing_support::RunTestAlone;
using testing_support::ThisTest;
using Pool = slib::ThreadPool<TaskPtr>;

// A task that runs a function, and counts its own end where it is told to.
class FunctionTask : public slib::Task {
public:
    explicit FunctionTask(std::function<void()> function, std::atomic<int>* ends = nullptr)
        : function(std::move(function)), ends(ends) {}
    ~FunctionTask() override {
        if (ends != nullptr) ++*ends;
    }
    void Run() override { function(); }

private:
    std::function<void()> function;
    std::atomic<int>* ends;
};

std::unique_ptr<slib::Task> Make(std::function<void()> function, std::atomic<int>* ends = nullptr) {
    return std::make_unique<FunctionTask>(std::move(function), ends);
}

class ListLog : public slib::Log {
public:
    void Write(const std::string& text, bool isError) override {
        lines.push_back((isError ? "E" : "I") + text);
    }
    std::vector<std::string> lines;
};

// Waits for the end of all tasks that came before.
template <typename Append>
void Drain(const Append& append) {
    slib::Semaphore done;
    append([&] { done.Post(); });
    done.Wait();
}

TEST(TaskQueue, Tasks_RunOneAtATimeInTheOrderOfEachSender) {
    constexpr int senders = 4;
    constexpr int each = 250;
    std::vector<std::vector<int>> seen(senders);  // written by the queue's thread alone
    std::atomic<int> ends = 0;
    {
        TaskQueue queue;
        std::vector<std::thread> threads;
        for (int sender = 0; sender < senders; ++sender)
            threads.emplace_back([&, sender] {
                for (int i = 0; i < each; ++i)
                    queue.Append(
                        Make([&, sender, i] { seen[static_cast<std::size_t>(sender)].push_back(i); }, &ends));
            });
        for (std::thread& thread : threads)
            thread.join();
        Drain([&](auto function) { queue.Append(Make(function)); });
    }
    std::vector<int> expected(each);
    std::iota(expected.begin(), expected.end(), 0);
    for (const std::vector<int>& order : seen)
        EXPECT_EQ(order, expected);
    EXPECT_EQ(ends, senders * each);
}

TEST(TaskQueue, TaskThatThrows_IsALineAndDoesNotStopThoseBehind) {
    testing::internal::CaptureStderr();
    std::atomic<int> ends = 0;
    {
        TaskQueue queue;
        queue.Append(Make([] { throw slib::BadDataException("Nothing there."); }, &ends));
        queue.Append(Make([] { throw std::runtime_error("late"); }, &ends));
        Drain([&](auto function) { queue.Append(Make(function)); });
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Failed to perform queued task: Nothing there.\nFailed to perform queued task: late\n");
    EXPECT_EQ(ends, 2);
}

TEST(TaskQueue, UnknownException_EndsTheQueueAndLosesNoMemory) {
    testing::internal::CaptureStderr();
    std::atomic<int> ends = 0;
    std::atomic<bool> ran = false;
    {
        TaskQueue queue;
        slib::Semaphore go;
        queue.Append(Make([&] { go.Wait(); }, &ends));
        queue.Append(Make([] { throw 1; }, &ends));
        queue.Append(Make([&] { ran = true; }, &ends));
        go.Post();
        while (ends < 2)
            std::this_thread::yield();
        queue.Append(Make([&] { ran = true; }, &ends));
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Unknown unhandled exception in thread.\n");
    EXPECT_FALSE(ran);
    EXPECT_EQ(ends, 4);
}

TEST(TaskQueue, Destruction_AwaitsTheRunningTaskAndDeletesTheRestUnrun) {
    std::atomic<int> ends = 0;
    std::atomic<int> runs = 0;
    slib::Semaphore began;
    slib::Semaphore go;
    std::thread releaser;
    {
        TaskQueue queue;
        queue.Append(Make(
            [&] {
                began.Post();
                go.Wait();
                ++runs;
            },
            &ends));
        began.Wait();
        for (int i = 0; i < 10; ++i)
            queue.Append(Make([&] { ++runs; }, &ends));
        releaser = std::thread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            go.Post();
        });
    }
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(ends, 11);
    releaser.join();
}

TEST(TaskQueue, RunningTask_HoldsUpNoSenderAndMayAddItself) {
    TaskQueue queue;
    slib::Semaphore began;
    slib::Semaphore go;
    slib::Semaphore inner;
    queue.Append(Make([&] {
        queue.Append(Make([&] { inner.Post(); }));
        began.Post();
        go.Wait();
    }));
    began.Wait();
    for (int i = 0; i < 100; ++i)
        queue.Append(Make([] {}));  // would wait for ever if the task held the mutex
    go.Post();
    inner.Wait();
}

TEST(TaskQueue, RefusedThread_IsTheSendersExceptionAndTheNextTaskRuns) {
    pthread_attr_t before;
    pthread_attr_t absurd;
    pthread_getattr_default_np(&before);
    pthread_attr_init(&absurd);
    pthread_attr_setstacksize(&absurd, std::size_t{1} << 50);
    std::atomic<int> ends = 0;
    TaskQueue queue;
    pthread_setattr_default_np(&absurd);
    EXPECT_THROW(queue.Append(Make([] {}, &ends)), slib::OperatingSystemGetLastErrorException);
    pthread_setattr_default_np(&before);
    pthread_attr_destroy(&absurd);
    pthread_attr_destroy(&before);
    EXPECT_EQ(ends, 1);
    Drain([&](auto function) { queue.Append(Make(function)); });
}

// The process's own queue outlives the test, so these need a process to themselves.
TEST(TaskQueueOfTheProcess, TaskThatEndsTheProcess_EndsIt) {
    if (!IsAlone()) {
        EXPECT_EQ(RunTestAlone(ThisTest()), 7);
        return;
    }
    alarm(60);  // for the case that it waits for itself
    TaskQueue::Add(Make([] { std::exit(7); }));
    for (;;)
        pause();
}

// Stands in static memory: a search for leaks in a forked child doesn't know of the stack, absent there, that
// still holds the task.
class UnallocatedTask : public slib::Task {
public:
    explicit UnallocatedTask(slib::Semaphore& done) : done(done) {}
    void Run() override { done.Post(); }
    static void* operator new(std::size_t) {
        alignas(64) static std::byte memory[64];
        return memory;
    }
    static void operator delete(void*) {}

private:
    slib::Semaphore& done;
};

TEST(TaskQueueOfTheProcess, ForkedChild_CanEnd) {
    if (!IsAlone()) {
        EXPECT_EQ(RunTestAlone(ThisTest()), 0);
        return;
    }
    slib::Semaphore done;
    TaskQueue::Add(std::make_unique<UnallocatedTask>(done));
    done.Wait();
    EXPECT_EQ(RunInChild([]() -> int {
                  alarm(60);
                  std::exit(7);
              }),
              7);
}

TEST(ThreadPool, Tasks_RunInOrderAndStaySharedWithTheirSender) {
    std::vector<int> order;
    std::atomic<int> ends = 0;
    ListLog log;
    {
        Pool pool(&log);
        std::vector<TaskPtr> kept;
        for (int i = 0; i < 100; ++i) {
            kept.emplace_back(new FunctionTask([&, i] { order.push_back(i); }, &ends));
            pool.Process(kept.back());
        }
        for (int i = 100; i < 200; ++i)
            pool.Process(TaskPtr(new FunctionTask([&, i] { order.push_back(i); }, &ends)));
        Drain([&](auto function) { pool.Process(TaskPtr(new FunctionTask(function))); });
        EXPECT_EQ(ends, 100);  // the others are the sender's still
    }
    std::vector<int> expected(200);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(order, expected);
    EXPECT_EQ(ends, 200);
    EXPECT_TRUE(log.lines.empty());
}

TEST(ThreadPool, ExceptionsOfTasks_GoToTheLogAndTheWorkerGoesOn) {
    ListLog log;
    Pool pool(&log);
    pool.Process(TaskPtr(new FunctionTask([] { throw slib::BadDataException("Nothing there."); })));
    pool.Process(TaskPtr(new FunctionTask([] { throw 1; })));
    Drain([&](auto function) { pool.Process(TaskPtr(new FunctionTask(function))); });
    EXPECT_EQ(log.lines, (std::vector<std::string>{"EException in thread pool: Nothing there.",
                                                   "EUnknown exception in thread pool."}));
}

TEST(ThreadPool, Destruction_AwaitsTheRunningTaskAndDropsTheRestUnrun) {
    std::atomic<int> ends = 0;
    std::atomic<int> runs = 0;
    ListLog log;
    slib::Semaphore began;
    slib::Semaphore go;
    std::thread releaser;
    {
        Pool pool(&log);
        pool.Process(TaskPtr(new FunctionTask(
            [&] {
                began.Post();
                go.Wait();
                ++runs;
            },
            &ends)));
        began.Wait();
        for (int i = 0; i < 10; ++i)
            pool.Process(TaskPtr(new FunctionTask([&] { ++runs; }, &ends)));
        releaser = std::thread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            go.Post();
        });
    }
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(ends, 11);
    releaser.join();
}

TEST(ThreadPool, DestructionAtOnce_Returns) {
    ListLog log;
    for (int i = 0; i < 100; ++i)
        const Pool pool(&log);
}

}  // namespace

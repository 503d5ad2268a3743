#include "slib/task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "slib/exception.h"
#include "tests/support/process.h"

namespace {

std::atomic<int> ends;  // of the tasks of the last sender
struct CountingEnds {
    CountingEnds() { ends = 0; }
};

class FunctionTask : public slib::Task {
public:
    explicit FunctionTask(std::function<void()> function) : function(std::move(function)) {}
    ~FunctionTask() override { ++ends; }
    void Run() override { function(); }

private:
    std::function<void()> function;
};

// What the queue and the pool have in common: they take tasks, and print what those throw.
struct Queue : CountingEnds {
    void Send(std::function<void()> run) { queue.Append(std::make_unique<FunctionTask>(std::move(run))); }
    static constexpr const char* printed = "Failed to perform queued task: Nothing there.\n";
    slib::TaskQueue queue;
};
struct Pool : CountingEnds {
    void Send(std::function<void()> run) { pool.Process(slib::TaskPtr(new FunctionTask(std::move(run)))); }
    static constexpr const char* printed = "Exception in thread pool: Nothing there.\n";
    slib::Log log;
    slib::ThreadPool<slib::TaskPtr> pool{&log};
};

// Waits for the end of all tasks that came before.
template <typename Sender>
void Drain(Sender& sender) {
    slib::Semaphore done;
    sender.Send([&] { done.Post(); });
    done.Wait();
}

template <typename Sender>
class Tasks : public testing::Test {};

using Senders = testing::Types<Queue, Pool>;
TYPED_TEST_SUITE(Tasks, Senders);

TYPED_TEST(Tasks, OfManySenders_RunOneAtATimeInTheOrderOfEachWhateverOneThrows) {
    int next[4] = {};  // counted by the tasks' one thread alone
    testing::internal::CaptureStderr();
    {
        TypeParam sender;
        sender.Send([] { throw slib::BadDataException("Nothing there."); });
        std::vector<std::thread> threads;
        for (int& own : next)
            threads.emplace_back([&] {
                for (int i = 0; i < 250; ++i)
                    sender.Send([&own, i] { EXPECT_EQ(own++, i); });
            });
        for (std::thread& thread : threads)
            thread.join();
        Drain(sender);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), TypeParam::printed);
    EXPECT_EQ(ends, 1002);
}

TYPED_TEST(Tasks, EndOfTheSender_AwaitsTheRunningTaskAndDeletesTheRestUnrun) {
    int runs = 0;
    slib::Semaphore began, sent;
    {
        TypeParam sender;
        sender.Send([&] {
            began.Post();
            EXPECT_TRUE(sent.WaitFor(20000));  // nobody who sends waits for a task that runs
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            ++runs;
        });
        began.Wait();
        sender.Send([&] { ++runs; });
        sender.Send([&] { ++runs; });
        sent.Post();
    }
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(ends, 3);
}

TEST(TaskQueue, RefusedThread_IsTheSendersExceptionAndTheNextTaskRuns) {
    Queue queue;
    testing_support::RefuseThreads(true);
    for (int i = 0; i < 2; ++i) {
        EXPECT_THROW(queue.Send([] { ADD_FAILURE(); }), slib::OperatingSystemGetLastErrorException);
        EXPECT_EQ(errno, EAGAIN);
    }
    testing_support::RefuseThreads(false);
    Drain(queue);
}

TEST(ThreadPool, TaskThatThrowsAnything_StaysItsSendersToo) {
    testing::internal::CaptureStderr();
    const slib::TaskPtr task(new FunctionTask([] { throw 1; }));
    {
        Pool pool;
        pool.pool.Process(task);
        Drain(pool);
    }
    EXPECT_EQ(ends, 1);  // of the draining
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Unknown exception in thread pool.\n");
}

}  // namespace

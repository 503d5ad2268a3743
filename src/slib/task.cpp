#include "slib/task.h"

#include <exception>
#include <iostream>
#include <memory>
#include <utility>

#include "slib/nodestroy.h"

namespace slib {

TaskQueue::TaskQueue() : Thread("TaskQueue", Priority::Normal) {}

TaskQueue::~TaskQueue() {
    if (!RequestStop()) return;
    workAvailable.Post();
    AwaitEnd();
}

// Never destroyed by the end of the process, which the thread may outlast.
TaskQueue& TaskQueue::Instance() {
    static NoDestroy<TaskQueue> queue;
    return *queue;
}

void TaskQueue::DestroyInstance() {
    std::destroy_at(&Instance());
}

void TaskQueue::RenewInstance() {
    std::construct_at(&Instance());
}

bool TaskQueue::EndWithin(std::uint32_t milliseconds) {
    if (!RequestStop()) return true;
    LeaveToItself();
    workAvailable.Post();
    return AwaitEndFor(milliseconds);
}

void TaskQueue::Add(std::unique_ptr<Task> task) {
    Instance().Append(std::move(task));
}

void TaskQueue::Append(std::unique_ptr<Task> task) {
    Lock lock(queueMutex);
    if (!started) {
        Start();
        started = true;
    }
    tasks.push_back(std::move(task));
    lock.Release();
    workAvailable.Post();
}

void TaskQueue::Run() {
    while (!IsStopRequested()) {
        workAvailable.Wait();
        Lock lock(queueMutex);
        if (IsStopRequested() || tasks.empty()) continue;
        const std::unique_ptr<Task> task = std::move(tasks.front());
        tasks.pop_front();
        lock.Release();
        try {
            task->Run();
        } catch (const std::exception& exception) {
            std::cerr << std::string("Failed to perform queued task: ") + exception.what() + "\n"
                      << std::flush;
        }
    }
}

class ThreadPool<TaskPtr>::Worker : public Thread {
public:
    explicit Worker(ThreadPool& pool) : Thread("Worker", Priority::Normal), pool(pool) {}

    // The two halves of Stop; the pool wakes its workers in between.
    void AskToEnd() { isEnding = RequestStop(); }
    void AwaitEnding() {
        if (isEnding) AwaitEnd();
    }

private:
    void Run() override {
        for (;;) {
            pool.workAvailable.Wait();
            if (IsStopRequested()) return;
            Lock lock(pool.queueMutex);
            const TaskPtr task = std::move(pool.queue.front());
            pool.queue.pop_front();
            lock.Release();
            RunOne(*task);
        }
    }

    void RunOne(Task& task) {
        try {
            task.Run();
        } catch (const std::exception& exception) {
            pool.log->Write(std::string("Exception in thread pool: ") + exception.what(), true);
        } catch (...) {
            pool.log->Write("Unknown exception in thread pool.", true);
        }
    }

    ThreadPool& pool;
    bool isEnding = false;
};

ThreadPool<TaskPtr>::ThreadPool(Log* log) : log(log) {
    workers.push_back(std::make_unique<Worker>(*this));
    workers.back()->Start();
}

ThreadPool<TaskPtr>::~ThreadPool() {
    for (const auto& worker : workers)
        worker->AskToEnd();
    workAvailable.Post(static_cast<std::uint32_t>(workers.size()));
    for (const auto& worker : workers)
        worker->AwaitEnding();
}

void ThreadPool<TaskPtr>::Process(const TaskPtr& task) {
    {
        const Lock lock(queueMutex);
        queue.push_back(task);
    }
    workAvailable.Post();
}

}  // namespace slib

#pragma once

// Work passed to another thread: the one queue of the process, whose thread runs what may take its time
// (callbacks of the game), and a small pool.

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "slib/log.h"
#include "slib/mutex.h"
#include "slib/smartptr.h"
#include "slib/thread.h"

namespace slib {

/// A piece of work. It must not assume on which thread it runs.
class Task {
public:
    virtual ~Task() = default;
    virtual void Run() = 0;
};

using TaskPtr = SmartPtr<Task, ThreadsafeCounter>;

/// Runs tasks one at a time in the order of their adding, on a thread that exists from the first task on.
class TaskQueue : private Thread {
public:
    TaskQueue();
    /// Stops the thread after the task that is running; tasks that still wait are deleted without being run.
    ~TaskQueue() override;

    /// Adds a task to the queue of the process. Safe from any thread, the renderer's among them: the mutex
    /// behind it is never held while a task runs. Throws std::bad_alloc, or what Thread::Start throws.
    static void Add(std::unique_ptr<Task> task);

    /// The queue of the process, built at the first call.
    static TaskQueue& Instance();
    /// Destroys that for good, before the library's code goes.
    static void DestroyInstance();
    /// In a forked child, where its thread doesn't exist: puts a new one in its place. What waited isn't run.
    static void RenewInstance();

    /// Stops the thread after the task that is running. False when that lasts longer. For the end of the
    /// process: allocates and frees nothing.
    bool EndWithin(std::uint32_t milliseconds);

    /// Adds a task to this queue; as Add.
    void Append(std::unique_ptr<Task> task);

private:
    void Run() override;

    Mutex queueMutex;
    Semaphore workAvailable;
    bool started SLIB_GUARDED_BY(queueMutex) = false;
    std::deque<std::unique_ptr<Task>> tasks SLIB_GUARDED_BY(queueMutex);
};

/// Takes things and does something with each.
template <typename T>
class Processor {
public:
    virtual ~Processor() = default;
    virtual void Process(const T& item) = 0;
};

template <typename T>
class ThreadPool;

/// A pool of one worker that runs tasks in the order of their coming. A task may stay shared with its sender.
/// Nothing uses it yet: it is for the renderer, once it hands parts of a block to other processors.
template <>
class ThreadPool<TaskPtr> : public Processor<TaskPtr> {
public:
    /// `log` is borrowed, outlives the pool, and receives "Exception in thread pool: " and the text of what a
    /// task threw. Starts the worker at once; throws what Thread::Start throws.
    explicit ThreadPool(Log* log);
    /// Stops the worker after the task that is running; tasks that still wait are dropped without being run.
    ~ThreadPool() override;

    /// Queues a task, of which the pool holds its own reference until it has run. From any thread.
    void Process(const TaskPtr& task) override;

private:
    class Worker;

    Log* log;
    Semaphore workAvailable;  // one post for each task
    Mutex queueMutex;
    std::deque<TaskPtr> queue SLIB_GUARDED_BY(queueMutex);
    std::vector<std::unique_ptr<Worker>> workers;
};

}  // namespace slib

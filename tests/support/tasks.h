#pragma once

// The thread that runs the library's tasks, such as the events of foldback, in their order.

#include <memory>
#include <utility>

#include "slib/mutex.h"
#include "slib/task.h"

namespace testing_support {

/// Waits until all tasks have run that were given before, and so all events been heard.
inline void WaitForTasks() {
    struct Mark : slib::Task {
        void Run() override { passed->Post(); }
        const std::shared_ptr<slib::Semaphore> passed = std::make_shared<slib::Semaphore>();
    };
    auto mark = std::make_unique<Mark>();
    const std::shared_ptr<slib::Semaphore> passed = mark->passed;
    slib::TaskQueue::Add(std::move(mark));
    passed->Wait();
}

}  // namespace testing_support

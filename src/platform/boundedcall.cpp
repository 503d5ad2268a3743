#include "platform/boundedcall.h"

#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "slib/exception.h"
#include "slib/mutex.h"
#include "slib/nodestroy.h"
#include "slib/thread.h"

namespace platform {
namespace {

constexpr std::int64_t longestWait = 2'000'000'000;  // ns

class Caller : public slib::Thread {
public:
    explicit Caller(std::function<void()> call)
        : Thread("Sound", slib::Thread::Priority::Normal), call(std::move(call)) {}

    // True when the call is over.
    bool Await() const {
        const std::int64_t end = NowNanoseconds() + longestWait;
        while (!IsOver()) {
            if (NowNanoseconds() > end) return false;
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        return true;
    }

    bool IsOver() const { return isOver.load(std::memory_order_acquire); }

    void Run() override {
        try {
            call();
        } catch (...) {  // what the call was to bring about hasn't come about, which its owner sees
        }
        call = nullptr;
        isOver.store(true, std::memory_order_release);
    }

private:
    std::function<void()> call;
    std::atomic<bool> isOver{false};
};

// Those whose calls were given up, until they are over.
class GivenUp {
public:
    void Add(std::unique_ptr<Caller> caller) {
        const slib::Lock lock(mutex);
        callers.push_back(std::move(caller));
    }
    void Reap() {
        const slib::Lock lock(mutex);
        std::erase_if(callers, [](const std::unique_ptr<Caller>& caller) {
            if (!caller->IsOver()) return false;
            caller->Stop();
            return true;
        });
    }

private:
    slib::Mutex mutex;
    std::vector<std::unique_ptr<Caller>> callers SLIB_GUARDED_BY(mutex);
};

// Never destroyed: a call may outlast the library's own end.
GivenUp& AllGivenUp() {
    static slib::NoDestroy<GivenUp> givenUp;
    return *givenUp;
}

// The thread that was given up will return into this code.
void StayLoaded() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&CallBounded), &info) != 0 && info.dli_fname != nullptr)
        dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

}  // namespace

bool CallBounded(std::function<void()> call) {
    AllGivenUp().Reap();
    auto caller = std::make_unique<Caller>(std::move(call));
    try {
        caller->Start();
    } catch (const slib::OperatingSystemGetLastErrorException&) {
        caller->Run();
        return true;
    }
    if (caller->Await()) {
        caller->Stop();
        return true;
    }
    StayLoaded();
    AllGivenUp().Add(std::move(caller));
    return false;
}

}  // namespace platform

#include "slib/thread.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cfenv>
#include <exception>
#include <utility>

#include "slib/exception.h"
#include "slib/priority.h"
#include "slib/productname.h"

namespace slib {
namespace {

// The thread that runs here, where it is one of ours.
thread_local const Thread* threadHere = nullptr;

// What the game has set as the size of all stacks, where that is enough for our deepest calls, and no more
// than it usually is.
constexpr std::size_t leastStack = std::size_t{2} << 20;
constexpr std::size_t greatestStack = std::size_t{8} << 20;

class Attributes {
public:
    Attributes() {
        if (pthread_getattr_default_np(&attributes) != 0) pthread_attr_init(&attributes);
        std::size_t size = greatestStack;
        pthread_attr_getstacksize(&attributes, &size);
        pthread_attr_setstacksize(&attributes, std::clamp(size, leastStack, greatestStack));
        pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
    }
    ~Attributes() { pthread_attr_destroy(&attributes); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    pthread_attr_t attributes;
};

// While this lives a thread that is created inherits a mask without the game's signals: its handlers run on
// its own threads. Signals that a thread raises itself by a fault stay as they are.
class SignalsHeldBack {
public:
    SignalsHeldBack() {
        sigset_t set;
        sigfillset(&set);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF})
            sigdelset(&set, fault);
        pthread_sigmask(SIG_SETMASK, &set, &before);
    }
    ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

private:
    sigset_t before;
};

}  // namespace

Thread::Thread(std::string name, Priority priority) : name(std::move(name)), priority(priority) {}

Thread::~Thread() {
    if (!IsOfThisProcess()) return;
    stateMutex.Lock();
    const bool abandoned = running;
    stateMutex.Unlock();
    if (abandoned && hasHandle)
        pthread_detach(handle);
    else
        JoinEnded();
}

void Thread::JoinEnded() {
    if (hasHandle && IsOfThisProcess()) pthread_join(handle, nullptr);
    hasHandle = false;
}

void Thread::LeaveToItself() {
    if (hasHandle) pthread_detach(handle);
    hasHandle = false;
}

bool Thread::IsOfThisProcess() const {
    return starter == getpid();
}

void Thread::Start() {
    {
        const Lock lock(stateMutex);
        if (running && IsOfThisProcess()) throw BadStateException("The thread is already running.");
        JoinEnded();
        starter = getpid();
        running = true;
    }
    int code = 0;
    {
        const SignalsHeldBack heldBack;
        const Attributes attributes;
        code = pthread_create(&handle, &attributes.attributes, &Thread::Enter, this);
    }
    if (code != 0) {
        NoteEnd();
        errno = code;
        throw OperatingSystemGetLastErrorException("A thread could not be created.");
    }
    hasHandle = true;
    startedSemaphore.Wait();
}

void Thread::Stop() {
    if (RequestStop()) AwaitEnd();
}

bool Thread::RequestStop() {
    const Lock lock(stateMutex);
    if (!running || !IsOfThisProcess() || threadHere == this) return false;
    stopRequests.fetch_add(1, std::memory_order_relaxed);
    return true;
}

void Thread::AwaitEnd() {
    finishedSemaphore.Wait();
}

bool Thread::AwaitEndFor(std::uint32_t milliseconds) {
    return finishedSemaphore.WaitFor(milliseconds);
}

void* Thread::Enter(void* self) {
    threadHere = static_cast<Thread*>(self);
    static_cast<Thread*>(self)->Body();
    return nullptr;
}

// A thread inherits the floating-point environment of the one that made it, a game's.
void Thread::Body() {
    std::fesetenv(FE_DFL_ENV);
    Name();
    if (!TakePriority(priority)) ReportRefusedPriority();
    startedSemaphore.Post();
    try {
        Run();
    } catch (const std::exception& exception) {
        WriteToStandardError("Unhandled exception in thread: ", exception.what());
    } catch (...) {
        WriteToStandardError("Unknown unhandled exception in thread.", "");
    }
    NoteEnd();
}

// Releases everybody who has asked for the end by now.
void Thread::NoteEnd() {
    std::uint32_t requests = 0;
    {
        const Lock lock(stateMutex);
        running = false;
        requests = stopRequests.exchange(0, std::memory_order_relaxed);
    }
    finishedSemaphore.Post(requests);
}

void Thread::Name() const {
    constexpr std::size_t longest = 15;  // the kernel's limit
    const std::string full = std::string(productFolder) + ":" + name;
    const std::string shown = full.size() > longest ? full.substr(full.size() - longest) : full;
    pthread_setname_np(pthread_self(), shown.c_str());
}

bool Thread::TakePriority(Priority priority) {
    switch (priority) {
        case Priority::Normal:
            return true;
        case Priority::BelowNormal:
            return TakeNiceLevel(5);
        case Priority::AboveNormal:
            return TakeNiceLevel(-5);
        case Priority::Highest:
            return TakeNiceLevel(-10);
        case Priority::TimeCritical:
            return TakeRealTimeLevel(rendererLevel) || TakeNiceLevel(-15);
    }
    return false;  // a value outside the table
}

}  // namespace slib

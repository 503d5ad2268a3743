// The library in a game's process, from load to unload. Each mode is one life, run as a process of its own by
// a test with a time limit: it must end by itself, with exit code 0, having left nothing behind.
//
//     life MODE LIBRARY      LIBRARY is the path of the shared library, opened as a game's loader does

#include <dlfcn.h>
#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "AL/alc.h"
#include "tests/support/process.h"
#include "tests/support/temporaryfolder.h"

// Never destroyed, since the process may end on another thread. Of external linkage, so that it holds what it
// points to in the eyes of a leak checker.
extern testing_support::TemporaryStore* store;
testing_support::TemporaryStore* store = nullptr;

namespace {

[[noreturn]] void Fail(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
    std::_Exit(1);
}

void Check(bool condition, const char* text) {
    if (!condition) Fail(text);
}

// The library, opened, with the calls that the lives make.
struct Library {
    explicit Library(const char* path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}

    template <typename Function>
    Function Find(const char* name) const {
        if (handle == nullptr) Fail(dlerror());
        void* const function = dlsym(handle, name);
        Check(function != nullptr, name);
        return reinterpret_cast<Function>(function);
    }

    ALCcontext* Create() const {
        ALCcontext* const context = createContext(openDevice(nullptr), nullptr);
        Check(context != nullptr, "No context could be made.");
        return context;
    }
    void Close() const { Check(dlclose(handle) == 0, "The library could not be closed."); }

    void* const handle;
    const LPALCOPENDEVICE openDevice = Find<LPALCOPENDEVICE>("alcOpenDevice");
    const LPALCCREATECONTEXT createContext = Find<LPALCCREATECONTEXT>("alcCreateContext");
    const LPALCDESTROYCONTEXT destroyContext = Find<LPALCDESTROYCONTEXT>("alcDestroyContext");
    const LPALCGETINTEGERV getInteger = Find<LPALCGETINTEGERV>("alcGetIntegerv");
    const LPALCGETERROR getError = Find<LPALCGETERROR>("alcGetError");
};

std::ptrdiff_t CountEntries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

bool IsMapped(const char* library) {
    const std::string maps = testing_support::ReadFile("/proc/self/maps");
    return maps.find(std::filesystem::path(library).filename().string()) != std::string::npos;
}

// A thread that was joined may still be listed for a moment.
void CheckNoThreadIsLeft() {
    static const std::ptrdiff_t own = [] {
        std::thread([] {}).join();  // brings a sanitizer's own thread into being
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return CountEntries("/proc/self/task");
    }();
    for (int i = 0; i < 200 && CountEntries("/proc/self/task") > own; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    Check(CountEntries("/proc/self/task") <= own, "A thread is left.");
}

// What a process holds that a leak would add to.
struct Holdings {
    // Once the threads, the log's among them, have done their work.
    std::ptrdiff_t descriptors = (CheckNoThreadIsLeft(), CountEntries("/proc/self/fd"));
    std::size_t bytes = mallinfo2().uordblks;

    // The allocator's own caches come and go by some ten kilobytes; one object lost in each of a thousand
    // rounds is more than that.
    static constexpr std::size_t tolerance = 64000;

    void CheckAgainst(const Holdings& before) const {
        if (descriptors != before.descriptors) Fail("Descriptors are left: " + std::to_string(descriptors));
        CheckNoThreadIsLeft();
        if (bytes > before.bytes + tolerance)
            Fail("Memory has grown by " + std::to_string(bytes - before.bytes));
    }
};

void ExitFromMain(const char* path) {
    Library(path).Create();
}

void ExitSoonOnAnotherThread() {
    std::thread([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
        std::exit(0);
    }).detach();
}

void ExitFromAnotherThread(const char* path) {
    const Library library(path);
    library.Create();
    ExitSoonOnAnotherThread();
    for (;;) {  // calls go on while the process ends around them
        ALCint value = 0;
        library.getInteger(library.openDevice(nullptr), ALC_FREQUENCY, 1, &value);
        library.getError(nullptr);
    }
}

void ExitWhileContextsComeAndGo(const char* path) {
    const Library library(path);
    ExitSoonOnAnotherThread();
    for (;;)
        library.destroyContext(library.createContext(library.openDevice(nullptr), nullptr));
}

void CloseWithALiveContext(const char* path) {
    const Library library(path);
    library.Create();
    library.Close();
    Check(!IsMapped(path), "The library is still loaded.");
    CheckNoThreadIsLeft();
}

void OpenAndCloseOften(const char* path) {
    const auto once = [&](bool withContext) {
        const Library library(path);
        if (withContext) library.destroyContext(library.Create());
        library.Close();
    };
    for (int i = 0; i < 60; ++i)  // until the log is full, and what is kept for good is there
        once(true);
    const Holdings before;
    for (int i = 0; i < 100; ++i)
        once(i % 10 == 0);
    Check(!IsMapped(path), "The library is still loaded.");
    Holdings().CheckAgainst(before);
}

void MakeContextsOften(const char* path) {
    const Library library(path);
    // Until the log and the allocator's caches are full, which cost memory of their own.
    for (int i = 0; i < 600; ++i)
        library.destroyContext(library.Create());
    const Holdings before;
    for (int i = 0; i < 1000; ++i)
        library.destroyContext(library.Create());
    Holdings().CheckAgainst(before);
}

// Measures the machine and stores what it chose, so that later starts are quick.
void StartForTheFirstTime(const char* path) {
    const int code = testing_support::RunInChild([&] {
        const Library library(path);
        library.destroyContext(library.Create());
        return 0;
    });
    Check(code == 0, "The first start failed.");
}

// A child that the game forks has none of our threads, and must end all the same.
void ExitOfAForkedChild(const char* path) {
    Library(path).Create();
    Check(testing_support::RunInChild([]() -> int { std::exit(0); }) == 0,
          "The child did not end by itself.");
}

const std::map<std::string, std::function<void(const char*)>> modes{
    {"exit_from_main", ExitFromMain},
    {"exit_from_another_thread", ExitFromAnotherThread},
    {"exit_while_contexts_come_and_go", ExitWhileContextsComeAndGo},
    {"exit_of_a_forked_child", ExitOfAForkedChild},
    {"close_with_a_live_context", CloseWithALiveContext},
    {"open_and_close_often", OpenAndCloseOften},
    {"make_contexts_often", MakeContextsOften}};

}  // namespace

int main(int argumentCount, char** arguments) {
    Check(argumentCount == 3 && modes.contains(arguments[1]), "Usage: life MODE LIBRARY");
    store = new testing_support::TemporaryStore;
    store->ChooseSilence();
    std::atexit(
        [] { std::filesystem::remove_all(std::filesystem::path(getenv("XDG_CONFIG_DIRS")).parent_path()); });
    StartForTheFirstTime(arguments[2]);
    CheckNoThreadIsLeft();  // counts what there is without the library
    modes.at(arguments[1])(arguments[2]);
    return 0;
}

// The library in a game's process, from load to unload. Each mode is one life, run as a process of its own by
// a test with a time limit: it must end by itself, with exit code 0, having left nothing behind.
//
//     life MODE LIBRARY      LIBRARY is the path of the shared library, opened as a game's loader does

#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <sched.h>
#include <sys/auxv.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cfenv>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "AL/al.h"
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
        makeCurrent(context);
        return context;
    }
    // Every function of the public headers, with zeros for what it wants.
    void CallAll() const {
        for (const auto call : calls)
            call(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    }
    void MakeAndDeleteSources() const {
        ALuint sources[200];
        genSources(200, sources);
        deleteSources(200, sources);
    }
    // From silence, which the settings have to name.
    ALCdevice* Record() const {
        ALCdevice* const device = openCapture(nullptr, 8000, AL_FORMAT_MONO16, 8000);
        Check(device != nullptr, "Nothing can be recorded.");
        startCapture(device);
        return device;
    }
    void Close() const { Check(dlclose(handle) == 0, "The library could not be closed."); }

    void* const handle;
    const LPALCOPENDEVICE openDevice = Find<LPALCOPENDEVICE>("alcOpenDevice");
    const LPALCCREATECONTEXT createContext = Find<LPALCCREATECONTEXT>("alcCreateContext");
    const LPALCDESTROYCONTEXT destroyContext = Find<LPALCDESTROYCONTEXT>("alcDestroyContext");
    const LPALCGETINTEGERV getInteger = Find<LPALCGETINTEGERV>("alcGetIntegerv");
    const LPALCGETERROR getError = Find<LPALCGETERROR>("alcGetError");
    const LPALCMAKECONTEXTCURRENT makeCurrent = Find<LPALCMAKECONTEXTCURRENT>("alcMakeContextCurrent");
    const LPALGENSOURCES genSources = Find<LPALGENSOURCES>("alGenSources");
    const LPALDELETESOURCES deleteSources = Find<LPALDELETESOURCES>("alDeleteSources");
    const LPALSOURCEF sourcef = Find<LPALSOURCEF>("alSourcef");
    const LPALSOURCE3I source3i = Find<LPALSOURCE3I>("alSource3i");

    const LPALCCAPTUREOPENDEVICE openCapture = Find<LPALCCAPTUREOPENDEVICE>("alcCaptureOpenDevice");
    const LPALCCAPTURECLOSEDEVICE closeCapture = Find<LPALCCAPTURECLOSEDEVICE>("alcCaptureCloseDevice");
    const LPALCCAPTURESTART startCapture = Find<LPALCCAPTURESTART>("alcCaptureStart");

    using AnyCall = void (*)(long, long, long, long, long, long, float, float, float, float, float, float);
    const std::vector<AnyCall> calls = [this] {
        std::vector<AnyCall> found;
        std::ifstream exports(TESSARUNE_EXPORTS);
        for (std::string word; exports >> word;)
            if (word.starts_with("al") && word != "alcMakeContextCurrent;")
                found.push_back(Find<AnyCall>(word.substr(0, word.size() - 1).c_str()));
        Check(found.size() > 120, "Calls are missing.");
        return found;
    }();
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

void ChooseSilentRecording() {
    std::ofstream(store->UserFile())
        << "[Platform]\nOutput=Silent\nInput=Silent\n[Games]\n"
           "Profiles=<Games><Game Name=\"Recorder\" Programs=\"*\" Capture=\"True\"/></Games>\n";
}

// A process that records, and has no context, ends; so does its child; an unload leaves nothing.
void Recording(const char* path) {
    ChooseSilentRecording();
    const Library library(path);
    const auto inChild = [](const std::function<bool()>& work) {
        const int code = testing_support::RunInChild([&]() -> int {
            alarm(5);
            std::exit(work() ? 0 : 1);
        });
        if (code != 0) Fail("The child ended with " + std::to_string(code));
    };
    inChild([&] { return library.Record() != nullptr; });
    library.Record();
    inChild([&] {
        library.CallAll();
        library.getError(nullptr);
        return library.openCapture(nullptr, 8000, AL_FORMAT_MONO16, 1) == nullptr &&
               library.getError(nullptr) == ALC_INVALID_VALUE;
    });
    library.Close();
    Check(!IsMapped(path), "The library is still loaded.");
    CheckNoThreadIsLeft();
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

void ExitFromASignalHandler(const char* path) {
    for (useconds_t delay = 15000; delay < 30000; delay += 1700) {
        const int code = testing_support::RunInChild([=]() -> int {
            const Library library(path);
            library.Create();
            std::signal(SIGUSR1, [](int) {
                alarm(2);
                std::exit(0);
            });
            std::thread([delay, main = pthread_self()] {
                usleep(delay);
                pthread_kill(main, SIGUSR1);
            }).detach();
            for (;;)
                library.MakeAndDeleteSources();
        });
        Check(code == 0, "The process did not end by itself.");
    }
}

// While other threads make calls. The child has none of our threads, and must end all the same.
void CallsInAForkedChild(const char* path) {
    static const Library library(path);  // the threads outlast this function
    ALCcontext* const context = library.Create();
    for (int i = 0; i < 2; ++i)
        std::thread([] {
            for (;;)
                library.MakeAndDeleteSources();
        }).detach();
    for (int i = 0; i < 50; ++i) {
        const int code = testing_support::RunInChild([&]() -> int {
            alarm(5);
            library.CallAll();
            library.destroyContext(context);
            const bool isRefused = library.createContext(library.openDevice(nullptr), nullptr) == nullptr &&
                                   library.getError(nullptr) != ALC_NO_ERROR;
            std::exit(isRefused && library.getError(nullptr) == ALC_NO_ERROR ? 0 : 1);
        });
        if (code != 0) Fail("The child ended with " + std::to_string(code));
    }
}

// Whose parent has loaded the library, and even played.
void ContextInADaemon(const char* path) {
    const Library library(path);
    library.destroyContext(library.Create());
    std::filesystem::remove(store->LogFile());
    const int code = testing_support::RunInChild([&]() -> int {
        library.Create();
        std::exit(0);
    });
    const std::string log = testing_support::ReadFile(store->LogFile());
    Check(code == 0 && log.find("Stopped Tessarune") != std::string::npos, "The context did not end.");
}

// On threads with small stacks, whose state is an unusual one: the whole life of a context, the first of
// which measures the machine, and numbers that aren't any or don't fit where calls convert.
std::function<void(const char*)> LiveInThreads(const std::vector<std::function<void()>>& states) {
    return [=](const char* path) {
        const Library library(path);
        ChooseSilentRecording();
        pthread_attr_t smallStack;
        pthread_attr_init(&smallStack);
        pthread_attr_setstacksize(&smallStack, 65536);
        pthread_setattr_default_np(&smallStack);
        for (const auto& choose : states) {
            bool isThrough = false;
            std::thread([&] {
                choose();
                const std::array before{fegetround(), fegetexcept()};
                ALCcontext* const context = library.Create();
                ALuint source = 0;
                library.genSources(1, &source);
                for (const float number : {std::nanf(""), HUGE_VALF, -1e38F, 1e-40F, 0.1F})
                    for (const ALenum name : {AL_GAIN, AL_PITCH, AL_SEC_OFFSET, AL_SAMPLE_OFFSET})
                        library.sourcef(source, name, number);
                library.source3i(source, AL_POSITION, 16777217, -2147483647, 1);
                library.CallAll();
                library.closeCapture(library.Record());
                library.destroyContext(context);
                isThrough = std::array{fegetround(), fegetexcept()} == before;
            }).join();
            Check(isThrough, "The thread ended in a call, or in another floating-point environment.");
        }
    };
}

std::function<void()> Trap(int exceptions) {
    return [=] { feenableexcept(exceptions); };
}
std::function<void()> Round(int direction) {
    return [=] { fesetround(direction); };
}

void ChooseWaveFile() {
    std::ofstream(store->UserFile()) << "[Platform]\nOutput=WaveFile\nWaveFile="
                                     << (store->folder.path / "sound.wav").string() << "\n";
}

// Closed before the context is made, and while it is there; then the game's own file has the numbers.
void ClosedDescriptors(const char* path) {
    const Library library(path);
    ChooseWaveFile();
    const std::string own = store->folder.path / "own";
    close_range(0, 1023, 0);
    ALCcontext* const context = library.Create();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // the log's file is open for a moment
    close_range(0, 1023, 0);
    for (int game = 0; game < 64; ++game)
        Check(open(own.c_str(), O_RDWR | O_CREAT, 0600) >= 0, "The game has no descriptor.");
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    library.destroyContext(context);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    Check(std::filesystem::file_size(own) == 0, "The game's file was written to.");
    Check(CountEntries("/proc/self/fd") == 65, "The game's file was closed.");
    Check(std::filesystem::file_size(store->folder.path / "sound-2.wav") > 50000, "No sound was written.");
}

void FileSizeLimit(const char* path) {
    const Library library(path);
    ChooseWaveFile();
    constexpr rlimit limit{150000, 150000};
    setrlimit(RLIMIT_FSIZE, &limit);
    ALCcontext* const context = library.Create();
    std::this_thread::sleep_for(std::chrono::milliseconds(900));
    Check(std::filesystem::file_size(store->folder.path / "sound.wav") == limit.rlim_cur,
          "The limit isn't met.");
    library.destroyContext(context);
}

// Not a promise: what tessarune-run tells of.
void RefusedCalls(const char* path) {
    const Library library(path);
    ALCcontext* const context = library.Create();
    Check(library.createContext(library.openDevice(nullptr), nullptr) == nullptr, "A second context.");
    library.Find<LPALCCAPTUREOPENDEVICE>("alcCaptureOpenDevice")(nullptr, 48000, AL_FORMAT_MONO16, 480);
    library.destroyContext(context);
}

constexpr int skipped = 77;

std::map<std::string, std::string> AllFiles() {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(store->folder.path))
        files[entry.path()] = entry.is_regular_file() ? testing_support::ReadFile(entry.path()) : "";
    return files;
}

// The superuser's home is ours in this process, and a program of another group's makes the context.
void SetGroupId(const char* path) {
    const std::filesystem::path folder = store->folder.path;
    const std::filesystem::path program = folder / "program";
    const std::filesystem::path home = folder / ".config" / "HollowbrookLabs";
    std::ofstream(folder / "passwd") << "root:x:0:0::" << folder.string() << ":/bin/sh\n";
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount((folder / "passwd").c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) != 0)
        std::exit(skipped);
    std::filesystem::copy_file("/proc/self/exe", program);
    Check(chown(program.c_str(), 0, 65534) == 0 && chmod(program.c_str(), 02755) == 0, "No such program.");
    ChooseWaveFile();
    std::filesystem::create_directories(home);
    std::filesystem::rename(store->UserFile(), home / "store.conf");
    std::ofstream(folder / "victim") << "[Platform]\nOutput=Silent\n";
    std::filesystem::create_symlink(folder / "victim", store->UserFile());
    std::ofstream(store->MachineFile()) << "[Formats]\nAFL=/nothing\n";
    setenv("HOME", folder.c_str(), 1);
    const auto before = AllFiles();
    const int code =
        testing_support::RunInChild([&] { return execl(program.c_str(), "life", "", path, nullptr); });
    if (code == skipped) std::exit(skipped);
    Check(code == 0, "The program failed.");
    Check(AllFiles() == before, "Something was written.");
}

const std::map<std::string, std::function<void(const char*)>> modes{
    {"exit_from_a_signal_handler", ExitFromASignalHandler},
    {"calls_in_a_forked_child", CallsInAForkedChild},
    {"context_in_a_daemon", ContextInADaemon},
    {"small_stack", LiveInThreads({[] {}})},
    {"cancelled_thread", LiveInThreads({[] { pthread_cancel(pthread_self()); }})},
    {"odd_floating_point", LiveInThreads({Trap(FE_ALL_EXCEPT), Trap(FE_INVALID), Trap(FE_DIVBYZERO),
                                          Trap(FE_OVERFLOW), Trap(FE_UNDERFLOW), Trap(FE_INEXACT),
                                          Round(FE_DOWNWARD), Round(FE_UPWARD), Round(FE_TOWARDZERO)})},
    {"closed_descriptors", ClosedDescriptors},
    {"file_size_limit", FileSizeLimit},
    {"set_group_id", SetGroupId},
    {"recording", Recording},
    {"exit_from_main", ExitFromMain},
    {"exit_from_another_thread", ExitFromAnotherThread},
    {"exit_while_contexts_come_and_go", ExitWhileContextsComeAndGo},
    {"close_with_a_live_context", CloseWithALiveContext},
    {"open_and_close_often", OpenAndCloseOften},
    {"make_contexts_often", MakeContextsOften}};

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount == 3 && *arguments[1] == '\0') {  // what SetGroupId started
        if (getauxval(AT_SECURE) == 0) return skipped;
        Library(arguments[2]).Create();
        return 0;
    }
    if (argumentCount == 3 && std::string(arguments[1]) == "refused_calls") {  // in the starter's store
        RefusedCalls(arguments[2]);
        return 0;
    }
    Check(argumentCount == 3 && modes.contains(arguments[1]), "Usage: life MODE LIBRARY");
    store = new testing_support::TemporaryStore;
    store->ChooseSilence();
    // Where the library is the recorder.
    setenv("TESSARUNE_RECORD", (store->folder.path / "calls").c_str(), 0);
    static const pid_t self = getpid();
    std::atexit([] {
        if (getpid() == self) delete store;
    });
    StartForTheFirstTime(arguments[2]);
    CheckNoThreadIsLeft();  // counts what there is without the library
    modes.at(arguments[1])(arguments[2]);
    return 0;
}

// A game in a process in which one call of the C library fails: the n-th allocation, thread, file and so on
// of its start, play, effects, foldback and end. Whatever fails, nothing hangs, crashes or throws, the
// settings are kept, sound that began goes on, and the next attempt works. Each case is a process of its own.
//
//     faults LIBRARY [SECONDS | KIND N]      some cases of each kind; random ones for so long; or one in this
//     process

#include <dlfcn.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <iostream>
#include <random>
#include <string>
#include <string_view>

#include "AL/tessarune.h"
#include "tests/faults/failingcalls.h"
#include "tests/support/defaultdocument.h"
#include "tests/support/temporaryfolder.h"

namespace {

constexpr const char* kindNames[] = {"", "memory", "open", "write", "rename", "thread", "lock", "map"};

// What the child's exit status says.
enum Outcome { Fine, NoLibrary, NoSoundGoesOn, NoSecondStart, SettingsLost };

void* library = nullptr;

template <typename Function>
Function* Of(const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}
#define CALL(name) (*Of<decltype(name)>(#name))

void Nap(int milliseconds) {
    poll(nullptr, 0, milliseconds);
}

void OnFoldback(ALenum, ALsizei) {}

std::array<ALfloat, 4096> foldbackRing;
ALuint source = 0;

// Whatever fails meanwhile.
ALCcontext* Play() {
    static std::array<ALshort, 4800> samples;
    static const ALCint attributes[] = {ALC_FREQUENCY, 48000, 0};
    ALCcontext* const context = CALL(alcCreateContext)(CALL(alcOpenDevice)(nullptr), attributes);
    CALL(alcMakeContextCurrent)(context);
    ALuint buffers[2] = {}, effect = 0, slot = 0;
    CALL(alGenBuffers)(2, buffers);
    for (const ALuint buffer : buffers)
        CALL(alBufferData)(buffer, AL_FORMAT_MONO16, samples.data(), sizeof samples, 44100);
    CALL(alGenSources)(1, &source);
    CALL(alSourceQueueBuffers)(source, 2, buffers);
    CALL(alSourcei)(source, AL_LOOPING, AL_TRUE);
    CALL(alSourcePlay)(source);
    CALL(alGenEffects)(1, &effect);
    CALL(alEffecti)(effect, AL_EFFECT_TYPE, AL_EFFECT_EAXREVERB);
    CALL(alGenAuxiliaryEffectSlots)(1, &slot);
    CALL(alAuxiliaryEffectSloti)(slot, AL_EFFECTSLOT_EFFECT, static_cast<ALint>(effect));
    CALL(alSource3i)(source, AL_AUXILIARY_SEND_FILTER, static_cast<ALint>(slot), 0, AL_FILTER_NULL);
    CALL(alRequestFoldbackStart)(AL_FOLDBACK_MODE_MONO, 4, 1024, foldbackRing.data(), OnFoldback);
    Nap(60);
    CALL(alcSuspendContext)(context);
    CALL(alSourcef)(source, AL_GAIN, 0.5F);
    CALL(alcProcessContext)(context);
    CALL(alRequestFoldbackStop)();
    return context;
}

// A source that plays moves on, at the latest when the server has tried anew.
bool MovesOn() {
    ALint state = 0, before = -1, now = -1;
    CALL(alGetSourcei)(source, AL_SOURCE_STATE, &state);
    if (state != AL_PLAYING) return true;
    CALL(alGetSourcei)(source, AL_SAMPLE_OFFSET, &before);
    for (int i = 0; i < 700; ++i, Nap(10)) {
        CALL(alGetSourcei)(source, AL_SAMPLE_OFFSET, &now);
        if (now != before) return true;
    }
    return false;
}

int RunGame(const char* path, CallKind kind, long n, int report) {
    library = dlopen(path, RTLD_NOW);
    if (library == nullptr) return NoLibrary;
    FailAt(kind, n);
    ALCcontext* context = Play();
    const bool movesOn = context == nullptr || MovesOn();
    CALL(alcDestroyContext)(context);
    const long made = CallsMade();
    FailAt(NoCalls, 0);
    if (write(report, &made, sizeof made) != sizeof made) return NoLibrary;
    if (!movesOn) return NoSoundGoesOn;
    context = Play();
    if (context == nullptr || !MovesOn()) return NoSecondStart;
    CALL(alcDestroyContext)(context);
    return Fine;
}

class Machine {
public:
    explicit Machine(const char* path) : path(path) {
        store.ChooseSilence();
        orb3::Configuration chosen;
        chosen.goalConfig.gain = 0.375F;
        testing_support::StoreDocument(chosen);
        document = Settings();
        Run(NoCalls, 0);  // a first start adds to the document what it chose
        document = Settings();
    }

    // True when there may be more such calls; how many there were is in `made`.
    bool Try(CallKind kind, long n) {
        int status = 0;
        const bool isTold = Run(kind, n, &status);
        Judge(kind, n, status);
        return isTold ? made > n : faults < 20;
    }

    int faults = 0, cases = 0;
    long made = 0;

private:
    // True when the child came as far as to tell how many calls there were.
    bool Run(CallKind kind, long n, int* status = nullptr) {
        int ends[2];
        if (pipe(ends) != 0) return false;
        const pid_t child = fork();
        if (child == 0) _exit(RunGame(path, kind, n, ends[1]));
        close(ends[1]);
        const int ended = Await(child);
        if (status != nullptr) *status = ended;
        made = 0;
        const bool isTold = read(ends[0], &made, sizeof made) == sizeof made;
        close(ends[0]);
        return isTold;
    }

    std::string Settings() const {
        const std::string text = testing_support::ReadFile(store.UserFile());
        const std::size_t at = text.find("Configuration=");
        return at == std::string::npos ? text : text.substr(at, text.find('\n', at) - at);
    }

    // The child's wait status, or that of a process which had to be killed.
    static int Await(pid_t child) {
        int status = 0;
        pollfd end{static_cast<int>(syscall(SYS_pidfd_open, child, 0)), POLLIN, 0};
        if (poll(&end, 1, 20000) == 0) kill(child, SIGKILL);
        waitpid(child, &status, 0);
        close(end.fd);
        return status;
    }

    void Judge(CallKind kind, long n, int status) {
        ++cases;
        const bool isKept = Settings() == document;
        if (status == 0 && isKept) return;
        ++faults;
        std::cout << kindNames[kind] << " call " << n << ": ";
        if (WIFSIGNALED(status))
            std::cout << (WTERMSIG(status) == SIGKILL ? "it hung" : "signal ") << WTERMSIG(status);
        else
            std::cout << (isKept ? "outcome " : "the settings were lost, outcome ") << WEXITSTATUS(status);
        std::cout << std::endl;
    }

    const char* path;
    testing_support::TemporaryStore store;
    std::string document;
};

constexpr CallKind kinds[] = {MemoryCalls, OpenCalls,  WriteCalls, RenameCalls,
                              ThreadCalls, MutexCalls, MapCalls};

// The first ones, and then ever fewer.
void TrySome(Machine& machine) {
    for (const CallKind kind : kinds) {
        for (long n = 0; machine.Try(kind, n); n += 1 + n / 4) {
        }
        std::cout << machine.made << " calls of the kind " << kindNames[kind] << ".\n";
    }
}

void TryForSeconds(Machine& machine, std::chrono::seconds duration) {
    std::mt19937 random(static_cast<unsigned>(getpid()));
    const auto end = std::chrono::steady_clock::now() + duration;
    while (std::chrono::steady_clock::now() < end) {
        const CallKind kind = random() % 2 == 0 ? MemoryCalls : kinds[random() % std::size(kinds)];
        machine.Try(kind, 1L << 40);  // to know how many there are
        if (machine.made > 0) machine.Try(kind, static_cast<long>(random()) % machine.made);
    }
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 2) return 2;
    Machine machine(arguments[1]);
    if (count > 3) {  // for a debugger
        const auto kind =
            std::find(std::begin(kindNames), std::end(kindNames), std::string_view(arguments[2]));
        return RunGame(arguments[1], static_cast<CallKind>(kind - kindNames), std::stol(arguments[3]),
                       STDOUT_FILENO);
    }
    count > 2 ? TryForSeconds(machine, std::chrono::seconds(std::stol(arguments[2]))) : TrySome(machine);
    std::cout << machine.cases << " cases, " << machine.faults << " faults.\n";
    return machine.faults == 0 && machine.cases > 0 ? 0 : 1;
}

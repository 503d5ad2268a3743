#include "app/recorder/recorder.h"

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include "platform/clock.h"
#include "platform/privileges.h"
#include "slib/endoflibrary.h"
#include "slib/nodestroy.h"

namespace recorder {
namespace {

constexpr std::uint32_t longestEnd = 600;  // ms
constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
constexpr std::uint64_t usualLimit = 1024;  // MiB

pid_t owner = 0;  // the process that records; another one is a child made behind our back

class Loaded {
public:
    Loaded() {
        owner = getpid();
        TheRecorder();
        pthread_atfork(nullptr, nullptr, [] { TheRecorder().ContinueInChild(); });
    }
    ~Loaded() {
        if (getpid() != owner) return;
        if (slib::libraryEnd == slib::LibraryEnd::Exit)
            TheRecorder().EndWithin(longestEnd);
        else
            TheRecorder().Close();
    }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;
};

const Loaded loaded;

void Say(const std::string& text) {
    std::fprintf(stderr, "Tessarune's recorder: %s\n", text.c_str());
}

// In the folder above that of this one, or the one above that in a distribution's tree.
std::string FindLibrary() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&TheRecorder), &info) == 0) return {};
    std::error_code ignored;
    const std::filesystem::path own = std::filesystem::canonical(info.dli_fname, ignored).parent_path();
    for (const std::filesystem::path& folder : {own.parent_path(), own.parent_path().parent_path()}) {
        std::filesystem::path library = folder / TESSARUNE_LIBRARY_NAME;
        if (std::filesystem::exists(library, ignored)) return library.string();
    }
    return {};
}

std::uint64_t ReadLimit() {
    const char* const text = std::getenv("TESSARUNE_RECORD_LIMIT");
    const std::uint64_t limit = text != nullptr ? std::strtoull(text, nullptr, 10) : 0;
    return (limit == 0 ? usualLimit : std::min(limit, UINT64_MAX / mebibyte)) * mebibyte;
}

}  // namespace

void NoteExit() {
    slib::NoteLibraryExit();
}

bool HasExitBegun() {
    return slib::libraryEnd == slib::LibraryEnd::Exit;
}

Recorder& TheRecorder() {
    static slib::NoDestroy<Recorder> recorder;
    return *recorder;
}

Recorder::Recorder() : limit(ReadLimit()) {
    const std::string name = FindLibrary();
    library = name.empty() ? nullptr : dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* const problem = dlerror();
        Say(std::string("The library that calls are passed on to can't be loaded, so there is no sound. ") +
            (problem != nullptr ? problem : TESSARUNE_LIBRARY_NAME " isn't above this folder."));
        return;
    }
    for (std::size_t i = 0; i < recording::exportedCount; ++i)
        functions[i] = dlsym(library, recording::calls[i].name.data());
    const char* const file = std::getenv("TESSARUNE_RECORD");
    // A program with more rights than its caller writes no file that the caller may have named.
    if (file == nullptr || *file == '\0' || platform::HasMoreRightsThanItsCaller()) return;
    path = file;
    state = State::Ready;
}

void* Recorder::EntryFor(const char* name, void* function) {
    if (name == nullptr || function == nullptr) return function;
    const auto index = recording::FindCall(name);
    if (!index) return function;
    if (*index >= recording::exportedCount) functions[*index] = function;
    return EntryOf(*index);
}

// ---- Writing calls down ----

void Recorder::Begin() {
    NoteExit();
    try {
        tape = std::make_unique<Tape>(path, limit);
        std::error_code ignored;
        PutNote("program", std::filesystem::read_symlink("/proc/self/exe", ignored).filename().string());
        PutNote("version", TESSARUNE_VERSION);
        start = platform::NowNanoseconds() / 1000;
        state = State::On;
    } catch (const std::exception& failure) {
        Say(failure.what());
        state = State::Off;
    }
}

// A call that the tape has no place for is counted.
bool Recorder::IsTaking() noexcept {
    if (state == State::Ready) Begin();
    if (state != State::On) return false;
    if (!tape->IsStopped()) return true;
    tape->CountMissing();
    return false;
}

void Recorder::BeginCall(std::size_t index) {
    records = std::exchange(prologue, {});
    writer.bytes.clear();
    PutThread();
    if (numbers[index] == 0) {
        recording::AppendRecord(records, recording::Tag::Function, recording::calls[index].name);
        numbers[index] = ++functionCount;
    }
    PutTime();
}

void Recorder::EndCall(std::size_t index) {
    recording::AppendRecord(records, recording::firstCall + numbers[index] - 1, writer.bytes);
    if (!tape->Append(records)) tape->CountMissing();
}

void Recorder::LoseCall() noexcept {
    tape->StopFor(recording::Reason::Memory);
    tape->CountMissing();
}

void Recorder::PutNote(const char* name, const std::string& value) {
    recording::ByteWriter note;
    note.Text(name);
    note.Text(value);
    recording::AppendRecord(prologue, recording::Tag::Note, note.bytes);
}

void Recorder::PutTime() {
    const std::int64_t now = platform::NowNanoseconds() / 1000 - start;
    writer.Number(static_cast<std::uint64_t>(std::max<std::int64_t>(now - last, 0)));
    last = std::max(now, last);
}

// A thread that ended may have left its number to another one.
void Recorder::PutThread() {
    const pthread_t self = pthread_self();
    if (thread < threads.size() && pthread_equal(threads[thread], self) != 0) return;
    const bool isFirst = threads.empty();
    const auto place = std::find_if(threads.begin(), threads.end(),
                                    [&](pthread_t other) { return pthread_equal(other, self) != 0; });
    thread = static_cast<std::size_t>(place - threads.begin());
    if (place == threads.end()) threads.push_back(self);
    if (isFirst) return;
    recording::ByteWriter number;
    number.Number(thread);
    recording::AppendRecord(records, recording::Tag::Thread, number.bytes);
}

void Recorder::PutHandle(const void* handle) {
    writer.Number(handle == nullptr ? 0 : handles.try_emplace(handle, handles.size() + 1).first->second);
}

void Recorder::PutSamples(const void* bytes, std::size_t size) {
    if (!tape->AppendSamples(bytes, size)) return writer.Number(0);
    writer.Number(++samples);
}

// ---- Ends ----

void Recorder::ContinueInChild() noexcept {
    if (state == State::On || underWay != 0)
        state = State::Off;
    else
        owner = getpid();
}

void Recorder::EndWithin(std::uint32_t milliseconds) {
    if (state.exchange(State::Off) != State::On) return;
    tape->RequestLast();
    static_cast<void>(tape->WaitForLast(milliseconds));
}

void Recorder::Close() {
    if (state.exchange(State::Off) == State::On) tape->End();
    tape.reset();
    handles.clear();
    for (auto* const text : {&records, &prologue, &writer.bytes, &path})
        *text = std::string();
    threads = {};
    if (library != nullptr) dlclose(library);
}

}  // namespace recorder

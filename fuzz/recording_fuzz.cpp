// Fuzz target for recordings: the bytes are a file, whose calls are made to the library while its server
// renders into silence. What it looks for are crashes and hangs, under the sanitizers; and no context stays.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "app/goaldll/alcprocs.h"
#include "app/goaldll/alprocs.h"
#include "app/goaldll/process.h"
#include "app/recording/recordingreader.h"
#include "app/replay/player.h"
#include "fuzz/check.h"
#include "fuzz/silentstore.h"
#include "slib/exception.h"
#include "tests/support/tasks.h"

namespace {

// Some of a second's worth.
constexpr int mostCalls = 500;
constexpr int mostContexts = 2;

int contexts = 0;

ALCcontext* CreateFew(ALCdevice* device, const ALCint* attributes) {
    return contexts++ < mostContexts ? alcCreateContext(device, attributes) : nullptr;
}

void* Find(const char* name) {
    if (std::string_view(name) == "alcCreateContext") return reinterpret_cast<void*>(&CreateFew);
    for (const auto rows : {goal::AlProcs(), goal::AlcProcs()})
        if (const goal::ProcRow* const row = goal::Find(rows, name)) return row->entry;
    return nullptr;
}

void Play(std::istream& stream) {
    recording::RecordingReader reader(stream);
    const replay::FindFunction find = Find;
    replay::NoPace pace;
    replay::Player player(reader, find, pace);
    try {
        for (int calls = 0; calls < mostCalls && player.PlayNext();)
            ++calls;
    } catch (const slib::BadDataException&) {
    }
    player.Finish();
    // Before the samples that static buffers refer to.
    const slib::Lock lock(goal::TheProcess().engine.apiMutex);
    Check(goal::TheProcess().engine.device.contexts.First() == nullptr);
    goal::TheProcess().engine.device.bufferPool.Clear();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::PrepareSilentStore();
    contexts = 0;
    std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    try {
        Play(stream);
    } catch (const slib::BadDataException&) {
    }
    testing_support::WaitForTasks();
    goal::TheProcess().log.Flush();  // what its thread is at work on would count as lost
    return 0;
}

// The store: what one line of the log costs with the ring full and a document beside it, and its parts.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "orb3core/store/configstore.h"
#include "orb3core/store/registrylog.h"

namespace {

// An empty store in a folder of its own, with a document of usual size and a full log.
void FillStore() {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "tessarune-store-bench";
    std::filesystem::remove_all(folder);
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    orb3::WriteSpeakerConfiguration(std::string(6000, 'x'));
    ggui::RegistryLog log(orb3::storeRoot, "Bench");
    for (int i = 0; i < 100; ++i)
        log.Write("A line of usual length, as the server writes it.", false);
}

void LogLine(benchmark::State& state) {
    FillStore();
    ggui::RegistryLog log(orb3::storeRoot, "Bench");
    for (auto _ : state) {
        log.Write("A line of usual length, as the server writes it.", false);
        log.Flush();
    }
}
BENCHMARK(LogLine)->Unit(benchmark::kMicrosecond);

// What a game's call pays of that: the lines go to the queue. A full one would be cheaper.
void QueueLogLine(benchmark::State& state) {
    FillStore();
    ggui::RegistryLog log(orb3::storeRoot, "Bench");
    int waiting = 0;
    for (auto _ : state) {
        log.Write("A line of usual length, as the server writes it.", false);
        if (++waiting % 500 != 0) continue;
        state.PauseTiming();
        log.Flush();
        state.ResumeTiming();
    }
}
BENCHMARK(QueueLogLine)->Unit(benchmark::kMicrosecond);

void ReadDocument(benchmark::State& state) {
    FillStore();
    for (auto _ : state)
        benchmark::DoNotOptimize(orb3::ReadSpeakerConfiguration());
}
BENCHMARK(ReadDocument)->Unit(benchmark::kMicrosecond);

}  // namespace

// The whole as a game loads it (WholeGame): from the copy of the game's state to the hand-over of the block
// to an output that never makes it wait. Blocks of 512 frames at 48 kHz into a bus of order 4, the measured
// head, 255 moving sources, with Linear and SincMedium conversion, without and with a send of each source
// into an EAX reverb of the highest quality.
//
//     Whole    the block: `core_share` of one core in real time; the line through the times of 64, 255 and
//              1024 sources, the number that a core would carry by it (`sources_by_line`) and the share that
//              80% of these do take; by that run, the number that a core carries, and the share of these
//     Stages   the same block stage by stage (StagedGame), and `explained`, their sum over the whole
//     Loop     the costliest loops, each by itself on rows in the caches, as often as a block of 255 sources
//              runs it; `limit` is the least time that the machine would need, and `share_` that of the whole
//
// Everything but the runs of thousands of sources is measured once, when first asked for: all of it in turns,
// round after round, and the best run of each counts, since others on the machine can only take away. A run
// is some blocks behind one that brings the scene back into the caches.

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/support/gamescene.h"
#include "bench/support/machinelimits.h"
#include "bench/support/stagedgame.h"
#include "bench/support/wholegame.h"
#include "goal/dsp/filterstage.h"
#include "goal/render/mixbatch.h"
#include "numeric/bus.h"
#include "numeric/directionpolynomials.h"
#include "numeric/kernels/finitekernel.h"
#include "numeric/kernels/firstorderkernel.h"
#include "numeric/kernels/linearkernel.h"
#include "numeric/kernels/mixkernel.h"
#include "numeric/kernels/sinckernel.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t frames = GameScene::frames;
constexpr std::uint32_t channels = GameScene::channels;
constexpr double blockSeconds = frames / GameScene::sampleRate;
constexpr double unmeasured = std::numeric_limits<double>::infinity();

constexpr std::array<std::uint32_t, 3> counts{64, 255, 1024};  // of sources
constexpr std::size_t many = 1;                                // the index of 255
constexpr std::uint32_t sources = counts[many];

double SecondsOf(const std::function<void()>& run) {
    const Clock::time_point begin = Clock::now();
    run();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// Of this thread: a block of thousands of sources is too long for others never to come in between.
double ProcessorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Seconds of the processor for a block of the server, on average over so many.
double RunWhole(WholeGame& game, int blocks) {
    game.scene.Move();
    game.Block();
    double taken = 0;
    for (int block = 0; block < blocks; ++block) {
        game.scene.Move();
        const double begin = ProcessorSeconds();
        game.Block();
        taken += ProcessorSeconds() - begin;
    }
    return taken / blocks;
}

// A game of one kind, whole in several sizes and in stages.
class Contestant {
public:
    Contestant(const char* name, orb3::SampleRateConversion conversion, bool hasReverb)
        : name(name), conversion(conversion), hasReverb(hasReverb), staged(Settings(sources)) {
        times.fill(unmeasured);
        for (std::size_t c = 0; c < counts.size(); ++c)
            wholes[c] = std::make_unique<WholeGame>(Settings(counts[c]));
        CheckSameSound();
    }

    void Run() {
        for (std::size_t c = 0; c < counts.size(); ++c)
            times[c] = std::min(times[c], RunWhole(*wholes[c], blocksPerRun));
        RunStaged();
    }

    /// Seconds of a block of so many sources: the best of some.
    double TimeOf(double sourceCount) const {
        WholeGame game(Settings(static_cast<std::uint32_t>(sourceCount)));
        double best = unmeasured;
        for (int run = 0; run < 16; ++run)
            best = std::min(best, RunWhole(game, 1));
        return best;
    }

    const std::string name;
    std::array<double, counts.size()> times;    // of a block of counts[i] sources, seconds
    std::array<double, Stage::count> stages{};  // of a block of 255 sources, seconds
    double stagesTogether = unmeasured;         // their sum

private:
    static constexpr int blocksPerRun = 4;

    GameSettings Settings(std::uint32_t sourceCount) const { return {sourceCount, conversion, hasReverb}; }

    // What is measured in stages must be what is measured as a whole.
    void CheckSameSound() {
        for (int block = 0; block < blocksPerRun; ++block) {
            wholes[many]->scene.Move();
            wholes[many]->Block();
            staged.scene.Move();
            staged.Block();
            if (wholes[many]->Heard() != staged.Heard())
                throw std::runtime_error("The stages don't make the sound of the whole.");
        }
    }

    void RunStaged() {
        staged.scene.Move();
        staged.Block();
        staged.clock.seconds.fill(0);
        for (int block = 0; block < blocksPerRun; ++block) {
            staged.scene.Move();
            staged.Block();
        }
        const double together = staged.clock.Sum() / blocksPerRun;
        if (together >= stagesTogether) return;
        stagesTogether = together;
        for (std::size_t s = 0; s < Stage::count; ++s)
            stages[s] = staged.clock.seconds[s] / blocksPerRun;
    }

    const orb3::SampleRateConversion conversion;
    const bool hasReverb;
    std::array<std::unique_ptr<WholeGame>, counts.size()> wholes;
    StagedGame staged;
};

enum Game : std::size_t { LinearGame, SincGame, LinearReverbGame, SincReverbGame, gameCount };
const std::vector<Game> everyGame{LinearGame, SincGame, LinearReverbGame, SincReverbGame};

// What one loop does for a block of 255 sources.
struct LoopRun {
    std::string name;
    std::vector<Game> games;        // that run it
    std::function<double()> limit;  // seconds
    std::function<void()> run;
    double time = unmeasured;  // seconds
};

// Rows as the renderer gathers them, with room for what a reader reads. Noise around 0.5, of which no filter
// makes denormal values.
hcml::ac::Bus Noise() {
    constexpr std::uint32_t rows = 64;
    hcml::ac::Bus bus(frames + 32, rows);
    std::uint32_t seed = 1;
    for (std::uint32_t r = 0; r < rows; ++r)
        for (std::uint32_t i = 0; i < bus.frames; ++i)
            bus.channels[r][i] = static_cast<float>((seed = seed * 1664525 + 1013904223) >> 8) / (1 << 24);
    return bus;
}

class Loops {
public:
    std::vector<LoopRun> all{
        {"mix", everyGame, MixLimit, [this] { Mix(); }},
        {"mix_moving", everyGame, MovingMixLimit, [this] { MixMoving(); }},
        {"sinc_medium", {SincGame, SincReverbGame}, SincLimit, [this] { ReadSinc(); }},
        {"linear", {LinearGame, LinearReverbGame}, LinearLimit, [this] { ReadLinear(); }},
        {"sections", everyGame, SectionLimit, [this] { RunSections(); }},
        {"send_filter", {LinearReverbGame, SincReverbGame}, SendFilterLimit, [this] { FilterSends(); }},
        {"send_sums", {LinearReverbGame, SincReverbGame}, SendSumLimit, [this] { AddSends(); }},
        {"finite_check", everyGame, CheckLimit, [this] { CheckRows(); }},
        {"moving_weights", everyGame, WeightLimit, [this] { MoveWeights(); }}};

    Loops() {
        goal::buildFilterTables(*tables, GameScene::sampleRate, false);
        for (std::uint32_t s = 0; s < sections.size(); ++s)
            sections[s] = {rows.channels[s] + head, rows.channels[s] + head, 0.7F, 0.3F, 0.5F};
        std::fill_n(sourceRow.data, frames, 0.5F);
        FillWeights();
    }
    Loops(const Loops&) = delete;
    Loops& operator=(const Loops&) = delete;

    const LoopRun& Named(const char* name) const {
        return *std::find_if(all.begin(), all.end(), [=](const LoopRun& loop) { return loop.name == name; });
    }

    void Run() {
        for (LoopRun& loop : all) {
            loop.run();
            for (int i = 0; i < 4; ++i)
                loop.time = std::min(loop.time, SecondsOf(loop.run));
        }
    }

private:
    static constexpr std::uint32_t batch = 64;  // rows of a MixBatch
    static constexpr std::uint32_t head = 32;   // frames before a batch of sections
    static constexpr std::uint32_t lanes = 16;  // sections side by side

    // A product and a sum for each source, channel and frame.
    static double MixLimit() { return 2.0 * sources * channels * frames / PeakMultiplyAddRate(); }
    void Mix() {
        for (std::uint32_t done = 0; done < sources; done += batch)
            hcml::MixSources({bus.channels, channels, rows.channels, std::min(batch, sources - done),
                              gains.data(), channels, bus.vectors});
    }

    // The same, and a product and a sum for each gain in each step.
    static double MovingMixLimit() {
        return MixLimit() + 2.0 * sources * channels * (frames / hcml::framesPerStep) / PeakMultiplyAddRate();
    }
    void MixMoving() {
        for (std::uint32_t done = 0; done < sources; done += batch)
            hcml::MixMovingSources({bus.channels, channels, rows.channels, std::min(batch, sources - done),
                                    movingGains.data(), 2 * hcml::gainsPerRow, bus.vectors},
                                   movingGains.data() + hcml::gainsPerRow);
    }

    // Eight taps and a window of eight samples have to be loaded for each output.
    static double SincLimit() { return 2.0 * sources * frames / LoadRate(); }
    void ReadSinc() {
        for (std::uint32_t s = 0; s < sources; ++s)
            hcml::ProduceSinc(Target(s), frames, rows.channels[s % batch], {taps.data, 8},
                              {12345, static_cast<std::uint32_t>(Ratio(s) * (1 << 19))});
    }

    // Each sample is read and written once; two products and a sum are less than that.
    static double LinearLimit() { return CopyTime(frames); }
    void ReadLinear() {
        for (std::uint32_t s = 0; s < sources; ++s)
            hcml::InterpolateLinear(Target(s), frames, rows.channels[s % batch] + 1,
                                    {12345, static_cast<std::uint64_t>(Ratio(s) * (1 << 16))});
    }

    // In each frame a product and a sum wait for those of the frame before, in sixteen rows at once.
    static double SectionLimit() { return ChainTime(frames - head); }
    void RunSections() {
        for (std::uint32_t s = 0; s < sources; s += lanes)
            hcml::RunFirstOrderSections(&sections[s % batch], std::min(lanes, sources - s), frames - head);
    }

    // The same, and before that the head of each row, which is run by itself, and a copy of the rest.
    static double SendFilterLimit() { return SectionLimit() + CopyTime(frames - head); }
    void FilterSends() {
        for (std::uint32_t s = 0; s < sources; ++s)
            benchmark::DoNotOptimize(
                goal::FilterOneLater({}, paths[s], sourceRow, sends[s % lanes], *tables,
                                     {.gainFactor = 0.2F, .hfFactor = 0.97F, .defaultOrder = 1}, waiting));
        waiting.Run();
    }

    // A product and a sum for each source, frame and channel of a directional reverb's input.
    static double SendSumLimit() { return 2.0 * sources * 4 * frames / PeakMultiplyAddRate(); }
    void AddSends() {
        for (std::uint32_t done = 0; done < sources; done += lanes)
            hcml::MixSources({slotInput.channels, 4, rows.channels, std::min(lanes, sources - done),
                              gains.data(), 4, slotInput.vectors});
    }

    // Each sample is read once.
    static double CheckLimit() { return double{sources} * frames * sizeof(float) / ReadBandwidth(); }
    void CheckRows() {
        for (std::uint32_t s = 0; s < sources; ++s)
            benchmark::DoNotOptimize(hcml::IsFiniteRow(rows.channels[s % batch], frames));
    }

    // Each weight is read and written once.
    static double WeightLimit() { return CopyTime(channels); }
    void MoveWeights() {
        turn = (turn + 1) % turns;
        for (std::uint32_t s = 0; s < sources; ++s)
            goal::AddMovingHeads(sourceRow, weights[s].data(), weightsOfTurns[turn][s].data(), 0.05F, bus);
    }

    // Sources of 16-bit data that turn by 0.02 radians a block.
    void FillWeights() {
        for (std::size_t t = 0; t < turns; ++t) {
            for (std::uint32_t s = 0; s < sources; ++s) {
                const float angle = static_cast<float>(s) + 0.02F * static_cast<float>(t);
                hcml::directionPolynomials(0.8F * std::cos(angle), 0.8F * std::sin(angle), 0.6F,
                                           GameScene::order, weightsOfTurns[t][s].data());
                for (float& weight : weightsOfTurns[t][s])
                    weight /= 32768;
            }
        }
    }

    static double CopyTime(double length) { return sources * length * sizeof(float) / CopyBandwidth(); }
    static double ChainTime(double length) {
        return length * ((sources + lanes - 1) / lanes) * MultiplyAddLatency();
    }
    static double Ratio(std::uint32_t source) { return 44.1 / 48 * (0.9 + 0.025 * (source % 9)); }
    float* Target(std::uint32_t source) { return targets.channels[source % batch]; }

    hcml::ac::Bus rows = Noise();
    hcml::ac::Bus targets = rows;
    hcml::ac::Bus bus{frames, channels};
    hcml::ac::Bus slotInput{frames, 4};
    std::vector<float> gains = std::vector<float>(std::size_t{batch} * channels, 1e-6F);
    std::vector<float> movingGains = std::vector<float>(std::size_t{batch} * 2 * hcml::gainsPerRow, 1e-6F);
    hcml::FloatTupleVector taps{64 * 8};
    hcml::FloatTupleVector sourceRow{frames};
    std::vector<hcml::FloatTupleVector> sends = std::vector<hcml::FloatTupleVector>(lanes, sourceRow);
    goal::SectionBatch waiting{frames};
    std::unique_ptr<goal::FilterGainTables> tables = std::make_unique<goal::FilterGainTables>();
    std::array<hcml::FirstOrderSection, batch> sections;
    std::array<goal::SourceFilterState, sources> paths;

    using Weights = std::array<std::array<float, channels>, sources>;
    static constexpr std::size_t turns = 16;
    std::vector<Weights> weightsOfTurns = std::vector<Weights>(turns);
    Weights weights{};
    std::size_t turn = 0;
};

struct Results {
    Results() {
        using Conversion = orb3::SampleRateConversion;
        games[LinearGame] = std::make_unique<Contestant>("linear", Conversion::Linear, false);
        games[SincGame] = std::make_unique<Contestant>("sinc_medium", Conversion::SincMedium, false);
        games[LinearReverbGame] = std::make_unique<Contestant>("linear_reverb", Conversion::Linear, true);
        games[SincReverbGame] =
            std::make_unique<Contestant>("sinc_medium_reverb", Conversion::SincMedium, true);
        for (int round = 0; round < 100; ++round) {
            for (const auto& game : games)
                game->Run();
            loops.Run();
            if (round % 5 == 0) MeasureLimitsAgain();
        }
    }

    std::array<std::unique_ptr<Contestant>, gameCount> games;
    Loops loops;
};

const Results& Measured() {
    static const Results results;
    return results;
}

// A block of n sources takes `fixed` + n * `source` seconds.
struct Line {
    double SourcesIn(double seconds) const { return (seconds - fixed) / source; }

    double fixed, source;
};

// With the least squares of the relative errors.
Line Fit(const std::array<double, counts.size()>& times) {
    double w = 0, wx = 0, wxx = 0, wy = 0, wxy = 0;
    for (std::size_t c = 0; c < counts.size(); ++c) {
        const double weight = 1 / (times[c] * times[c]), x = counts[c];
        w += weight;
        wx += weight * x;
        wxx += weight * x * x;
        wy += weight * times[c];
        wxy += weight * x * times[c];
    }
    const double source = (w * wxy - wx * wy) / (w * wxx - wx * wx);
    return {(wy - source * wx) / w, source};
}

void Whole(benchmark::State& state, Game which) {
    const Contestant& game = *Measured().games[which];
    for (auto _ : state)
        state.SetIterationTime(game.times[many]);
    const Line line = Fit(game.times);
    const double byLine = line.SourcesIn(blockSeconds), most = 0.8 * byLine;
    const double shareOfMost = game.TimeOf(most) / blockSeconds;
    // Thousands of sources leave the caches that the line is from, so the number comes from that run.
    const double carried = most / shareOfMost;
    state.counters["core_share"] = game.times[many] / blockSeconds;
    state.counters["time_64"] = game.times.front();
    state.counters["time_1024"] = game.times.back();
    state.counters["fixed"] = line.fixed;
    state.counters["per_source"] = line.source;
    state.counters["sources_by_line"] = byLine;
    state.counters["share_at_80%"] = shareOfMost;
    state.counters["sources_per_core"] = carried;
    state.counters["share_there"] = game.TimeOf(carried) / blockSeconds;
}

void Stages(benchmark::State& state, Game which) {
    const Contestant& game = *Measured().games[which];
    for (auto _ : state)
        state.SetIterationTime(game.stagesTogether);
    for (std::size_t s = 0; s < Stage::count; ++s)
        state.counters[stageNames[s]] = game.stages[s];
    state.counters["whole"] = game.times[many];
    state.counters["explained"] = game.stagesTogether / game.times[many];
}

void Loop(benchmark::State& state, const char* name) {
    const LoopRun& loop = Measured().loops.Named(name);
    for (auto _ : state)
        state.SetIterationTime(loop.time);
    state.counters["limit"] = loop.limit();
    state.counters["of_limit"] = loop.limit() / loop.time;
    for (const Game game : loop.games) {
        const Contestant& whole = *Measured().games[game];
        state.counters["share_" + whole.name] = loop.time / whole.times[many];
    }
}

// The measuring is done elsewhere.
void Once(benchmark::internal::Benchmark* benchmark) {
    benchmark->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
BENCHMARK_CAPTURE(Whole, linear, LinearGame)->Apply(Once);
BENCHMARK_CAPTURE(Whole, sinc_medium, SincGame)->Apply(Once);
BENCHMARK_CAPTURE(Whole, linear_reverb, LinearReverbGame)->Apply(Once);
BENCHMARK_CAPTURE(Whole, sinc_medium_reverb, SincReverbGame)->Apply(Once);
BENCHMARK_CAPTURE(Stages, linear, LinearGame)->Apply(Once);
BENCHMARK_CAPTURE(Stages, sinc_medium, SincGame)->Apply(Once);
BENCHMARK_CAPTURE(Stages, linear_reverb, LinearReverbGame)->Apply(Once);
BENCHMARK_CAPTURE(Stages, sinc_medium_reverb, SincReverbGame)->Apply(Once);
BENCHMARK_CAPTURE(Loop, mix, "mix")->Apply(Once);
BENCHMARK_CAPTURE(Loop, mix_moving, "mix_moving")->Apply(Once);
BENCHMARK_CAPTURE(Loop, sinc_medium, "sinc_medium")->Apply(Once);
BENCHMARK_CAPTURE(Loop, linear, "linear")->Apply(Once);
BENCHMARK_CAPTURE(Loop, sections, "sections")->Apply(Once);
BENCHMARK_CAPTURE(Loop, send_filter, "send_filter")->Apply(Once);
BENCHMARK_CAPTURE(Loop, send_sums, "send_sums")->Apply(Once);
BENCHMARK_CAPTURE(Loop, finite_check, "finite_check")->Apply(Once);
BENCHMARK_CAPTURE(Loop, moving_weights, "moving_weights")->Apply(Once);

}  // namespace

// The partitioned transformer over 512 frames, in blocks of 256 and 512, with noise in every response. Beside
// it zita-convolver on the same matrix and partition size, with measured plans and in vector mode, without
// the copying to and from its buffers, and the ideal of real transforms: one for each input and output and
// block, alone, and the products of the spectra at the rate that this machine reaches without touching
// memory. Arguments: inputs, outputs, taps, block.

#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <zita-convolver.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <random>
#include <stdexcept>

#include "bench/support/machinelimits.h"
#include "numeric/bus.h"
#include "orb3core/decoder/partitionedtransformer.h"

namespace {

using Transform = orb3::strans::TimeDomainTransform<float, 1>;

constexpr std::uint32_t frames = 512;
constexpr float threshold = 1e-8f;

float Noise() {
    static std::minstd_rand generator;
    return std::uniform_real_distribution<float>(-1, 1)(generator);
}

struct Shape {
    explicit Shape(const benchmark::State& state)
        : inputs(Argument(state, 0)),
          outputs(Argument(state, 1)),
          taps(Argument(state, 2)),
          block(Argument(state, 3)) {}
    static std::uint32_t Argument(const benchmark::State& state, std::size_t i) {
        return static_cast<std::uint32_t>(state.range(i));
    }
    std::uint32_t Partitions() const { return (taps + block - 1) / block; }

    std::uint32_t inputs, outputs, taps, block;
};

Transform MakeTransform(const Shape& shape) {
    Transform transform;
    transform.sampleRate = 48000;
    transform.width = shape.taps;
    transform.impulses.resize(shape.inputs, shape.outputs);
    for (auto& impulse : transform.impulses) {
        impulse.resize(shape.taps);
        std::generate(impulse.begin(), impulse.end(), Noise);
    }
    return transform;
}

void RunTransformer(benchmark::State& state, const Shape& shape, const Transform& transform) {
    orb3::UnbufferedPartitionedTransformer_v4 transformer;
    transformer.configure(transform, threshold, shape.block);
    hcml::ac::Bus bus(frames, shape.inputs);
    for (std::uint32_t i = 0; i < shape.inputs; ++i)
        std::generate_n(bus.channels[i], frames, Noise);
    hcml::GenericMatrix<float, 1> output(frames, shape.outputs);
    for (auto _ : state) {
        transformer.process(bus, output);
        benchmark::ClobberMemory();
    }
}

void Transformer(benchmark::State& state) {
    const Shape shape(state);
    RunTransformer(state, shape, MakeTransform(shape));
}

// The first 512 taps of 4096 alone are not zero: the time should be that of 512 taps.
void TransformerWithEmptyPartitions(benchmark::State& state) {
    const Shape shape(state);
    Transform transform = MakeTransform(shape);
    for (auto& impulse : transform.impulses)
        std::fill(impulse.begin() + 512, impulse.end(), 0.0f);
    RunTransformer(state, shape, transform);
}

void Zita(benchmark::State& state) {
    const Shape shape(state);
    Transform transform = MakeTransform(shape);
    Convproc convolver;
    convolver.set_options(Convproc::OPT_FFTW_MEASURE | Convproc::OPT_VECTOR_MODE);
    int failed = convolver.configure(shape.inputs, shape.outputs, shape.taps, shape.block, shape.block,
                                     shape.block, 0);
    for (std::uint32_t i = 0; i < shape.inputs; ++i)
        for (std::uint32_t o = 0; o < shape.outputs; ++o)
            failed |= convolver.impdata_create(i, o, 1, transform.impulses(i, o).data, 0,
                                               static_cast<std::int32_t>(shape.taps));
    failed |= convolver.start_process(0, 0);
    if (failed != 0) throw std::runtime_error("The convolver doesn't start.");
    const auto process = [&] {
        for (std::uint32_t done = 0; done < frames; done += shape.block)
            convolver.process(true);
    };
    for (int filled = 0; filled < 16; ++filled) {
        for (std::uint32_t i = 0; i < shape.inputs; ++i)
            std::generate_n(convolver.inpdata(i), shape.block, Noise);
        convolver.process(true);
    }
    for (auto _ : state)
        process();
    convolver.stop_process();
    convolver.cleanup();
}

// One real transform of twice the block, with a plan that was measured.
class RealTransform {
public:
    explicit RealTransform(std::uint32_t size)
        : signal(fftwf_alloc_real(size)), bins(fftwf_alloc_complex(size)) {
        plan = fftwf_plan_dft_r2c_1d(static_cast<int>(size), signal, bins, FFTW_MEASURE);
        std::generate_n(signal, size, Noise);
    }
    RealTransform(const RealTransform&) = delete;
    RealTransform& operator=(const RealTransform&) = delete;
    ~RealTransform() {
        fftwf_destroy_plan(plan);
        fftwf_free(signal);
        fftwf_free(bins);
    }
    void Run() const { fftwf_execute(plan); }

private:
    float* const signal;
    fftwf_complex* const bins;
    fftwf_plan plan;
};

void Ideal(benchmark::State& state) {
    const Shape shape(state);
    const double blocks = frames / shape.block;
    const bool isMatrix = shape.taps == 1;
    const std::uint32_t transforms = isMatrix ? 0 : (shape.inputs + shape.outputs) * (frames / shape.block);
    const double pairs = static_cast<double>(shape.inputs) * shape.outputs;
    const double operations =
        isMatrix ? pairs * frames * 2 : pairs * blocks * shape.Partitions() * (shape.block + 1) * 8;
    const double seconds = operations / PeakMultiplyAddRate();
    const RealTransform transform(2 * shape.block);
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        for (std::uint32_t t = 0; t < transforms; ++t)
            transform.Run();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(taken.count() + seconds);
    }
    state.counters["products_us"] = seconds * 1e6;
}

void Shapes(benchmark::internal::Benchmark* bench) {
    for (const std::int64_t block : {256, 512}) {
        for (const std::int64_t taps : {1, 512, 1024, 4096})
            bench->Args({25, 2, taps, block});
        bench->Args({16, 8, 1024, block});
    }
    bench->Unit(benchmark::kMicrosecond);
}

BENCHMARK(Transformer)->Apply(Shapes);
BENCHMARK(TransformerWithEmptyPartitions)->Args({25, 2, 4096, 512})->Unit(benchmark::kMicrosecond);
BENCHMARK(Ideal)->Apply(Shapes)->UseManualTime();
BENCHMARK(Zita)->Apply(Shapes);

}  // namespace

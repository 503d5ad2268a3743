// A block of 256 frames turned against the head: still at an angle, and at 300 degrees a second.

#include "goal/render/headturn.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <numbers>

namespace {

constexpr std::uint32_t frames = 256;
constexpr double anglePerBlock = 300 * std::numbers::pi / 180 * frames / 48000;

void HeadTurned(benchmark::State& state, double step) {
    const auto order = static_cast<unsigned>(state.range(0));
    const hcml::ac::Bus field(frames, hcml::ChannelsOfOrder(order));
    goal::HeadTurn turn(order, frames);
    double yaw = 1;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(&turn.Turn(field, hcml::FromYawPitchRoll(yaw += step, 0, 0)));
}
BENCHMARK_CAPTURE(HeadTurned, Still, 0)->DenseRange(1, 4);
BENCHMARK_CAPTURE(HeadTurned, Turning, anglePerBlock)->DenseRange(1, 4);

}  // namespace
